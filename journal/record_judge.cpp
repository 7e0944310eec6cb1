#include "journal/record_judge.h"

#include "platform/text/windows_path.h"

namespace kest {

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

} // namespace kest
