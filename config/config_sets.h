#pragma once

#include "config/config_change.h"

namespace kest {

/// Where a set's file lies and what it is.
struct ConfigSetPlace {
  const char* folder;
  const char* file;
  bool text;      ///< plain text, else generic XML
  bool reference; ///< UseReferenceFile
};

/// A set whose file is told by `Derived::kPlace`.
template <class Derived> class PlacedConfigChanges : public Named<Derived, CKestConfigChanges> {
public:
  [[nodiscard]] std::unique_ptr<CKestXmlFile> CreateConfigFile(bool existing) const override;
  void GetFolder(CString& folder) const override { folder = Derived::kPlace.folder; }
  void GetFileName(CString& name) const override { name = Derived::kPlace.file; }
  [[nodiscard]] bool UseReferenceFile() const override { return Derived::kPlace.reference; }
};

class KEST_API CKestDocumentTypeConfigChanges : public PlacedConfigChanges<CKestDocumentTypeConfigChanges> {
public:
  static constexpr std::string_view kTag = "documenttype-changes";
  static constexpr ConfigSetPlace kPlace{"DocumentTypes", "KRDocumentTypes.xml", false, true};
};

class KEST_API CKestTagLibraryConfigChanges : public PlacedConfigChanges<CKestTagLibraryConfigChanges> {
public:
  static constexpr std::string_view kTag = "taglibrary-changes";
  static constexpr ConfigSetPlace kPlace{"TagLibraries", "TagLibraries.vtm", false, true};
};

class KEST_API CKestInsertbarConfigChanges : public PlacedConfigChanges<CKestInsertbarConfigChanges> {
public:
  static constexpr std::string_view kTag = "insertbar-changes";
  static constexpr ConfigSetPlace kPlace{"Objects", "insertbar.xml", false, false};
};

class KEST_API CKestSourceFormatChanges : public PlacedConfigChanges<CKestSourceFormatChanges> {
public:
  static constexpr std::string_view kTag = "source-format-changes";
  static constexpr ConfigSetPlace kPlace{"", "SourceFormat.txt", true, false};
};

class KEST_API CKestFTPExtensionMapChanges : public PlacedConfigChanges<CKestFTPExtensionMapChanges> {
public:
  static constexpr std::string_view kTag = "ftp-extension-map-changes";
  static constexpr ConfigSetPlace kPlace{"", "FTPExtensionMap.txt", true, false};
};

class KEST_API CKestExtensionsChanges : public PlacedConfigChanges<CKestExtensionsChanges> {
public:
  static constexpr std::string_view kTag = "extensions-changes";
  static constexpr ConfigSetPlace kPlace{"", "Extensions.txt", true, false};
};

/// Toolbars: "toolbars.xml", or a file that the description names and that may be new.
class KEST_API CKestToolbarConfigChanges : public Named<CKestToolbarConfigChanges, CKestConfigChanges> {
public:
  static constexpr std::string_view kTag = "toolbar-changes";
  void SetFileName(std::string_view name) { m_fileName = name; }
  void GetFileName(CString& name) const override { name = m_fileName; }
  [[nodiscard]] const CString& GetFileName() const { return m_fileName; }
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlFile> CreateConfigFile(bool existing) const override;
  void GetFolder(CString& folder) const override;
  [[nodiscard]] bool AllowNewFile() const override;
  [[nodiscard]] bool HasSafePath() const override;

private:
  CString m_fileName = "toolbars.xml";
};

} // namespace kest
