#include "platform/windows/windows_text.h"

#include "platform/text/code_page.h"
#include "platform/text/disk_name.h"

namespace kest {
namespace {

constexpr int kUtf8 = 65001;
constexpr std::int64_t kTicks = 10000000; // of a file time a second
constexpr std::int64_t kEpoch = 11644473600;

} // namespace

bool IsWine() { return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

int GetSystemCodePage() {
  static const int codePage = static_cast<int>(GetACP());
  return codePage;
}

std::wstring WideOfUtf8(std::string_view utf8) {
  const std::u16string units = ToUtf16(utf8, kUtf8);
  return {units.begin(), units.end()};
}

CString Utf8OfWide(std::wstring_view wide) { return FromUtf16(std::u16string(wide.begin(), wide.end()), kUtf8); }

std::wstring ToWide(std::string_view text) { return WideOfUtf8(ToDiskName(text, GetSystemCodePage())); }

CString FromWide(std::wstring_view wide) { return FromDiskName(Utf8OfWide(wide), GetSystemCodePage()); }

MachineError DescribeWindowsError(DWORD code, const CString& path) {
  using Kind = MachineError::Kind;
  struct Row {
    DWORD code;
    Kind kind;
    const char* reason;
  };
  static constexpr Row kRows[] = {
      {ERROR_FILE_NOT_FOUND, Kind::kNotFound, "no such file or folder"},
      {ERROR_PATH_NOT_FOUND, Kind::kNotFound, "no such file or folder"},
      {ERROR_INVALID_DRIVE, Kind::kNotFound, "there is no such drive"},
      {ERROR_BAD_NETPATH, Kind::kOther, "the network cannot be reached"},
      {ERROR_FILE_EXISTS, Kind::kExists, "the name is taken"},
      {ERROR_ALREADY_EXISTS, Kind::kExists, "the name is taken"},
      {ERROR_ACCESS_DENIED, Kind::kAccess, "this user may not do that there"},
      {ERROR_PRIVILEGE_NOT_HELD, Kind::kAccess, "this user may not do that there"},
      {ERROR_WRITE_PROTECT, Kind::kAccess, "the disk is write-protected"},
      {ERROR_SHARING_VIOLATION, Kind::kInUse, "a program has it open"},
      {ERROR_LOCK_VIOLATION, Kind::kInUse, "a program has it open"},
      {ERROR_USER_MAPPED_FILE, Kind::kInUse, "a program has it open"},
      {ERROR_DELETE_PENDING, Kind::kInUse, "it is deleted, and a program still has it open"},
      {ERROR_DISK_FULL, Kind::kDiskFull, "no space left on the disk"},
      {ERROR_HANDLE_DISK_FULL, Kind::kDiskFull, "no space left on the disk"},
      {ERROR_DIR_NOT_EMPTY, Kind::kNotEmpty, "the folder is not empty"},
      {ERROR_DIRECTORY, Kind::kRefused, "it is no folder"},
      {ERROR_INVALID_NAME, Kind::kRefused, "Windows does not accept the name"},
      {ERROR_FILENAME_EXCED_RANGE, Kind::kRefused, "the name is too long"},
      {ERROR_NOT_SAME_DEVICE, Kind::kRefused, "it leads to another volume"},
      {ERROR_NOT_SUPPORTED, Kind::kRefused, "the disk does not support that"},
  };
  for (const Row& row : kRows) {
    if (row.code == code) {
      return {row.kind, path, row.reason};
    }
  }
  return {Kind::kOther, path, "Windows says error " + std::to_string(code)};
}

std::int64_t SecondsOf(const FILETIME& time) {
  const std::int64_t ticks = (static_cast<std::int64_t>(time.dwHighDateTime) << 32) + time.dwLowDateTime;
  const std::int64_t seconds = ticks / kTicks - kEpoch;
  return seconds;
}

FILETIME FileTimeOf(std::int64_t seconds) {
  const auto ticks = static_cast<std::uint64_t>((seconds + kEpoch) * kTicks);
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

} // namespace kest
