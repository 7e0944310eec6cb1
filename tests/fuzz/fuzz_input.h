#pragma once

#include "platform/text/text.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace kest::fuzz {

/// One input of a fuzz target, taken apart from the front: lines with the words of a request, then the file itself. So
/// seeds can be written by hand and dictionaries hold plain words.
class Input {
public:
  Input(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

  /// Up to the next line feed, which is dropped.
  CString TakeLine() {
    const std::size_t end = m_rest.find('\n');
    CString line(m_rest.substr(0, end));
    m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
    return line;
  }
  [[nodiscard]] CString GetRest() const { return CString(m_rest); }

private:
  std::string_view m_rest;
};

/// A broken promise is a finding.
inline void Require(bool kept, const char* promise) {
  if (!kept) {
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
  }
}

/// The same about two texts, which are shown.
inline void RequireEqual(std::string_view a, std::string_view b, const char* promise) {
  if (a != b) {
    std::fprintf(stderr, "broken: %s\n--- one\n%.*s\n--- other\n%.*s\n---\n", promise, static_cast<int>(a.size()),
                 a.data(), static_cast<int>(b.size()), b.data());
    std::abort();
  }
}

/// Letters, digits and a few marks that mean nothing to any of the formats.
inline bool IsPlainWord(std::string_view word) {
  return !word.empty() &&
         word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.") == word.npos;
}

} // namespace kest::fuzz
