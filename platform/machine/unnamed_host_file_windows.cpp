#include "platform/machine/unnamed_host_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <windows.h>

namespace kest {
namespace {

constexpr std::size_t kMostAtOnce = 1U << 30;

HANDLE HandleOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

OVERLAPPED PlaceOf(std::uint64_t at) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(at);
  place.OffsetHigh = static_cast<DWORD>(at >> 32);
  return place;
}

int LastErrno() {
  const DWORD code = ::GetLastError();
  return code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL ? ENOSPC
         : code == ERROR_ACCESS_DENIED                             ? EACCES
                                                                   : EIO;
}

} // namespace

UnnamedHostFile::~UnnamedHostFile() {
  if (IsOpen()) {
    CloseHandle(HandleOf(m_handle));
  }
}

int UnnamedHostFile::Open(const CString& folder) {
  std::error_code error;
  const std::filesystem::path place =
      folder.empty() ? std::filesystem::temp_directory_path(error) : std::filesystem::path(folder.c_str());
  for (int i = 0; !error && !IsOpen() && i < 100; ++i) {
    const std::wstring name = L"kest-layer-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64() + i) + L".tmp";
    m_handle = reinterpret_cast<std::intptr_t>(
        CreateFileW((place / name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    if (!IsOpen() && ::GetLastError() != ERROR_FILE_EXISTS) {
      return LastErrno();
    }
  }
  return IsOpen() ? 0 : EIO;
}

int UnnamedHostFile::WriteAt(std::uint64_t at, std::string_view bytes) {
  while (!bytes.empty()) {
    OVERLAPPED place = PlaceOf(at);
    DWORD done = 0;
    const auto count = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
    if (!WriteFile(HandleOf(m_handle), bytes.data(), count, &done, &place)) {
      return LastErrno();
    }
    bytes.remove_prefix(done);
    at += done;
  }
  return 0;
}

int UnnamedHostFile::ReadAt(std::uint64_t at, char* buffer, std::size_t count) const {
  while (count > 0) {
    OVERLAPPED place = PlaceOf(at);
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min(count, kMostAtOnce));
    if (!ReadFile(HandleOf(m_handle), buffer, wanted, &got, &place) || got == 0) {
      return LastErrno();
    }
    buffer += got;
    at += got;
    count -= got;
  }
  return 0;
}

} // namespace kest
