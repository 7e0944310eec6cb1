#pragma once

#include "platform/machine_folder/host_descriptor.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace kest {

/// Hands each entry of an open folder but "." and ".." to `take` (const dirent&), until it answers false. 0, or an
/// errno, of a list that breaks off as well: what was handed out then is not all there is.
template <class Take> [[nodiscard]] int ForEachEntry(int folder, Take&& take) {
  const int fd = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return errno;
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> list(fdopendir(fd), closedir);
  if (!list) {
    const int code = errno;
    close(fd);
    return code;
  }
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(list.get());
    if (entry == nullptr) {
      return errno;
    }
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && !take(*entry)) {
      return 0;
    }
  }
}

} // namespace kest
