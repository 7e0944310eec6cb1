// Products: those that a description names, and what one of them on this machine says to it.
#include "description/extension.h"
#include "manager/extension_manager.h"
#include "manager/validation_rules.h"
#include "products/product.h"

#include <algorithm>
#include <limits>
#include <set>

namespace kest {

namespace {

constexpr std::string_view kFamilies = "Tidemark|Tidemark Vantage|Vantage|Prism|Marlin|Quarry";

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
  if (subject.manager == nullptr) {
    return;
  }
  for (const Clash& clash : subject.manager->FindClashes({&product, &record, subject.description, subject.fileName})) {
    if (IsOneOf(clash.rule, "unknown-token|dropped-element|other-platform")) {
      continue; // told whatever the product, or nothing wrong
    }
    clash.isFatal ? findings.Error(clash.line, clash.rule, clash.text)
                  : findings.Warn(clash.line, clash.rule, clash.text);
  }
}

} // namespace kest
