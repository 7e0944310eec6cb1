#pragma once

#include "description/typed_container.h"

#include <unordered_set>

namespace kest {

/// One product that an extension supports.
class KEST_API CKestExtensionProduct final : public CKestXmlObject {
public:
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "product"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;

  void GetName(CString& name) const { name = m_name; }
  [[nodiscard]] const CString& GetName() const { return m_name; }
  void SetName(std::string_view name) { m_name = name; }
  /// As written in the description.
  void GetVersion(CString& version) const { version = m_version; }
  [[nodiscard]] const CString& GetVersion() const { return m_version; }
  void SetVersion(std::string_view version) { m_version = version; }
  [[nodiscard]] bool IsPrimary() const { return m_primary; }
  void SetPrimary(bool primary) { m_primary = primary; }
  /// True for the primary product as well.
  [[nodiscard]] bool IsRequired() const { return m_required || m_primary; }
  void SetRequired(bool required) { m_required = required; }

private:
  CString m_name;
  CString m_version;
  bool m_primary = false;
  bool m_required = false;
};

/// A folder token that destinations may begin with; one with a prompt is asked for.
class KEST_API CKestExtensionToken final : public CKestXmlObject {
public:
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "token"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;

  void GetName(CString& name) const { name = m_name; }
  [[nodiscard]] const CString& GetName() const { return m_name; }
  void SetName(std::string_view name) { m_name = name; }
  void GetPrompt(CString& prompt) const { prompt = m_prompt; }
  [[nodiscard]] const CString& GetPrompt() const { return m_prompt; }
  void SetPrompt(std::string_view prompt) { m_prompt = prompt; }
  void GetDefault(CString& value) const { value = m_default; }
  [[nodiscard]] const CString& GetDefault() const { return m_default; }
  void SetDefault(std::string_view value) { m_default = value; }
  /// The folder that the token stands for.
  void GetDefinition(CString& definition) const { definition = m_definition; }
  [[nodiscard]] const CString& GetDefinition() const { return m_definition; }
  void SetDefinition(std::string_view definition) { m_definition = definition; }

private:
  CString m_name;
  CString m_prompt;
  CString m_default;
  CString m_definition;
};

/// One file that an extension carries. A catalogue of thousands of extensions holds hundreds of thousands of these, so
/// files that go to one folder may share its text.
class KEST_API CKestExtensionFile final : public CKestXmlObject {
public:
  /// What a file is for.
  enum Platform : int { kAnyPlatform = 0, kMac = 1, kWin = 2 };

  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "file"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;

  void GetSource(CString& source) const { source = m_source; }
  [[nodiscard]] const CString& GetSource() const { return m_source; }
  void SetSource(std::string_view source) { m_source = source; }
  /// Folder with tokens, as written in the description.
  void GetDestination(CString& destination) const { destination = GetDestination(); }
  [[nodiscard]] const CString& GetDestination() const; ///< folder with tokens; borrowed until the object changes
  void SetDestination(std::string_view destination);   ///< folder with tokens
  /// Whether another extension may use the same file.
  [[nodiscard]] bool IsShared() const { return m_shared; }
  void SetShared(bool shared) { m_shared = shared; }
  [[nodiscard]] int GetPlatform() const { return m_platform; }
  void SetPlatform(int platform) { m_platform = static_cast<signed char>(platform); }
  [[nodiscard]] bool IsSystemFile() const { return m_systemFile; }
  void SetSystemFile(bool systemFile) { m_systemFile = systemFile; }
  /// Where the file was found to lie; empty as a rule.
  void GetActualPath(CString& path) const { path = GetActualPath(); }
  [[nodiscard]] const CString& GetActualPath() const; ///< the same, borrowed until the object changes
  void SetActualPath(std::string_view path);          ///< where the file was found to lie
  /// Empty unless the file is for any platform.
  void GetWinExtension(CString& extension) const { extension = GetWinExtension(); }
  [[nodiscard]] const CString& GetWinExtension() const;
  void SetWinExtension(std::string_view extension);

private:
  struct Placement {
    CString destination;
    CString actualPath;
    CString winExtension;
    bool operator==(const Placement&) const = default;
  };

public:
  /// The destinations of files read so far. It may go before the files do: each keeps what it uses.
  class KEST_API SharedDestinations {
  private:
    friend class CKestExtensionFile;
    using Item = std::shared_ptr<Placement>;
    struct Hash {
      using is_transparent = void;
      std::size_t operator()(std::string_view destination) const;
      std::size_t operator()(const Item& item) const;
    };
    struct Same {
      using is_transparent = void;
      bool operator()(const Item& a, const Item& b) const;
      bool operator()(std::string_view destination, const Item& item) const; ///< and nothing else
    };
    std::unordered_set<Item, Hash, Same> m_items;
  };
  /// The same as SetDestination, with the text of an equal destination where there is one.
  void SetDestination(std::string_view destination, SharedDestinations& shared);
  /// Lets this file use the text of files that are placed alike; changes no value.
  void ShareDestination(SharedDestinations& shared);

private:
  const Placement& GetPlacement() const;
  Placement& MakePlacement();

  CString m_source;
  std::shared_ptr<Placement> m_placement; ///< shared until one of its users changes it
  signed char m_platform = kAnyPlatform;
  bool m_shared = false;
  bool m_systemFile = false;
};

/// The products of an extension.
class KEST_API CKestExtensionProducts final : public CKestTypedContainer<CKestExtensionProduct> {
public:
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "products"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;
};

/// The folder tokens of an extension.
class KEST_API CKestExtensionTokens final : public CKestTypedContainer<CKestExtensionToken> {
public:
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "file-tokens"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;
};

/// The files of an extension.
class KEST_API CKestExtensionFiles final : public CKestTypedContainer<CKestExtensionFile> {
public:
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "files"
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;
};

} // namespace kest
