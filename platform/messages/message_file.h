#pragma once

#include "platform/messages/messages.h"

#include <unordered_map>
#include <vector>

namespace kest {

/// The texts of another language, read from a file:
///
///   # a remark
///   4035 "„%s“ wurde entfernt."
///
/// One text a line: its number, blanks, the text between double quotes, in UTF-8. In the text `\n`, `\r`, `\t`, `\"`
/// and `\\` stand for what they stand for everywhere. A line is taken when the table has its number and the text asks
/// for exactly the arguments that the English one asks for: by position (%1$s) where the number has several, and with
/// %% for a percent sign. For every other number the English text stays in use.
class KEST_API MessageFile : public MessageSource {
public:
  /// What is wrong with a line that was left out.
  struct Problem {
    int line = 0;   ///< from 1
    CString reason; ///< one sentence part in plain words
  };

  /// Takes the content of a file, in place of what was there before. Never fails; see GetProblems.
  void SetText(std::string_view content);
  [[nodiscard]] const std::vector<Problem>& GetProblems() const { return m_problems; }
  /// How many texts were taken.
  [[nodiscard]] std::size_t GetCount() const { return m_texts.size(); }

  bool Load(int number, CString& text) override;

private:
  void ReadLine(std::string_view line, int lineNumber);

  std::unordered_map<int, CString> m_texts;
  std::vector<Problem> m_problems;
};

} // namespace kest
