#pragma once

#include "platform/machine/machine.h"

#include <optional>
#include <unordered_map>

namespace kest {

/// The text of a registry file ("WINE REGISTRY Version 2"). Lines that a change does not concern are kept byte for
/// byte, whatever they hold; a value added and deleted again leaves the text as it was. Keys and names are found in any
/// letter case. Texts are bytes of the code page given.
class RegistryFile {
public:
  /// `root` is what new files say their keys are relative to, e.g. "\\Machine" as two characters and a word.
  RegistryFile(CString root, int codePage) : m_root(std::move(root)), m_codePage(codePage) {}

  void SetText(CString text);
  [[nodiscard]] const CString& GetText() const { return m_text; }
  void SetCodePage(int codePage) {
    m_codePage = codePage;
    m_isIndexed = false;
  }

  /// A key that is written, or that has a key below it.
  [[nodiscard]] bool HasKey(const CString& key);
  /// Text values alone (plain and expandable ones).
  [[nodiscard]] bool GetValue(const CString& key, const CString& name, CString& data);
  /// In file order; the data of a value that is no text is empty. False for a missing key.
  [[nodiscard]] bool GetValues(const CString& key, std::vector<RegistryValue>& values);
  /// Makes the key when missing, with a remark that lets DeleteValue take it away again. False when a text is not
  /// expressible in a registry.
  [[nodiscard]] bool SetValue(const CString& key, const CString& name, const CString& data, std::int64_t now);
  /// False when there was none.
  bool DeleteValue(const CString& key, const CString& name);
  /// Whether nothing is in it but what SetValue made of no text at all.
  [[nodiscard]] bool IsAsNew() const;

private:
  struct Range {
    std::size_t begin = 0; ///< where its header begins; behind the header for the body
    std::size_t body = 0;
    std::size_t end = 0;
  };
  struct Line {
    std::size_t begin = 0;
    std::size_t end = 0; ///< behind its line end
  };
  struct Value {
    Line line; ///< all its lines
    std::u16string name;
    std::string_view data; ///< as written, behind the "="
  };
  [[nodiscard]] CString KeyForm(const CString& key) const;
  void Index();
  [[nodiscard]] Line LineAt(std::size_t at) const;
  [[nodiscard]] std::optional<Value> ReadValue(const Line& line) const;
  [[nodiscard]] std::optional<Value> FindValue(const CString& key, const CString& name);
  [[nodiscard]] std::size_t EndOfValues(const Range& section) const;
  void InsertLine(std::size_t at, const CString& line);
  void EraseLine(const Line& line);
  void DropIfMadeHere(const CString& key);

  CString m_root;
  int m_codePage;
  CString m_text;
  bool m_isIndexed = false;
  std::unordered_map<CString, std::vector<Range>> m_sections; ///< by key form; ancestors have no ranges
};

} // namespace kest
