#pragma once

#include "platform/text/text.h"

namespace kest {

/// How an installed extension is to be repaired.
struct RepairOptions {
  CString package;  ///< windows path of a package of the same version to take files from; empty: what the machine keeps
  bool all = false; ///< what somebody changed is put back, too
};

} // namespace kest
