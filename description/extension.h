#pragma once

#include "description/extension_records.h"
#include "platform/text/containers.h"
#include "platform/text/values.h"
#include "platform/xml/xml_object.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace kest {

class CKestConfigChanges;
class CKestHelpChanges;
class CKestMasterConfigChanges;
class DescriptionObserver;

/// One extension: what its description file says, and what is known of an installed copy. Texts are the file's own
/// characters (an entity that is written in the file stays written). Copies share their change sets.
class KEST_API CKestExtension : public CKestXmlFile {
public:
  /// Why Load gave up; codes above 0 and -1 are CKestXMLParser's.
  enum LoadCode : int {
    kLoaded = 0,
    kNoRoot = -2,    ///< neither `kestrel-extension` nor `kestrel-package`
    kBrokenTag = -3, ///< a line holds "/ >"
    kParentPath = -5 ///< a file's source or destination contains ".."
  };

  CKestExtension() = default;
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "kestrel-extension"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;

  /// Appends the description as it is stored with a product.
  void BuildXml(int level, CString& text) const override;
  /// Writes the description to `path`, or to the record's own path when null. 0, or -1 with the old file as it was; a
  /// text that would not load again is a failure.
  int Save(const char* path) override;
  /// Reads a description into this record, which should be new: 0 or a LoadCode, and then the record holds what came
  /// before the failure. The path is kept. Messages are appended to `errors`, also on failure.
  int Load(const char* path, CKestTypedList<CKestString>* errors) override;
  /// The same with an observer, and with destinations that many records share; both are borrowed and may be null.
  int Load(const char* path, CKestTypedList<CKestString>* errors, DescriptionObserver* observer,
           CKestExtensionFile::SharedDestinations* destinations = nullptr);
  /// The same from bytes in memory; the path stays as it is.
  int LoadText(std::string_view content, CKestTypedList<CKestString>* errors, DescriptionObserver* observer = nullptr);

  // ---- the description
  void GetID(CString& id) const { id = m_id; }
  [[nodiscard]] const CString& GetID() const { return m_id; }
  void SetID(std::string_view id) { Changed().m_id = id; }
  void GetName(CString& name) const { name = m_name; }
  [[nodiscard]] const CString& GetName() const { return m_name; }
  void SetName(std::string_view name) { Changed().m_name = name; }
  void GetVersion(CKestVersionNumber& version) const { version = m_version; }
  [[nodiscard]] const CKestVersionNumber& GetVersion() const { return m_version; }
  void SetVersion(std::string_view dotted) { Changed().m_version = CKestVersionNumber(dotted); }
  void GetDesc(CString& description) const { description = GetDesc(); }
  [[nodiscard]] const CString& GetDesc() const { return Whole().m_description; }
  void AppendDesc(std::string_view text) { Changed().m_description += text; }
  void SetDesc(std::string_view description) { Changed().m_description = description; }
  void GetUIAccess(CString& text) const { text = GetUIAccess(); }
  [[nodiscard]] const CString& GetUIAccess() const { return Whole().m_uiAccess; }
  void AppendUIAccess(std::string_view text) { Changed().m_uiAccess += text; }
  void SetUIAccess(std::string_view text) { Changed().m_uiAccess = text; }
  void GetLicenseAgreement(CString& text) const { text = GetLicenseAgreement(); }
  [[nodiscard]] const CString& GetLicenseAgreement() const { return Whole().m_license; }
  void AppendLicenseAgreement(std::string_view text) { Changed().m_license += text; }
  void SetLicenseAgreement(std::string_view text) { Changed().m_license = text; }
  /// 0 when the keyword is none that the engine knows.
  [[nodiscard]] int GetType() const { return m_type; }
  void SetType(int type) { Changed().m_type = type; }
  /// The type keyword as written.
  void GetTypeLabel(CString& label) const { label = m_typeLabel; }
  [[nodiscard]] const CString& GetTypeLabel() const { return m_typeLabel; }
  void SetTypeLabel(std::string_view label) { Changed().m_typeLabel = label; }
  [[nodiscard]] bool RequiresRestart() const { return m_requiresRestart; }
  void SetRequiresRestart(bool requiresRestart) { Changed().m_requiresRestart = requiresRestart; }
  void GetAuthorName(CString& name) const { name = m_author; }
  [[nodiscard]] const CString& GetAuthorName() const { return m_author; }
  void SetAuthorName(std::string_view name) { Changed().m_author = name; }
  [[nodiscard]] int GetCharsetPlatform() const { return Whole().m_charsetPlatform; }
  void SetCharsetPlatform(int platform) { Changed().m_charsetPlatform = platform; }
  [[nodiscard]] bool IsShiftJIS() const { return Whole().m_shiftJis; }
  void SetShiftJIS(bool shiftJis) { Changed().m_shiftJis = shiftJis; }
  /// More than one product was marked primary; only the first has kept the mark.
  [[nodiscard]] bool HasMultiplePrimaryProducts() const { return Whole().m_multiplePrimary; }

  [[nodiscard]] CKestExtensionTokens& GetTokens() { return Changed().m_tokens; }
  [[nodiscard]] const CKestExtensionTokens& GetTokens() const { return Whole().m_tokens; }
  [[nodiscard]] CKestExtensionFiles& GetFiles() { return Changed().m_files; }
  [[nodiscard]] const CKestExtensionFiles& GetFiles() const { return Whole().m_files; }
  [[nodiscard]] CKestExtensionProducts& GetProducts() { return Changed().m_products; }
  [[nodiscard]] const CKestExtensionProducts& GetProducts() const { return Whole().m_products; }
  /// The product marked primary; null when there is none.
  [[nodiscard]] const CKestExtensionProduct* GetPrimaryProduct() const;
  [[nodiscard]] bool HasTokens() const { return GetTokens().HasChildren(); } ///< whether it makes tokens of its own
  [[nodiscard]] bool HasFiles() const { return GetFiles().HasChildren(); }   ///< whether it lists a file
  /// Some token has a prompt, so the user is to be asked.
  [[nodiscard]] bool HasUserDefinedTokens() const;
  /// Sets the map to the definitions by token name, the last of equal names; true when there is any.
  bool GetUserDefinedTokens(CKestTokenMap& tokens) const;

  // ---- the installed copy
  void GetPath(CString& path) const { path = m_path; }
  [[nodiscard]] const CString& GetPath() const { return m_path; }
  void SetPath(std::string_view path);
  [[nodiscard]] bool IsEnabled() const { return m_enabled; }
  void SetEnabled(bool enabled) { m_enabled = enabled; }
  /// The copy lies in the location of all users.
  [[nodiscard]] bool IsShared() const { return m_shared; }
  void SetShared(bool shared) { m_shared = shared; }

  // ---- change sets, in the order of the description
  /// In document order, shared with copies of the record.
  using ConfigChanges = std::vector<std::shared_ptr<CKestConfigChanges>>;
  /// In document order, shared with copies of the record.
  using HelpChanges = std::vector<std::shared_ptr<CKestHelpChanges>>;
  /// Appends a set made on the heap: shares it with the records that hold it already, else takes it over. Null:
  /// nothing.
  void AddConfigChanges(CKestConfigChanges* changes);
  void AddHelpChanges(CKestHelpChanges* changes); ///< as AddConfigChanges, for help changes
  /// In the order of the description.
  [[nodiscard]] const ConfigChanges& GetConfigChanges() const { return Whole().m_configChanges; }
  /// In the order of the description.
  [[nodiscard]] const HelpChanges& GetHelpChanges() const { return Whole().m_helpChanges; }
  [[nodiscard]] bool HasConfigChanges() const { return !GetConfigChanges().empty(); } ///< whether there is any set
  [[nodiscard]] bool HasHelpChanges() const { return !GetHelpChanges().empty(); }     ///< whether there is any set
  /// New iterators, freed by the caller; the sets stay the record's.
  [[nodiscard]] CKestTypedIterator<CKestConfigChanges*>* CreateConfigChangesIterator() const;
  /// As CreateConfigChangesIterator.
  [[nodiscard]] CKestTypedIterator<CKestHelpChanges*>* CreateHelpChangesIterator() const;
  /// Empties both vectors; sets that another record holds live on.
  void RemoveAllConfigChanges();
  /// The first set for the menus file, borrowed; null when there is none.
  [[nodiscard]] CKestMasterConfigChanges* GetMasterConfigChanges() const;
  [[nodiscard]] bool HasInsertbarConfigChanges() const; ///< whether some set is for the insert bar
  /// Some set holds a menu insert or a menu remove.
  [[nodiscard]] bool HasMenuChanges() const;

  /// Negative, 0 or positive.
  [[nodiscard]] int CompareVersion(const CKestExtension& other) const { return m_version.Compare(other.m_version); }

  // ---- records whose description is read later
  /// Everything but id, name, version, type, author, the wish for a restart and what is known of the installed copy is
  /// read from the path when it is first asked for. Until then the record stands for a description of so many files.
  void ReadRestLater(int fileCount);
  /// Reads it now, if that is still to be done. False: the file cannot be read any more, or is another description by
  /// now; then the record stays without it, and the next question tries again.
  bool ReadRest() const;
  /// How many files the description lists; never reads it.
  [[nodiscard]] int GetFileCount() const;
  /// Whether a file of this name (without folder) may be one of those that the description lists; never reads it.
  [[nodiscard]] bool MayListFile(std::string_view fileName) const;
  /// Of a file's name up to the first dot, letter case aside: the same in every process.
  [[nodiscard]] static std::uint16_t GetFileKey(std::string_view fileName);
  /// What MayListFile goes by: of each file its key.
  [[nodiscard]] std::vector<std::uint16_t> GetFileKeys() const;
  void SetFileKeys(std::vector<std::uint16_t> keys) { m_fileKeys = std::move(keys); } ///< while the rest is unread
  /// The description's file as it was before it was read; nothing when that is not known.
  [[nodiscard]] const std::optional<FileStamp>& GetStamp() const { return m_stamp; }
  /// `indexed`: see IsIndexed.
  void SetStamp(const FileStamp& stamp, bool indexed) {
    m_stamp = stamp;
    m_isIndexed = indexed;
  }
  /// Whether the index of the description's folder knows it as it is.
  [[nodiscard]] bool IsIndexed() const { return m_isIndexed; }

  // ---- text conversions of the description format
  /// Makes one raw line well-formed: escapes ampersands, script brackets, "+<", "+>" and apostrophes.
  static void ConvertBadXml(CString& line);
  /// The reverse.
  static void RevertBadXml(CString& text);
  /// Whether ConvertBadXml would leave the text alone.
  [[nodiscard]] static bool NeedsNoConversion(std::string_view text);
  /// Turns a text as read into one line of HTML.
  static void CleanUpText(CString& text);
  /// Appends one text element, its text in a CDATA section.
  static void OutputText(const CString& value, const CString& tag, const CString& indent, CString& text);

private:
  /// This record, which may say something else than its file from now on.
  CKestExtension& Changed() {
    (void)Whole();
    m_stamp.reset();
    return *this;
  }
  /// This record, with what was to be read later.
  const CKestExtension& Whole() const {
    if (m_isRestUnread) {
      (void)ReadRest();
    }
    return *this;
  }
  int FinishLoad(int parsed, class CKestExtensionXMLParser& parser, CKestTypedList<CKestString>* errors,
                 DescriptionObserver* observer);
  void SettlePrimaryProduct();
  [[nodiscard]] bool HasParentPaths() const;
  void BuildHead(const CString& indent, const CString& inner, CString& text) const;
  void BuildConfigChanges(int level, const CString& inner, CString& text) const;
  void BuildHelpChanges(int level, const CString& inner, CString& text) const;

  CString m_id;
  CString m_name;
  CKestVersionNumber m_version;
  CString m_description;
  CString m_uiAccess;
  CString m_license;
  int m_type = 0;
  CString m_typeLabel;
  bool m_requiresRestart = false;
  CString m_author;
  CString m_path;
  bool m_enabled = true;
  bool m_shared = false;
  int m_charsetPlatform = 0;
  bool m_shiftJis = false;
  bool m_multiplePrimary = false;
  CKestExtensionTokens m_tokens;
  CKestExtensionFiles m_files;
  CKestExtensionProducts m_products;
  ConfigChanges m_configChanges;
  HelpChanges m_helpChanges;
  std::optional<FileStamp> m_stamp;
  bool m_isIndexed = false;
  bool m_isRestUnread = false;
  int m_fileCount = 0;                   ///< while the rest is unread
  std::vector<std::uint16_t> m_fileKeys; ///< while the rest is unread
};

} // namespace kest
