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
  std::unordered_map<CString, int> lines; ///< by element and value
  for (const OutlineElement& element : outline.GetElements()) {
    for (const auto& [name, value] : element.attributes) {
      lines.try_emplace(element.name + ' ' + text::Lower(text::Trimmed(value)), element.line);
    }
  }
  for (Clash& clash : clashes) {
    clash.line = clash.element == "kestrel-extension" ? outline.At(0).line : clash.line;
    const auto at = lines.find(text::Lower(clash.element + ' ' + clash.name));
    clash.line = clash.line == 0 && at != lines.end() ? at->second : clash.line;
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
