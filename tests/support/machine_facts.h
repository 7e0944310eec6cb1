#pragma once

#include "platform/machine/machine.h"

#include <filesystem>
#include <map>
#include <string>

namespace kest::test {

/// Everything in a folder of a machine, as its questions answer: by path what it is, with size, hash, mark and, unless
/// left out, date.
[[nodiscard]] std::map<std::string, std::string> FactsOf(Machine& machine, const CString& folder, bool dates = true);

/// Everything below a folder of this system with what a look must leave alone: inode numbers, dates to the nanosecond,
/// sizes, rights.
[[nodiscard]] std::map<std::string, std::string> TracesOf(const std::filesystem::path& folder);

} // namespace kest::test
