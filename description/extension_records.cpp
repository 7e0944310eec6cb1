#include "description/extension_records.h"

namespace kest {

namespace {

const CString kEmpty;

constexpr std::string_view kProductTag = "product";
constexpr std::string_view kTokenTag = "token";
constexpr std::string_view kFileTag = "file";
constexpr std::string_view kProductsTag = "products";
constexpr std::string_view kTokensTag = "file-tokens";
constexpr std::string_view kFilesTag = "files";

bool SameTag(std::string_view own, std::string_view tag, bool caseSensitive) {
  return caseSensitive ? own == tag : text::EqualNoCase(own, tag);
}

// One line of a record: values are written as they are stored.
class Line {
public:
  Line(int level, std::string_view tag, CString& text) : m_text(text) {
    text.append(static_cast<std::size_t>(level < 0 ? 0 : level), '\t');
    text += '<';
    text += tag;
  }
  Line& Attribute(std::string_view name, std::string_view value) {
    m_text += ' ';
    m_text += name;
    m_text += "=\"";
    m_text += value;
    m_text += '"';
    return *this;
  }
  Line& Optional(std::string_view name, std::string_view value) {
    return value.empty() ? *this : Attribute(name, value);
  }
  Line& Flag(std::string_view name, bool value) { return value ? Attribute(name, "true") : *this; }
  void End() { m_text += " />\r\n"; }

private:
  CString& m_text;
};

} // namespace

// ---- product
// -----------------------------------------------------------------------------------------------------------

void CKestExtensionProduct::GetTag(CString& tag) const { tag = kProductTag; }
bool CKestExtensionProduct::HasTag(std::string_view tag, bool caseSensitive) const {
  return SameTag(kProductTag, tag, caseSensitive);
}
std::unique_ptr<CKestXmlObject> CKestExtensionProduct::Clone() const {
  return std::make_unique<CKestExtensionProduct>(*this);
}

void CKestExtensionProduct::BuildXml(int level, CString& text) const {
  Line(level, kProductTag, text)
      .Attribute("name", m_name)
      .Optional("version", m_version)
      .Flag("primary", m_primary)
      .Flag("required", m_required)
      .End();
}

// ---- token
// -------------------------------------------------------------------------------------------------------------

void CKestExtensionToken::GetTag(CString& tag) const { tag = kTokenTag; }
bool CKestExtensionToken::HasTag(std::string_view tag, bool caseSensitive) const {
  return SameTag(kTokenTag, tag, caseSensitive);
}
std::unique_ptr<CKestXmlObject> CKestExtensionToken::Clone() const {
  return std::make_unique<CKestExtensionToken>(*this);
}

void CKestExtensionToken::BuildXml(int level, CString& text) const {
  Line(level, kTokenTag, text)
      .Attribute("name", m_name)
      .Optional("prompt", m_prompt)
      .Optional("default", m_default)
      .Optional("definition", m_definition)
      .End();
}

// ---- file
// --------------------------------------------------------------------------------------------------------------

void CKestExtensionFile::GetTag(CString& tag) const { tag = kFileTag; }
bool CKestExtensionFile::HasTag(std::string_view tag, bool caseSensitive) const {
  return SameTag(kFileTag, tag, caseSensitive);
}
std::unique_ptr<CKestXmlObject> CKestExtensionFile::Clone() const {
  return std::make_unique<CKestExtensionFile>(*this);
}

void CKestExtensionFile::BuildXml(int level, CString& text) const {
  const char* platform = m_platform == kMac ? "mac" : m_platform == kWin ? "win" : "";
  Line(level, kFileTag, text)
      .Attribute("source", m_source)
      .Attribute("destination", GetDestination())
      .Flag("shared", m_shared)
      .Optional("platform", platform)
      .Flag("systemfile", m_systemFile)
      .Optional("actual-path", GetActualPath())
      .Optional("win-extension", GetPlacement().winExtension)
      .End();
}

const CString& CKestExtensionFile::GetDestination() const { return GetPlacement().destination; }

void CKestExtensionFile::SetDestination(std::string_view destination) {
  if (destination != GetDestination()) {
    MakePlacement().destination = destination;
  }
}

const CString& CKestExtensionFile::GetActualPath() const { return GetPlacement().actualPath; }

void CKestExtensionFile::SetActualPath(std::string_view path) {
  if (path != GetActualPath()) {
    MakePlacement().actualPath = path;
  }
}

const CString& CKestExtensionFile::GetWinExtension() const {
  return m_platform == kAnyPlatform ? GetPlacement().winExtension : kEmpty;
}

void CKestExtensionFile::SetWinExtension(std::string_view extension) {
  if (extension != GetPlacement().winExtension) {
    MakePlacement().winExtension = extension;
  }
}

void CKestExtensionFile::SetDestination(std::string_view destination, SharedDestinations& shared) {
  if (m_placement != nullptr || destination.empty()) {
    SetDestination(destination);
    return;
  }
  auto found = shared.m_items.find(destination);
  if (found == shared.m_items.end()) {
    auto made = std::make_shared<Placement>();
    made->destination = destination;
    found = shared.m_items.insert(std::move(made)).first;
  }
  m_placement = *found;
}

void CKestExtensionFile::ShareDestination(SharedDestinations& shared) {
  if (m_placement != nullptr && m_placement.use_count() == 1) {
    m_placement = *shared.m_items.insert(m_placement).first;
  }
}

std::size_t CKestExtensionFile::SharedDestinations::Hash::operator()(std::string_view destination) const {
  return std::hash<std::string_view>{}(destination);
}

std::size_t CKestExtensionFile::SharedDestinations::Hash::operator()(const Item& item) const {
  return (*this)(std::string_view(item->destination));
}

bool CKestExtensionFile::SharedDestinations::Same::operator()(const Item& a, const Item& b) const { return *a == *b; }

bool CKestExtensionFile::SharedDestinations::Same::operator()(std::string_view destination, const Item& item) const {
  return item->destination == destination && item->actualPath.empty() && item->winExtension.empty();
}

const CKestExtensionFile::Placement& CKestExtensionFile::GetPlacement() const {
  static const Placement kNone;
  return m_placement != nullptr ? *m_placement : kNone;
}

CKestExtensionFile::Placement& CKestExtensionFile::MakePlacement() {
  if (m_placement == nullptr || m_placement.use_count() > 1) {
    m_placement = std::make_shared<Placement>(GetPlacement());
  }
  return *m_placement;
}

// ---- containers
// --------------------------------------------------------------------------------------------------------

void CKestExtensionProducts::GetTag(CString& tag) const { tag = kProductsTag; }
bool CKestExtensionProducts::HasTag(std::string_view tag, bool caseSensitive) const {
  return SameTag(kProductsTag, tag, caseSensitive);
}
std::unique_ptr<CKestXmlObject> CKestExtensionProducts::Clone() const {
  return std::make_unique<CKestExtensionProducts>(*this);
}

void CKestExtensionTokens::GetTag(CString& tag) const { tag = kTokensTag; }
bool CKestExtensionTokens::HasTag(std::string_view tag, bool caseSensitive) const {
  return SameTag(kTokensTag, tag, caseSensitive);
}
std::unique_ptr<CKestXmlObject> CKestExtensionTokens::Clone() const {
  return std::make_unique<CKestExtensionTokens>(*this);
}

void CKestExtensionFiles::GetTag(CString& tag) const { tag = kFilesTag; }
bool CKestExtensionFiles::HasTag(std::string_view tag, bool caseSensitive) const {
  return SameTag(kFilesTag, tag, caseSensitive);
}
std::unique_ptr<CKestXmlObject> CKestExtensionFiles::Clone() const {
  return std::make_unique<CKestExtensionFiles>(*this);
}

} // namespace kest
