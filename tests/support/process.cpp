#include "support/process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kest::test {
namespace {

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) {
      std::abort();
    }
  }
  ~Pipe() {
    Close(0);
    Close(1);
  }
  void Close(int end) {
    if (ends[end] >= 0) {
      close(ends[end]);
      ends[end] = -1;
    }
  }
};

// False at the end.
bool Drain(int descriptor, std::string& into) {
  char buffer[4096];
  const ssize_t count = read(descriptor, buffer, sizeof buffer);
  if (count > 0) {
    into.append(buffer, static_cast<std::size_t>(count));
  }
  return count > 0 || (count < 0 && errno == EINTR);
}

} // namespace

std::vector<std::string> EnvironmentOf(const std::map<std::string, std::string>& given) {
  std::map<std::string, std::string> all = given;
  for (const char* kept : {"PATH", "HOME", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    if (const char* value = std::getenv(kept)) {
      all.emplace(kept, value);
    }
  }
  std::vector<std::string> lines;
  for (const auto& [name, value] : all) {
    lines.push_back(name + "=" + value);
  }
  return lines;
}

[[noreturn]] void ExecuteIn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                            const std::string& folder) {
  std::vector<char*> arguments;
  std::vector<char*> variables;
  for (const std::string& text : command) {
    arguments.push_back(const_cast<char*>(text.c_str()));
  }
  for (const std::string& text : environment) {
    variables.push_back(const_cast<char*>(text.c_str()));
  }
  arguments.push_back(nullptr);
  variables.push_back(nullptr);
  if (folder.empty() || chdir(folder.c_str()) == 0) {
    execve(arguments[0], arguments.data(), variables.data());
  }
  _exit(127);
}

ProcessResult RunProcess(const std::vector<std::string>& command, const ProcessOptions& options) {
  const std::vector<std::string> environment = EnvironmentOf(options.environment);
  Pipe in;
  Pipe out;
  Pipe err;
  const pid_t child = fork();
  if (child == 0) {
    dup2(in.ends[0], 0);
    dup2(out.ends[1], 1);
    dup2(err.ends[1], 2);
    std::signal(SIGPIPE, SIG_DFL);
    constexpr gid_t kNobody = 65534;
    if (options.withoutRights && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
      _exit(127);
    }
    ExecuteIn(command, environment, options.folder);
  }
  in.Close(0);
  out.Close(1);
  err.Close(1);
  if (options.closedOutput) {
    out.Close(0);
  }
  if (!options.idleInput) {
    in.Close(1);
  }
  ProcessResult result;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.seconds);
  while (out.ends[0] >= 0 || err.ends[0] >= 0) {
    pollfd waiting[2] = {{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}};
    poll(waiting, 2, 200);
    if (waiting[0].revents != 0 && !Drain(out.ends[0], result.out)) {
      out.Close(0);
    }
    if (waiting[1].revents != 0 && !Drain(err.ends[0], result.err)) {
      err.Close(0);
    }
    if (std::chrono::steady_clock::now() > end) {
      kill(child, SIGKILL);
      break;
    }
  }
  int status = 0;
  waitpid(child, &status, 0);
  result.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  return result;
}

} // namespace kest::test
