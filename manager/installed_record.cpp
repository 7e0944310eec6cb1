#include "manager/installed_record.h"

#include "config/config_change.h"
#include "journal/copy_steps.h"
#include "journal/folder_steps.h"
#include "journal/history.h"
#include "journal/record_judge.h"
#include "journal/step_record.h"
#include "journal/whole_folder_steps.h"
#include "manager/changes.h"
#include "manager/originals.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"
#include "platform/text/sha256.h"

#include <charconv>
#include <map>

namespace kest {
namespace installed_record {
namespace {

constexpr std::size_t kNameDigits = 16;

void AddLine(CString& text, std::string_view kind,
             std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
  sealed_line::Writer line(text, kind);
  for (const auto& [name, value] : fields) {
    line.Add(name, value);
  }
  line.Finish();
}

bool Take(const StepRecord& line, Record& record, std::size_t& counted) {
  const CString path = line.Get("path");
  if (line.GetKind() == "end") {
    const CString count = line.Get("lines");
    return std::from_chars(count.data(), count.data() + count.size(), counted).ec == std::errc();
  }
  if (!RecordJudge::IsTarget(path, Reach())) {
    return false;
  }
  if (line.GetKind() == "file" || line.GetKind() == "original") {
    FileDigest digest{0, line.Get("hash")};
    const CString size = line.Get("size");
    auto& list = line.GetKind() == "file" ? record.files : record.originals;
    list.emplace_back(path, std::move(digest));
    return std::from_chars(size.data(), size.data() + size.size(), list.back().second.size).ec == std::errc();
  }
  if (line.GetKind() == "folder") {
    record.folders.push_back(path);
  } else if (line.GetKind() == "line") {
    record.lines.push_back({path, line.Get("text"), line.Get("before"), line.Get("after")});
  }
  return true;
}

} // namespace

bool GetFolder(CString& folder) {
  if (!history::GetFolder(folder)) {
    return false;
  }
  folder += CString(kFolder) + '\\';
  return true;
}

bool GetPath(const CString& description, CString& path) {
  if (!GetFolder(path)) {
    return false;
  }
  const CString key = text::Lower(description);
  Sha256 hash;
  hash.Add(key.data(), key.size());
  path += hash.Finish().substr(0, kNameDigits) + ".record";
  return true;
}

CString FindDescription(const CString& fileName) {
  CString path;
  CString content;
  if (!GetFolder(path) || !CKestFile::ReadAll(path + fileName, content)) {
    return {};
  }
  std::string_view body;
  StepRecord line;
  const bool isSealed = sealed_line::Unseal(std::string_view(content).substr(0, content.find('\n')), body);
  const CString description = isSealed && StepRecord::FromText(body, line) ? line.Get("path") : CString();
  CString own;
  return GetPath(description, own) && text::EqualNoCase(own, path + fileName) ? description : CString();
}

Answer Read(const CString& description, Record& record, bool& damaged) {
  damaged = false;
  CString path;
  CString content;
  Machine& machine = CKestOS::GetMachine();
  machine.ClearLastError();
  if (!GetPath(description, path)) {
    return machine.GetLastError().kind == MachineError::Kind::kNone ? Answer::kNo : Answer::kCannotTell;
  }
  if (const Answer exists = machine.FileExists(path); exists != Answer::kYes) {
    return exists;
  }
  machine.ClearLastError();
  if (!CKestFile::ReadAll(path, content)) {
    return Answer::kCannotTell;
  }
  record = {};
  std::size_t counted = 0;
  std::size_t lines = 0;
  std::string_view rest = content;
  for (std::size_t end; (end = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(end + 1)) {
    std::string_view body;
    StepRecord line;
    if (!sealed_line::Unseal(rest.substr(0, end), body) || !StepRecord::FromText(body, line) ||
        !Take(line, record, counted)) {
      damaged = machine.GetLastError().kind == MachineError::Kind::kNone;
      return damaged ? Answer::kNo : Answer::kCannotTell;
    }
    ++lines;
  }
  const bool isWhole = rest.empty() && lines == counted && !record.files.empty() &&
                       text::EqualNoCase(record.files.front().first, description);
  damaged = !isWhole;
  return isWhole ? Answer::kYes : Answer::kNo;
}

std::vector<CString> SplitLines(std::string_view content) {
  std::vector<CString> lines;
  while (!content.empty()) {
    const std::size_t end = std::min(content.find('\n'), content.size());
    lines.emplace_back(text::Trimmed(content.substr(0, end)));
    content.remove_prefix(std::min(end + 1, content.size()));
  }
  return lines;
}

std::vector<Line> FindNewLines(const CString& path, std::string_view before, std::string_view after) {
  std::unordered_map<CString, int> had;
  for (const CString& line : SplitLines(before)) {
    ++had[line];
  }
  const std::vector<CString> lines = SplitLines(after);
  std::unordered_map<CString, int> has;
  for (const CString& line : lines) {
    ++has[line];
  }
  const auto isAnchor = [&](const CString& line) {
    const auto old = had.find(line);
    return !line.empty() && old != had.end() && old->second == 1 && has[line] == 1;
  };
  std::vector<Line> found;
  CString above;
  std::size_t open = 0; // of `found`: those that wait for an anchor below them
  for (const CString& line : lines) {
    if (isAnchor(line)) {
      for (; open < found.size(); ++open) {
        found[open].after = line;
      }
      above = line;
    } else if (const auto old = had.find(line); !line.empty() && (old == had.end() || old->second < has[line])) {
      if (old == had.end()) { // one more of what the file has anyhow cannot be told from the others
        found.push_back({path, line, above, {}});
      }
    }
  }
  return found;
}

} // namespace installed_record

namespace install {
namespace {

/// What the install wrote is known from its unpacking, and is not read again.
class UnpackedDigests {
public:
  explicit UnpackedDigests(Context& context) : m_context(context) {
    m_touched.insert(text::Lower(context.destination)); // the description is saved anew
  }

  /// To be called with every step of the install, in their order.
  void Note(const CKestExtensionInstallStep& step, const std::vector<StepEffect>& effects) {
    const bool isPlacing = dynamic_cast<const CInstallCopyFile*>(&step) != nullptr ||
                           dynamic_cast<const CInstallPlaceFolder*>(&step) != nullptr;
    for (const StepEffect& effect : effects) {
      const bool isNew = isPlacing && !effect.existed && effect.exists && effect.whyForGood == nullptr;
      if (effect.isFolder) {
        continue;
      }
      if (isNew && !text::EqualNoCase(effect.path, m_context.destination)) {
        m_touched.erase(text::Lower(effect.path)); // what stood there before went first
      } else {
        m_touched.insert(text::Lower(effect.path));
      }
    }
  }

  /// False: only reading tells what lies there, since something else than its placing was done to it. Gives each away
  /// once.
  [[nodiscard]] bool Take(const FilePlace& place, FileDigest& digest) {
    const auto number = m_context.unpacked.find(text::Lower(place.source.GetText()));
    const CString& path = place.destination.GetText();
    if (number == m_context.unpacked.end() || m_context.existing.count(path) != 0 ||
        m_touched.contains(text::Lower(path))) {
      return false;
    }
    digest = {m_context.entries[number->second].size, std::exchange(m_context.hashes[number->second], {})};
    return !digest.hash.empty();
  }

private:
  Context& m_context;
  std::unordered_set<CString> m_touched; ///< lower-case
};

/// The lines of a record, counted.
struct Lines {
  void Add(std::string_view kind, std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
    installed_record::AddLine(content, kind, fields);
    ++count;
  }
  CString content;
  std::size_t count = 0;
};

bool AddFile(Context& context, Lines& lines, const CString& path, FileDigest digest) {
  if (digest.hash.empty() && !DigestFile(path, digest)) {
    return false;
  }
  lines.Add("file", {{"path", path}, {"size", std::to_string(digest.size)}, {"hash", digest.hash}});
  context.state.note.digests[text::Lower(path)] = std::move(digest);
  return true;
}

bool AddFiles(Context& context, UnpackedDigests& unpacked, Lines& lines) {
  if (!AddFile(context, lines, context.destination, {})) {
    return false;
  }
  auto next = context.places.begin();
  for (const CKestExtensionFile& file : context.extension->GetFiles()) {
    const FilePlace& place = *next++;
    const CString& path = place.destination.GetText();
    if (place.result != FilePlace::kResolved || place.unsafe || context.keep.count(path) != 0 || file.IsSystemFile() ||
        text::ContainsNoCase(file.GetDestination(), "$system")) { // those wait for the log-on
      continue;
    }
    FileDigest digest;
    if (!AddFile(context, lines, path, unpacked.Take(place, digest) ? std::move(digest) : FileDigest{})) {
      return false;
    }
  }
  return true;
}

bool AddOriginals(const Context& context, Lines& lines) {
  for (const Originals::Replaced& file : context.originals) {
    FileDigest digest;
    CString copy;
    if (!Originals::GetCopy(file.path, copy) || !DigestFile(copy, digest)) {
      return false;
    }
    lines.Add("original", {{"path", file.path}, {"size", std::to_string(digest.size)}, {"hash", digest.hash}});
  }
  return true;
}

bool AddConfiguration(const Context& context, Lines& lines) {
  for (const auto& [path, before] : context.configuration) {
    CString after;
    if (!CKestOS::FileExists(path)) {
      continue;
    }
    if (!CKestFile::ReadAll(path, after)) {
      return false;
    }
    for (const installed_record::Line& line : installed_record::FindNewLines(path, before, after)) {
      lines.Add("line", {{"path", path}, {"text", line.text}, {"before", line.before}, {"after", line.after}});
    }
  }
  return true;
}

bool Gather(Context& context, CString& content) {
  UnpackedDigests unpacked(context);
  std::vector<CString> folders;
  std::vector<StepEffect> effects;
  for (const CKestExtensionInstallStep* step : context.state.journal) {
    effects.clear();
    step->CollectEffects(effects);
    unpacked.Note(*step, effects);
    for (StepEffect& effect : effects) {
      if (effect.isFolder && effect.exists) {
        folders.push_back(std::move(effect.path));
      }
    }
  }
  Lines lines;
  if (!AddFiles(context, unpacked, lines)) {
    return false;
  }
  std::unordered_set<CString> known;
  for (const CString& folder : folders) {
    if (known.insert(text::Lower(folder)).second && CKestOS::DirectoryExists(folder)) {
      lines.Add("folder", {{"path", folder}});
    }
  }
  if (!AddOriginals(context, lines) || !AddConfiguration(context, lines)) {
    return false;
  }
  installed_record::AddLine(lines.content, "end", {{"lines", std::to_string(lines.count + 1)}});
  content = std::move(lines.content);
  return true;
}

bool Place(Context& context, const CString& content) {
  CKestExtensionManager::State& state = context.state;
  CString path;
  CString temp;
  CString file;
  if (!installed_record::GetPath(context.destination, path) || !CKestOS::GetTempPath(temp) ||
      !CKestOS::GetTempFileName(temp, "rec", file) || !CKestFile::WriteAll(file, content)) {
    return false;
  }
  std::vector<CString> missing; // the folders are ours, not the user's: the report is not to tell of them
  return state.CollectMissingFolders(CKestPath(path).GetFolder(), missing) &&
         std::all_of(missing.begin(), missing.end(),
                     [&](const CString& one) { return RunStep<CInstallCreateFolder>(state.journal, one) == 0; }) &&
         RunStep<CInstallCopyFile>(state.journal, file, path, false, false) == 0;
}

} // namespace

bool NoteConfiguration(Context& context) {
  for (const CString& path : ListConfigurationFiles(*context.product, *context.extension)) {
    CString content;
    if (!CKestOS::FileExists(path) || CKestFile::ReadAll(path, content)) {
      context.configuration.try_emplace(CKestOS::GetMachine().GetStoredPath(path), std::move(content));
    }
  }
  return true;
}

bool RecordInstalled(Context& context) {
  CString content;
  if (!Gather(context, content) || !Place(context, content)) {
    if (!context.originals.empty()) {
      context.state.FailByMachine(context.originals.front().path,
                                  "it could not be noted for the uninstall what stood there");
      return false;
    }
    context.state.Note({OperationReport::Failure::kOther, CString(),
                        "what was installed could not be recorded: it cannot be verified later", 0, CString(),
                        CString(), false});
  }
  context.hashes = {}; // memory that the record of the operation needs
  context.unpacked = {};
  context.places = {};
  return true;
}

} // namespace install
} // namespace kest
