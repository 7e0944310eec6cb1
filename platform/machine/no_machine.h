#pragma once

#include "platform/machine/machine.h"

namespace kest {

/// The machine in force when there is none: every call fails. Never freed.
[[nodiscard]] Machine& GetNoMachine();

} // namespace kest
