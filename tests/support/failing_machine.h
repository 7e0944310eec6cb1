#pragma once

#include "platform/machine/forwarding_machine.h"

#include <functional>
#include <string>

namespace kest::test {

/// Fails the n-th call, once or from then on. Counts nothing until it is armed.
class FailingMachine : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  void arm(int n, bool persistent) {
    m_left = n;
    m_persistent = persistent;
    m_changesOnly = false;
    m_fired = false;
    m_name.clear();
  }
  /// Calls that change nothing do not count.
  void armForChanges(int n) {
    arm(n, false);
    m_changesOnly = true;
  }
  /// Instead of failing, the call runs this and goes on.
  void instead(std::function<void()> work) { m_instead = std::move(work); }
  void disarm() { m_left = 0; }
  [[nodiscard]] bool fired() const { return m_fired; }
  /// Name of the call that failed first.
  [[nodiscard]] const std::string& name() const { return m_name; }

protected:
  bool Allow(const Call& call) override {
    if (m_left == 0 || (m_changesOnly && !call.changes)) {
      return true;
    }
    if (m_left > 1) {
      --m_left;
      return true;
    }
    if (!m_fired) {
      m_name = call.name;
      m_name += call.path != nullptr ? " " + *call.path : "";
    }
    m_fired = true;
    if (!m_persistent) {
      m_left = 0;
    }
    if (m_instead) {
      m_instead();
    }
    return m_instead != nullptr;
  }

private:
  int m_left = 0;
  bool m_persistent = false;
  bool m_changesOnly = false;
  bool m_fired = false;
  std::string m_name;
  std::function<void()> m_instead;
};

/// Holds a file open, and stops the machine's clock but for what each idle moment adds.
class HoldingMachine : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  [[nodiscard]] bool CanUpdateFile(const CString& path) override {
    return !text::EqualNoCase(path, held) && ForwardingMachine::CanUpdateFile(path);
  }
  [[nodiscard]] std::int64_t MonotonicMilliseconds() override { return now; }
  void AllowBackgroundProcessing() override { now += 100; }
  CString held;
  std::int64_t now = 1000;
};

} // namespace kest::test
