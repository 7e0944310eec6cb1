#pragma once

#include <atomic>

namespace kest::test {

/// What the preloaded library counts and what it did: a file of this content that both sides map. Counted are the calls
/// of the kind alone, of the one process that runs under the library.
struct CallFaults {
  std::atomic<long> calls;  ///< of the kind
  std::atomic<long> struck; ///< how many of them failed on purpose
  char first[400];          ///< the first of those: name and path
};

// How the library is told what to do, in the environment.
constexpr const char* kFaultFile = "KEST_FAULT_FILE";   ///< the file above
constexpr const char* kFaultKind = "KEST_FAULT_KIND";   ///< "open", "stat", "read" ... as in call_faults.cpp
constexpr const char* kFaultAt = "KEST_FAULT_AT";       ///< the call that fails, from 1 on; 0 for none
constexpr const char* kFaultOnce = "KEST_FAULT_ONCE";   ///< "1": that one alone, else all from it on
constexpr const char* kFaultErrno = "KEST_FAULT_ERRNO"; ///< a number

} // namespace kest::test
