#include "platform/windows/windows_file.h"

#include <algorithm>

namespace kest {
namespace {

constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;

OVERLAPPED PlaceOf(std::uint64_t at) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(at);
  place.OffsetHigh = static_cast<DWORD>(at >> 32);
  return place;
}

} // namespace

WindowsFile::WindowsFile(std::shared_ptr<WindowsMachine::State> state, WindowsHandle file, CString path, OpenMode mode,
                         std::wstring staged, std::wstring target)
    : m_state(std::move(state)), m_file(std::move(file)), m_path(std::move(path)), m_mode(mode),
      m_staged(std::move(staged)), m_target(std::move(target)) {}

WindowsFile::~WindowsFile() {
  m_file.Reset();
  if (!m_staged.empty()) {
    DeleteFileW(m_staged.c_str());
  }
}

bool WindowsFile::Fail(DWORD code) {
  m_failed = true;
  return m_state->Fail(code, m_path);
}

std::int64_t WindowsFile::ReadAt(std::uint64_t offset, char* buffer, std::size_t count) {
  OVERLAPPED place = PlaceOf(offset);
  DWORD got = 0;
  if (!ReadFile(m_file.Get(), buffer, static_cast<DWORD>(std::min(count, kMostAtOnce)), &got, &place)) {
    const DWORD code = ::GetLastError();
    if (code == ERROR_HANDLE_EOF) {
      return 0;
    }
    if (m_state->owner != nullptr) {
      (void)m_state->CannotTell(code, m_path);
    }
    return -1;
  }
  return got;
}

std::int64_t WindowsFile::Read(char* buffer, std::size_t count) {
  const std::int64_t got = ReadAt(m_at, buffer, count);
  m_at += static_cast<std::uint64_t>(std::max<std::int64_t>(got, 0));
  return got;
}

bool WindowsFile::Put(std::uint64_t offset, const char* bytes, std::size_t count) {
  while (count > 0) {
    OVERLAPPED place = PlaceOf(offset);
    DWORD done = 0;
    if (!WriteFile(m_file.Get(), bytes, static_cast<DWORD>(std::min(count, kMostAtOnce)), &done, &place)) {
      return Fail(::GetLastError());
    }
    bytes += done;
    offset += done;
    count -= done;
  }
  return true;
}

bool WindowsFile::Write(const char* bytes, std::size_t count) {
  if (m_mode == OpenMode::kRead) {
    return m_state->Fail(ERROR_ACCESS_DENIED, m_path);
  }
  constexpr std::uint64_t kEnd = ~std::uint64_t{0};
  const bool isDone = Put(m_mode == OpenMode::kAppend ? kEnd : m_at, bytes, count);
  m_at += isDone ? count : 0;
  return isDone;
}

bool WindowsFile::WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) {
  if (m_mode == OpenMode::kRead || m_mode == OpenMode::kAppend) {
    return m_state->Fail(ERROR_ACCESS_DENIED, m_path);
  }
  return Put(offset, bytes, count);
}

bool WindowsFile::GetSize(std::uint64_t& size) {
  LARGE_INTEGER bytes{};
  if (!GetFileSizeEx(m_file.Get(), &bytes)) {
    return m_state->owner != nullptr && IsYes(m_state->CannotTell(::GetLastError(), m_path));
  }
  size = static_cast<std::uint64_t>(bytes.QuadPart);
  return true;
}

bool WindowsFile::SetDate(const CKestDateTime& date) {
  if (m_mode == OpenMode::kRead) {
    return m_state->Fail(ERROR_ACCESS_DENIED, m_path);
  }
  m_date = FileTimeOf(date.GetSeconds());
  return true;
}

bool WindowsFile::Sync() { return FlushFileBuffers(m_file.Get()) || Fail(::GetLastError()); }

bool WindowsFile::Close() {
  if (m_closed) {
    return !m_failed;
  }
  m_closed = true;
  if (!m_failed && m_date && !SetFileTime(m_file.Get(), nullptr, nullptr, &*m_date)) {
    (void)Fail(::GetLastError());
  }
  m_file.Reset();
  if (!m_failed && !m_staged.empty()) {
    if (const DWORD code = m_state->Rename(m_staged, m_target, true); code != 0) {
      return Fail(code);
    }
    m_staged.clear();
  }
  return !m_failed;
}

} // namespace kest
