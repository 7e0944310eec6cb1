#include "platform/machine/unnamed_host_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace kest {

UnnamedHostFile::~UnnamedHostFile() {
  if (IsOpen()) {
    close(static_cast<int>(m_handle));
  }
}

int UnnamedHostFile::Open(const CString& folder) {
  std::error_code error;
  const std::filesystem::path place = folder.empty() ? std::filesystem::temp_directory_path(error) : folder.c_str();
  std::string name = (place / "kest-layer-XXXXXX").string();
  m_handle = error ? -1 : mkostemp(name.data(), O_CLOEXEC);
  if (IsOpen()) {
    unlink(name.c_str());
    return 0;
  }
  return errno != 0 ? errno : EIO;
}

int UnnamedHostFile::WriteAt(std::uint64_t at, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = pwrite(static_cast<int>(m_handle), bytes.data(), bytes.size(), static_cast<off_t>(at));
    if (written < 0 && errno != EINTR) {
      return errno;
    }
    const auto done = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    bytes.remove_prefix(done);
    at += done;
  }
  return 0;
}

int UnnamedHostFile::ReadAt(std::uint64_t at, char* buffer, std::size_t count) const {
  while (count > 0) {
    const ssize_t got = pread(static_cast<int>(m_handle), buffer, count, static_cast<off_t>(at));
    if (got == 0 || (got < 0 && errno != EINTR)) {
      return got == 0 ? EIO : errno;
    }
    const auto done = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    buffer += done;
    at += done;
    count -= done;
  }
  return 0;
}

} // namespace kest
