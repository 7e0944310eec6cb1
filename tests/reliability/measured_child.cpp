// measured_child REPORT PROGRAM [ARGUMENT...]: runs the program and writes "exit seconds kib" into the file REPORT: a
// negative signal instead of the exit when one ended it, its processor time and its greatest memory. A program of its
// own, since a child begins with the greatest memory of the process that it was forked from.
#include <cstdio>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int count, char** words) {
  if (count < 3) {
    return 2;
  }
  const pid_t child = fork();
  if (child == 0) {
    execv(words[2], words + 2);
    _exit(127);
  }
  int status = 0;
  rusage used{};
  if (wait4(child, &status, 0, &used) != child) {
    return 1;
  }
  const double seconds = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                         static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
  std::FILE* report = std::fopen(words[1], "w");
  if (report == nullptr) {
    return 1;
  }
  std::fprintf(report, "%d %f %ld\n", WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), seconds,
               used.ru_maxrss);
  return std::fclose(report) == 0 ? 0 : 1;
}
