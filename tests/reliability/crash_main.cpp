// kest_crash [TRIAL...] [--every N] [--kills N] [--files N] [--operation NAME] [--volumes]
//
// Has every operation of the engine fail, run out of disk and be killed at each of its calls, and prints how the
// machine was found afterwards. TRIAL: once, for-good, disk-full, kill, recovery; all of them without one. --every N
// takes every N-th point; --volumes puts the configuration on a volume of its own. Exit 1 when anything was neither as
// before nor done.
#include "reliability/crash_trials.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace kest::test {
namespace {

struct Options {
  std::vector<std::string> trials;
  std::string operation;
  int every = 1;
  int kills = 6;
  int files = 30;
};

struct Trial {
  const char* name;
  Tally (*run)(CrashTrials&, const Options&);
};

constexpr Trial kTrials[] = {
    {"once", [](CrashTrials& trials, const Options&) { return trials.failCalls(Fault::kFailsOnce); }},
    {"for-good", [](CrashTrials& trials, const Options&) { return trials.failCalls(Fault::kFailsForGood); }},
    {"disk-full", [](CrashTrials& trials, const Options&) { return trials.failCalls(Fault::kDiskFull); }},
    {"kill", [](CrashTrials& trials, const Options&) { return trials.kills(); }},
    {"recovery", [](CrashTrials& trials, const Options& options) { return trials.killedRecoveries(options.kills); }},
};

bool readOptions(int count, char** words, Options& options) {
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    int* number = word == "--every" ? &options.every : word == "--kills" ? &options.kills : nullptr;
    number = word == "--files" ? &options.files : number;
    if ((number != nullptr || word == "--operation") && i + 1 < count) {
      const char* value = words[++i];
      if (number == nullptr) {
        options.operation = value;
      } else {
        *number = std::max(1, std::atoi(value));
      }
    } else if (word == "--volumes") {
      FaultMachine::setOtherVolume("C:\\Program Files\\Kestrel\\Tidemark 6\\Configuration");
    } else if (std::any_of(std::begin(kTrials), std::end(kTrials),
                           [&](const Trial& one) { return word == one.name; })) {
      options.trials.push_back(word);
    } else {
      std::fprintf(stderr, "kest_crash: what is \"%s\"?\n", word.c_str());
      return false;
    }
  }
  return true;
}

bool runAll(const Options& options) {
  std::vector<Tally> sums(std::size(kTrials));
  bool isGood = true;
  for (const TriedOperation& operation : GetTriedOperations(options.files)) {
    if (!options.operation.empty() && options.operation != operation.name) {
      continue;
    }
    CrashTrials trials(operation, options.every);
    for (std::size_t i = 0; i < std::size(kTrials); ++i) {
      const auto& wanted = options.trials;
      if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), kTrials[i].name) == wanted.end()) {
        continue;
      }
      const auto began = std::chrono::steady_clock::now();
      const Tally tally = kTrials[i].run(trials, options);
      const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
      std::printf("%-9s %-16s %s (%.1f s)\n", kTrials[i].name, operation.name, tally.text().c_str(), took.count());
      std::fflush(stdout);
      isGood = isGood && tally.isGood();
      sums[i].add(tally);
    }
  }
  for (std::size_t i = 0; i < std::size(kTrials); ++i) {
    if (sums[i].points > 0) {
      std::printf("%s: %s\n", kTrials[i].name, sums[i].text().c_str());
    }
  }
  return isGood;
}

} // namespace
} // namespace kest::test

int main(int count, char** words) {
  kest::test::Options options;
  if (!kest::test::readOptions(count, words, options)) {
    return 2;
  }
  try {
    return kest::test::runAll(options) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kest_crash: %s\n", error.what());
    return 1;
  }
}
