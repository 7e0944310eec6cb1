#pragma once

#include "platform/machine.h"

namespace kest {

/// Passes every call on to another machine (borrowed). Before each call it asks Allow, which derived classes override to
/// count calls, fail the n-th one, or act between two calls; a call that is not allowed is not passed on and answers
/// false (or its empty value). Writes to open files ask too.
class KEST_API ForwardingMachine : public Machine {
public:
  explicit ForwardingMachine(Machine& next) : m_next(next) {}

  /// One call: its name as declared in Machine ("CopyFile", "Write"), whether it changes the machine, the first path.
  struct Call {
    const char* name;
    bool changes;
    const CString* path;
  };

  // every operation of Machine, overridden in forwarding_machine.cpp
  // (H1: list them here)

protected:
  /// The default allows every call. Clock, users and known places are asked about as well.
  virtual bool Allow(const Call& call) {
    (void)call;
    return true;
  }
  /// What GetLastError is to say after a call that was not allowed.
  virtual MachineError Refusal(const Call& call);

private:
  Machine& m_next;
};

} // namespace kest
