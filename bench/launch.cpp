// bench_launch SYNC_FOLDER COMMAND [ARGUMENT...]: runs one command and prints, on the last line of stdout,
//   exit wall_seconds cpu_seconds peak_kib sync_seconds
// The processor time covers the command and its children; sync_seconds is what a syncfs of the folder takes directly
// afterwards, so that a program which leaves its writing to the kernel does not look faster than one that waits. A
// launcher of its own, because a child's peak memory counts from the size of the process that forks it.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double Since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: bench_launch SYNC_FOLDER COMMAND [ARGUMENT...]\n");
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child < 0) {
    std::perror("fork");
    return 2;
  }
  if (child == 0) {
    execvp(argv[2], argv + 2);
    std::perror(argv[2]);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    std::perror("wait4");
    return 2;
  }
  const double wall = Since(start);
  const auto syncStart = std::chrono::steady_clock::now();
  const int folder = open(argv[1], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    syncfs(folder);
    close(folder);
  }
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  std::printf("\n%d %.6f %.6f %ld %.6f\n", code, wall, Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
              usage.ru_maxrss, Since(syncStart));
  return 0;
}
