// Products: those that a description names, and what one of them on this machine says to it.
#include "config/config_change.h"
#include "description/extension.h"
#include "manager/validation_rules.h"
#include "platform/machine/file.h"
#include "platform/text/path.h"
#include "products/product.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>

namespace kest {

namespace {

constexpr std::string_view kFamilies = "Tidemark|Tidemark Vantage|Vantage|Prism|Marlin|Quarry";
constexpr std::uint64_t kMostFileBytes = 16u << 20;

// The last version of each family that is served.
constexpr std::pair<std::string_view, int> kLastVersions[] = {
    {"Tidemark", 6}, {"Tidemark Vantage", 6}, {"Vantage", 6}, {"Prism", 6}, {"Marlin", 6}, {"Quarry", 2},
};

int LastVersionOf(std::string_view family) {
  const auto* at = std::find_if(std::begin(kLastVersions), std::end(kLastVersions),
                                [&](const auto& row) { return text::EqualNoCase(row.first, family); });
  return at == std::end(kLastVersions) ? std::numeric_limits<int>::max() : at->second;
}

// The family of "Tidemark 6" or "Tidemark Nova".
CString FamilyOf(CString name) {
  const std::size_t blank = name.rfind(' ');
  if (blank != CString::npos && !IsOneOf(name, kFamilies)) {
    const CString last = name.substr(blank + 1);
    const bool isVersion = text::EqualNoCase(last, "nova") || last.find_first_not_of("0123456789.") == CString::npos;
    name.erase(isVersion ? blank : name.size());
  }
  return name;
}

// The ids of a file, without understanding it: products' files need not be well-formed.
std::set<CString> IdsIn(std::string_view content) {
  std::set<CString> ids;
  const CString lower = text::Lower(content);
  for (std::size_t at = 0; (at = lower.find("id", at)) != CString::npos; at += 2) {
    std::size_t value = lower.find_first_not_of(" \t", at + 2);
    if (value == CString::npos || lower[value] != '=') {
      continue;
    }
    value = lower.find_first_not_of(" \t", value + 1);
    if (value == CString::npos || (lower[value] != '"' && lower[value] != '\'')) {
      continue;
    }
    const std::size_t end = std::min(lower.find(lower[value], value + 1), lower.size());
    ids.insert(lower.substr(value + 1, end - value - 1));
  }
  return ids;
}

constexpr std::string_view kPlaceAttributes =
    "insertbefore|insertbeforeid|insertbeforemenu|insertbeforemenuid|insertafter|insertafterid|insertaftermenu|"
    "insertaftermenuid|appendto|appendtoid|appendtomenu|appendtomenuid|prependto|prependtoid|prependtomenu|"
    "prependtomenuid|listid|toolbar|category";

} // namespace

void ValidationRules::CheckProducts() const {
  std::set<CString> seen;
  int primary = 0;
  for (const OutlineElement& element : outline.GetElements()) {
    if (element.name != "product" || outline.ParentName(element) != "products") {
      continue;
    }
    const CString name = element.Get("name");
    const CString version = element.Get("version");
    const bool isKnown = IsOneOf(FamilyOf(name), kFamilies);
    if (!name.empty() && !isKnown) {
      const CString near = NearestOf(FamilyOf(name), kFamilies);
      findings.Error(element.line, "unknown-product",
                     "no product is called \"" + name + "\"" +
                         (near.empty() ? CString() : "; did you mean \"" + near + "\"?"));
    } else if (const int last = LastVersionOf(FamilyOf(name)); CKestVersionNumber(version).GetMajor() > last) {
      findings.Warn(element.line, "unknown-version",
                    "no " + name + " later than version " + std::to_string(last) + " is served, and it wants " +
                        version);
    }
    if (!seen.insert(text::Lower(name) + "|" + version).second) {
      findings.Warn(element.line, "product-twice", name + " " + version + " stands there more than once");
    }
    primary += text::IsTruthy(element.Get("primary")) ? 1 : 0;
    if (primary > 1 && text::IsTruthy(element.Get("primary"))) {
      findings.Warn(element.line, "several-primary", "more than one product is marked primary; the first one counts");
    }
  }
}

void ValidationRules::CheckOnProduct() const {
  const CKestProduct& product = *subject.product;
  const CKestExtensionProduct* primary = record.GetPrimaryProduct();
  const int root = outline.GetElements().empty() ? 0 : outline.At(0).line;
  if (primary != nullptr && !product.Supports(primary->GetName().c_str(), primary->GetVersion().c_str())) {
    CString name;
    product.GetName(name);
    findings.Error(root, "not-supported",
                   "it is for " + primary->GetName() + " " + primary->GetVersion() + ", and " + name +
                       " does not take that");
  }
  // What the product converts from older versions goes into other files than it says: those are not asked.
  CKestExtension converted;
  static_cast<void>(converted.LoadText(subject.description, nullptr, nullptr));
  product.MassageExtension(&converted);
  std::set<CString> kept;
  for (const auto& change : converted.GetConfigChanges()) {
    CString path;
    change->GetPath(path);
    kept.insert(text::Lower(path));
  }
  // a place may be one that the description makes itself
  std::set<CString> own;
  for (const OutlineElement& element : outline.GetElements()) {
    own.insert(text::Lower(element.Get("id")));
  }
  std::map<const CKestConfigChanges*, std::set<CString>> files;
  std::size_t next = 0;
  const CKestConfigChanges* set = nullptr;
  std::map<int, const CKestConfigChanges*> sets; ///< by the index of their elements
  for (std::size_t i = 0; i < outline.GetElements().size(); ++i) {
    const OutlineElement& element = outline.GetElements()[i];
    if (IsOneOf(element.name, kConfigSets) && next < record.GetConfigChanges().size()) {
      sets[static_cast<int>(i)] = record.GetConfigChanges()[next++].get();
    }
    const auto home = sets.find(element.parent);
    set = home == sets.end() ? nullptr : home->second;
    CString path;
    if (set != nullptr) {
      set->GetPath(path);
    }
    if (set == nullptr || !set->HasSafePath() || !kept.contains(text::Lower(path))) {
      continue;
    }
    for (const auto& [attribute, value] : element.attributes) {
      if (!IsOneOf(attribute, kPlaceAttributes) || text::Trimmed(value).empty()) {
        continue;
      }
      if (!files.contains(set)) {
        CString folder;
        CString content;
        product.GetExtensionsFolder(folder);
        CKestPath file(CKestPath(WithoutBackslash(folder)).GetFolder()); // the configuration folder
        file.Append(path);
        static_cast<void>(CKestFile::ReadAll(file, content, kMostFileBytes)); // a file that is not there has no places
        files[set] = IdsIn(content);
      }
      const CString place = text::Lower(text::Trimmed(value));
      if (!files[set].contains(place) && !own.contains(place)) {
        findings.Warn(element.line, "place-missing",
                      Tag(element.name) + ": " + path + " has no \"" + CString(text::Trimmed(value)) + "\" here");
      }
    }
  }
}

} // namespace kest
