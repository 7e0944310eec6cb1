#pragma once

#include "platform/machine/machine.h"

namespace kest {

/// Whether waiting, or ending a program, may do away with it; else it is no use to ask the user for that.
[[nodiscard]] inline bool CanUserHelp(const MachineError& error) {
  return error.kind != MachineError::Kind::kOther && error.kind != MachineError::Kind::kExists;
}

} // namespace kest
