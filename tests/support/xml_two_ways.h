#pragma once

#include "platform/xml_parser.h"

#include <string>

namespace kest::test {

/// How a document is read.
struct XmlReading {
  bool severalRoots = false;
  bool byLine = false; ///< "@" in it is rewritten, line by line
};

/// Writes down all that a parser tells, with the lines at which it does. Text is told when it has ended, wherever that
/// is seen.
class XmlLog : public CKestXMLParser {
public:
  explicit XmlLog(bool rewrites) : m_rewrites(rewrites) {}
  std::string text;

  [[nodiscard]] bool MayRewrite(std::string_view document) const override {
    return m_rewrites && document.find('@') != std::string_view::npos;
  }
  int OnPreProcessLine(CString& line) override {
    text::ReplaceAll(line, "@", "&amp;<b x='1'/>");
    return line.find("refuse") == CString::npos ? 0 : -9;
  }
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override {
    Add("start ", name);
    while (const char* attribute = attributes.GetNextAttr()) {
      Add("  ", std::string(attribute) + "=" + attributes.GetValue());
    }
  }
  void OnElementEnd(const char* name) override { Add("end ", name); }
  void OnCData(const char* data, int length) override {
    text.append("text ").append(data, static_cast<std::size_t>(length)).append("\n");
  }
  void OnCDataSectionStart() override { Add("section", {}); }
  void OnCDataSectionEnd() override { Add("section ends", {}); }
  void OnComment(const char* comment) override { Add("comment ", comment); }
  void OnDefault(const char* data, int length) override {
    Add("other ", std::string_view(data, static_cast<std::size_t>(length)));
  }

private:
  void Add(std::string_view what, std::string_view value) {
    text += std::to_string(GetCurrentLine()).append(" ").append(what).append(value).append("\n");
  }
  bool m_rewrites;
};

inline std::string TellsOf(std::string_view document, const XmlReading& reading) {
  XmlLog log(reading.byLine);
  const int code = reading.byLine         ? log.ParseLines(document, reading.severalRoots)
                   : reading.severalRoots ? log.ParseLines(document, true)
                                          : log.Parse(document.data(), static_cast<int>(document.size()), 1);
  return log.text + std::to_string(code) + " at " + std::to_string(log.GetErrorLine()) + ": " + log.GetErrorText();
}

/// The same by way of the full parser: a document type before the document keeps the plain one from it, and what is
/// told of that is left out. Empty for documents that cannot have one more, or whose first bytes the full parser looks
/// at.
inline std::string TellsOfTyped(std::string_view document, const XmlReading& reading) {
  constexpr std::string_view kMarks("\xEF\xFE\xFF\0", 4);
  if (text::Trimmed(document).starts_with("<?") || document.find("<!D") != std::string_view::npos ||
      document.substr(0, 2).find_first_of(kMarks) != std::string_view::npos) {
    return {};
  }
  const std::string all = TellsOf("<!DOCTYPE a>" + std::string(document), reading);
  constexpr std::string_view kTold = "1 other <!DOCTYPE\n1 other  \n1 other a\n1 other >\n";
  return all.starts_with(kTold) ? all.substr(kTold.size()) : all;
}

} // namespace kest::test
