#pragma once

#include "platform/windows/windows_machine_state.h"

#include <optional>

namespace kest {

/// An open file of this PC.
class WindowsFile : public MachineFile {
public:
  /// `staged`: of a kReplace file, the name that it has until it takes the place of `target`.
  WindowsFile(std::shared_ptr<WindowsMachine::State> state, WindowsHandle file, CString path, OpenMode mode,
              std::wstring staged, std::wstring target);
  ~WindowsFile() override;
  WindowsFile(const WindowsFile&) = delete;
  WindowsFile& operator=(const WindowsFile&) = delete;

  std::int64_t Read(char* buffer, std::size_t count) override;
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override;
  bool Write(const char* bytes, std::size_t count) override;
  bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) override;
  bool GetSize(std::uint64_t& size) override;
  bool SetDate(const CKestDateTime& date) override;
  bool Sync() override;
  bool Close() override;

private:
  bool Fail(DWORD code);
  [[nodiscard]] bool Put(std::uint64_t offset, const char* bytes, std::size_t count);

  std::shared_ptr<WindowsMachine::State> m_state;
  WindowsHandle m_file;
  CString m_path;
  OpenMode m_mode;
  std::wstring m_staged;
  std::wstring m_target;
  std::uint64_t m_at = 0; ///< current position; the system's own moves with every call
  std::optional<FILETIME> m_date;
  bool m_failed = false;
  bool m_closed = false;
};

} // namespace kest
