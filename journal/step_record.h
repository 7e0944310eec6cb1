#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <utility>
#include <vector>

namespace kest {

/// A step as a line of the journal file tells it: its kind and its named fields. Values may hold any byte.
class KEST_API StepRecord {
public:
  [[nodiscard]] const CString& GetKind() const { return m_kind; }
  void SetKind(CString kind) { m_kind = std::move(kind); }
  /// A field may stand more than once; Get gives the first.
  void Add(const char* name, CString value) { m_fields.emplace_back(name, std::move(value)); }
  /// A field that is read with GetFlag.
  void AddFlag(const char* name, bool value) { Add(name, value ? "1" : "0"); }
  /// Empty when the field is missing.
  [[nodiscard]] CString Get(std::string_view name) const;
  /// False when the field is missing.
  [[nodiscard]] bool GetFlag(std::string_view name) const { return Get(name) == "1"; }
  /// All fields of this name, in their order.
  [[nodiscard]] std::vector<CString> GetAll(std::string_view name) const;

  /// "kind TAB name=value TAB ...", values escaped.
  [[nodiscard]] CString ToText() const;
  /// False for a text that ToText does not write.
  [[nodiscard]] static bool FromText(std::string_view text, StepRecord& record);

private:
  CString m_kind;
  std::vector<std::pair<CString, CString>> m_fields;
};

} // namespace kest
