#include "reliability/crash_trials.h"
#include "reliability/program_run.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace kest::test {

void Tally::add(const Tally& other) {
  points += other.points;
  old += other.old;
  done += other.done;
  afterNextStart += other.afterNextStart;
  mixed += other.mixed;
  falseSuccesses += other.falseSuccesses;
  wrongCatalogues += other.wrongCatalogues;
}

std::string Tally::text() const {
  return std::to_string(points) + " points, " + std::to_string(old + done) + " old or new (" + std::to_string(old) +
         " old, " + std::to_string(done) + " new; " + std::to_string(afterNextStart) + " of them by the next start), " +
         std::to_string(mixed) + " mixed, " + std::to_string(falseSuccesses) + " false successes, " +
         std::to_string(wrongCatalogues) + " wrong catalogues";
}

CrashTrials::CrashTrials(const TriedOperation& operation, int every) : m_operation(operation), m_every(every) {
  Prepare(m_pc, m_operation);
  m_old = look();
  for (const bool isChanges : {false, true}) {
    m_pc.restore("prepared");
    EngineRun engine(m_pc.root());
    engine.start();
    engine.machine().arm(isChanges ? Fault::kKill : Fault::kNone, 1 << 30);
    MustSucceed(m_operation.run(engine), engine, m_operation.name);
    engine.machine().disarm();
    (isChanges ? m_changes : m_calls) = engine.machine().calls();
  }
  m_done = look();
  if (!m_done.missing.empty() && !m_operation.name.starts_with("undo-")) {
    throw std::runtime_error(m_operation.name + ": " + m_done.missing);
  }
  if (m_old.state.difference(m_done.state).empty()) {
    throw std::runtime_error(m_operation.name + " changes nothing");
  }
}

CrashTrials::Side CrashTrials::look() {
  EngineRun engine(m_pc.root());
  engine.start();
  return {m_pc.state(), engine.catalogue(), engine.missingFiles()};
}

void CrashTrials::refresh() {
  if (m_isDirty) {
    m_pc.restore("prepared");
    m_isDirty = false;
  }
}

int CrashTrials::step(int n, int last) const { return n < last ? std::min(n + m_every, last) : n + 1; }

void CrashTrials::complain(const std::string& where, const std::string& what) {
  // the first ones tell enough
  if (++m_complaints <= 5) {
    std::printf("%s, %s:\n%s\n", m_operation.name.c_str(), where.c_str(), what.substr(0, 3000).c_str());
  }
}

CrashTrials::Outcome CrashTrials::outcomeOf(const PcState& state) const {
  if (m_old.state.difference(state).empty()) {
    return Outcome::kOld;
  }
  return m_done.state.difference(state).empty() ? Outcome::kDone : Outcome::kMixed;
}

CrashTrials::Outcome CrashTrials::judge(Tally& tally, const std::string& where) {
  EngineRun engine(m_pc.root());
  engine.start();
  const PcState state = m_pc.state();
  const Outcome outcome = outcomeOf(state);
  m_isDirty = outcome != Outcome::kOld;
  if (outcome == Outcome::kMixed) {
    ++tally.mixed;
    complain(where,
             "against before:\n" + m_old.state.difference(state) + "against done:\n" + m_done.state.difference(state));
    return outcome;
  }
  ++(outcome == Outcome::kOld ? tally.old : tally.done);
  const std::string missing = engine.missingFiles();
  const Side& expected = outcome == Outcome::kOld ? m_old : m_done;
  if (engine.catalogue() != expected.catalogue || missing != expected.missing) {
    ++tally.wrongCatalogues;
    complain(where, "the catalogue does not agree; " + missing);
  }
  return outcome;
}

void CrashTrials::judgeTorn(Tally& tally, const std::string& where) {
  ++tally.points;
  tally.afterNextStart += outcomeOf(m_pc.state()) == Outcome::kMixed ? 1 : 0;
  judge(tally, where);
  // a start that finds nothing left to do must not do anything
  const PcState before = m_pc.state();
  EngineRun engine(m_pc.root());
  engine.start();
  const std::string changed = before.difference(m_pc.state());
  if (!changed.empty() || !engine.manager().GetRecoveryReport().entries.empty()) {
    ++tally.mixed;
    m_isDirty = true;
    complain(where, "one more start changes:\n" + changed);
  }
}

void CrashTrials::judgeReturn(EngineRun& engine, bool isDone, Fault fault, Tally& tally) {
  const std::string where = "call " + std::to_string(engine.machine().calls()) + " " + engine.machine().name();
  const PcState state = m_pc.state();
  const Outcome outcome = outcomeOf(state);
  m_isDirty = outcome != Outcome::kOld;
  if (isDone && outcome != Outcome::kDone && fault == Fault::kFailsOnce) {
    ++tally.falseSuccesses;
    complain(where, "success was told:\n" + m_done.state.difference(state));
  } else if (outcome == Outcome::kMixed && !isDone && engine.report().rolledBack &&
             (fault == Fault::kFailsOnce || !m_old.state.differenceOutsidePrivate(state).empty())) {
    ++tally.mixed;
    complain(where, "told that all was taken back:\n" + m_old.state.difference(state));
  } else if (outcome != Outcome::kMixed) {
    const bool isAsBefore = outcome == Outcome::kOld;
    ++(isAsBefore ? tally.old : tally.done);
    if (engine.catalogue() != (isAsBefore ? m_old : m_done).catalogue) {
      ++tally.wrongCatalogues;
      complain(where, "the catalogue in memory does not agree");
    }
  } else {
    ++tally.afterNextStart;
  }
}

Tally CrashTrials::failCalls(Fault fault) {
  Tally tally;
  bool isOver = false;
  for (int n = 1; !isOver; n = step(n, m_calls)) {
    refresh();
    m_isDirty = true;
    const int between = tally.afterNextStart;
    std::string where;
    bool isDone = false;
    {
      EngineRun engine(m_pc.root());
      engine.start();
      engine.machine().arm(fault, n);
      isDone = m_operation.run(engine);
      engine.machine().disarm();
      isOver = engine.machine().calls() < n;
      where = "after call " + std::to_string(n) + " " + engine.machine().name();
      if (!isOver) {
        ++tally.points;
        judgeReturn(engine, isDone, fault, tally);
      }
    }
    if (tally.afterNextStart > between) {
      const Outcome outcome = judge(tally, where);
      tally.falseSuccesses += isDone && outcome != Outcome::kDone ? 1 : 0;
    }
  }
  return tally;
}

bool CrashTrials::diesInChild(int n, bool isRecovery) const {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    EngineRun engine(m_pc.root());
    if (isRecovery) {
      engine.machine().arm(Fault::kKill, n);
      engine.start();
    } else {
      engine.start();
      engine.machine().arm(Fault::kKill, n);
      if (!m_operation.run(engine)) {
        _exit(3);
      }
    }
    engine.machine().disarm();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSIGNALED(status) && WEXITSTATUS(status) != 0) {
    throw std::runtime_error(m_operation.name + " fails in a child");
  }
  return WIFSIGNALED(status);
}

Tally CrashTrials::kills() {
  Tally tally;
  for (int n = 1; n <= m_changes; n = step(n, m_changes)) {
    refresh();
    m_isDirty = true;
    if (!diesInChild(n, false)) {
      break;
    }
    judgeTorn(tally, "killed before changing call " + std::to_string(n));
  }
  return tally;
}

Tally CrashTrials::killedRecoveries(int kills) {
  Tally tally;
  for (int turn = 0; turn < kills; ++turn) {
    const int n = 1 + (2 * turn + 1) * m_changes / (2 * kills);
    m_pc.restore("prepared");
    if (n > m_changes || !diesInChild(n, false)) {
      continue;
    }
    m_pc.save("torn");
    for (int m = 1;; m += m_every) {
      m_pc.restore("torn");
      m_isDirty = true;
      if (!diesInChild(m, true)) {
        break;
      }
      judgeTorn(tally, "killed at " + std::to_string(n) + ", its recovery at " + std::to_string(m));
    }
  }
  return tally;
}

} // namespace kest::test
