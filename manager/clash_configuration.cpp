// Clashes in configuration files: what a change set puts in or takes out, against what its file holds.
#include "config/config_change.h"
#include "description/extension.h"
#include "manager/clash_parts.h"
#include "manager/tag_scan.h"
#include "manager/validation_rules.h"
#include "menus/menu_changes.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"

#include <algorithm>

namespace kest::clashes {
namespace {

constexpr std::uint64_t kMostFileBytes = 16u << 20;
constexpr std::string_view kWindows = "menubar|shortcutlist|toolbar|category";
/// Those that stay at an uninstall while they hold something.
constexpr std::string_view kHolders = "menubar|menu|toolbar|category|separator|comment";

/// An entry of a configuration file.
struct Entry {
  CString tag;    ///< in small letters
  CString id;     ///< as written
  CString shown;  ///< its text
  CString window; ///< id of the menu bar, shortcut list, toolbar or category that it stands in, in small letters
};

/// Ids of shortcuts and of menus are looked for apart from each other.
CString KeyOf(std::string_view tag, std::string_view id) {
  return (tag.starts_with("shortcut") ? "s " : "m ") + text::Lower(id);
}

CString TextOf(const TagScan& tag) {
  for (const char* attribute : {"name", "label", "title", "file", "id", "key"}) {
    if (CString value(tag.Get(attribute)); !value.empty()) {
      std::erase(value, '_');
      return value;
    }
  }
  return {};
}

/// Keys in one order and with one name for each.
CString Normalized(std::string_view keys) {
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
  CString all;
  for (const CString& part : parts) {
    all += part + '+';
  }
  return all;
}

bool IsForMac(const TagScan& tag) { return text::EqualNoCase(tag.Get("platform"), "mac"); }

/// What a configuration file holds, seen once.
class Content {
public:
  explicit Content(std::string_view text) {
    CString window;
    for (TagScan tag(text); tag.Next();) {
      CString name = text::Lower(tag.GetName());
      if (IsOneOf(name, kWindows)) {
        window = text::Lower(tag.Get("id"));
      }
      const std::string_view id = tag.Get("id");
      const std::string_view keys = name == "menuitem" || name == "shortcut" ? tag.Get("key") : std::string_view();
      if (id.empty() && keys.empty()) {
        continue;
      }
      const Entry entry{std::move(name), CString(id), TextOf(tag), window};
      if (!keys.empty() && !IsForMac(tag)) {
        m_keys.try_emplace(window + ' ' + Normalized(keys), entry);
      }
      if (!id.empty()) {
        m_ids.try_emplace(KeyOf(entry.tag, id), entry);
      }
    }
  }
  [[nodiscard]] const Entry* FindId(std::string_view tag, std::string_view id) const {
    const auto found = m_ids.find(KeyOf(tag, id));
    return found == m_ids.end() ? nullptr : &found->second;
  }
  [[nodiscard]] const Entry* FindKeys(const CString& window, std::string_view keys) const {
    const auto found = m_keys.find(window + ' ' + Normalized(keys));
    return found == m_keys.end() ? nullptr : &found->second;
  }

private:
  std::unordered_map<CString, Entry> m_ids;
  std::unordered_map<CString, Entry> m_keys; ///< by window and keys
};

/// A clash whose owner is still to be found.
struct Met {
  std::size_t clash;
  CString owned; ///< path below the configuration folder, and the key of the id; empty: nobody can tell
};

CString ShortPath(const CKestConfigChanges& set) {
  CString path;
  set.GetPath(path);
  path.erase(0, path.find_first_not_of('\\'));
  return path;
}

class ConfigurationSearch {
public:
  explicit ConfigurationSearch(Search& search) : m_search(search) {
    search.product->GetExtensionsFolder(m_folder);
    m_folder = CKestPath(WithoutBackslash(m_folder)).GetFolder();
  }

  void Run() {
    for (const auto& set : m_search.extension->GetConfigChanges()) {
      if (set->HasSafePath()) {
        LookAt(*set);
      }
    }
    if (!m_met.empty()) {
      FindOwners();
    }
    for (Clash& clash : m_clashes) {
      if (clash.element.empty()) {
        continue; // its own older version's
      }
      clash.text = Tell(clash);
      m_search.found.push_back(std::move(clash));
    }
  }

private:
  [[nodiscard]] const Content& GetContent(const CString& path) {
    const auto known = m_contents.find(text::Lower(path));
    if (known != m_contents.end()) {
      return known->second;
    }
    CString read;
    const CString* content = &read;
    if (m_search.hints.configuration != nullptr) {
      const auto at = m_search.hints.configuration->find(CKestOS::GetMachine().GetStoredPath(path));
      content = at == m_search.hints.configuration->end() ? content : &at->second;
    } else {
      static_cast<void>(CKestFile::ReadAll(path, read, kMostFileBytes)); // one that is not there holds nothing
    }
    return m_contents.emplace(text::Lower(path), Content(*content)).first->second;
  }

  void LookAt(const CKestConfigChanges& set) {
    m_set = &set;
    m_short = ShortPath(set);
    m_path = m_folder + '\\' + m_short;
    CString xml;
    set.BuildXml(0, xml);
    const Content own(xml); // a place may be one that the set makes itself
    m_own = &own;
    m_content = &GetContent(m_path);
    m_change.clear();
    m_removed.clear();
    for (TagScan tag(xml); tag.Next();) {
      if (tag.GetName().ends_with("-remove")) {
        m_removed.insert(text::Lower(RemovedId(tag)));
      }
    }
    for (TagScan tag(xml); tag.Next();) {
      const CString name = text::Lower(tag.GetName());
      if (name.ends_with("-insert")) {
        m_change = name;
        m_window = WindowOf(tag);
        LookForPlace(tag, name);
      } else if (name.ends_with("-remove")) {
        LookForRemoved(tag, name);
      } else if (!m_change.empty() && !name.starts_with('/')) {
        LookForEntry(tag, name);
      }
    }
  }

  [[nodiscard]] const Entry* FindPlace(std::string_view id) const {
    const char* tag = m_change == "shortcut-insert" ? "shortcutlist" : "menu";
    const Entry* place = m_content->FindId(tag, id);
    place = place == nullptr ? m_content->FindId(tag, CKestMenuChangeInsert::SubstituteOf(id)) : place;
    return place == nullptr ? m_own->FindId(tag, id) : place;
  }

  [[nodiscard]] static std::string_view PlaceOf(const TagScan& tag) {
    for (const char* attribute : {"insertbefore", "insertafter", "prependto", "appendto", "listid"}) {
      if (const std::string_view value = tag.Get(attribute); !value.empty()) {
        return value;
      }
    }
    return {};
  }

  // The window whose keys the change's content uses.
  [[nodiscard]] CString WindowOf(const TagScan& tag) const {
    const Entry* place = FindPlace(PlaceOf(tag));
    CString last;
    if (place == nullptr && m_set->GetLastResortId(last)) {
      place = FindPlace(last);
    }
    return place == nullptr ? CString() : place->window;
  }

  Clash& Add(const char* rule, std::string_view element, std::string_view name) {
    Clash& clash = m_clashes.emplace_back();
    clash.rule = rule;
    clash.element = element;
    clash.name = name;
    clash.file = m_path;
    return clash;
  }

  void LookForEntry(const TagScan& tag, const CString& name) {
    const CString id(tag.Get("id"));
    const Entry* same = id.empty() || IsOneOf(name, kHolders) ? nullptr : m_content->FindId(name, id);
    // what the extension takes out itself, it replaces on purpose
    if (same != nullptr && !m_removed.contains(text::Lower(id)) && !m_removed.contains(same->window)) {
      m_met.push_back({m_clashes.size(), m_short + ' ' + KeyOf(same->tag, same->id)});
      Add("id-taken", name, id).meets = same->shown;
    }
    const std::string_view keys = name == "menuitem" || name == "shortcut" ? tag.Get("key") : std::string_view();
    const Entry* other = keys.empty() || IsForMac(tag) ? nullptr : m_content->FindKeys(m_window, keys);
    if (other != nullptr && (id.empty() || !text::EqualNoCase(other->id, id))) {
      m_met.push_back({m_clashes.size(), other->id.empty() ? CString() : m_short + ' ' + KeyOf(other->tag, other->id)});
      Add("key-taken", name, keys).meets = other->shown;
    }
  }

  [[nodiscard]] static std::string_view RemovedId(const TagScan& tag) {
    const std::string_view id = tag.Get("id");
    return id.empty() ? tag.Get("menuid") : id;
  }

  void LookForRemoved(const TagScan& tag, const CString& name) {
    const std::string_view id = RemovedId(tag);
    const Entry* there = m_content->FindId(name == "shortcut-remove" ? "shortcut" : "menu", id);
    if (there != nullptr) {
      m_met.push_back({m_clashes.size(), m_short + ' ' + KeyOf(there->tag, there->id)});
      Add("removes-foreign", name, id).meets = there->shown;
    }
  }

  void LookForPlace(const TagScan& tag, const CString& name) {
    const std::string_view id = PlaceOf(tag);
    if (id.empty() || FindPlace(id) != nullptr) {
      return;
    }
    Clash& clash = Add("place-missing", name, id);
    CString last;
    if (name == "shortcut-insert") {
      clash.isLeftOut = true;
    } else if (name == "menu-insert") {
      if (m_set->AppendIfLocationNotFound()) {
        clash.instead = "to the first menu bar";
      } else if (m_set->GetLastResortId(last)) {
        const Entry* menu = FindPlace(last);
        clash.instead = "to the menu \"" + (menu == nullptr ? last : menu->shown) + "\" of the commands";
      } else {
        clash.isFatal = true;
      }
    } else if (name == "insertbar-insert") {
      clash.instead = "to the end of the insert bar";
    } else {
      const bool isToolbar = name.starts_with("toolbar");
      const std::string_view group = tag.Get(isToolbar ? "toolbar" : "category");
      const Entry* holder = group.empty() ? nullptr : FindPlace(group);
      clash.instead = holder != nullptr ? "to the end of \"" + holder->shown + "\""
                      : isToolbar       ? CString("to the toolbar \"Miscellaneous\"")
                                        : CString("to the category \"Miscellaneous\"");
    }
  }

  // One walk over what is installed in the product.
  void FindOwners() {
    std::unordered_map<CString, const CKestExtension*> owners;
    for (const Met& met : m_met) {
      owners.try_emplace(text::Lower(met.owned), nullptr);
    }
    std::unordered_set<CString> files;
    for (const auto& set : m_search.extension->GetConfigChanges()) {
      files.insert(text::Lower(ShortPath(*set)));
    }
    if (const Catalogue::List* list = m_search.state.catalogue.Find(m_search.product)) {
      for (const CKestExtension* other : *list) {
        if (other->IsEnabled() && other->ReadRest()) {
          NoteOwned(*other, files, owners);
        }
      }
    }
    for (const Met& met : m_met) {
      Clash& clash = m_clashes[met.clash];
      const CKestExtension* owner = owners[text::Lower(met.owned)];
      clash.owner = owner == nullptr ? CString() : owner->GetName();
      const bool isRemoval = std::string_view(clash.rule) == "removes-foreign";
      if (owner == nullptr ? isRemoval : m_search.IsSame(*owner)) {
        clash.element.clear(); // to take away what is the product's own is what a removal is for
      }
    }
  }

  static void NoteOwned(const CKestExtension& other, const std::unordered_set<CString>& files,
                        std::unordered_map<CString, const CKestExtension*>& owners) {
    for (const auto& set : other.GetConfigChanges()) {
      const CString path = text::Lower(ShortPath(*set));
      if (!files.contains(path)) {
        continue;
      }
      CString xml;
      set->BuildXml(0, xml);
      for (TagScan tag(xml); tag.Next();) {
        const std::string_view id = tag.Get("id");
        if (id.empty() || text::Lower(tag.GetName()).ends_with("-remove")) {
          continue;
        }
        const auto wanted = owners.find(path + ' ' + KeyOf(text::Lower(tag.GetName()), id));
        if (wanted != owners.end() && wanted->second == nullptr) {
          wanted->second = &other;
        }
      }
    }
  }

  [[nodiscard]] CString Tell(const Clash& clash) const {
    const CString file = clash.file.substr(m_folder.size() + 1);
    const CString whose = clash.owner.empty() ? CString() : CString(" of \"").append(clash.owner).append("\"");
    const CString begin = Tag(clash.element) + ": ";
    const CString name = '"' + clash.name + '"';
    const std::string_view rule = clash.rule;
    if (rule == "key-taken") {
      return begin + "\"" + clash.meets + "\"" + whose + " in " + file + " has the keys " + clash.name;
    }
    if (rule == "id-taken") {
      return begin + file + " has " + name + whose + " already (\"" + clash.meets +
             "\"): an uninstall takes that one away";
    }
    if (rule == "removes-foreign") {
      return begin + "takes " + name + whose + " out of " + file + ", and an uninstall does not bring it back";
    }
    return begin + file + " has no " + name + " here: " +
           (clash.isLeftOut ? CString("it is left out")
            : clash.isFatal ? CString("an install fails")
                            : "what it puts in goes " + clash.instead);
  }

  Search& m_search;
  CString m_folder; ///< the configuration folder
  std::unordered_map<CString, Content> m_contents;
  std::vector<Clash> m_clashes;
  std::vector<Met> m_met;
  // the set at hand
  const CKestConfigChanges* m_set = nullptr;
  const Content* m_own = nullptr;
  const Content* m_content = nullptr;
  CString m_short;
  CString m_path;
  CString m_change;
  CString m_window;
  std::unordered_set<CString> m_removed; ///< ids that the set takes out, in small letters
};

} // namespace

void FindInConfiguration(Search& search) { ConfigurationSearch(search).Run(); }

} // namespace kest::clashes
