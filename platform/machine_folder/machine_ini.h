#pragma once

#include "platform/text/text.h"

#include <optional>
#include <vector>

namespace kest {

/// The text of machine.ini: sections, lines "key = value" or values alone, comments that begin with ";" or "#". Lines
/// that nobody asks about stay as they are.
///
///   [machine]    current-user, multi-user (yes or no), code-page, os-version, host-program
///   [users]      one line a user: name = type
///   [processes]  one executable path a line
class MachineIni {
public:
  /// The text with which a new file begins.
  [[nodiscard]] static const CString& GetTemplate();

  void SetText(std::string_view text);
  [[nodiscard]] CString GetText() const;

  struct Entry {
    CString key; ///< the whole line when it has no "="
    CString value;
    CString line; ///< as it stands, for sections without keys
  };
  /// Entries of a section in file order.
  [[nodiscard]] std::vector<Entry> GetEntries(std::string_view section) const;
  /// Value of the last line with the key (any case); nothing when there is none.
  [[nodiscard]] std::optional<CString> GetValue(std::string_view section, std::string_view key) const;
  void SetValue(std::string_view section, std::string_view key, std::string_view value);
  /// Replaces the entries of a section; its comments and lines without meaning stay. An entry with an empty value is
  /// written as its key alone.
  void SetEntries(std::string_view section, const std::vector<Entry>& entries);

private:
  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  [[nodiscard]] std::vector<Range> FindSections(std::string_view section) const;
  [[nodiscard]] std::size_t PlaceFor(std::string_view section);

  std::vector<CString> m_lines; ///< without their ends
};

} // namespace kest
