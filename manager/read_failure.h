#pragma once

#include "manager/manager_state.h"
#include "platform/machine/os.h"

namespace kest {

/// What a file counts as that could not be made sense of: `bad`, unless the machine did not let it be read. The last
/// error must have been cleared before.
[[nodiscard]] inline OperationReport::Failure FailureOfReading(OperationReport::Failure bad) {
  const MachineError error = CKestOS::GetMachine().GetLastError();
  const bool isKept = error.kind == MachineError::Kind::kInUse || error.kind == MachineError::Kind::kAccess;
  return isKept ? FailureOf(error) : bad;
}

} // namespace kest
