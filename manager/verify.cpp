#include "manager/verify.h"

#include "description/extension.h"
#include "manager/installed_record.h"
#include "manager/manager_state.h"
#include "manager/references.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"

#include <algorithm>
#include <map>
#include <unordered_set>

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Standing = VerifyReport::State;

/// A configuration file as it is now.
class Present {
public:
  explicit Present(std::string_view content) : m_lines(installed_record::SplitLines(content)) {
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      m_places[m_lines[i]].push_back(i);
    }
  }

  [[nodiscard]] Standing Find(const installed_record::Line& line) const {
    const auto found = m_places.find(line.text);
    if (found == m_places.end()) {
      return HoldsWordsOf(line.text) ? Standing::kAsInstalled : Standing::kMissing;
    }
    // neighbours that went, or are there twice by now, tell nothing
    const std::size_t* above = FindOnly(line.before);
    const std::size_t* below = FindOnly(line.after);
    const bool stands = std::any_of(found->second.begin(), found->second.end(), [&](std::size_t place) {
      return (above == nullptr || *above < place) && (below == nullptr || place < *below);
    });
    return stands ? Standing::kAsInstalled : Standing::kMoved;
  }

private:
  [[nodiscard]] const std::size_t* FindOnly(const CString& line) const {
    const auto found = line.empty() ? m_places.end() : m_places.find(line);
    return found == m_places.end() || found->second.size() != 1 ? nullptr : found->second.data();
  }

  static std::vector<CString> WordsOf(const CString& line) {
    std::vector<CString> words(1);
    for (const char each : line) {
      if (std::string_view(" \t,:;=").find(each) == std::string_view::npos) {
        words.back() += each;
      } else if (!words.back().empty()) {
        words.emplace_back();
      }
    }
    return words;
  }

  // A line of a list, to which others may have added theirs. Not of markup, where a line is one element.
  [[nodiscard]] bool HoldsWordsOf(const CString& text) const {
    if (text.starts_with('<')) {
      return false;
    }
    const std::vector<CString> words = WordsOf(text);
    return std::any_of(m_lines.begin(), m_lines.end(), [&words](const CString& line) {
      const std::vector<CString> own = WordsOf(line);
      return own.size() >= words.size() && std::all_of(words.begin(), words.end(), [&own](const CString& word) {
               return std::find(own.begin(), own.end(), word) != own.end();
             });
    });
  }

  std::vector<CString> m_lines;
  std::unordered_map<CString, std::vector<std::size_t>> m_places;
};

void Add(VerifyReport& report, const CString& path, Standing standing, const CString& line = {}) {
  if (standing != Standing::kAsInstalled) {
    report.entries.push_back({path, line, standing});
    report.answered = report.answered && (standing != Standing::kUnknown || !report.recorded);
  }
}

Standing JudgeFile(const CString& path, const FileDigest& wanted) {
  FileDigest digest;
  if (!DigestFile(path, digest)) {
    return CKestOS::GetMachine().FileExists(path) == Answer::kNo ? Standing::kMissing : Standing::kUnknown;
  }
  return digest == wanted ? Standing::kAsInstalled : Standing::kChanged;
}

void VerifyLines(const installed_record::Record& record, VerifyReport& report) {
  std::map<CString, std::vector<const installed_record::Line*>> byFile;
  for (const installed_record::Line& line : record.lines) {
    byFile[line.path].push_back(&line);
  }
  for (const auto& [path, lines] : byFile) {
    CString content;
    const Answer presence = CKestOS::GetMachine().FileExists(path);
    const bool read = presence == Answer::kYes && CKestFile::ReadAll(path, content);
    const Present present(content);
    for (const installed_record::Line* line : lines) {
      ++report.lines;
      Add(report, path,
          presence == Answer::kNo ? Standing::kMissing
          : read                  ? present.Find(*line)
                                  : Standing::kUnknown,
          line->text);
    }
  }
}

void FindForeign(References& references, const installed_record::Record& record, VerifyReport& report) {
  std::unordered_set<CString> own;
  for (const auto& [path, digest] : record.files) {
    own.insert(text::Lower(path));
  }
  for (const CString& folder : record.folders) {
    std::vector<FolderEntry> entries;
    if (!IsYes(CKestOS::GetMachine().ListFolder(folder, entries))) {
      continue;
    }
    for (const FolderEntry& entry : entries) {
      const CString path = WithBackslash(folder) + entry.name;
      if (!entry.isFolder && !own.contains(text::Lower(path)) && !references.Holds(path)) {
        Add(report, path, Standing::kForeign);
      }
    }
  }
}

/// Without a record only what is missing can be told.
void VerifyPresence(const std::vector<CString>& paths, VerifyReport& report) {
  for (const CString& path : paths) {
    ++report.files;
    const Answer exists = CKestOS::GetMachine().FileExists(path);
    Add(report, path, exists == Answer::kNo ? Standing::kMissing : Standing::kUnknown);
    report.answered = report.answered && exists != Answer::kCannotTell;
  }
}

} // namespace

bool VerifyReport::HasProblems() const {
  return std::any_of(entries.begin(), entries.end(), [](const Entry& entry) {
    return entry.state == State::kChanged || entry.state == State::kMoved || entry.state == State::kMissing;
  });
}

VerifyReport CKestExtensionManager::VerifyExtension(const CKestProduct* product,
                                                    const CKestExtension* extension) const {
  VerifyReport report;
  if (product == nullptr || extension == nullptr) {
    return report;
  }
  const CString& description = extension->GetPath();
  CKestOS::GetMachine().ClearLastError();
  if (!extension->ReadRest()) {
    const MachineError::Kind refusal = CKestOS::GetMachine().GetLastError().kind;
    report.answered = refusal == MachineError::Kind::kNone || refusal == MachineError::Kind::kNotFound;
    if (!report.answered || CKestOS::GetMachine().FileExists(description) == Answer::kYes) {
      ++report.files;
      Add(report, description, report.answered ? Standing::kChanged : Standing::kUnknown);
      return report;
    }
  }
  if (!extension->IsEnabled()) {
    CKestPath package(description);
    package.SetExtension("kep");
    VerifyPresence({description, package}, report);
    return report;
  }
  installed_record::Record record;
  const Answer recorded = installed_record::Read(description, record, report.damaged);
  report.recorded = IsYes(recorded);
  report.answered = report.answered && recorded != Answer::kCannotTell;
  if (!report.recorded) {
    std::vector<CString> paths = GetInstalledFiles(product, extension);
    paths.insert(paths.begin(), description);
    VerifyPresence(paths, report);
    return report;
  }
  for (const auto& [path, digest] : record.files) {
    ++report.files;
    Add(report, path, JudgeFile(path, digest));
  }
  VerifyLines(record, report);
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  References references(*m_state, product, extension);
  FindForeign(references, record, report);
  return report;
}

std::vector<VerifyReport::Entry> CKestExtensionManager::FindLost(const CKestProduct* product) const {
  std::vector<VerifyReport::Entry> lost;
  std::unordered_set<CString> known;
  CString folder;
  std::vector<FolderEntry> records;
  Machine& machine = CKestOS::GetMachine();
  if (!installed_record::GetFolder(folder) || !IsYes(machine.ListFolder(folder, records))) {
    return lost; // there are none, or the machine does not answer
  }
  for (const auto& [in, list] : m_state->catalogue.All()) {
    for (const CKestExtension* extension : list) {
      if (CString path; installed_record::GetPath(extension->GetPath(), path)) {
        known.insert(text::Lower(path));
      }
    }
  }
  for (const FolderEntry& record : records) {
    if (record.isFolder || !text::EndsWithNoCase(record.name, ".record") ||
        known.contains(text::Lower(folder + record.name))) {
      continue;
    }
    const CString description = installed_record::FindDescription(record.name);
    const CString home = text::Lower(CKestPath(description).GetFolder());
    const bool isServed = std::any_of(m_state->products.begin(), m_state->products.end(), [&](const auto& one) {
      return (product == nullptr || product == one.get()) && one->IsInstalled() &&
             home == text::Lower(m_state->GetExtensionsPath(*one, CString()));
    });
    if (!isServed) {
      continue;
    }
    const Answer exists = machine.FileExists(description);
    CKestExtension again;
    if (exists != Answer::kYes || again.Load(description.c_str(), nullptr) != CKestExtension::kLoaded) {
      lost.push_back({description, CString(),
                      exists == Answer::kYes  ? Standing::kChanged
                      : exists == Answer::kNo ? Standing::kMissing
                                              : Standing::kUnknown});
    }
  }
  return lost;
}

} // namespace kest
