#include "description/extension.h"

#include "config/config_change.h"
#include "config/config_sets.h"
#include "config/help_change.h"
#include "description/description_observer.h"
#include "description/extension_xml_parser.h"
#include "menus/menu_changes.h"
#include "menus/menu_sets.h"
#include "platform/text/path.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::string_view kRootTag = "kestrel-extension";

constexpr CKestXMLParser::Limits kLimits{16u << 20, 200, 1u << 20, 400'000};

bool HasParentPath(std::string_view path) { return path.find("..") != std::string_view::npos; }

template <class Set> std::shared_ptr<Set> Share(Set* set) {
  std::shared_ptr<Set> shared = set->weak_from_this().lock();
  return shared != nullptr ? shared : std::shared_ptr<Set>(set);
}

template <class Set> std::vector<Set*> Borrow(const std::vector<std::shared_ptr<Set>>& sets) {
  std::vector<Set*> borrowed;
  borrowed.reserve(sets.size());
  for (const auto& set : sets) {
    borrowed.push_back(set.get());
  }
  return borrowed;
}

} // namespace

void CKestExtension::GetTag(CString& tag) const { tag = kRootTag; }

bool CKestExtension::HasTag(std::string_view tag, bool caseSensitive) const {
  return caseSensitive ? tag == kRootTag : text::EqualNoCase(tag, kRootTag);
}

std::unique_ptr<CKestXmlObject> CKestExtension::Clone() const { return std::make_unique<CKestExtension>(*this); }

// ---- reading
// -----------------------------------------------------------------------------------------------------------

int CKestExtension::Load(const char* path, CKestTypedList<CKestString>* errors) { return Load(path, errors, nullptr); }

int CKestExtension::Load(const char* path, CKestTypedList<CKestString>* errors, DescriptionObserver* observer,
                         CKestExtensionFile::SharedDestinations* destinations) {
  SetPath(path == nullptr ? "" : path);
  CKestExtensionXMLParser parser(this, observer);
  parser.ShareDestinations(destinations);
  parser.SetLimits(kLimits);
  return FinishLoad(parser.ParseFile(path, false), parser, errors, observer);
}

int CKestExtension::LoadText(std::string_view content, CKestTypedList<CKestString>* errors,
                             DescriptionObserver* observer) {
  CKestExtensionXMLParser parser(this, observer);
  parser.SetLimits(kLimits);
  return FinishLoad(parser.ParseLines(content, false), parser, errors, observer);
}

int CKestExtension::FinishLoad(int parsed, CKestExtensionXMLParser& parser, CKestTypedList<CKestString>* errors,
                               DescriptionObserver* observer) {
  ClearObjectStack();
  m_charsetPlatform = parser.GetCharsetPlatform();
  m_shiftJis = parser.IsShiftJIS();
  int result = parsed;
  CString reason = parser.GetErrorText();
  int line = parser.GetErrorLine();
  if (parser.GetLineTooMuch() != 0) {
    result = CKestXMLParser::kRefused;
    line = parser.GetLineTooMuch();
    reason = "it holds more than is read of a file of its size";
  }
  if (result == kLoaded && !parser.FoundExtensionTag()) {
    result = kNoRoot;
    reason = "there is no kestrel-extension element";
  }
  if (result == kLoaded) {
    for (CString* text : {&m_description, &m_uiAccess, &m_license}) {
      CleanUpText(*text);
      text->shrink_to_fit(); // thousands of records stay in memory
    }
    m_files.ShrinkChildren();
    SettlePrimaryProduct();
    if (HasParentPaths()) {
      result = kParentPath;
      reason = "a file's source or destination leads out of its folder";
    }
  }
  if (result != kLoaded && observer != nullptr) {
    observer->OnFailure(line, reason);
  }
  if (errors != nullptr) {
    for (const CKestString& message : parser.GetErrorStrings()) {
      errors->Append(message);
    }
    if (parser.GetLineTooMuch() != 0) {
      errors->Append("line " + std::to_string(line) + ": " + reason);
    }
  }
  return result;
}

void CKestExtension::SettlePrimaryProduct() {
  CKestExtensionProduct* primary = nullptr;
  for (CKestExtensionProduct& product : m_products) {
    if (product.IsPrimary() && primary != nullptr) {
      product.SetPrimary(false);
      m_multiplePrimary = true;
    } else if (product.IsPrimary()) {
      primary = &product;
    }
  }
  if (primary == nullptr && m_products.begin() != m_products.end()) {
    m_products.begin()->SetPrimary(true);
  }
}

// The extension that a file gets on this system becomes part of its path as well.
bool CKestExtension::HasParentPaths() const {
  return std::any_of(m_files.begin(), m_files.end(), [](const CKestExtensionFile& file) {
    return HasParentPath(file.GetSource()) || HasParentPath(file.GetDestination()) ||
           file.GetWinExtension().find_first_of("\\/:") != CString::npos;
  });
}

void CKestExtension::SetPath(std::string_view path) {
  if (m_path != path) {
    (void)Whole(); // from where it lies until now
    m_stamp.reset();
    m_path = path;
  }
}

// ---- records whose description is read later
// ---------------------------------------------------------------------------------------------

void CKestExtension::ReadRestLater(int fileCount) {
  m_isRestUnread = true;
  m_fileCount = fileCount;
}

bool CKestExtension::ReadRest() const {
  if (!m_isRestUnread) {
    return true;
  }
  CKestExtension whole;
  if (whole.Load(m_path.c_str(), nullptr) != kLoaded || whole.m_id != m_id || whole.m_name != m_name ||
      whole.m_version.Compare(m_version) != 0 || whole.m_author != m_author) {
    return false;
  }
  // What a record says does not change by this, and none is made const. Texts of the head stay where they are, for they
  // may be on loan.
  auto& self = const_cast<CKestExtension&>(*this);
  whole.m_id = std::move(self.m_id);
  whole.m_name = std::move(self.m_name);
  whole.m_typeLabel = std::move(self.m_typeLabel);
  whole.m_author = std::move(self.m_author);
  whole.m_path = std::move(self.m_path);
  whole.m_enabled = m_enabled;
  whole.m_shared = m_shared;
  whole.m_stamp = m_stamp;
  whole.m_isIndexed = m_isIndexed;
  self = std::move(whole);
  return true;
}

std::uint16_t CKestExtension::GetFileKey(std::string_view fileName) {
  std::uint32_t key = 2166136261u;
  for (const char each : text::Lower(fileName.substr(0, fileName.find('.')))) {
    key = (key ^ static_cast<unsigned char>(each)) * 16777619u;
  }
  return static_cast<std::uint16_t>(key ^ key >> 16);
}

bool CKestExtension::MayListFile(std::string_view fileName) const {
  const std::vector<std::uint16_t> keys = GetFileKeys();
  return std::find(keys.begin(), keys.end(), GetFileKey(fileName)) != keys.end();
}

std::vector<std::uint16_t> CKestExtension::GetFileKeys() const {
  if (m_isRestUnread) {
    return m_fileKeys;
  }
  std::vector<std::uint16_t> keys;
  for (const CKestExtensionFile& file : m_files) {
    CKestPath source(file.GetSource());
    source.LocalizePathSeparators();
    keys.push_back(GetFileKey(source.GetFileName()));
  }
  return keys;
}

int CKestExtension::GetFileCount() const { return m_isRestUnread ? m_fileCount : static_cast<int>(m_files.GetCount()); }

// ---- products and tokens
// -----------------------------------------------------------------------------------------------

const CKestExtensionProduct* CKestExtension::GetPrimaryProduct() const {
  const CKestExtensionProducts& products = GetProducts();
  const auto found = std::find_if(products.begin(), products.end(),
                                  [](const CKestExtensionProduct& product) { return product.IsPrimary(); });
  return found == products.end() ? nullptr : &*found;
}

bool CKestExtension::HasUserDefinedTokens() const {
  const CKestExtensionTokens& tokens = GetTokens();
  return std::any_of(tokens.begin(), tokens.end(),
                     [](const CKestExtensionToken& token) { return !token.GetPrompt().empty(); });
}

bool CKestExtension::GetUserDefinedTokens(CKestTokenMap& tokens) const {
  tokens.clear();
  for (const CKestExtensionToken& token : GetTokens()) {
    tokens[token.GetName()] = token.GetDefinition();
  }
  return !tokens.empty();
}

// ---- change sets
// -------------------------------------------------------------------------------------------------------

void CKestExtension::AddConfigChanges(CKestConfigChanges* changes) {
  if (changes != nullptr) {
    Changed().m_configChanges.push_back(Share(changes));
  }
}

void CKestExtension::AddHelpChanges(CKestHelpChanges* changes) {
  if (changes != nullptr) {
    Changed().m_helpChanges.push_back(Share(changes));
  }
}

CKestTypedIterator<CKestConfigChanges*>* CKestExtension::CreateConfigChangesIterator() const {
  return new CKestTypedIterator<CKestConfigChanges*>(Borrow(GetConfigChanges()), false);
}

CKestTypedIterator<CKestHelpChanges*>* CKestExtension::CreateHelpChangesIterator() const {
  return new CKestTypedIterator<CKestHelpChanges*>(Borrow(GetHelpChanges()), false);
}

void CKestExtension::RemoveAllConfigChanges() {
  Changed().m_configChanges.clear();
  m_helpChanges.clear();
}

CKestMasterConfigChanges* CKestExtension::GetMasterConfigChanges() const {
  for (const auto& set : GetConfigChanges()) {
    if (auto* master = dynamic_cast<CKestMasterConfigChanges*>(set.get())) {
      return master;
    }
  }
  return nullptr;
}

bool CKestExtension::HasInsertbarConfigChanges() const {
  const ConfigChanges& sets = GetConfigChanges();
  return std::any_of(sets.begin(), sets.end(), [](const auto& set) {
    return dynamic_cast<const CKestInsertbarConfigChanges*>(set.get()) != nullptr;
  });
}

bool CKestExtension::HasMenuChanges() const {
  const auto isMenuChange = [](const auto& child) {
    return dynamic_cast<const CKestMenuChange*>(child.get()) != nullptr;
  };
  const ConfigChanges& sets = GetConfigChanges();
  return std::any_of(sets.begin(), sets.end(), [&](const auto& set) {
    return std::any_of(set->GetChildren().begin(), set->GetChildren().end(), isMenuChange);
  });
}

} // namespace kest
