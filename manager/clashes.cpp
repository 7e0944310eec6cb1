#include "description/extension.h"
#include "manager/clash_parts.h"
#include "manager/validation_rules.h"
#include "platform/machine/file.h"

#include <algorithm>

namespace kest {
namespace {

// The lines of the elements that the clashes are about.
void FindLines(std::string_view description, std::vector<Clash>& clashes) {
  const DescriptionOutline outline(description);
  std::unordered_map<CString, int> lines; ///< by element and value, of the clashes; 0 until it is found
  for (Clash& clash : clashes) {
    clash.line = clash.element == "kestrel-extension" ? outline.At(0).line : clash.line;
    lines.try_emplace(text::Lower(clash.element + ' ' + clash.name));
  }
  CString key;
  for (const OutlineElement& element : outline.GetElements()) {
    for (const OutlineAttribute& attribute : element.attributes) {
      key.assign(element.name).append(" ").append(text::Lower(text::Trimmed(attribute.second)));
      if (const auto at = lines.find(key); at != lines.end() && at->second == 0) {
        at->second = element.line;
      }
    }
  }
  for (Clash& clash : clashes) {
    clash.line = clash.line == 0 ? lines.at(text::Lower(clash.element + ' ' + clash.name)) : clash.line;
  }
}

} // namespace

bool clashes::Search::IsSame(const CKestExtension& other) const {
  return text::EqualNoCase(other.GetName(), extension->GetName()) &&
         text::EqualNoCase(other.GetAuthorName(), extension->GetAuthorName());
}

void clashes::DropListener::OnDropped(int line, std::string_view element, std::string_view belongsIn) {
  constexpr std::size_t kMost = 100; // nobody reads more
  if (dropped.size() < kMost) {
    Clash& clash = dropped.emplace_back();
    clash.rule = "dropped-element";
    clash.isLeftOut = true;
    clash.line = line;
    clash.element = element;
    clash.text =
        Tag(element) + " has no effect here" + (belongsIn.empty() ? CString() : ": it belongs in " + Tag(belongsIn));
  }
}

std::vector<Clash> FindClashes(const CKestExtensionManager::State& state, const ClashQuestion& question,
                               const ClashHints& hints) {
  clashes::Search search{state, question.product, question.extension, question.fileName, hints};
  if (hints.dropped != nullptr) {
    search.found = *hints.dropped;
  }
  clashes::FindDescription(search);
  clashes::FindInFiles(search);
  clashes::FindInConfiguration(search);
  const bool wantsLines =
      std::any_of(search.found.begin(), search.found.end(), [](const Clash& clash) { return clash.line == 0; });
  CString read;
  std::string_view description = question.description;
  if (wantsLines && description.empty() && !hints.descriptionPath.empty() &&
      CKestFile::ReadAll(hints.descriptionPath, read)) {
    description = read;
  }
  if (wantsLines && !description.empty()) {
    FindLines(description, search.found);
  }
  return std::move(search.found);
}

std::vector<Clash> CKestExtensionManager::FindClashes(const ClashQuestion& question) const {
  if (question.product == nullptr || question.extension == nullptr) {
    return {};
  }
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  clashes::DropListener listener;
  CKestExtension converted;
  const CKestExtension* asked = question.extension;
  if (!question.description.empty() &&
      converted.LoadText(question.description, nullptr, &listener) == CKestExtension::kLoaded) {
    // what the product converts from older versions goes into other files than it says
    question.product->MassageExtension(&converted);
    asked = &converted;
  }
  ClashQuestion wanted = question;
  wanted.extension = asked;
  return kest::FindClashes(*m_state, wanted, {.dropped = &listener.dropped});
}

} // namespace kest
