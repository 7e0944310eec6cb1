#pragma once

#include "platform/forwarding_machine.h"

#include <string>

namespace kest::test {

/// Fails the n-th call, once or from then on. Counts nothing until it is armed.
class FailingMachine : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  void arm(int n, bool persistent) {
    m_left = n;
    m_persistent = persistent;
    m_fired = false;
    m_name.clear();
  }
  void disarm() { m_left = 0; }
  [[nodiscard]] bool fired() const { return m_fired; }
  /// Name of the call that failed first.
  [[nodiscard]] const std::string& name() const { return m_name; }

protected:
  bool Allow(const Call& call) override {
    if (m_left == 0) {
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
    return false;
  }

private:
  int m_left = 0;
  bool m_persistent = false;
  bool m_fired = false;
  std::string m_name;
};

} // namespace kest::test
