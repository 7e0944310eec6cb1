#pragma once

#include "reliability/engine_run.h"
#include "reliability/pc_under_test.h"

#include <string>
#include <vector>

namespace kest::test {

/// How the program is told to do one of the tried operations on that machine, without the program and the machine.
[[nodiscard]] std::vector<std::string> WordsFor(const PcUnderTest& pc, const std::string& operation);

/// Makes the machine on which the operation is tried, and a copy of it called "prepared".
void Prepare(const PcUnderTest& pc, const TriedOperation& operation);

} // namespace kest::test
