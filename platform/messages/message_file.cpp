#include "platform/messages/message_file.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace kest {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

/// The text between the quotes; nothing, and `reason`, when it is not written as one.
std::optional<CString> ReadQuoted(std::string_view written, CString& reason) {
  constexpr std::string_view kLetters = "nrt\"\\";
  constexpr std::string_view kMeanings = "\n\r\t\"\\";
  CString text;
  if (written.empty() || written.front() != '"') {
    reason = "the text does not stand between double quotes";
    return std::nullopt;
  }
  for (std::size_t at = 1; at < written.size(); ++at) {
    if (written[at] == '"') {
      if (at + 1 == written.size()) {
        return text;
      }
      reason = "something follows the closing quote";
      return std::nullopt;
    }
    if (written[at] != '\\') {
      text += written[at];
      continue;
    }
    const std::size_t letter = at + 1 < written.size() ? kLetters.find(written[at + 1]) : std::string_view::npos;
    if (letter == std::string_view::npos) {
      reason = "a backslash stands before none of n, r, t, \" and \\";
      return std::nullopt;
    }
    text += kMeanings[letter];
    ++at;
  }
  reason = "the closing quote is missing";
  return std::nullopt;
}

/// What a format asks for: one bit an argument. Nothing, and `reason`, for one that its arguments do not suit.
std::optional<unsigned> ReadFormat(std::string_view format, std::string_view arguments, CString& reason) {
  unsigned asked = 0;
  for (std::size_t at = format.find('%'); at != std::string_view::npos; at = format.find('%', at)) {
    ++at;
    if (at < format.size() && format[at] == '%') {
      ++at;
      continue;
    }
    const bool byPosition = at + 1 < format.size() && format[at] >= '1' && format[at] <= '9' && format[at + 1] == '$';
    const std::size_t index = byPosition ? static_cast<std::size_t>(format[at] - '1') : 0;
    at += byPosition ? 2 : 0;
    if (at == format.size() || (format[at] != 's' && format[at] != 'd')) {
      reason = "\"%\" begins none of %s, %d, %1$s, %1$d; a percent sign is written %%";
      return std::nullopt;
    }
    if (index >= arguments.size() || arguments[index] != format[at]) {
      reason = "it asks for an argument that this number does not have";
      return std::nullopt;
    }
    if (!byPosition && (arguments.size() > 1 || asked != 0)) {
      reason = "where there are several arguments each is named by its position, as in %1$s";
      return std::nullopt;
    }
    asked |= 1u << index;
  }
  return asked;
}

/// Empty when the text may stand for the English one.
CString Judge(const MessageText& row, const CString& text) {
  CString reason;
  const std::optional<unsigned> asked = ReadFormat(text, row.arguments, reason);
  if (!asked) {
    return reason;
  }
  CString ignored;
  if (*asked != ReadFormat(row.english, row.arguments, ignored).value_or(0)) {
    return "it leaves out an argument that the English text has, or the other way round";
  }
  const std::string_view english = row.english;
  if (text.empty()) {
    return "the text is empty";
  }
  if (english.ends_with('\n') != text.ends_with('\n')) {
    return "it has to end with a line feed just as the English text does";
  }
  return {};
}

} // namespace

void MessageFile::SetText(std::string_view content) {
  m_texts.clear();
  m_problems.clear();
  if (content.starts_with(kMark)) {
    content.remove_prefix(kMark.size());
  }
  for (int number = 1; !content.empty(); ++number) {
    const std::size_t end = std::min(content.find('\n'), content.size());
    ReadLine(text::Trimmed(content.substr(0, end)), number);
    content.remove_prefix(std::min(end + 1, content.size()));
  }
}

void MessageFile::ReadLine(std::string_view line, int lineNumber) {
  if (line.empty() || line.front() == '#') {
    return;
  }
  const auto refuse = [&](CString reason) { m_problems.push_back({lineNumber, std::move(reason)}); };
  int number = 0;
  const auto [behind, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  const MessageText* const row = error == std::errc() ? FindMessage(number) : nullptr;
  if (row == nullptr) {
    refuse("it does not begin with the number of a message");
    return;
  }
  CString reason;
  const auto length = static_cast<std::size_t>(behind - line.data());
  std::optional<CString> read = ReadQuoted(text::Trimmed(line.substr(length)), reason);
  if (read) {
    reason = Judge(*row, *read);
  }
  if (reason.empty() && !m_texts.try_emplace(number, *read).second) {
    reason = "the number stands in the file twice; its first text counts";
  }
  if (!reason.empty()) {
    refuse(std::move(reason));
  }
}

bool MessageFile::Load(int number, CString& text) {
  const auto at = m_texts.find(number);
  if (at == m_texts.end()) {
    return false;
  }
  text = at->second;
  return true;
}

} // namespace kest
