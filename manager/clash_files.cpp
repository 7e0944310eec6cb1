// Clashes in files, and what a description says in vain.
#include "description/extension.h"
#include "manager/clash_parts.h"
#include "platform/machine/os.h"

#include <algorithm>

namespace kest::clashes {
namespace {

/// A file that is there already.
struct Present {
  CString path;
  const CKestExtensionFile* file;
};

// Whose of the catalogue's the present files are, by lower-case path.
std::unordered_map<CString, CString> FindHolders(const Search& search, const std::vector<Present>& present) {
  constexpr std::size_t kFew = 16;
  std::unordered_map<CString, CString> holders;
  std::unordered_set<CString> wanted;
  for (const Present& one : present) {
    wanted.insert(text::Lower(one.path));
  }
  for (const auto& [owner, list] : search.state.catalogue.All()) {
    for (const CKestExtension* other : list) {
      const bool mayMeet =
          present.size() > kFew || std::any_of(present.begin(), present.end(), [&](const Present& one) {
            return other->MayListFile(CKestPath(one.path).GetFileName());
          });
      if (!other->IsEnabled() || search.IsSame(*other) || !mayMeet || !other->ReadRest()) {
        continue;
      }
      const FilePlacement::Resolver resolver(search.state.placement, owner, other);
      for (const CKestExtensionFile& file : other->GetFiles()) {
        const FilePlace place = IsPlaced(file) ? resolver.Locate(file) : FilePlace{};
        CString path = text::Lower(place.destination.GetText());
        if (place.result == FilePlace::kResolved && wanted.contains(path)) {
          holders.try_emplace(std::move(path), other->GetName());
        }
      }
    }
  }
  return holders;
}

Clash ClashOf(const CKestExtensionFile& file, const char* rule) {
  Clash clash;
  clash.rule = rule;
  clash.element = "file";
  clash.name = file.GetSource();
  return clash;
}

} // namespace

void FindInFiles(Search& search) {
  FilePlacement::Resolver resolver(search.state.placement, search.product, search.extension);
  resolver.ResolveOwnTokens();
  std::size_t number = 0;
  std::vector<Present> present;
  std::size_t elsewhere = 0;
  const CKestExtensionFile* first = nullptr;
  for (const CKestExtensionFile& file : search.extension->GetFiles()) {
    const FilePlace* const known = search.hints.places != nullptr ? &(*search.hints.places)[number++] : nullptr;
    if (!IsPlaced(file)) {
      first = elsewhere++ == 0 ? &file : first;
      continue;
    }
    const FilePlace place = known != nullptr ? *known : resolver.Locate(file);
    const CString& path = place.destination.GetText();
    if (place.result == FilePlace::kUnresolved) {
      Clash clash = ClashOf(file, "unknown-token");
      clash.isLeftOut = true;
      clash.text = file.GetSource() + " is left out: nothing here is what " + file.GetDestination() + " begins with";
      search.found.push_back(std::move(clash));
    } else if (place.result == FilePlace::kResolved && !place.unsafe &&
               (search.hints.existing != nullptr ? search.hints.existing->contains(path) : CKestOS::FileExists(path))) {
      present.push_back({path, &file});
    }
  }
  if (first != nullptr) {
    Clash clash = ClashOf(*first, "other-platform");
    clash.isLeftOut = true;
    clash.text = elsewhere == 1
                     ? first->GetSource() + " is for another platform, and is left out"
                     : std::to_string(elsewhere) +
                           " files are for another platform, and are left out: " + first->GetSource() + " is the first";
    search.found.push_back(std::move(clash));
  }
  if (present.empty()) {
    return;
  }
  const auto holders = FindHolders(search, present);
  for (const Present& one : present) {
    const auto holder = holders.find(text::Lower(one.path));
    if (holder != holders.end()) {
      Clash clash = ClashOf(*one.file, "file-taken");
      clash.file = one.path;
      clash.meets = one.path;
      clash.owner = holder->second;
      clash.text = one.path + " is a file of \"" + holder->second + "\", too: it is replaced";
      search.found.push_back(std::move(clash));
    }
  }
}

void FindDescription(Search& search) {
  if (search.fileName.empty()) {
    return;
  }
  const CString path = search.state.GetExtensionsPath(*search.product, CString(search.fileName));
  const CKestExtension* other = search.state.owner.FindByPath(path.c_str());
  if (other != nullptr && other->IsEnabled() && !search.IsSame(*other)) {
    Clash clash;
    clash.rule = "description-taken";
    clash.element = "kestrel-extension";
    clash.name = search.fileName;
    clash.file = path;
    clash.meets = path;
    clash.owner = other->GetName();
    clash.text = "the description of \"" + other->GetName() + "\" is called " + CString(search.fileName) +
                 ", too: one of them can be enabled";
    search.found.push_back(std::move(clash));
  }
}

} // namespace kest::clashes
