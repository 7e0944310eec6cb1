#pragma once

#include "config/text_file_change.h"

namespace kest {

enum class TriStateBool : int { kNotGiven = 0, kTrue = 1, kFalse = 2 };

/// Edits "SourceFormat.txt": entries that look like tags, sorted by name, in a section of elements and one of
/// attributes.
class KEST_API CKestSourceFormatChange : public CKestTextFileChange {
public:
  static constexpr ErrorCode kNotText = kSourceFormatNotText;
  void SetName(std::string_view name) { m_name = name; }
  void GetName(CString& name) const { name = m_name; }
  [[nodiscard]] const CString& GetName() const { return m_name; }

  /// The entry's line. The default gives nothing.
  virtual void CreateTag(CString& line, bool withLineEnd) const;
  virtual void GetTagName(CString& name) const;

protected:
  /// Bounds of the entries between two markers, and their text in lower case; `end` is the index before the end marker.
  static bool SectionIndicies(const CKestTextConfigFile& file, std::string_view startMarker, std::string_view endMarker,
                              int& start, int& end, CString& text);
  /// kNameMissing, kSectionMissing, kEntryUnclosed or success.
  ErrorCode InsertTag(CKestTextConfigFile& file, std::string_view startMarker, std::string_view endMarker) const;
  ErrorCode RemoveTag(CKestTextConfigFile& file, std::string_view startMarker, std::string_view endMarker) const;

  struct Section {
    std::string_view startMarker;
    std::string_view endMarker;
    ErrorCode missing;
  };
  static const Section kElements;
  static const Section kAttributes;
  /// Runs InsertTag or RemoveTag on the section and gives the caller's codes for a missing name or section.
  ErrorCode Edit(CKestTextConfigFile& file, const Section& section, bool insert, ErrorCode nameMissing) const;

private:
  CString m_name;
};

/// Puts an element's entry in its place by name, replacing one that is there. The undo removes it.
class KEST_API CKestSourceFormatChangeElementInsert
    : public TextInsert<CKestSourceFormatChangeElementInsert, CKestSourceFormatChange> {
public:
  static constexpr std::string_view kTag = "element-insert";
  void SetBreak(std::string_view value) { m_break = value; }
  void SetIndent(TriStateBool indent) { m_indent = indent; }
  /// 1 to 8; 0 is unset.
  void SetIndentGroup(int group) { m_indentGroup = group; }
  void SetNameCase(std::string_view value) { m_nameCase = value; }
  void SetNoFormat(TriStateBool noFormat) { m_noFormat = noFormat; }
  [[nodiscard]] const CString& GetBreak() const { return m_break; }
  [[nodiscard]] TriStateBool GetIndent() const { return m_indent; }
  [[nodiscard]] int GetIndentGroup() const { return m_indentGroup; }
  [[nodiscard]] const CString& GetNameCase() const { return m_nameCase; }
  [[nodiscard]] TriStateBool GetNoFormat() const { return m_noFormat; }
  void CreateTag(CString& line, bool withLineEnd) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode PutIn(CKestTextConfigFile& file) const override;
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;

private:
  CString m_break;
  CString m_nameCase;
  TriStateBool m_indent = TriStateBool::kNotGiven;
  TriStateBool m_noFormat = TriStateBool::kNotGiven;
  int m_indentGroup = 0;
};

class KEST_API CKestSourceFormatChangeElementRemove
    : public TextRemove<CKestSourceFormatChangeElementRemove, CKestSourceFormatChange> {
public:
  static constexpr std::string_view kTag = "element-remove";
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;
};

/// Puts an attribute's entry in its place by name, replacing one that is there. The undo removes it.
class KEST_API CKestSourceFormatChangeAttributeInsert
    : public TextInsert<CKestSourceFormatChangeAttributeInsert, CKestSourceFormatChange> {
public:
  static constexpr std::string_view kTag = "attribute-insert";
  void SetNameCase(std::string_view value) { m_nameCase = value; }
  void SetSameCase(TriStateBool sameCase) { m_sameCase = sameCase; }
  [[nodiscard]] const CString& GetNameCase() const { return m_nameCase; }
  [[nodiscard]] TriStateBool GetSameCase() const { return m_sameCase; }
  void CreateTag(CString& line, bool withLineEnd) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode PutIn(CKestTextConfigFile& file) const override;
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;

private:
  CString m_nameCase;
  TriStateBool m_sameCase = TriStateBool::kNotGiven;
};

class KEST_API CKestSourceFormatChangeAttributeRemove
    : public TextRemove<CKestSourceFormatChangeAttributeRemove, CKestSourceFormatChange> {
public:
  static constexpr std::string_view kTag = "attribute-remove";
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;
};

} // namespace kest
