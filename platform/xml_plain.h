#pragma once

#include "platform/xml_parser.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace kest {

/// Reads documents made of no more than elements, attributes, text, comments and CDATA sections, as nearly all are,
/// several times faster than expat does, and tells what the session would tell. It knows no mistakes: at whatever it
/// does not know it gives up, and the document is read again by expat, which leaves out what was told already.
class PlainXml {
public:
  /// `owner` is borrowed; `lineOffset` lines lie before the text.
  PlainXml(CKestXMLParser& owner, const CKestXMLParser::Limits& limits, bool severalRoots, int lineOffset);

  /// Takes the next piece of the document and tells what is in it. How many bytes are done with: the others begin the
  /// next piece. Nothing when it gives up.
  [[nodiscard]] std::optional<std::size_t> Read(std::string_view piece, bool final);
  void GiveUp() { m_hasGivenUp = true; }
  [[nodiscard]] bool HasGivenUp() const { return m_hasGivenUp; }
  /// How many calls the owner got.
  [[nodiscard]] std::size_t GetTold() const { return m_told; }
  /// Line of the event being told.
  [[nodiscard]] int GetLine() const;

private:
  /// What became of one token: told, or its end lies in the next piece, or it is not plain.
  enum class Outcome { kDone, kShort, kForeign };
  enum class Place { kProlog, kContent, kEpilog };
  [[nodiscard]] Outcome ReadToken();
  [[nodiscard]] Outcome ReadBlank();
  [[nodiscard]] Outcome ReadText();
  [[nodiscard]] Outcome ReadStartTag();
  [[nodiscard]] Outcome ReadAttribute(const char*& at);
  [[nodiscard]] Outcome ReadValue(const char*& at);
  [[nodiscard]] Outcome ReadEndTag();
  [[nodiscard]] Outcome ReadDeclared();
  [[nodiscard]] Outcome ReadComment();
  [[nodiscard]] Outcome ReadCData();
  [[nodiscard]] bool AppendReference(const char*& at, CString& out) const;
  [[nodiscard]] bool HasTwins() const;
  [[nodiscard]] Outcome AtEnd() const { return m_final ? Outcome::kForeign : Outcome::kShort; }
  [[nodiscard]] std::string_view Rest() const { return {m_at, static_cast<std::size_t>(m_end - m_at)}; }
  void TellStart(bool isEmpty, const char* end);
  void TellText(const char* text, std::size_t length);

  CKestXMLParser& m_owner;
  const CKestXMLParser::Limits m_limits;
  const bool m_severalRoots;
  Place m_place = Place::kProlog;
  bool m_hasBegun = false;
  bool m_final = false;
  bool m_hasGivenUp = false;
  std::size_t m_told = 0;
  const char* m_begin = nullptr; ///< of the piece
  const char* m_at = nullptr;    ///< the token, or the event, being told
  const char* m_end = nullptr;
  mutable const char* m_counted = nullptr; ///< up to here lines were counted
  mutable int m_linesCounted;
  CString m_words;                     ///< name, and names and values of attributes, each ended by a zero byte
  std::vector<std::size_t> m_starts;   ///< where each of the latter begins
  std::vector<const char*> m_pairs;    ///< the same as addresses
  CString m_open;                      ///< names of the elements that are open, each ended by a zero byte
  std::vector<std::size_t> m_openFrom; ///< where each begins
  CString m_text;                      ///< text that is not as it stands in the document
};

} // namespace kest
