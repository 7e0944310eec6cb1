#pragma once

#include "platform/machine/machine.h"

#include <filesystem>
#include <limits>
#include <map>
#include <string>

namespace kest::test {

/// Everything in a folder of a machine, as its questions answer: by path what it is, with size, hash, mark and date;
/// dates from `now` on are told alike.
[[nodiscard]] std::map<std::string, std::string> FactsOf(Machine& machine, const CString& folder,
                                                         std::int64_t now = std::numeric_limits<std::int64_t>::max());

/// Everything below a folder of this system with what a look must leave alone: inode numbers, dates to the nanosecond,
/// sizes, rights.
[[nodiscard]] std::map<std::string, std::string> TracesOf(const std::filesystem::path& folder);

} // namespace kest::test
