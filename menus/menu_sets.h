#pragma once

#include "config/config_change.h"

namespace kest {

/// "configuration-changes": the menus and shortcuts of "Menus\Menus.xml". Content without a location goes into the menu
/// "TMMenu_Commands_Misc".
class KEST_API CKestMasterConfigChanges : public Named<CKestMasterConfigChanges, CKestConfigChanges> {
public:
  static constexpr std::string_view kTag = "configuration-changes";
  [[nodiscard]] std::unique_ptr<CKestXmlFile> CreateConfigFile(bool existing) const override;
  void GetFolder(CString& folder) const override;
  void GetFileName(CString& name) const override;
  void GetLastResortAppendToID(CString& id) const override;
  [[nodiscard]] bool UseReferenceFile() const override { return true; }
  bool GetLastResortId(CString& id) const override;
  /// Null when the file has neither a Commands nor a Help menu.
  CKestXmlObject* CreateLastResortObject(CKestXmlFile* file) const override;
};

/// A set whose file is in menu format and lies below a folder of its own, in the folder of a server model if one is
/// named.
class KEST_API CKestServerConfigChanges : public CKestConfigChanges {
public:
  void GetServerModelFolder(CString& folder) const { folder = m_serverModelFolder; }
  [[nodiscard]] const CString& GetServerModelFolder() const { return m_serverModelFolder; }
  virtual void SetServerModelFolder(std::string_view folder);
  [[nodiscard]] std::unique_ptr<CKestXmlFile> CreateConfigFile(bool existing) const override;
  [[nodiscard]] bool UseReferenceFile() const override { return true; }
  /// Folder, server model folder, file name; two backslashes when no server model is named.
  void GetPath(CString& path) const override;
  void BuildXml(int level, CString& text) const override;

private:
  CString m_serverModelFolder;
};

/// A server set whose file is told by `Derived::kFolder` and `Derived::kFile`.
template <class Derived> class PlacedServerChanges : public Named<Derived, CKestServerConfigChanges> {
public:
  void GetFolder(CString& folder) const override { folder = Derived::kFolder; }
  void GetFileName(CString& name) const override { name = Derived::kFile; }
};

/// Content without a location goes to the first bar.
class KEST_API CKestServerBehaviorChanges : public PlacedServerChanges<CKestServerBehaviorChanges> {
public:
  static constexpr std::string_view kTag = "server-behavior-changes";
  static constexpr std::string_view kFolder = "ServerBehaviors";
  static constexpr std::string_view kFile = "ServerBehaviors.xml";
  [[nodiscard]] bool AppendIfLocationNotFound() const override { return true; }
};

class KEST_API CKestServerFormatChanges : public PlacedServerChanges<CKestServerFormatChanges> {
public:
  static constexpr std::string_view kTag = "server-format-changes";
  static constexpr std::string_view kFolder = "ServerFormats";
  static constexpr std::string_view kFile = "ServerFormats.xml";
};

class KEST_API CKestServerFormatDefinitionChanges : public PlacedServerChanges<CKestServerFormatDefinitionChanges> {
public:
  static constexpr std::string_view kTag = "server-format-definition-changes";
  static constexpr std::string_view kFolder = "ServerFormats";
  static constexpr std::string_view kFile = "Formats.xml";
};

class KEST_API CKestDataSourceChanges : public PlacedServerChanges<CKestDataSourceChanges> {
public:
  static constexpr std::string_view kTag = "data-source-changes";
  static constexpr std::string_view kFolder = "DataSources";
  static constexpr std::string_view kFile = "DataSources.xml";
};

} // namespace kest
