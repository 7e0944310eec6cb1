#include "journal/journal.h"

#include "journal/file_state.h"
#include "journal/install_steps.h"
#include "journal/journal_file.h"
#include "journal/operation_record.h"
#include "journal/private_folders.h"
#include "journal/undo_walk.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <tuple>

namespace kest {

namespace {

using OwnedStep = std::unique_ptr<CKestExtensionInstallStep>;

struct StepMaker {
  std::string_view kind;
  OwnedStep (*make)(const StepRecord& record, const RecordJudge& judge);
};

constexpr StepMaker kMakers[] = {
    {CInstallCopyFile::kKind, CInstallCopyFile::FromRecord},
    {CInstallDeleteFile::kKind, CInstallDeleteFile::FromRecord},
    {CInstallBackupFile::kKind, CInstallBackupFile::FromRecord},
    {CInstallCreateFolder::kKind, CInstallCreateFolder::FromRecord},
    {CInstallDeleteFolder::kKind, CInstallDeleteFolder::FromRecord},
    {CInstallAddFontResource::kKind, CInstallAddFontResource::FromRecord},
    {CInstallMakeWritable::kKind, CInstallMakeWritable::FromRecord},
    {CInstallNewFile::kKind, CInstallNewFile::FromRecord},
    {CInstallMoveFile::kKind, CInstallMoveFile::FromRecord},
    {CInstallPlaceFolder::kKind, CInstallPlaceFolder::FromRecord},
    {CInstallDeleteWholeFolder::kKind, CInstallDeleteWholeFolder::FromRecord},
};

OwnedStep MakeStep(std::string_view text, const RecordJudge& judge) {
  StepRecord record;
  if (StepRecord::FromText(text, record)) {
    for (const StepMaker& maker : kMakers) {
      if (record.GetKind() == maker.kind) {
        return maker.make(record, judge);
      }
    }
  }
  return nullptr;
}

// The private folder of a dead process, and the journals in it.
struct DeadFolder {
  CString path; ///< without trailing backslash
  CString leaf;
  bool isMarked = false; ///< it bears the mark of those that this program made
  bool needed = false;   ///< something in it is still to be undone
  bool trashDeleted = false;
  CString label;
  std::vector<CString> elsewhere; ///< its folders on other volumes

  [[nodiscard]] CString GetOwn() const { return path + '\\' + leaf; }
};

struct DeadJournal {
  CString path;
  JournalContent content;
  std::size_t folder = 0; ///< index of its DeadFolder
};

class Recovery {
public:
  explicit Recovery(const RecoveryOptions& options)
      : m_options(options), m_mayChange(options.trustMachine || CKestOS::GetMachine().IsOwn()) {}

  RecoveryReport Run() {
    CString root;
    if (!CKestOS::GetMachine().GetTempRoot(root)) {
      return {};
    }
    CollectFolders(root);
    // an operation that came later built on what an earlier one left
    std::stable_sort(m_journals.begin(), m_journals.end(), [](const DeadJournal& a, const DeadJournal& b) {
      return std::tie(b.content.seconds, b.content.number) < std::tie(a.content.seconds, a.content.number);
    });
    for (const DeadJournal& journal : m_journals) {
      Judge(journal);
    }
    if (m_options.trustMachine) {
      CKestOS::GetMachine().NoteOwn({});
    }
    m_report.isForeign = !m_mayChange && !m_report.entries.empty();
    for (const DeadFolder& folder : m_folders) {
      CleanUp(folder);
    }
    return std::move(m_report);
  }

private:
  void CollectFolders(const CString& root) {
    std::vector<FolderEntry> entries;
    if (!IsYes(CKestOS::GetMachine().ListFolder(root, entries))) {
      if (ProbeFolder(root) != Presence::kAbsent) {
        ReportUnread(root, {});
      }
      return;
    }
    for (const FolderEntry& entry : entries) {
      if (entry.isFolder && !entry.isLink && private_folders::IsLeafName(entry.name)) {
        DeadFolder folder;
        folder.path = WithBackslash(root) + entry.name;
        folder.leaf = entry.name;
        CollectFolder(std::move(folder));
      }
    }
  }

  // Whoever may write to the temporary folder can put something there under such a name.
  void CollectFolder(DeadFolder folder) {
    const PrivateFolder kind = CKestOS::GetMachine().LookAtPrivateFolder(folder.path);
    if (kind == PrivateFolder::kNo) {
      std::vector<FolderEntry> entries;
      const Answer inside = CKestOS::GetMachine().ListFolder(folder.GetOwn(), entries);
      if (std::any_of(entries.begin(), entries.end(), IsJournal)) {
        Refuse(folder.GetOwn(), {}, "it is not yours alone, so that anybody could have put it there");
      } else if (inside == Answer::kCannotTell) {
        Refuse(folder.path, {}, "it is somebody else's");
      }
      return;
    }
    folder.isMarked = kind == PrivateFolder::kYes;
    std::vector<DeadJournal> journals = CollectJournals(folder);
    // of a folder that does not say so only a journal tells that it is one of ours
    const bool isOurs = std::any_of(journals.begin(), journals.end(), [](const DeadJournal& journal) {
      return journal.content.status != JournalContent::Status::kEmpty;
    });
    if (folder.isMarked || folder.needed || isOurs) {
      std::move(journals.begin(), journals.end(), std::back_inserter(m_journals));
      m_folders.push_back(std::move(folder));
    }
  }

  std::vector<DeadJournal> CollectJournals(DeadFolder& folder) {
    std::vector<FolderEntry> entries;
    std::vector<DeadJournal> journals;
    if (const Answer listed = CKestOS::GetMachine().ListFolder(folder.GetOwn(), entries); listed != Answer::kYes) {
      // without a subfolder of its own it is what a process left that died while it unpacked something
      if (ProbeFolder(folder.GetOwn()) != Presence::kAbsent) {
        folder.needed = true;
        ReportUnread(folder.GetOwn(), folder.path);
      }
      return journals;
    }
    for (const FolderEntry& entry : entries) {
      if (IsJournal(entry)) {
        const CString path = folder.GetOwn() + '\\' + entry.name;
        journals.push_back({path, ReadJournal(path), m_folders.size()});
      }
    }
    return journals;
  }

  static bool IsJournal(const FolderEntry& entry) {
    return !entry.isFolder && !entry.isLink && entry.name.starts_with(private_folders::kJournalPrefix);
  }

  void Refuse(const CString& path, const CString& kept, const CString& why, const CString& operation = {}) {
    ReportUnread(path, kept);
    m_report.entries.back().operation = operation;
    m_report.entries.back().refused = why;
  }

  void ReportUnread(const CString& path, const CString& kept) {
    RecoveryReport::Entry entry;
    entry.leftovers.push_back({path, kept});
    m_report.entries.push_back(std::move(entry));
  }

  void Judge(const DeadJournal& journal) {
    DeadFolder& folder = m_folders[journal.folder];
    switch (journal.content.status) {
    case JournalContent::Status::kEmpty:
      return;
    case JournalContent::Status::kForeign:
    case JournalContent::Status::kUnreadable:
      folder.needed = true;
      ReportUnread(journal.path, folder.path);
      return;
    case JournalContent::Status::kGood:
      break;
    }
    RecordJudge judge({folder.path + '\\'});
    if (const CString other = CollectElsewhere(journal, folder, judge); !other.empty()) {
      folder.needed = true;
      Refuse(journal.path, folder.path, other + " is not yours alone", journal.content.operation);
      return;
    }
    if (journal.content.rolledBack) {
      folder.needed = folder.needed || !m_mayChange;
      return;
    }
    RecoveryReport::Entry entry;
    entry.operation = journal.content.operation;
    entry.finished = journal.content.done;
    const CString stray = journal.content.done ? CString() : FindStray(journal, judge, entry);
    if (!stray.empty()) {
      folder.needed = true;
      Refuse(journal.path, folder.path, "it is about " + stray + ", which no operation changes", entry.operation);
      return;
    }
    if (!m_mayChange) {
      folder.needed = true;
      m_report.entries.push_back(std::move(entry));
      return;
    }
    entry.restored.clear();
    if (journal.content.done) {
      folder.trashDeleted = true;
      folder.label = journal.content.operation;
    } else {
      Undo(journal, judge, entry);
      folder.needed = folder.needed || !entry.leftovers.empty();
    }
    m_report.entries.push_back(std::move(entry));
  }

  // Looks at all before anything is run. What the steps are about goes into the entry.
  CString FindStray(const DeadJournal& journal, const RecordJudge& judge, RecoveryReport::Entry& entry) {
    for (auto line = journal.content.steps.rbegin(); line != journal.content.steps.rend(); ++line) {
      StepRecord record;
      if (journal.content.closed.contains(line->first) || !StepRecord::FromText(line->second, record)) {
        continue;
      }
      const std::vector<CString> strays = judge.FindStrays(record, GetReach());
      if (!strays.empty()) {
        return strays.front();
      }
      if (const OwnedStep step = MakeStep(line->second, judge)) {
        entry.restored.push_back(step->GetTarget());
      }
    }
    return {};
  }

  const Reach& GetReach() {
    if (!m_reach) {
      m_reach = m_options.findReach ? m_options.findReach() : Reach();
    }
    return *m_reach;
  }

  // Only a folder that bears the name of the process's own, and is the user's alone, is one that it made. Answers with
  // one that is not.
  static CString CollectElsewhere(const DeadJournal& journal, DeadFolder& folder, RecordJudge& judge) {
    for (const CString& path : journal.content.folders) {
      if (!RecordJudge::IsPlain(path) || CKestPath(path).GetFileName() != folder.leaf) {
        continue;
      }
      const bool isThere = ProbeFolder(path) != Presence::kAbsent;
      if (isThere && CKestOS::GetMachine().LookAtPrivateFolder(path) == PrivateFolder::kNo) {
        return path;
      }
      folder.elsewhere.push_back(path);
      judge.AddFolder(path + '\\');
    }
    return {};
  }

  static void Undo(const DeadJournal& journal, const RecordJudge& judge, RecoveryReport::Entry& entry) {
    const CString kept = CKestPath(journal.path).GetFolder();
    JournalFile file;
    if (!file.OpenToAppend(journal.path, journal.content.endsInLine)) {
      entry.leftovers.push_back({journal.path, kept});
      return;
    }
    CString room = kept + private_folders::kRoomName;
    UndoWalk walk(&file);
    bool understood = !journal.content.damaged;
    for (auto line = journal.content.steps.rbegin(); line != journal.content.steps.rend(); ++line) {
      if (journal.content.closed.contains(line->first)) {
        continue;
      }
      if (OwnedStep step = MakeStep(line->second, judge)) {
        if (!room.empty()) {
          static_cast<void>(CKestOS::GetMachine().DeleteFile(room)); // gone already, or never needed, is as well
          room.clear();
        }
        walk.Undo(step, line->first);
      } else {
        understood = false;
      }
    }
    walk.Finish(entry.leftovers);
    entry.restored = std::move(walk.GetRestored());
    if (!understood) {
      entry.leftovers.push_back({journal.path, kept});
    }
    if (entry.leftovers.empty()) {
      file.Add("X");
      static_cast<void>(file.WriteAndSync());
    }
    file.Close();
  }

  // What cannot be removed now is found again by the next start.
  static void CleanUp(const DeadFolder& folder) {
    if (folder.needed) {
      return;
    }
    Machine& machine = CKestOS::GetMachine();
    const CString label = folder.label.empty() ? folder.leaf : folder.label;
    const bool recorded = folder.trashDeleted && operation_record::IsIn(folder.GetOwn());
    bool clean = true;
    for (const CString& path : folder.elsewhere) {
      if (folder.trashDeleted && !recorded) {
        static_cast<void>(machine.MoveFolderToTrash(path + '\\' + private_folders::kDeletedFolder, label));
      }
      clean = (machine.RemoveTree(path) || machine.RemoveTree(path) || ProbeFolder(path) == Presence::kAbsent) && clean;
    }
    if (!clean) {
      return;
    }
    if (recorded) {
      static_cast<void>(operation_record::Publish(folder.GetOwn(), label));
    } else if (folder.trashDeleted) {
      static_cast<void>(machine.MoveFolderToTrash(folder.GetOwn() + '\\' + private_folders::kDeletedFolder, label));
    }
    if (!machine.RemoveTree(folder.path)) {
      static_cast<void>(machine.RemoveTree(folder.path));
    }
  }

  const RecoveryOptions& m_options;
  bool m_mayChange;
  std::optional<Reach> m_reach;
  RecoveryReport m_report;
  std::vector<DeadFolder> m_folders;
  std::vector<DeadJournal> m_journals;
};

} // namespace

RecoveryReport RecoverInterruptedOperations(const RecoveryOptions& options) {
  Machine& machine = CKestOS::GetMachine();
  if (private_folders::IsOperationOpen() || private_folders::IsHeld() || !machine.LockWriter(0).held) {
    return {};
  }
  // whoever changes something holds the lock, so every private folder found now is of a process that is gone, or of
  // this one, which has nothing open
  struct Unlocked {
    Machine& machine;
    ~Unlocked() { machine.UnlockWriter(); }
  } const unlocked{machine};
  CKestOS::RemoveTempFolder();
  machine.ForgetFolders();
  return Recovery(options).Run();
}

} // namespace kest
