#include "journal/history.h"

#include "journal/file_state.h"
#include "journal/history_lines.h"
#include "journal/operation_record.h"
#include "journal/record_judge.h"

#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

namespace kest {
namespace {

constexpr const char* kLogName = "history.log";
constexpr const char* kSettingsName = "settings.txt";
constexpr const char* kEffect = "effect";
constexpr std::uint64_t kTail = 64u << 10;
constexpr long kLastNumber = 999999999; // the last that is read back
constexpr std::int64_t kDay = 24 * 60 * 60;

template <class T> bool Parse(std::string_view text, T& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && value >= 0;
}

/// Calls `visit` with the record of each line that ends, `damaged` of others.
template <class Visit> std::size_t ForEachLine(std::string_view content, const Visit& visit) {
  std::size_t damaged = 0;
  for (std::size_t end; (end = content.find('\n')) != std::string_view::npos; content.remove_prefix(end + 1)) {
    if (end == 0) {
      continue;
    }
    std::string_view body;
    StepRecord record;
    if (!sealed_line::Unseal(content.substr(0, end), body) || !StepRecord::FromText(body, record) || !visit(record)) {
      ++damaged;
    }
  }
  return damaged;
}

bool FillEntry(const StepRecord& line, HistoryEntry& entry) {
  std::int64_t seconds = 0;
  if (line.GetKind() != HistoryNote::kKind || !sealed_line::ParseNumber(line.Get("number"), entry.number) ||
      !Parse(line.Get("time"), seconds)) {
    return false;
  }
  entry.time = CKestDateTime(seconds);
  const std::pair<const char*, CString HistoryEntry::*> fields[] = {
      {"user", &HistoryEntry::user},           {"operation", &HistoryEntry::operation},
      {"extension", &HistoryEntry::extension}, {"author", &HistoryEntry::author},
      {"version", &HistoryEntry::version},     {"product", &HistoryEntry::product},
      {"replaced", &HistoryEntry::replaced},   {"replaced-version", &HistoryEntry::replacedVersion},
      {"result", &HistoryEntry::result}};
  for (const auto& [name, field] : fields) {
    entry.*field = line.Get(name);
  }
  static_cast<void>(sealed_line::ParseNumber(line.Get("undoes"), entry.undoes));
  return true;
}

bool FillEffect(const StepRecord& line, const CString& folder, OperationEffect& effect) {
  effect.path = line.Get("path");
  effect.isFolder = line.GetFlag("folder");
  effect.existed = line.GetFlag("existed");
  effect.exists = line.GetFlag("exists");
  effect.readOnly = line.GetFlag("read-only");
  effect.keptHash = line.Get("kept-hash");
  effect.package = line.Get("package");
  effect.entry = line.Get("entry");
  effect.hash = line.Get("hash");
  effect.whyForGood = line.Get("for-good");
  std::int64_t seconds = 0;
  if (Parse(line.Get("date"), seconds)) {
    effect.date = CKestDateTime(seconds);
  }
  const CString kept = line.Get("kept");
  if (!kept.empty()) {
    effect.kept = RecordJudge::IsPlain(kept) ? kept : folder + '\\' + kept;
  }
  // a record may have been damaged, or put there by somebody
  return RecordJudge::IsPlain(effect.path) && (kept.empty() || RecordJudge::IsPlain(effect.kept)) &&
         (effect.package.empty() || RecordJudge::IsPlain(effect.package));
}

/// The end of the history, from the first line that begins in it; empty when there is none. `torn` when the last line
/// does not end. False when it cannot be read.
bool ReadTail(const CString& path, CString& content, bool& torn) {
  content.clear();
  torn = false;
  const Presence presence = ProbeFile(path);
  if (presence != Presence::kPresent) {
    return presence == Presence::kAbsent;
  }
  const std::unique_ptr<MachineFile> file = CKestOS::GetMachine().Open(path, OpenMode::kRead);
  std::uint64_t size = 0;
  if (file == nullptr || !file->GetSize(size)) {
    return false;
  }
  content.resize(static_cast<std::size_t>(std::min(size, kTail)));
  torn = !content.empty();
  if (torn && file->ReadAt(size - content.size(), content.data(), content.size()) !=
                  static_cast<std::int64_t>(content.size())) {
    return false;
  }
  torn = torn && !content.ends_with('\n');
  return true;
}

bool FindLastNumber(const CString& folder, long& last, bool& torn) {
  CString tail;
  last = 0;
  if (!ReadTail(folder + kLogName, tail, torn)) {
    return false;
  }
  ForEachLine(tail, [&last](const StepRecord& record) {
    long number = 0;
    if (sealed_line::ParseNumber(record.Get("number"), number)) {
      last = std::max(last, number);
    }
    return true;
  });
  return true;
}

} // namespace

namespace history_lines {

void WriteEffect(const OperationEffect& effect, CString& lines) {
  sealed_line::Writer line(lines, kEffect);
  line.Add("path", effect.path);
  const auto flag = [&line](const char* name, bool value) {
    if (value) {
      line.Add(name, "1");
    }
  };
  const auto text = [&line](const char* name, const CString& value) {
    if (!value.empty()) {
      line.Add(name, value);
    }
  };
  flag("folder", effect.isFolder);
  flag("existed", effect.existed);
  flag("exists", effect.exists);
  flag("read-only", effect.readOnly);
  text("kept", effect.kept);
  text("kept-hash", effect.keptHash);
  text("package", effect.package);
  text("entry", effect.entry);
  text("hash", effect.hash);
  text("for-good", effect.whyForGood);
  if (!effect.package.empty()) {
    line.Add("date", std::to_string(effect.date.GetSeconds()));
  }
  line.Finish();
}

bool ReadRecord(const CString& folder, Record& record) {
  CString content;
  if (!CKestFile::ReadAll(folder + '\\' + operation_record::kFileName, content)) {
    return false;
  }
  bool first = true;
  long counted = -1;
  const std::size_t damaged = ForEachLine(content, [&](const StepRecord& line) {
    if (std::exchange(first, false)) {
      record.line = line;
      return line.GetKind() == HistoryNote::kKind && sealed_line::ParseNumber(line.Get("number"), record.number);
    }
    if (line.GetKind() == kEnd) {
      return sealed_line::ParseNumber(line.Get("effects"), counted);
    }
    OperationEffect effect;
    if (line.GetKind() != kEffect || !FillEffect(line, folder, effect)) {
      return false;
    }
    record.effects.push_back(std::move(effect));
    return true;
  });
  return damaged == 0 && counted >= 0 && static_cast<std::size_t>(counted) == record.effects.size();
}

bool GetNextNumber(const CString& folder, long& number) {
  bool torn = false;
  std::vector<TrashEntry> trash;
  if (!FindLastNumber(folder, number, torn) || !history::ListTrash(trash)) {
    return false;
  }
  for (const TrashEntry& entry : trash) {
    number = std::max(number, entry.number);
  }
  return ++number <= kLastNumber;
}

bool AppendLine(const CString& folder, const Record& record) {
  bool torn = false;
  long last = 0;
  if (!FindLastNumber(folder, last, torn)) {
    return false;
  }
  if (last >= record.number) {
    return true;
  }
  const CString path = folder + kLogName;
  const std::unique_ptr<MachineFile> file = CKestOS::GetMachine().Open(path, OpenMode::kAppend);
  const CString line = (torn ? "\n" : "") + sealed_line::Seal(record.line.ToText());
  return file != nullptr && file->Write(line.data(), line.size()) && file->Sync() && file->Close();
}

CString TrashName(const Record& record) {
  return std::to_string(record.number) + '-' + record.line.Get("time") + '-' + record.line.Get("kept-bytes");
}

} // namespace history_lines

namespace history {

bool GetFolder(CString& folder) {
  if (!CKestOS::GetSharedAppDataPath(folder)) {
    return false;
  }
  folder = JoinPath({folder, "Kest"}) + '\\';
  return true;
}

History Read() {
  History read;
  CString folder;
  CString content;
  if (!GetFolder(folder)) {
    return read;
  }
  const Presence presence = ProbeFile(folder + kLogName);
  std::vector<TrashEntry> trash;
  read.isComplete = presence != Presence::kUnknown && ListTrash(trash) &&
                    (presence == Presence::kAbsent || CKestFile::ReadAll(folder + kLogName, content));
  std::map<long, CString> kept;
  for (const TrashEntry& entry : trash) {
    kept[entry.number] = entry.folder;
  }
  std::set<long> told;
  read.unreadable = ForEachLine(content, [&](const StepRecord& line) {
    HistoryEntry entry;
    if (!FillEntry(line, entry)) {
      return false;
    }
    if (!told.insert(entry.number).second) {
      return false;
    }
    if (const auto found = kept.find(entry.number); found != kept.end()) {
      entry.kept = std::move(found->second);
      kept.erase(found);
    }
    read.entries.push_back(std::move(entry));
    return true;
  });
  read.lost = kept.size();
  std::sort(read.entries.begin(), read.entries.end(),
            [](const HistoryEntry& a, const HistoryEntry& b) { return a.number < b.number; });
  return read;
}

bool ReadEffects(const CString& trashFolder, std::vector<OperationEffect>& effects) {
  history_lines::Record record;
  effects.clear();
  if (!history_lines::ReadRecord(trashFolder, record)) {
    return false;
  }
  effects = std::move(record.effects);
  return true;
}

bool ListTrash(std::vector<TrashEntry>& trash) {
  CString folder;
  std::vector<FolderEntry> entries;
  trash.clear();
  if (!GetFolder(folder)) {
    return true;
  }
  const Presence presence = ProbeFolder(folder + history_lines::kTrashFolder);
  if (presence != Presence::kPresent) {
    return presence == Presence::kAbsent;
  }
  if (!IsYes(CKestOS::GetMachine().ListFolder(folder + history_lines::kTrashFolder, entries))) {
    return false;
  }
  for (const FolderEntry& entry : entries) {
    const std::string_view name = entry.name;
    const std::size_t dash = name.find('-');
    const std::size_t second = name.rfind('-');
    TrashEntry one;
    std::int64_t seconds = 0;
    if (entry.isFolder && !entry.isLink && dash != std::string_view::npos && second > dash &&
        sealed_line::ParseNumber(name.substr(0, dash), one.number) &&
        Parse(name.substr(dash + 1, second - dash - 1), seconds) && Parse(name.substr(second + 1), one.bytes)) {
      one.time = CKestDateTime(seconds);
      one.folder = folder + history_lines::kTrashFolder + '\\' + entry.name;
      trash.push_back(std::move(one));
    }
  }
  std::sort(trash.begin(), trash.end(), [](const TrashEntry& a, const TrashEntry& b) { return a.number < b.number; });
  return true;
}

TrashLimits ReadLimits() {
  TrashLimits limits;
  CString folder;
  CString content;
  if (!GetFolder(folder) || !CKestOS::FileExists(folder + kSettingsName) ||
      !CKestFile::ReadAll(folder + kSettingsName, content, kTail)) {
    return limits;
  }
  content += '\n';
  std::string_view rest = content;
  for (std::size_t end; (end = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(end + 1)) {
    const std::string_view line = rest.substr(0, end);
    const std::size_t sign = line.find('=');
    if (sign == std::string_view::npos) {
      continue;
    }
    CString name(line.substr(0, sign));
    CString value(line.substr(sign + 1));
    text::Trim(name);
    text::Trim(value);
    long number = 0;
    if (sealed_line::ParseNumber(value, number)) {
      limits.days = name == "trash-days" ? number : limits.days;
      limits.megabytes = name == "trash-megabytes" ? number : limits.megabytes;
    }
  }
  return limits;
}

bool SelectTrash(const TrashLimits& limits, std::vector<TrashEntry>& trash) {
  if (!ListTrash(trash)) {
    return false;
  }
  const std::int64_t oldest = CKestOS::GetMachine().Now().GetSeconds() - limits.days * kDay;
  const std::uint64_t most = static_cast<std::uint64_t>(limits.megabytes) << 20;
  std::uint64_t bytes = 0;
  auto first = trash.end();
  while (first != trash.begin() && std::prev(first)->time.GetSeconds() > oldest &&
         (bytes += std::prev(first)->bytes) <= most) {
    --first;
  }
  trash.erase(first, trash.end());
  return true;
}

bool DropTrash(const TrashLimits& limits, std::vector<TrashEntry>& dropped) {
  return SelectTrash(limits, dropped) && std::erase_if(dropped, [](const TrashEntry& entry) {
                                           return !CKestOS::GetMachine().RemoveTree(entry.folder);
                                         }) == 0;
}

} // namespace history

} // namespace kest
