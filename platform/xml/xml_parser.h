#pragma once

#include "platform/text/text.h"

#include <cstdint>
#include <memory>

namespace kest {

/// Attributes of one start tag in file order, only those written there. Borrowed during the callback.
class KEST_API CKestXMLAttributes {
public:
  /// Over name and value in turn, ended by null; borrowed.
  explicit CKestXMLAttributes(const char* const* pairs) : m_next(pairs) {}
  /// Name of the first attribute, or null.
  [[nodiscard]] const char* GetFirstAttr();
  /// Each call steps to the next attribute.
  [[nodiscard]] const char* GetNextAttr();
  /// Decoded value of the attribute just named.
  [[nodiscard]] const char* GetValue() const { return m_value; }
  void SkipValue() {} ///< passes over the value of the attribute just named

private:
  const char* const* m_next;
  const char* m_value = nullptr;
};

/// Event parser over bytes: whatever encoding the file declares, its bytes come through as they are. Limits: 16 MiB for
/// a description (SetLimits), depth 200, 1 MiB an attribute.
class KEST_API CKestXMLParser {
public:
  /// What a parse answers beside the codes of callbacks.
  enum Code : int { kGood = 0, kUnreadable = -1, kIllFormed = 1, kRefused = 2 };
  /// What a parser refuses to go beyond.
  struct Limits {
    std::size_t bytes = 64u << 20;         ///< of the whole document
    std::size_t depth = 200;               ///< of elements in elements
    std::size_t attributeBytes = 1u << 20; ///< of one attribute value
    std::size_t elements = SIZE_MAX;       ///< in all
  };

  CKestXMLParser();
  virtual ~CKestXMLParser();
  CKestXMLParser(const CKestXMLParser&); ///< copies the limits and what the last parse told, never a parse in progress
  CKestXMLParser& operator=(const CKestXMLParser&); ///< the same

  void SetLimits(const Limits& limits); ///< for the parses to come
  /// 0 good; -1 unreadable; positive: ill-formed; else the code a callback returned. With `severalRoots` the file need
  /// not have a single root element. Each line goes through OnPreProcessLine before its events.
  [[nodiscard]] int ParseFile(const char* path, bool severalRoots);
  /// The same from memory, without OnPreProcessLine. `final` is always 1.
  [[nodiscard]] int Parse(const char* text, int length, int final);
  /// As ParseFile, from bytes that are already in memory.
  [[nodiscard]] int ParseLines(std::string_view content, bool severalRoots);

  /// False is a promise that OnPreProcessLine would leave every line of `text` alone and answer 0: the parser then
  /// skips the calls. `text` is one line, or all of them.
  [[nodiscard]] virtual bool MayRewrite(std::string_view text) const;
  /// One raw line without its end, before it is parsed; may rewrite it. Non-zero ends the parse with that code. The XML
  /// declaration is not passed. The same lines may be passed again from the first one on, and must become the same.
  virtual int OnPreProcessLine(CString& line);
  /// A start tag; both arguments are borrowed during the call.
  virtual void OnElementStart(const char* name, CKestXMLAttributes& attributes);
  virtual void OnElementEnd(const char* name); ///< an end tag, or the end of an empty element
  /// Outside CDATA one call for a whole run between two pieces of markup; inside, one call for a line's text and one
  /// for each line feed. `length` rules.
  virtual void OnCData(const char* text, int length);
  virtual void OnCDataSectionStart();       ///< a CDATA section begins
  virtual void OnCDataSectionEnd();         ///< a CDATA section ends
  virtual void OnComment(const char* text); ///< a comment's text, borrowed during the call
  /// Declaration in one piece, DOCTYPE in tokens, instructions.
  virtual void OnDefault(const char* text, int length);

  /// Always 0.
  [[nodiscard]] int GetCharsetPlatform() const { return 0; }
  /// The declaration named an encoding with "sjis", "shift_jis" or "shift-jis".
  [[nodiscard]] bool IsShiftJIS() const { return m_shiftJis; }
  /// The declaration named an encoding in which every byte is a character, and no byte order mark contradicts it.
  [[nodiscard]] bool IsSingleByte() const { return m_singleByte; }
  /// The document began with the byte order mark of UTF-8; it is not passed on.
  [[nodiscard]] bool HasByteOrderMark() const { return m_byteOrderMark; }
  /// Bytes of the document that is or was parsed.
  [[nodiscard]] std::size_t GetDocumentSize() const { return m_documentSize; }
  /// Where and why the last parse ended early; line 1-based, 0 when it did not.
  [[nodiscard]] int GetErrorLine() const { return m_errorLine; }
  [[nodiscard]] const CString& GetErrorText() const { return m_errorText; }
  /// Line of the event being reported, 1-based.
  [[nodiscard]] int GetCurrentLine() const;

private:
  class Session;
  friend class Session;
  Limits m_limits;
  bool m_shiftJis = false;
  bool m_singleByte = false;
  bool m_byteOrderMark = false;
  std::size_t m_documentSize = 0;
  int m_errorLine = 0;
  CString m_errorText;
  Session* m_session = nullptr; ///< the parse in progress, on its caller's stack; never copied
};

} // namespace kest
