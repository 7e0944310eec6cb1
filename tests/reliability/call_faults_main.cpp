// kest_faults [--points N] [--operation NAME] [--kind KIND] [--mode once|for-good] [--files N]
//
// Has the system calls of the real program fail, one kind after the other, one call or all from it on, in each of eight
// operations, and judges the machine, the exit code and the words afterwards. --points N takes N calls of each kind,
// spread evenly, in place of all. Exit 1 when anything was neither as before nor done, or was said to be what it is
// not.
#include "reliability/call_faults.h"
#include "reliability/program_run.h"
#include "support/process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kest::test {
namespace {

struct Kind {
  const char* name;
  int error;
};

constexpr Kind kKinds[] = {
    {"open", EIO},     {"stat", EIO},  {"read", EIO},   {"list", EIO},    {"open", EACCES}, {"open", EMFILE},
    {"stat", EACCES},  {"link", EIO},  {"rename", EIO}, {"make", EACCES}, {"remove", EIO},  {"mark", EPERM},
    {"write", ENOSPC}, {"write", EIO}, {"sync", EIO},   {"lock", ENOLCK}, {"map", ENOMEM},  {"memory", ENOMEM},
};

struct Options {
  int points = 0;
  int files = 14;
  std::string operation;
  std::string kind;
  std::string mode;
};

struct Tally {
  int points = 0;
  int wrong = 0;
  std::map<int, int> exits;
};

class Trials {
public:
  explicit Trials(const Options& options) : m_options(options) {
    setenv("XDG_DATA_HOME", (m_pc.scratch() / "data").c_str(), 1);
    const std::string path = m_pc.scratch() / "faults";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    void* map = fd >= 0 && ftruncate(fd, sizeof(CallFaults)) == 0
                    ? mmap(nullptr, sizeof(CallFaults), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                    : MAP_FAILED;
    if (map == MAP_FAILED) {
      throw std::runtime_error("a test cannot share memory");
    }
    close(fd);
    m_shared = static_cast<CallFaults*>(map);
  }

  bool runAll() {
    std::vector<TriedOperation> all = GetTriedOperations(m_options.files);
    std::erase_if(all, [](const TriedOperation& one) {
      return one.name == "pack" || one.name == "install-disables" || one.name.starts_with("undo-");
    });
    for (const char* more : {"undo", "logon"}) { // of the installed tool, one of whose files waits for the log-on
      all.push_back(all[1]);
      all.back().name = more;
    }
    for (const TriedOperation& operation : all) {
      if (m_options.operation.empty() || operation.name == m_options.operation) {
        runOperation(operation);
      }
    }
    std::printf("calls that failed: %d, wrong afterwards: %d\n", m_sum.points, m_sum.wrong);
    return m_sum.points > 0 && m_sum.wrong == 0;
  }

private:
  void runOperation(const TriedOperation& operation) {
    m_operation = operation.name;
    Prepare(m_pc, operation);
    m_pc.restore("prepared");
    m_old = m_pc.state();
    const ProcessResult undisturbed = run(nullptr, 0, true);
    if (undisturbed.exit != 0) {
      throw std::runtime_error(m_operation + " fails undisturbed: " + undisturbed.err);
    }
    m_done = m_pc.state();
    for (const Kind& kind : kKinds) {
      for (const bool once : {true, false}) {
        if ((m_options.kind.empty() || m_options.kind == kind.name) &&
            (m_options.mode.empty() || (m_options.mode == "once") == once)) {
          runKind(kind, once);
        }
      }
    }
  }

  void runKind(const Kind& kind, bool once) {
    const auto began = std::chrono::steady_clock::now();
    m_pc.restore("prepared");
    (void)run(&kind, 0, once);
    m_pc.restore("prepared");
    const long calls = m_shared->calls;
    const long points = m_options.points > 0 ? std::min<long>(m_options.points, calls) : calls;
    Tally tally;
    for (long i = 0; i < points; ++i) {
      // of a sample each kind takes other ones, so that not every operation is tried at the same place
      const long shift = m_options.points > 0 ? (m_shift += 7) % std::max(1L, calls / points) : 0;
      tryPoint(kind, once, i * calls / points + shift + 1, tally);
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    std::printf("%-9s %-6s %-8s errno %-3d %6ld calls, %6d failed, %d wrong; exits", m_operation.c_str(), kind.name,
                once ? "once" : "for-good", kind.error, calls, tally.points, tally.wrong);
    for (const auto& [exit, count] : tally.exits) {
      std::printf(" %d:%d", exit, count);
    }
    std::printf(" (%.1f s)\n", took.count());
    std::fflush(stdout);
    m_sum.points += tally.points;
    m_sum.wrong += tally.wrong;
  }

  void tryPoint(const Kind& kind, bool once, long at, Tally& tally) {
    const ProcessResult result = run(&kind, at, once);
    if (m_shared->struck == 0) {
      return; // the count of calls is not the same each time
    }
    tally.points += 1;
    tally.exits[result.signal != 0 ? -result.signal : result.exit] += 1;
    const PcState found = m_pc.state();
    const std::string wrong = judge(kind, once, result, found);
    if (!wrong.empty()) {
      tally.wrong += 1;
      std::printf("%s, %s call %ld %s (errno %d), %s: %s\n%s---\n", m_operation.c_str(), kind.name, at,
                  once ? "once" : "and all after it", kind.error, m_shared->first, wrong.c_str(),
                  result.err.size() <= 1500 ? result.err.c_str() : result.err.substr(result.err.size() - 1500).c_str());
    }
    if (!m_old.difference(found).empty()) {
      m_pc.restore("prepared");
    }
  }

  /// What is wrong; empty when nothing is.
  std::string judge(const Kind& kind, bool once, const ProcessResult& result, const PcState& found) {
    const bool isOld = (once ? m_old.difference(found) : m_old.differenceOutsidePrivate(found)).empty();
    if (result.signal != 0) {
      return "ended by signal " + std::to_string(result.signal) +
             (isOld ? "" : "; changed:\n" + m_old.difference(found));
    }
    if (result.exit == 0) {
      const std::string missing = once ? m_done.difference(found) : m_done.differenceOutsidePrivate(found);
      return missing.empty() ? "" : "said to be done and is not:\n" + missing;
    }
    const bool isRight = kind.error == EACCES || kind.error == EPERM || kind.error == ENOSPC;
    if (result.exit != 9 && result.exit != 1 && !(isRight && result.exit == 7)) {
      return "exit " + std::to_string(result.exit);
    }
    if (result.exit == 9) {
      if (result.err.find("  left ") == std::string::npos) {
        return "exit 9, and nothing is named";
      }
    } else if (!isOld) {
      return "exit " + std::to_string(result.exit) + " and not as before:\n" + m_old.difference(found);
    } else if (result.err.find("  changed  nothing") == std::string::npos) {
      return "does not say that nothing was changed";
    }
    if (!m_old.difference(found).empty()) {
      // a log-on that stopped half-way is taken up by the next one
      const bool isLogon = m_operation == "logon";
      const ProcessResult next =
          RunProcess(command(isLogon ? std::vector<std::string>{"machine", "logon"} : std::vector<std::string>{"list"}),
                     options());
      const PcState later = m_pc.state();
      // the mark that it is done may have reached the disk
      const bool isNew = (isLogon || result.exit == 9) && m_done.difference(later).empty();
      if (next.exit != 0 || (!isNew && (isLogon || !m_old.difference(later).empty()))) {
        return "not as before after the next start either:\n" + m_old.difference(later) + next.err;
      }
    }
    return "";
  }

  [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {KEST_PROGRAM, "-m", m_pc.root().string()};
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }
  [[nodiscard]] ProcessOptions options() const {
    ProcessOptions plain;
    plain.environment = {{"XDG_DATA_HOME", m_pc.scratch() / "data"}};
    return plain;
  }

  ProcessResult run(const Kind* kind, long at, bool once) {
    m_shared->calls = 0;
    m_shared->struck = 0;
    m_shared->first[0] = 0;
    ProcessOptions faulty = options();
    if (kind != nullptr) {
      faulty.environment.insert({{"LD_PRELOAD", KEST_FAULT_LIBRARY},
                                 {kFaultFile, m_pc.scratch() / "faults"},
                                 {kFaultKind, kind->name},
                                 {kFaultAt, std::to_string(at)},
                                 {kFaultOnce, once ? "1" : "0"},
                                 {kFaultErrno, std::to_string(kind->error)}});
    }
    return RunProcess(command(WordsFor(m_pc, m_operation)), faulty);
  }

  const Options& m_options;
  PcUnderTest m_pc;
  CallFaults* m_shared = nullptr;
  std::string m_operation;
  PcState m_old;
  PcState m_done;
  Tally m_sum;
  long m_shift = 0;
};

} // namespace
} // namespace kest::test

int main(int count, char** words) {
  kest::test::Options options;
  std::map<std::string, std::string*> texts = {
      {"--operation", &options.operation}, {"--kind", &options.kind}, {"--mode", &options.mode}};
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string word = words[i];
    if (texts.contains(word)) {
      *texts[word] = words[i + 1];
    } else if (word == "--points" || word == "--files") {
      (word == "--points" ? options.points : options.files) = std::max(1, std::atoi(words[i + 1]));
    } else {
      std::fprintf(stderr, "kest_faults: what is \"%s\"?\n", words[i]);
      return 2;
    }
  }
  try {
    return kest::test::Trials(options).runAll() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kest_faults: %s\n", error.what());
    return 1;
  }
}
