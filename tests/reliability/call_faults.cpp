// A library for LD_PRELOAD that stands between a program and the C library, and makes calls of one kind fail.
#include "reliability/call_faults.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

namespace {

using kest::test::CallFaults;

enum class Kind {
  kNone,
  kOpen,
  kStat,
  kRead,
  kWrite,
  kList,
  kLink,
  kRename,
  kMake,
  kRemove,
  kMark,
  kSync,
  kLock,
  kMap,
  kMemory
};

constexpr const char* kNames[] = {"",     "open",   "stat", "read", "write", "list", "link",  "rename",
                                  "make", "remove", "mark", "sync", "lock",  "map",  "memory"};

bool s_isSettled = false;
Kind s_kind = Kind::kNone;
long s_at = 0;
bool s_once = true;
int s_errno = EIO;
CallFaults* s_shared = nullptr;

// By bare system calls: the wrappers are those that this library replaces.
void Settle() {
  if (s_isSettled || environ == nullptr) {
    return; // the loader allocates before there is an environment
  }
  s_isSettled = true;
  const char* file = getenv(kest::test::kFaultFile);
  const char* kind = getenv(kest::test::kFaultKind);
  if (file == nullptr || kind == nullptr) {
    return;
  }
  const long fd = syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC, 0);
  const long map = syscall(SYS_mmap, nullptr, sizeof(CallFaults), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  syscall(SYS_close, fd);
  if (fd < 0 || map == -1) {
    _exit(99);
  }
  s_shared = reinterpret_cast<CallFaults*>(map);
  s_at = atol(getenv(kest::test::kFaultAt));
  s_once = *getenv(kest::test::kFaultOnce) == '1';
  s_errno = atoi(getenv(kest::test::kFaultErrno));
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    s_kind = std::strcmp(kNames[i], kind) == 0 ? static_cast<Kind>(i) : s_kind;
  }
}

// Whether this call has to fail; errno is set then.
bool Fails(Kind kind, const char* name, const char* path = "") {
  if (!s_isSettled) {
    Settle();
  }
  if (kind != s_kind || s_shared == nullptr) {
    return false;
  }
  const long call = ++s_shared->calls;
  if (s_at == 0 || call < s_at || (s_once && call > s_at)) {
    return false;
  }
  if (s_shared->struck++ == 0) {
    char* out = s_shared->first;
    const char* end = out + sizeof s_shared->first - 1;
    for (const char* from : {name, " ", path != nullptr ? path : ""}) {
      while (*from != 0 && out < end) {
        *out++ = *from++;
      }
    }
    *out = 0;
  }
  errno = s_errno;
  return true;
}

template <class Function> Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// `RESULT NAME(PARAMETERS)` that fails with FAILURE; ARGUMENTS passes the parameters on.
#define FAULTY(KIND, RESULT, FAILURE, NAME, PATH, PARAMETERS, ARGUMENTS)                                               \
  RESULT NAME PARAMETERS {                                                                                             \
    static RESULT(*const next) PARAMETERS = Next<RESULT PARAMETERS>(#NAME);                                            \
    return Fails(Kind::KIND, #NAME, PATH) ? FAILURE : next ARGUMENTS;                                                  \
  }
#define FAULTY_INT(KIND, NAME, PATH, PARAMETERS, ARGUMENTS) FAULTY(KIND, int, -1, NAME, PATH, PARAMETERS, ARGUMENTS)
#define FAULTY_SIZE(KIND, NAME, PARAMETERS, ARGUMENTS) FAULTY(KIND, ssize_t, -1, NAME, "", PARAMETERS, ARGUMENTS)

#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wunknown-warning-option"
#pragma GCC diagnostic ignored "-Wattribute-alias"

extern "C" {

// The mode is passed on whether it was given or not; the kernel looks at it only when it was.
int open(const char* path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const mode_t mode = va_arg(more, mode_t);
  va_end(more);
  return Fails(Kind::kOpen, "open", path) ? -1 : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
int openat(int folder, const char* path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const mode_t mode = va_arg(more, mode_t);
  va_end(more);
  return Fails(Kind::kOpen, "openat", path) ? -1 : static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}
long syscall(long number, ...) noexcept {
  static auto* const next = Next<long(long, ...)>("syscall");
  long given[6];
  va_list more;
  va_start(more, number);
  for (long& one : given) {
    one = va_arg(more, long);
  }
  va_end(more);
  if (number == SYS_openat2 && Fails(Kind::kOpen, "openat2", reinterpret_cast<const char*>(given[1]))) {
    return -1;
  }
  return next(number, given[0], given[1], given[2], given[3], given[4], given[5]);
}
FAULTY(kOpen, FILE*, nullptr, fopen, path, (const char* path, const char* mode), (path, mode))
FAULTY(kOpen, FILE*, nullptr, fopen64, path, (const char* path, const char* mode), (path, mode))
FAULTY(kOpen, DIR*, nullptr, opendir, path, (const char* path), (path))
FAULTY(kOpen, DIR*, nullptr, fdopendir, "", (int fd), (fd))

FAULTY_INT(kStat, stat, path, (const char* path, struct stat* out) noexcept, (path, out))
FAULTY_INT(kStat, lstat, path, (const char* path, struct stat* out) noexcept, (path, out))
FAULTY_INT(kStat, fstat, "", (int fd, struct stat* out) noexcept, (fd, out))
FAULTY_INT(kStat, fstatat, path, (int folder, const char* path, struct stat* out, int flags) noexcept,
           (folder, path, out, flags))
FAULTY_INT(kStat, faccessat, path, (int folder, const char* path, int mode, int flags) noexcept,
           (folder, path, mode, flags))

// What goes to the terminal has nothing to do with the machine.
ssize_t read(int fd, void* out, size_t count) {
  return fd > 2 && Fails(Kind::kRead, "read") ? -1 : syscall(SYS_read, fd, out, count);
}
ssize_t write(int fd, const void* data, size_t count) {
  return fd > 2 && Fails(Kind::kWrite, "write") ? -1 : syscall(SYS_write, fd, data, count);
}
FAULTY_SIZE(kRead, pread, (int fd, void* out, size_t count, off_t at), (fd, out, count, at))
FAULTY_SIZE(kRead, readlink, (const char* path, char* out, size_t count) noexcept, (path, out, count))

FAULTY_SIZE(kWrite, pwrite, (int fd, const void* data, size_t count, off_t at), (fd, data, count, at))
FAULTY_SIZE(kWrite, copy_file_range, (int from, off_t* fromAt, int to, off_t* toAt, size_t count, unsigned flags),
            (from, fromAt, to, toAt, count, flags))

FAULTY(kList, struct dirent*, nullptr, readdir, "", (DIR * folder), (folder))

FAULTY_INT(kLink, link, from, (const char* from, const char* to) noexcept, (from, to))
FAULTY_INT(kLink, linkat, to, (int folder, const char* from, int other, const char* to, int flags) noexcept,
           (folder, from, other, to, flags))
FAULTY_INT(kRename, rename, from, (const char* from, const char* to) noexcept, (from, to))
FAULTY_INT(kRename, renameat, from, (int folder, const char* from, int other, const char* to) noexcept,
           (folder, from, other, to))
FAULTY_INT(kRename, renameat2, from, (int folder, const char* from, int other, const char* to, unsigned flags) noexcept,
           (folder, from, other, to, flags))
FAULTY_INT(kMake, mkdirat, path, (int folder, const char* path, mode_t mode) noexcept, (folder, path, mode))
FAULTY_INT(kMake, mkdir, path, (const char* path, mode_t mode) noexcept, (path, mode))
FAULTY_INT(kRemove, unlinkat, path, (int folder, const char* path, int flags) noexcept, (folder, path, flags))
FAULTY_INT(kMark, fchmod, "", (int fd, mode_t mode) noexcept, (fd, mode))
FAULTY_INT(kMark, fchmodat, path, (int folder, const char* path, mode_t mode, int flags) noexcept,
           (folder, path, mode, flags))
FAULTY_INT(kMark, futimens, "", (int fd, const struct timespec times[2]) noexcept, (fd, times))
FAULTY_INT(kMark, utimensat, path, (int folder, const char* path, const struct timespec times[2], int flags) noexcept,
           (folder, path, times, flags))
FAULTY_INT(kSync, fsync, "", (int fd), (fd))
FAULTY_INT(kSync, fdatasync, "", (int fd), (fd))
FAULTY_INT(kSync, syncfs, "", (int fd) noexcept, (fd))
FAULTY_INT(kLock, flock, "", (int fd, int what) noexcept, (fd, what))
FAULTY(kMap, void*, MAP_FAILED, mmap, "",
       (void* at, size_t size, int protection, int flags, int fd, off_t from) noexcept,
       (at, size, protection, flags, fd, from))

// Not by dlsym, which allocates itself.
void* malloc(size_t size) noexcept { return Fails(Kind::kMemory, "malloc") ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) noexcept {
  return Fails(Kind::kMemory, "calloc") ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) noexcept {
  return Fails(Kind::kMemory, "realloc") ? nullptr : __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) noexcept {
  return Fails(Kind::kMemory, "aligned_alloc") ? nullptr : __libc_memalign(alignment, size);
}
void* memalign(size_t alignment, size_t size) noexcept {
  return Fails(Kind::kMemory, "memalign") ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size) noexcept {
  *out = Fails(Kind::kMemory, "posix_memalign") ? nullptr : __libc_memalign(alignment, size);
  return *out != nullptr ? 0 : ENOMEM;
}

} // extern "C"
