#include "manager/placement.h"

#include "description/description_index.h"
#include "description/extension.h"
#include "journal/history.h"
#include "platform/machine/os.h"
#include "platform/text/path_component.h"
#include "products/product.h"

#include <algorithm>

namespace kest {
namespace {

constexpr int kMostPasses = 200;
constexpr std::size_t kLongestDestination = 4096;

bool BeginsWithToken(const CString& destination) { return !destination.empty() && destination.front() == '$'; }

/// Takes out the folders "." from index `from` on, where a component begins or its backslash stands.
void DropDots(CString& path, std::size_t from) {
  if (path.find(".\\", from) == CString::npos) {
    return;
  }
  CString kept = path.substr(0, from);
  for (std::size_t begin = from; begin < path.size();) {
    const std::size_t end = std::min(text::FindBackslash(path, begin), path.size() - 1) + 1;
    if (path.compare(begin, end - begin, ".\\") != 0) {
      kept.append(path, begin, end - begin);
    }
    begin = end;
  }
  path.swap(kept);
}

/// A destination as written, as a folder: without the file's own name, without one leading backslash.
CString ToFolder(CKestPath destination, const CKestPath& source) {
  if (!destination.IsEmpty()) {
    destination.LocalizePathSeparators();
  }
  CString folder = text::EqualNoCase(destination.GetFileName(), source.GetFileName()) ? destination.GetFolder()
                                                                                      : destination.GetText();
  if (folder.size() >= 1 && folder[0] == '\\' && (folder.size() < 2 || folder[1] != '\\')) {
    folder.erase(0, 1);
  }
  if (folder.empty() || text::FindLastBackslash(folder) != folder.size() - 1) {
    folder += '\\';
  }
  DropDots(folder, std::min(text::FindBackslash(folder), folder.size()));
  return folder;
}

bool IsAbsolute(const CString& path) { return path.size() > 2 && path[1] == ':' && path[2] == '\\'; }

CString NameFor(const CKestPath& source, const CString& winExtension) {
  CKestPath name(source.GetFileName());
  if (!winExtension.empty() && name.GetExtension().empty()) {
    name.SetExtension(winExtension);
  }
  return name.GetText();
}

} // namespace

CString FilePlace::DescribeUnsafe(const CKestExtensionFile& file) const { return file.GetSource() + ": " + why + ". "; }

bool IsPlaced(const CKestExtensionFile& file) { return file.GetPlatform() == 0 || file.GetPlatform() == 2; }

std::string_view FindUnsafeComponent(const CString& path) {
  std::size_t begin = 0;
  while (begin < path.size()) {
    const std::size_t end = std::min(text::FindBackslash(path, begin), path.size());
    const std::string_view component = std::string_view(path).substr(begin, end - begin);
    const bool isDrive = begin == 0 && component.size() == 2 && component[1] == ':';
    if (!component.empty() && !isDrive && JudgePathComponent(component) != nullptr) {
      return component;
    }
    begin = end + 1;
  }
  return {};
}

FilePlacement::FilePlacement(const Products& products, const CKestTokenMap& folderKeywords, const CString& unpackFolder)
    : m_products(products), m_folderKeywords(folderKeywords), m_unpackFolder(unpackFolder) {}

void FilePlacement::Forget() {
  m_tokens.clear();
  m_reserved.reset();
}

const FilePlacement::Reserved& FilePlacement::GetReserved() const {
  if (m_reserved) {
    return *m_reserved;
  }
  m_reserved.emplace();
  const auto add = [](std::vector<CString>& folders, const CString& folder) {
    if (!folder.empty()) {
      folders.push_back(text::Lower(WithBackslash(folder)));
    }
  };
  CString folder;
  if (CKestOS::GetMachine().GetTempRoot(folder)) {
    add(m_reserved->whole, folder);
  }
  if (history::GetFolder(folder)) {
    add(m_reserved->whole, folder);
  }
  for (const auto& product : m_products) {
    if (!product->IsInstalled()) {
      continue;
    }
    add(m_reserved->descriptions, product->GetExtensionsFolder());
    product->GetSharedExtensionsFolder(folder);
    add(m_reserved->descriptions, folder);
    CKestTypedList<CKestString> users;
    static_cast<void>(product->GetAllUserBinPaths(users)); // users who cannot be told have no folders to keep
    for (const CKestString& user : users) {
      CKestPath extensions;
      product->GetExtensionsFolderFor(CKestPath(user), extensions);
      add(m_reserved->descriptions, extensions.GetText());
    }
  }
  return *m_reserved;
}

bool FilePlacement::IsReserved(const CString& path, const CString& own) const {
  constexpr std::string_view kAside = "disabled\\";
  const CString folded = text::Lower(path);
  for (const CString& folder : GetReserved().whole) {
    if (folded.starts_with(folder)) {
      return true;
    }
  }
  for (const CString& folder : GetReserved().descriptions) {
    if (!folded.starts_with(folder)) {
      continue;
    }
    const std::string_view name = std::string_view(folded).substr(folder.size());
    if (name.starts_with(kAside) || name == text::Lower(DescriptionIndex::kFileName) ||
        (text::FindBackslash(name) == CString::npos && name.ends_with(".kei") && !text::EqualNoCase(name, own))) {
      return true;
    }
  }
  return false;
}

int FilePlacement::LocalizeSource(CKestPath& source) const {
  if (!source.IsEmpty()) {
    source.LocalizePathSeparators();
  }
  CString text = source.GetText();
  DropDots(text, 0);
  source = CKestPath(m_unpackFolder + text);
  return 0;
}

int FilePlacement::LocalizeDestination(CKestPath& destination, const CKestProduct* product, const CKestPath& source,
                                       const CKestPath& reference, const CKestExtension* extension,
                                       const CString& winExtension) const {
  return Resolver(*this, product, extension).Resolve(destination, source, reference, winExtension);
}

int FilePlacement::LocalizeFiles(CKestPath& source, CKestPath& destination, const CKestProduct* product,
                                 const CKestPath& reference, const CKestExtension* extension,
                                 const CString& winExtension) const {
  if (LocalizeSource(source) != 0) {
    return FilePlace::kNoToken;
  }
  return LocalizeDestination(destination, product, source, reference, extension, winExtension);
}

CString FilePlacement::LocalizeFolder(const CString& folder, const CKestProduct* product,
                                      const CKestExtension* extension) const {
  return Resolver(*this, product, extension).ResolveFolder(folder);
}

CString FilePlacement::GetPlacedName(const CKestExtensionFile& file) {
  CKestPath source(file.GetSource());
  if (!source.IsEmpty()) {
    source.LocalizePathSeparators();
  }
  return NameFor(source, file.GetWinExtension());
}

const CKestTokenMap& FilePlacement::GetTokens(const CKestProduct& product, const CString& destination) const {
  auto [found, isNew] = m_tokens.try_emplace(&product);
  ProductTokens& tokens = found->second;
  if (isNew) {
    product.GetConfigurationFolderName(tokens.configurationMark);
    tokens.configurationMark += '\\';
  }
  // a product looks at no more of a destination than whether it leads into the configuration folder
  std::optional<CKestTokenMap>& map =
      text::ContainsNoCase(destination, tokens.configurationMark) ? tokens.inside : tokens.outside;
  if (!map) {
    map.emplace();
    product.MapTokens(destination, CString(), *map);
  }
  return *map;
}

FilePlacement::Resolver::Resolver(const FilePlacement& placement, const CKestProduct* product,
                                  const CKestExtension* extension)
    : m_placement(placement), m_product(product), m_extension(extension),
      m_descriptionName(extension != nullptr ? CKestPath(extension->GetPath()).GetFileName() : CString()) {}

FilePlace FilePlacement::Resolver::Locate(const CKestExtensionFile& file) const {
  FilePlace place;
  const CString& winExtension = file.GetWinExtension();
  place.source = CKestPath(file.GetSource());
  (void)m_placement.LocalizeSource(place.source);
  place.destination = CKestPath(file.GetDestination());
  place.result = Resolve(place.destination, place.source, CKestPath(), winExtension);
  std::string_view component = FindUnsafeComponent(place.source.GetText());
  component = component.empty() ? FindUnsafeComponent(place.destination.GetText()) : component;
  const bool isResolved = place.result == FilePlace::kResolved;
  const bool isReserved = isResolved && m_placement.IsReserved(place.destination.GetText(), m_descriptionName);
  place.unsafe = !component.empty() || winExtension.find_first_of("\\/:") != CString::npos || isReserved ||
                 (isResolved && !IsAbsolute(place.destination.GetText()));
  if (!component.empty() && component != "." && component != "..") {
    place.why = "its name \"" + CString(component) + "\" " + JudgePathComponent(component);
  } else if (isReserved) {
    place.why = "its place is one of Kest's own, where no extension puts files";
  }
  return place;
}

int FilePlacement::Resolver::Resolve(CKestPath& destination, const CKestPath& source, const CKestPath& reference,
                                     const CString& winExtension) const {
  CString folder = ToFolder(std::move(destination), source);
  if (!BeginsWithToken(folder)) {
    destination = CKestPath(std::move(folder));
    return FilePlace::kNoToken;
  }
  const CString first = text::Lower(std::string_view(folder).substr(0, text::FindBackslash(folder)));
  const std::size_t length = folder.size();
  const auto hopeless = m_hopeless.find(first);
  if (hopeless != m_hopeless.end() && length >= hopeless->second) {
    destination = CKestPath(std::move(folder));
    return FilePlace::kUnresolved;
  }
  const CKestProduct* placing = m_product;
  for (int pass = 0; BeginsWithToken(folder); ++pass) {
    const std::size_t end = text::FindBackslash(folder);
    const CString* value = pass < kMostPasses ? FindValue(text::Lower(std::string_view(folder).substr(1, end - 1)),
                                                          folder, reference, placing)
                                              : nullptr;
    if (value == nullptr || value->size() + folder.size() > kLongestDestination) {
      // a rest that is longer does not lead further; one that is too long may have been shorter
      m_hopeless[first] = value == nullptr ? 0 : length;
      destination = CKestPath(std::move(folder));
      return FilePlace::kUnresolved;
    }
    folder = WithBackslash(*value) + folder.substr(end + 1);
  }
  // what a token stands for is as free to hold folders "." as a destination is
  DropDots(folder, std::min(text::FindBackslash(folder), folder.size()));
  folder += NameFor(source, winExtension);
  if (placing != nullptr) {
    placing->MassageDestination(folder);
  }
  destination = CKestPath(std::move(folder));
  return FilePlace::kResolved;
}

const CString* FilePlacement::Resolver::FindValue(const CString& token, const CString& destination,
                                                  const CKestPath& reference, const CKestProduct*& placing) const {
  const auto lookUp = [&token](const CKestTokenMap& map) {
    const auto found = map.find(token);
    return found == map.end() ? nullptr : &found->second;
  };
  if (const CString* value = lookUp(m_placement.m_folderKeywords)) {
    return value;
  }
  const auto tokensOf = [&](const CKestProduct& product) -> const CKestTokenMap& {
    if (reference.IsEmpty()) {
      return m_placement.GetTokens(product, destination);
    }
    m_referenceTokens.clear();
    product.MapTokens(destination, reference.GetText(), m_referenceTokens);
    return m_referenceTokens;
  };
  if (m_product != nullptr) {
    if (const CString* value = lookUp(tokensOf(*m_product))) {
      return value;
    }
    return FindOwnToken(token);
  }
  const auto& products = m_placement.m_products;
  for (auto product = products.rbegin(); product != products.rend(); ++product) {
    if ((*product)->IsInstalled()) {
      if (const CString* value = lookUp(tokensOf(**product))) {
        placing = product->get();
        return value;
      }
    }
  }
  return FindOwnToken(token);
}

CString FilePlacement::Resolver::ResolveFolder(const CString& folder) const {
  CKestPath destination(folder);
  (void)Resolve(destination, CKestPath(), CKestPath(), CString());
  return destination.GetText();
}

void FilePlacement::Resolver::GatherOwnTokens() const {
  if (m_ownTokens) {
    return;
  }
  m_ownTokens.emplace();
  CKestTokenMap tokens;
  if (m_extension != nullptr && m_extension->GetUserDefinedTokens(tokens)) {
    for (auto& [name, definition] : tokens) {
      m_ownTokens->try_emplace(text::Lower(name), definition);
    }
  }
}

void FilePlacement::Resolver::SetOwnToken(const CString& name, const CString& definition) {
  GatherOwnTokens();
  (*m_ownTokens)[text::Lower(name)] = definition;
  m_hopeless.clear();
}

void FilePlacement::Resolver::ResolveOwnTokens() {
  std::size_t count = 0;
  for (const CKestExtensionToken& token : m_extension->GetTokens()) {
    if (++count > kMostTokens) {
      break; // an install refuses them
    }
    const bool isAsked = token.GetDefinition().empty() && !token.GetPrompt().empty();
    const CString& given = isAsked ? token.GetDefault() : token.GetDefinition();
    if (!given.empty()) {
      SetOwnToken(token.GetName(), ResolveFolder(given));
    }
  }
}

const CString* FilePlacement::Resolver::FindOwnToken(const CString& token) const {
  GatherOwnTokens();
  const auto found = m_ownTokens->find(token);
  return found == m_ownTokens->end() ? nullptr : &found->second;
}

CString PackageEntryName(const CString& source) {
  CKestPath path(source);
  path.LocalizePathSeparators();
  const CString& whole = path.GetText();
  CString name;
  for (std::size_t begin = 0; begin < whole.size();) {
    const std::size_t end = std::min(text::FindBackslash(whole, begin), whole.size());
    const bool isDot = end == begin + 1 && whole[begin] == '.' && end < whole.size();
    if (end > begin && !isDot) {
      name += name.empty() ? "" : "\\";
      name.append(whole, begin, end - begin);
    }
    begin = end + 1;
  }
  return name;
}

} // namespace kest
