#include "journal/record_judge.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"
#include "platform/text/windows_path.h"

#include <algorithm>

namespace kest {
namespace {

/// A folder alone, with nothing in it.
constexpr const char* kFolderField = "folder";
/// Fields of records that name what a step changes outside of the private folders.
constexpr const char* kTargetFields[] = {"to", "path", "file", "copy", "from", "pending", kFolderField};

} // namespace

void Reach::Add(const CString& folder) {
  constexpr std::size_t kDrive = 3; // "C:\\"
  CString folded = text::Lower(WithBackslash(folder));
  if (folded.size() > kDrive && folded[1] == ':' &&
      std::find(m_folders.begin(), m_folders.end(), folded) == m_folders.end()) {
    m_folders.push_back(std::move(folded));
    m_foldersAsked.clear();
  }
}

bool Reach::Holds(const CString& path) const {
  if (!m_isComplete) {
    return true;
  }
  const auto lies = [this](const CString& folded) {
    return std::any_of(m_folders.begin(), m_folders.end(),
                       [&folded](const CString& folder) { return folded.starts_with(folder); });
  };
  const CString above = text::Lower(CKestPath(path).GetFolder());
  const auto [asked, isNew] = m_foldersAsked.try_emplace(above);
  if (isNew) {
    asked->second = lies(above);
  }
  return asked->second || lies(text::Lower(WithBackslash(path)));
}

bool Reach::LiesIn(const CString& path) const {
  const CString folded = text::Lower(WithBackslash(path));
  return std::any_of(m_folders.begin(), m_folders.end(),
                     [&folded](const CString& folder) { return folder.starts_with(folded); });
}

bool RecordJudge::IsPlain(std::string_view path) {
  constexpr std::size_t kLongestPath = 4096;
  if (path.size() > kLongestPath) {
    return false;
  }
  WindowsPath parsed;
  CString reason;
  return ParseWindowsPath(path, text::GetCodePage(), parsed, reason) && !parsed.parts.empty();
}

bool RecordJudge::IsPrivate(std::string_view path) const {
  if (!IsPlain(path)) {
    return false;
  }
  for (const CString& folder : m_folders) {
    if (path.size() > folder.size() && text::StartsWithNoCase(path, folder)) {
      return true;
    }
  }
  return false;
}

bool RecordJudge::IsTarget(const CString& path, const Reach& reach) {
  Machine& machine = CKestOS::GetMachine();
  CString temp;
  if (!IsPlain(path) || !machine.GetTempRoot(temp) ||
      text::StartsWithNoCase(WithBackslash(path), WithBackslash(temp))) {
    return false;
  }
  return (reach.Holds(path) && machine.HoldsDriveOf(path)) || machine.IsNotedPlace(path);
}

std::vector<CString> RecordJudge::FindStrays(const StepRecord& record, const Reach& reach) const {
  std::vector<CString> strays;
  for (const char* field : kTargetFields) {
    for (CString& path : record.GetAll(field)) {
      const bool isOnTheWay = std::string_view(field) == kFolderField && IsPlain(path) && reach.LiesIn(path) &&
                              CKestOS::GetMachine().HoldsDriveOf(path);
      if (!isOnTheWay && !IsPrivate(path) && !IsTarget(path, reach)) {
        strays.push_back(std::move(path));
      }
    }
  }
  return strays;
}

} // namespace kest
