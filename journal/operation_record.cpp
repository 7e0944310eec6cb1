#include "journal/operation_record.h"

#include "journal/file_state.h"
#include "journal/history_lines.h"
#include "journal/private_folders.h"

#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"

#include <unordered_set>

namespace kest {

std::vector<MergedEffect> MergeEffects(const std::vector<StepEffect>& effects) {
  std::vector<MergedEffect> merged;
  std::unordered_map<CString, std::size_t> known;
  for (const StepEffect& effect : effects) {
    const auto [place, isNew] = known.try_emplace(text::Lower(effect.path), merged.size());
    if (isNew) {
      merged.push_back({{}, true, effect.isBackup});
      merged.back().effect.path = effect.path;
      merged.back().effect.isFolder = effect.isFolder;
      merged.back().effect.existed = effect.existed;
    }
    MergedEffect& one = merged[place->second];
    one.effect.exists = effect.exists;
    one.effect.readOnly = one.effect.readOnly || effect.wasReadOnly;
    if (effect.whyForGood != nullptr) {
      one.effect.whyForGood = effect.whyForGood;
    }
    if (one.marked && !effect.wasReadOnly) {
      one.marked = false;
      one.effect.kept = effect.kept;
    }
  }
  return merged;
}

namespace operation_record {
namespace {

class Writer {
public:
  Writer(const HistoryNote& note, CString own) : m_note(note), m_own(std::move(own)) {}

  bool Add(MergedEffect merged) {
    OperationEffect& effect = merged.effect;
    Machine& machine = CKestOS::GetMachine();
    if (effect.isFolder) {
      const Answer exists = machine.DirectoryExists(effect.path);
      effect.exists = IsYes(exists);
      return exists != Answer::kCannotTell && (effect.exists == effect.existed || Append(effect));
    }
    FileDigest digest;
    if (!Look(effect, digest)) {
      return false;
    }
    effect.hash = digest.hash;
    if (!effect.existed && !effect.exists && effect.whyForGood.empty()) {
      return true;
    }
    if (merged.marked) {
      return Append(effect);
    }
    FileDigest before;
    if (effect.existed && effect.exists && !effect.kept.empty()) {
      if (!DigestFile(effect.kept, before)) {
        return false;
      }
      effect.keptHash = before.hash;
      if (before == digest && !effect.readOnly) {
        return true; // it has what it had
      }
    }
    return Keep(effect) && Append(effect);
  }

  [[nodiscard]] const CString& GetLines() const { return m_lines; }
  [[nodiscard]] const std::vector<CString>& GetKept() const { return m_kept; }
  [[nodiscard]] std::uint64_t GetBytes() const { return m_bytes; }
  [[nodiscard]] long GetCount() const { return m_count; }

private:
  // Whether the file is there, and what it holds. What the operation knows itself is not looked at again.
  bool Look(OperationEffect& effect, FileDigest& digest) {
    if (effect.exists) {
      const auto known = m_note.digests.find(text::Lower(effect.path));
      if (known != m_note.digests.end()) {
        digest = known->second;
        return true;
      }
    } else {
      const CString folder = CKestPath(effect.path).GetFolder();
      if (folder != m_lastFolder) {
        m_lastFolder = folder;
        m_isLastGone = CKestOS::GetMachine().DirectoryExists(folder) == Answer::kNo;
      }
      if (m_isLastGone) {
        return true;
      }
    }
    const Answer exists = CKestOS::GetMachine().FileExists(effect.path);
    effect.exists = IsYes(exists);
    return exists != Answer::kCannotTell && (!effect.exists || DigestFile(effect.path, digest));
  }

  // What lies in the private folder goes to the trash with it; what lies on another volume needs a copy there.
  bool Keep(OperationEffect& effect) {
    if (effect.kept.empty()) {
      return true;
    }
    Machine& machine = CKestOS::GetMachine();
    const auto packaged = m_note.packaged.find(text::Lower(effect.path));
    if (!effect.exists && packaged != m_note.packaged.end()) {
      if (!IsYes(machine.GetFileDateTime(effect.kept, effect.date))) {
        return false;
      }
      const Answer isReadOnly = machine.IsFileReadOnly(effect.kept);
      if (isReadOnly == Answer::kCannotTell) {
        return false;
      }
      effect.readOnly = effect.readOnly || IsYes(isReadOnly);
      effect.package = packaged->second.package;
      effect.entry = packaged->second.entry;
      effect.kept.clear();
      return true;
    }
    if (private_folders::Holds(effect.kept) && !text::StartsWithNoCase(effect.kept, m_own)) {
      const CString copy = m_own + private_folders::NextName("far");
      if (!machine.CopyFile(effect.kept, copy)) {
        return false;
      }
      effect.kept = copy;
    }
    std::uint64_t size = 0;
    if (!IsYes(machine.GetFileSize(effect.kept, size))) {
      return false;
    }
    if (text::StartsWithNoCase(effect.kept, m_own)) {
      m_bytes += size;
      effect.kept.erase(0, m_own.size());
      m_kept.push_back(effect.kept);
    }
    return true;
  }

  bool Append(const OperationEffect& effect) {
    history_lines::WriteEffect(effect, m_lines);
    ++m_count;
    return true;
  }

  const HistoryNote& m_note;
  CString m_own;
  CString m_lines;
  std::vector<CString> m_kept; ///< in the private folder
  std::uint64_t m_bytes = 0;
  long m_count = 0;
  CString m_lastFolder;      ///< of a file that is gone
  bool m_isLastGone = false; ///< with that folder
};

bool IsJournal(const CString& name) { return name.starts_with(private_folders::kJournalPrefix); }

// Removes what the record does not name, but for the journal, which tells the next start what is left to do.
void Clean(const CString& folder, const CString& relative, const std::unordered_set<CString>& named) {
  Machine& machine = CKestOS::GetMachine();
  std::vector<FolderEntry> entries;
  if (!IsYes(machine.ListFolder(folder, entries))) {
    return;
  }
  for (const FolderEntry& entry : entries) {
    const CString path = folder + '\\' + entry.name;
    const CString name = text::Lower(relative + entry.name);
    if (entry.isFolder && named.contains(name + '\\')) {
      Clean(path, relative + entry.name + '\\', named);
    } else if (entry.isFolder) {
      static_cast<void>(machine.RemoveTree(path));
    } else if (!named.contains(name) && !IsJournal(name) && !machine.DeleteFile(path) &&
               CKestOS::MakeFileWritable(path)) {
      static_cast<void>(machine.DeleteFile(path));
    }
  }
}

// Where a rename does not lead.
bool CopyOver(const CString& own, const CString& target, const std::vector<OperationEffect>& effects) {
  Machine& machine = CKestOS::GetMachine();
  const CString part = target + ".part";
  bool complete = machine.CreateDirectory(part);
  for (const OperationEffect& effect : effects) {
    if (!effect.kept.empty() && text::StartsWithNoCase(effect.kept, own + '\\')) {
      const CString to = part + effect.kept.substr(own.size());
      complete = complete && machine.CreateDirectory(WithoutBackslash(CKestPath(to).GetFolder())) &&
                 machine.CopyFile(effect.kept, to);
    }
  }
  complete =
      complete && machine.CopyFile(own + '\\' + kFileName, part + '\\' + kFileName) && machine.MoveFolder(part, target);
  if (!complete) {
    static_cast<void>(machine.RemoveTree(part));
  }
  return complete;
}

// What is to be known of a record to bring it to its place.
struct Published {
  history_lines::Record record;
  std::unordered_set<CString> named{}; // what it names in its folder, folders with trailing backslash; lower-case
};

void Name(Published& published, std::string_view kept) {
  const CString name = text::Lower(kept);
  for (std::size_t at = text::FindBackslash(name); at != CString::npos; at = text::FindBackslash(name, at + 1)) {
    published.named.insert(name.substr(0, at + 1));
  }
  published.named.insert(name);
}

// Of the record that this process wrote last, by the folder that it lies in: that one is not read again.
std::pair<CString, Published>& LastWritten() {
  static auto* const last = new std::pair<CString, Published>;
  return *last;
}

bool ReadPublished(const CString& own, Published& published) {
  if (!history_lines::ReadRecord(own, published.record)) {
    return false;
  }
  for (const OperationEffect& effect : published.record.effects) {
    if (!effect.kept.empty() && text::StartsWithNoCase(effect.kept, own + '\\')) {
      Name(published, std::string_view(effect.kept).substr(own.size() + 1));
    }
  }
  return true;
}

bool MoveToTrash(const CString& own) {
  Machine& machine = CKestOS::GetMachine();
  CString folder;
  Published published;
  if (LastWritten().first == own + '\\') {
    published = std::exchange(LastWritten(), {}).second;
  } else if (!ReadPublished(own, published)) {
    return false;
  }
  if (!history::GetFolder(folder)) {
    return false;
  }
  const CString trash = folder + history_lines::kTrashFolder;
  if (!machine.CreateDirectory(trash) || !history_lines::AppendLine(folder, published.record)) {
    return false;
  }
  published.named.insert(kFileName);
  const CString target = trash + '\\' + history_lines::TrashName(published.record);
  if (!machine.SameVolume(own, trash)) {
    history_lines::Record record;
    return history_lines::ReadRecord(own, record) && CopyOver(own, target, record.effects) && machine.RemoveTree(own);
  }
  Clean(own, {}, published.named);
  if (!machine.MoveFolder(own, target)) {
    return false;
  }
  std::vector<FolderEntry> entries;
  static_cast<void>(machine.ListFolder(target, entries)); // what cannot be listed is in nobody's way
  for (const FolderEntry& entry : entries) {
    if (IsJournal(entry.name)) {
      static_cast<void>(machine.DeleteFile(target + '\\' + entry.name));
    }
  }
  return true;
}

} // namespace

bool Write(const HistoryNote& note, const std::vector<StepEffect>& effects, CString& path) {
  CString own;
  CString folder;
  long number = 0;
  LastWritten() = {};
  if (!private_folders::GetOwn(own) || !history::GetFolder(folder) || !history_lines::GetNextNumber(folder, number)) {
    return false;
  }
  Writer writer(note, own);
  for (MergedEffect& one : MergeEffects(effects)) {
    if (!writer.Add(std::move(one))) {
      return false;
    }
  }
  StepRecord line = note.line;
  line.Add("number", std::to_string(number));
  line.Add("time", std::to_string(CKestOS::GetMachine().Now().GetSeconds()));
  line.Add("kept-bytes", std::to_string(writer.GetBytes()));
  StepRecord end;
  end.SetKind(history_lines::kEnd);
  end.Add("effects", std::to_string(writer.GetCount()));
  path = own + kFileName;
  if (!CKestFile::WriteAll(path,
                           sealed_line::Seal(line.ToText()) + writer.GetLines() + sealed_line::Seal(end.ToText()))) {
    return false;
  }
  Published published{.record = {.line = std::move(line), .number = number, .effects = {}}};
  for (const CString& kept : writer.GetKept()) {
    Name(published, kept);
  }
  LastWritten() = {own, std::move(published)};
  return true;
}

bool IsIn(const CString& own) { return CKestOS::FileExists(own + '\\' + kFileName); }

bool Publish(const CString& own, const CString& label) {
  if (MoveToTrash(own)) {
    return true;
  }
  static_cast<void>(CKestOS::GetMachine().MoveFolderToTrash(own + '\\' + private_folders::kDeletedFolder, label));
  return false;
}

} // namespace operation_record

} // namespace kest
