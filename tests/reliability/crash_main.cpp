// kest_crash [--every N] [--kills N] [--operation NAME] [--trial NAME] [--volumes]
//
// Has every operation of the engine fail, run out of disk and be killed at each of its calls, and prints how the
// machine was found afterwards. --every N takes every N-th point; --volumes puts the configuration on a volume of its
// own. Exit 1 when anything was neither as before nor done.
#include "reliability/crash_trials.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace kest::test {
namespace {

constexpr int kFiles = 30;

struct Trial {
  const char* name;
  Tally (*run)(CrashTrials&, int kills);
  Tally sum;
};

bool runAll(const std::string& operationName, const std::string& trialName, int every, int kills) {
  Trial all[] = {
      {"once", [](CrashTrials& trials, int) { return trials.failCalls(Fault::kFailsOnce); }, {}},
      {"for-good", [](CrashTrials& trials, int) { return trials.failCalls(Fault::kFailsForGood); }, {}},
      {"disk-full", [](CrashTrials& trials, int) { return trials.failCalls(Fault::kDiskFull); }, {}},
      {"kill", [](CrashTrials& trials, int) { return trials.kills(); }, {}},
      {"recovery", [](CrashTrials& trials, int times) { return trials.killedRecoveries(times); }, {}},
  };
  bool isGood = true;
  for (const TriedOperation& operation : GetTriedOperations(kFiles)) {
    if (!operationName.empty() && operationName != operation.name) {
      continue;
    }
    CrashTrials trials(operation, every);
    for (Trial& trial : all) {
      if (!trialName.empty() && trialName != trial.name) {
        continue;
      }
      const auto began = std::chrono::steady_clock::now();
      const Tally tally = trial.run(trials, kills);
      const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
      std::printf("%-9s %-21s %s (%.1f s)\n", trial.name, operation.name.c_str(), tally.text().c_str(), took.count());
      std::fflush(stdout);
      isGood = isGood && tally.isGood();
      trial.sum.add(tally);
    }
  }
  for (const Trial& trial : all) {
    std::printf("%s: %s\n", trial.name, trial.sum.text().c_str());
    isGood = isGood && (trial.sum.points > 0 || (!trialName.empty() && trialName != trial.name));
  }
  return isGood;
}

} // namespace
} // namespace kest::test

int main(int count, char** words) {
  std::string operation;
  std::string trial;
  int every = 1;
  int kills = 6;
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    if (word == "--volumes") {
      kest::test::FaultMachine::setOtherVolume("C:\\Program Files\\Kestrel\\Tidemark 6\\Configuration");
    } else if ((word == "--operation" || word == "--trial") && i + 1 < count) {
      (word == "--trial" ? trial : operation) = words[++i];
    } else if ((word == "--every" || word == "--kills") && i + 1 < count) {
      (word == "--every" ? every : kills) = std::max(1, std::atoi(words[++i]));
    } else {
      std::fprintf(stderr, "kest_crash: what is \"%s\"?\n", words[i]);
      return 2;
    }
  }
  try {
    return kest::test::runAll(operation, trial, every, kills) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kest_crash: %s\n", error.what());
    return 1;
  }
}
