#pragma once

#include "reliability/engine_run.h"
#include "reliability/pc_under_test.h"

#include <map>
#include <string>
#include <vector>

namespace kest::test {

/// Figures of one kind of trial over one operation.
struct Tally {
  int points = 0;
  int old = 0;
  int done = 0;
  int afterNextStart = 0; ///< of these, how many were in between until the next start
  int mixed = 0;
  int falseSuccesses = 0;
  int wrongCatalogues = 0;

  [[nodiscard]] bool isGood() const { return points > 0 && mixed == 0 && falseSuccesses == 0 && wrongCatalogues == 0; }
  void add(const Tally& other);
  [[nodiscard]] std::string text() const;
};

/// Tries one operation on its machine, over and over, with something befalling it.
class CrashTrials {
public:
  /// `every`: of the points every one, or every second, third ... (the first and the last always).
  CrashTrials(const TriedOperation& operation, int every);

  /// The n-th call fails, for each n. On return everything has to be as before, or done; where the fault hinders the
  /// undo itself (it is for good), at the latest after the next start.
  [[nodiscard]] Tally failCalls(Fault fault);
  /// The process is killed before each changing call; then the next start, and one more.
  [[nodiscard]] Tally kills();
  /// At `kills` moments of the operation: the next start is itself killed at each of its changing calls.
  [[nodiscard]] Tally killedRecoveries(int kills);

private:
  struct Side {
    PcState state;
    std::vector<std::string> catalogue;
    std::string missing; ///< files of enabled extensions
  };
  enum class Outcome { kOld, kDone, kMixed };

  [[nodiscard]] Side look();
  /// Runs the start and perhaps the operation in a child that dies before its n-th changing call. False: it lived.
  [[nodiscard]] bool diesInChild(int n, bool isRecovery) const;
  [[nodiscard]] Outcome outcomeOf(const PcState& state) const;
  /// Judges the machine after a start; notes what is wrong.
  Outcome judge(Tally& tally, const std::string& where);
  /// The same for one that a killed process left, and another start.
  void judgeTorn(Tally& tally, const std::string& where);
  void judgeReturn(EngineRun& engine, bool isDone, Fault fault, Tally& tally);
  void refresh();
  void complain(const std::string& where, const std::string& what);
  [[nodiscard]] int step(int n, int last) const;

  TriedOperation m_operation;
  PcUnderTest m_pc;
  int m_every;
  Side m_old;
  Side m_done;
  int m_calls = 0;
  int m_changes = 0;
  bool m_isDirty = true;
  int m_complaints = 0;
};

} // namespace kest::test
