#pragma once

#include "config/text_file_change.h"

namespace kest {

/// Edits "Extensions.txt": a line per group, extensions separated by commas, a colon, the group's description.
class KEST_API CKestExtensionsChange : public CKestTextFileChange {
public:
  static constexpr ErrorCode kNotText = kExtensionsNotText;
  void SetExtension(std::string_view list) { m_extension = list; }
  void GetExtension(CString& list) const { list = m_extension; }
  [[nodiscard]] const CString& GetExtension() const { return m_extension; }
  void SetDescription(std::string_view description) { m_description = description; }
  void GetDescription(CString& description) const { description = m_description; }
  [[nodiscard]] const CString& GetDescription() const { return m_description; }

private:
  CString m_extension;
  CString m_description;
};

/// Adds the extensions to the group of the description, or as a new line. The undo removes them.
class KEST_API CKestExtensionsChangeInsert : public TextInsert<CKestExtensionsChangeInsert, CKestExtensionsChange> {
public:
  static constexpr std::string_view kTag = "extension-insert";
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode PutIn(CKestTextConfigFile& file) const override;
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;
};

/// Removes the extensions from every group, or from the group of the description. No undo.
class KEST_API CKestExtensionsChangeRemove
    : public TextRemove<CKestExtensionsChangeRemove, CKestExtensionsChangeInsert> {
public:
  static constexpr std::string_view kTag = "extension-remove";
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode TakeOut(CKestTextConfigFile& file) const override { return CKestExtensionsChangeInsert::TakeOut(file); }
};

} // namespace kest
