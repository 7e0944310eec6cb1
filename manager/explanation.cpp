#include "manager/explanation.h"

#include "description/extension.h"
#include "manager/manager_state.h"

#include <algorithm>

namespace kest {
namespace {

CString Wanted(const CKestExtensionProduct& line) {
  return line.GetName() + (line.GetVersion().empty() ? CString() : " " + line.GetVersion());
}

CString NameAndVersion(const CKestProduct& product) {
  CString name;
  CKestVersionNumber version;
  product.GetName(name);
  product.GetVersion(version);
  return name + " (" + version.ToText() + ")";
}

/// Whether the name alone would do, whatever the version.
bool TakesName(const CKestProduct& product, const CKestExtensionProduct& line) {
  return product.Supports(line.GetName().c_str(), "0");
}

Explanation::Rule JudgeRule(const CKestProduct& product, const CKestExtensionProduct& line) {
  Explanation::Rule rule{line.GetName(),
                         line.GetVersion(),
                         line.IsPrimary(),
                         line.IsRequired(),
                         product.Supports(line.GetName().c_str(), line.GetVersion().c_str()),
                         CString()};
  CKestVersionNumber own;
  product.GetVersion(own);
  const CString here = NameAndVersion(product);
  const CString wanted = Wanted(line);
  if (rule.isMet) {
    rule.words = here + " takes what is for " + wanted + (own.Compare(line.GetVersion()) > 0 ? " or later" : "");
  } else if (!TakesName(product, line)) {
    rule.words = "it is for " + wanted + ", and " + here + " is another product";
  } else if (own.Compare(line.GetVersion()) < 0) {
    rule.words = "it is for " + wanted + " or later, and " + here + " is older";
  } else {
    rule.words = here + " takes what is for earlier versions of " + line.GetName() + " than " + line.GetVersion();
  }
  return rule;
}

/// What an install asks before a destination leads anywhere; null when the destination waits for no answer.
const CString* FindQuestion(const CKestExtension& extension, const CString& destination) {
  const std::size_t end = destination.find_first_of("/\\:");
  for (const CKestExtensionToken& token : extension.GetTokens()) {
    if (text::EqualNoCase("$" + token.GetName(), destination.substr(0, end)) && !token.GetPrompt().empty()) {
      return &token.GetPrompt();
    }
  }
  return nullptr;
}

std::vector<Explanation::Place> FindPlaces(const CKestExtensionManager::State& state, const CKestProduct& product,
                                           const CKestExtension& extension) {
  std::vector<Explanation::Place> places;
  const CKestExtension converted = state.owner.GetConverted(product, extension);
  FilePlacement::Resolver resolver(state.placement, &product, &converted);
  resolver.ResolveOwnTokens();
  for (const CKestExtensionFile& file : converted.GetFiles()) {
    Explanation::Place& place = places.emplace_back();
    place.source = file.GetSource();
    if (!IsPlaced(file)) {
      place.why = "it is for another platform";
      continue;
    }
    const FilePlace found = resolver.Locate(file);
    const CString* const question = FindQuestion(converted, file.GetDestination());
    if (found.result == FilePlace::kResolved && !found.unsafe) {
      place.destination = found.destination.GetText();
    } else if (question != nullptr) {
      place.why = "an install asks for its folder: " + *question;
    } else if (found.result != FilePlace::kResolved) {
      place.why = "nothing here is what " + file.GetDestination() + " begins with";
    } else {
      place.why = found.why.empty() ? CString("it would leave its folder") : found.why;
    }
  }
  return places;
}

/// What would have to be here for the primary line.
CString FindNearest(const CKestExtensionManager::State& state, const CKestExtensionProduct& primary) {
  const CKestProduct* nearest = nullptr;
  CKestVersionNumber best;
  for (const auto& product : state.products) {
    CKestVersionNumber version;
    product->GetVersion(version);
    if (product->IsInstalled() && TakesName(*product, primary) &&
        (nearest == nullptr || version.Compare(best.ToText().c_str()) > 0)) {
      nearest = product.get();
      best = version;
    }
  }
  return nearest == nullptr ? Wanted(primary) + " would do, and nothing of that name is here"
                            : Wanted(primary) + " would do; the nearest here is " + NameAndVersion(*nearest);
}

} // namespace

bool Explanation::Fits() const {
  return std::any_of(candidates.begin(), candidates.end(), [](const Candidate& one) { return one.fits; });
}

Explanation CKestExtensionManager::Explain(const CKestExtension& extension) const {
  Explanation explanation;
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  const CKestExtensionProduct* primary = extension.GetPrimaryProduct();
  if (primary == nullptr) {
    explanation.obstacles.emplace_back("it names no primary product");
  }
  for (const CKestExtensionProduct& line : extension.GetProducts()) {
    const CKestProduct* found = m_state->FindProduct(line.GetName(), line.GetVersion());
    if (line.IsRequired() && !line.IsPrimary() && (found == nullptr || !found->IsInstalled())) {
      explanation.obstacles.push_back("it requires " + Wanted(line) + ", which is not here");
    }
  }
  for (const auto& product : m_state->products) {
    if (!product->IsInstalled()) {
      continue;
    }
    Explanation::Candidate& candidate = explanation.candidates.emplace_back();
    candidate.product = product.get();
    for (const CKestExtensionProduct& line : extension.GetProducts()) {
      candidate.rules.push_back(JudgeRule(*product, line));
    }
    candidate.fits = explanation.obstacles.empty() && primary != nullptr &&
                     product->Supports(primary->GetName().c_str(), primary->GetVersion().c_str());
    if (candidate.fits) {
      candidate.files = FindPlaces(*m_state, *product, extension);
    }
  }
  if (!explanation.Fits() && primary != nullptr) {
    explanation.nearest = FindNearest(*m_state, *primary);
  }
  return explanation;
}

} // namespace kest
