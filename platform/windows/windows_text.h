#pragma once

#include "platform/machine/machine.h"

#include <string>
#include <utility>

#include <windows.h>

#include "platform/text/windows_names.h"

namespace kest {

/// Whether the system is Wine, in whose prefixes this program meets those for machine folders.
[[nodiscard]] bool IsWine();
/// The system's code page for texts of programs without Unicode.
[[nodiscard]] int GetSystemCodePage();
/// A text or name of the engine as Windows has it, and back. A name that the code page cannot hold comes back as UTF-8;
/// nothing that merely looks alike is taken for it.
[[nodiscard]] std::wstring ToWide(std::string_view text);
[[nodiscard]] CString FromWide(std::wstring_view wide);
/// The same from and to UTF-8.
[[nodiscard]] std::wstring WideOfUtf8(std::string_view utf8);
[[nodiscard]] CString Utf8OfWide(std::wstring_view wide);

/// What an error of Windows means to a user, in words of our own whatever the system's language.
[[nodiscard]] MachineError DescribeWindowsError(DWORD code, const CString& path);

/// Seconds since 1970, and back.
[[nodiscard]] std::int64_t SecondsOf(const FILETIME& time);
[[nodiscard]] FILETIME FileTimeOf(std::int64_t seconds);

/// A handle of Windows, closed with its owner.
class WindowsHandle {
public:
  WindowsHandle() = default;
  explicit WindowsHandle(HANDLE handle) : m_handle(handle) {}
  WindowsHandle(WindowsHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE)) {}
  WindowsHandle& operator=(WindowsHandle&& other) noexcept {
    if (this != &other) {
      Reset();
      m_handle = std::exchange(other.m_handle, INVALID_HANDLE_VALUE);
    }
    return *this;
  }
  ~WindowsHandle() { Reset(); }
  [[nodiscard]] bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE && m_handle != nullptr; }
  [[nodiscard]] HANDLE Get() const { return m_handle; }
  void Reset() {
    if (IsOpen()) {
      CloseHandle(std::exchange(m_handle, INVALID_HANDLE_VALUE));
    }
  }

private:
  HANDLE m_handle = INVALID_HANDLE_VALUE;
};

} // namespace kest
