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
  bool needed = false; ///< something in it is still to be undone
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
        CollectJournals(folder);
        m_folders.push_back(std::move(folder));
      }
    }
  }

  void CollectJournals(DeadFolder& folder) {
    std::vector<FolderEntry> entries;
    if (!IsYes(CKestOS::GetMachine().ListFolder(folder.GetOwn(), entries))) {
      // without a subfolder of its own it is what a process left that died while it unpacked something
      if (ProbeFolder(folder.GetOwn()) != Presence::kAbsent) {
        folder.needed = true;
        ReportUnread(folder.GetOwn(), folder.path);
      }
      return;
    }
    for (const FolderEntry& entry : entries) {
      if (!entry.isFolder && !entry.isLink && entry.name.starts_with(private_folders::kJournalPrefix)) {
        const CString path = folder.GetOwn() + '\\' + entry.name;
        m_journals.push_back({path, ReadJournal(path), m_folders.size()});
      }
    }
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
    CollectElsewhere(journal, folder, judge);
    if (journal.content.rolledBack) {
      return;
    }
    RecoveryReport::Entry entry;
    entry.operation = journal.content.operation;
    entry.finished = journal.content.done;
    if (journal.content.done) {
      folder.trashDeleted = true;
      folder.label = journal.content.operation;
    } else {
      Undo(journal, judge, entry);
      folder.needed = folder.needed || !entry.leftovers.empty();
    }
    m_report.entries.push_back(std::move(entry));
  }

  // Only a folder that bears the name of the process's own is one that it made.
  static void CollectElsewhere(const DeadJournal& journal, DeadFolder& folder, RecordJudge& judge) {
    for (const CString& path : journal.content.folders) {
      if (RecordJudge::IsPlain(path) && CKestPath(path).GetFileName() == folder.leaf) {
        folder.elsewhere.push_back(path);
        judge.AddFolder(path + '\\');
      }
    }
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

  RecoveryReport m_report;
  std::vector<DeadFolder> m_folders;
  std::vector<DeadJournal> m_journals;
};

} // namespace

RecoveryReport RecoverInterruptedOperations() {
  Machine& machine = CKestOS::GetMachine();
  if (private_folders::IsOperationOpen() || private_folders::IsHeld() || !machine.LockWriter(0).held) {
    return {};
  }
  // whoever changes something holds the lock, so every private folder found now is of a process that is gone, or of
  // this one, which has nothing open
  CKestOS::RemoveTempFolder();
  machine.ForgetFolders();
  RecoveryReport report = Recovery().Run();
  machine.UnlockWriter();
  return report;
}

} // namespace kest
