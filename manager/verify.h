#pragma once

#include "platform/text/text.h"

#include <cstddef>
#include <vector>

namespace kest {

/// How an installed extension stands against what its install left.
struct KEST_API VerifyReport {
  /// How one thing stands.
  enum class State {
    kAsInstalled, ///< as the install left it
    kChanged,     ///< somebody has changed it
    kMoved,       ///< an entry of a configuration file that stands elsewhere in it
    kMissing,     ///< it is not there
    kUnknown,     ///< it cannot be told: there is no record, or the machine gives no answer
    kForeign,     ///< a file in a folder of the extension that belongs to nobody
  };
  /// One thing that is not as installed.
  struct Entry {
    CString path;                      ///< windows path
    CString line;                      ///< of an entry of a configuration file: its text; else empty
    State state = State::kAsInstalled; ///< how it stands
  };
  bool recorded = false;      ///< whether there is a record to compare with
  bool damaged = false;       ///< there is one, which is cut short, changed or of a later version
  bool answered = true;       ///< false: the machine did not answer all that was asked, and kUnknown may come of that
  std::size_t files = 0;      ///< files looked at, the description among them
  std::size_t lines = 0;      ///< entries of configuration files looked at
  std::vector<Entry> entries; ///< what is not as installed

  [[nodiscard]] bool HasProblems() const; ///< whether something is changed, moved or missing
};

} // namespace kest
