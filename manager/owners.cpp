#include "manager/owners.h"

#include "config/config_change.h"
#include "description/extension.h"
#include "journal/waiting_file.h"
#include "manager/manager_state.h"

#include <algorithm>

namespace kest {
namespace {

constexpr std::string_view kMenuTags[] = {"menubar", "menu", "menuitem", "format"};
constexpr std::string_view kKeyTags[] = {"shortcut", "menuitem"};
constexpr std::string_view kNamedTags[] = {"taglibrary", "tagref", "element-insert"};
constexpr std::string_view kNeitherTags[] = {"shortcut", "shortcutlist", "separator", "documenttype", "taglibrary"};

template <std::size_t n> bool IsOneOf(std::string_view tag, const std::string_view (&tags)[n]) {
  return std::find(std::begin(tags), std::end(tags), tag) != std::end(tags);
}

/// The attribute by which an element of this tag is the thing; empty when it cannot be one.
std::string_view AttributeOf(OwnedThing thing, std::string_view tag) {
  switch (thing) {
  case OwnedThing::kMenu:
    return IsOneOf(tag, kMenuTags) ? "id" : "";
  case OwnedThing::kKey:
    return IsOneOf(tag, kKeyTags) ? "key" : "";
  case OwnedThing::kTag:
    return IsOneOf(tag, kNamedTags) ? "name" : "";
  case OwnedThing::kButton: // whatever else has an id and is put in
    return IsOneOf(tag, kMenuTags) || IsOneOf(tag, kNeitherTags) || tag.ends_with("-remove") ? "" : "id";
  case OwnedThing::kFile:
  case OwnedThing::kRegistry:
    break;
  }
  return "";
}

/// The value of an attribute in a start tag; empty when it has none.
CString ValueOf(std::string_view element, std::string_view attribute) {
  const CString start = ' ' + CString(attribute) + "=\"";
  const std::size_t at = element.find(start);
  if (at == std::string_view::npos) {
    return {};
  }
  const std::size_t begin = at + start.size();
  return CString(element.substr(begin, element.find('"', begin) - begin));
}

/// Keys in one order and with one name for each.
std::vector<CString> KeysOf(const CString& keys) {
  std::vector<CString> parts(1);
  for (const char each : text::Lower(keys)) {
    if (each == '+' && !parts.back().empty()) {
      parts.emplace_back();
    } else if (each != ' ') {
      parts.back() += each;
    }
  }
  std::replace(parts.begin(), parts.end(), CString("ctrl"), CString("cmd"));
  std::sort(parts.begin(), parts.end());
  return parts;
}

bool IsThing(OwnedThing thing, const CString& value, const CString& wanted) {
  return !value.empty() &&
         (thing == OwnedThing::kKey ? KeysOf(value) == KeysOf(wanted) : text::EqualNoCase(value, wanted));
}

/// The start tag that puts the thing in; empty when the description has none.
CString FindElement(const CKestExtension& extension, OwnedThing thing, const CString& wanted) {
  for (const auto& set : extension.GetConfigChanges()) {
    CString content;
    set->BuildXml(0, content);
    std::string_view rest = content;
    for (std::size_t at; (at = rest.find('<')) != std::string_view::npos;) {
      rest.remove_prefix(at);
      const std::string_view element = rest.substr(0, rest.find('>') + 1);
      const std::string_view tag = element.substr(1, element.find_first_of(" \t\r\n/>") - 1);
      const std::string_view attribute = AttributeOf(thing, tag);
      if (!attribute.empty() && IsThing(thing, ValueOf(element, attribute), wanted)) {
        return CString(element);
      }
      rest.remove_prefix(1);
    }
  }
  return {};
}

CString FindFile(const CKestExtensionManager::State& state, const CKestProduct& product,
                 const CKestExtension& extension, const CString& path) {
  CKestPath package(extension.GetPath());
  package.SetExtension("kep");
  if (text::EqualNoCase(extension.GetPath(), path) ||
      (!extension.IsEnabled() && text::EqualNoCase(package.GetText(), path))) {
    return "kestrel-extension";
  }
  if (!extension.IsEnabled() || !extension.MayListFile(CKestPath(path).GetFileName())) {
    return {};
  }
  const FilePlacement::Resolver resolver(state.placement, &product, &extension);
  for (const CKestExtensionFile& file : extension.GetFiles()) {
    const FilePlace place = IsPlaced(file) ? resolver.Locate(file) : FilePlace{};
    if (place.result == FilePlace::kResolved && !place.unsafe && text::EqualNoCase(place.destination.GetText(), path)) {
      CString element;
      file.BuildXml(0, element);
      text::Trim(element);
      return element;
    }
  }
  return {};
}

} // namespace

std::vector<Owner> CKestExtensionManager::FindOwners(OwnedThing thing, const CString& name) const {
  std::vector<Owner> owners;
  if (thing == OwnedThing::kRegistry) {
    std::vector<WaitingFile> files;
    const std::size_t end = name.rfind('\\');
    const CString value = end == CString::npos ? name : name.substr(end + 1);
    const bool isOther = end != CString::npos && !text::ContainsNoCase(name, "\\runonce\\");
    static_cast<void>(ListWaitingFiles(files));
    for (const WaitingFile& file : files) {
      if (!isOther && text::EqualNoCase(file.value, value)) {
        return FindOwners(OwnedThing::kFile, file.destination);
      }
    }
    return owners;
  }
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  for (const auto& product : m_state->products) {
    const Catalogue::List* list = m_state->catalogue.Find(product.get());
    if (list == nullptr) {
      continue;
    }
    for (const CKestExtension* extension : *list) {
      CString element;
      if (thing == OwnedThing::kFile) {
        element = FindFile(*m_state, *product, *extension, name);
      } else if (extension->IsEnabled()) {
        element = FindElement(*extension, thing, name);
      }
      if (!element.empty()) {
        owners.push_back({product.get(), extension, std::move(element)});
      }
    }
  }
  return owners;
}

} // namespace kest
