#include "manager/config_entries.h"

#include "config/generic_xml_file.h"
#include "menus/menus_file.h"
#include "platform/text/path.h"

#include <algorithm>
#include <unordered_map>

namespace kest {
namespace {

using Kind = PreviewEntry::Kind;
using Change = PreviewEntry::Change;

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

/// One entry of a configuration file as it stands there.
struct Entry {
  Kind kind = Kind::kListEntry;
  CString key; ///< by which it is found in the other state
  CString name;
  CString id;
  CString keys; ///< of a shortcut or of a menu item that has one
  CString parent;
  CString after;
  CString own; ///< what it says beside its place
  std::size_t match = kNone;
  bool isMoved = false;
};

/// Text of a menu as a person reads it: entities decoded, without the mark of the letter that opens it.
CString Readable(std::string_view text) {
  CString name(text);
  for (const auto& [entity, character] :
       {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}}) {
    text::ReplaceAll(name, entity, character);
  }
  if (const std::size_t mark = name.find('_'); mark != CString::npos && name.find(' ') != 0) {
    name.erase(mark, 1);
  }
  return name;
}

/// Keys in one spelling: products of both platforms say Cmd for what is Ctrl on a PC.
CString KeysOf(std::string_view text) {
  CString keys(text);
  text::ReplaceAllNoCase(keys, "Cmd+", "Ctrl+");
  return keys;
}

class Reader {
public:
  explicit Reader(const CString& path) : m_file(text::Lower(CKestPath(path).GetFileName())) {
    m_folder = text::Lower(CKestPath(WithoutBackslash(CKestPath(path).GetFolder())).GetFileName());
  }

  [[nodiscard]] std::vector<Entry> Read(std::string_view content) {
    m_entries.clear();
    if (m_file.ends_with(".txt")) {
      ReadLines(content);
    } else if (IsMenuFormat()) {
      CKestMenusXmlFile file;
      if (file.LoadContent(content) == CKestXMLParser::kGood) {
        ReadMenus(file, "");
      } else {
        ReadLines(content);
      }
    } else {
      CKestGenericXmlFile file;
      if (file.LoadContent(content) == CKestXMLParser::kGood) {
        ReadElements(file, "");
      } else {
        ReadLines(content);
      }
    }
    return std::move(m_entries);
  }

private:
  [[nodiscard]] bool IsMenuFormat() const {
    return m_file == "menus.xml" || m_file == "serverbehaviors.xml" || m_file == "serverformats.xml" ||
           m_file == "formats.xml" || m_file == "datasources.xml";
  }

  void Add(Entry entry, CString& last) {
    entry.after = last;
    last = entry.name;
    m_entries.push_back(std::move(entry));
  }

  void ReadMenus(const CKestXmlObject& holder, const CString& parent) {
    CString last;
    for (const auto& child : holder.GetChildren()) {
      const MenusNode* const node = AsNode(child.get());
      if (node == nullptr || node->GetKind() == MenusNode::Kind::kSeparator) {
        continue;
      }
      using Field = MenusNode::Field;
      Entry entry;
      const bool isShortcut = node->GetKind() == MenusNode::Kind::kShortcut;
      const bool isHolder = !node->GetChildren().empty() || node->GetKind() == MenusNode::Kind::kMenu ||
                            node->GetKind() == MenusNode::Kind::kBar ||
                            node->GetKind() == MenusNode::Kind::kShortcutList;
      entry.kind = isShortcut                                    ? Kind::kShortcut
                   : node->GetKind() == MenusNode::Kind::kFormat ? Kind::kFormat
                   : node->GetKind() == MenusNode::Kind::kItem   ? Kind::kMenuItem
                                                                 : Kind::kMenu;
      entry.id = node->GetField(Field::kId);
      entry.keys = KeysOf(node->GetField(Field::kKey));
      const std::string_view title = node->GetField(Field::kTitle);
      entry.name = Readable(title.empty() ? node->GetField(Field::kName) : title);
      entry.name = isShortcut ? entry.keys : entry.name.empty() ? entry.id : entry.name;
      entry.parent = parent;
      entry.key = std::to_string(static_cast<int>(entry.kind)) + text::Lower(entry.id.empty() ? entry.name : entry.id);
      for (int field = 0; field <= static_cast<int>(Field::kExpression); ++field) {
        entry.own += node->GetField(static_cast<Field>(field));
        entry.own += '\n';
      }
      const CString name = entry.name;
      Add(std::move(entry), last);
      if (isHolder) {
        ReadMenus(*node, parent.empty() ? name : parent + " > " + name);
      }
    }
  }

  void ReadElements(const CKestXmlObject& holder, const CString& parent) {
    CString last;
    for (const auto& child : holder.GetChildren()) {
      const CString tag = child->GetTag();
      if (tag.empty() || text::EqualNoCase(tag, "comment")) {
        continue;
      }
      Entry entry;
      (void)child->GetAttribute("id", entry.id);
      for (const char* attribute : {"name", "label", "tooltip", "title"}) {
        if (entry.name.empty()) {
          (void)child->GetAttribute(attribute, entry.name);
        }
      }
      const CKestXmlObject* const title = child->FindTag("title");
      entry.name =
          entry.name.empty() && title != nullptr && m_file == "krdocumenttypes.xml" ? title->GetValue() : entry.name;
      entry.name = entry.name.empty() ? entry.id : entry.name;
      if (entry.name.empty()) {
        ReadElements(*child, parent);
        continue;
      }
      entry.kind = KindOf(tag);
      entry.parent = parent;
      entry.key = tag + '\n' + text::Lower(entry.id.empty() ? parent + '\n' + entry.name : entry.id);
      for (const auto& [name, value] : child->GetAttributes()) {
        entry.own += name + '=' + value + '\n';
      }
      entry.own += child->GetValue();
      const CString name = entry.name;
      Add(std::move(entry), last);
      ReadElements(*child, parent.empty() ? name : parent + " > " + name);
    }
  }

  [[nodiscard]] Kind KindOf(const CString& tag) const {
    if (text::EqualNoCase(tag, "toolbar") || text::EqualNoCase(tag, "category")) {
      return Kind::kCategory;
    }
    if (m_file == "insertbar.xml" || m_folder == "toolbars" || m_file == "toolbars.xml") {
      return Kind::kButton;
    }
    return m_file == "taglibraries.vtm" ? Kind::kTag : Kind::kListEntry;
  }

  void ReadLines(std::string_view content) {
    CString section;
    CString last;
    const bool isFormat = m_file == "sourceformat.txt";
    while (!content.empty()) {
      const std::size_t end = std::min(content.find('\n'), content.size());
      const std::string_view line = text::Trimmed(content.substr(0, end));
      content.remove_prefix(std::min(end + 1, content.size()));
      if (line.empty() || line.starts_with("<!--")) {
        continue;
      }
      if (isFormat && line.starts_with("<?")) {
        section = line.substr(2, line.find_first_of(" >") - 2);
        last.clear();
        continue;
      }
      Entry entry;
      entry.kind = isFormat ? Kind::kFormat : Kind::kListEntry;
      entry.own = line;
      entry.name = line;
      if (isFormat && line.starts_with("<")) {
        entry.name = line.substr(1, line.find_first_of(" />", 1) - 1);
      } else if (const std::size_t tab = line.find('\t'); m_file == "ftpextensionmap.txt" && tab != line.npos) {
        entry.name = line.substr(0, tab);
      }
      const std::size_t colon = m_file == "extensions.txt" ? line.rfind(':') : line.npos;
      entry.key = section + '\n' + text::Lower(colon == line.npos ? entry.name : line.substr(colon));
      entry.parent = section;
      Add(std::move(entry), last);
    }
  }

  CString m_file;
  CString m_folder;
  std::vector<Entry> m_entries;
};

/// Finds for each entry what it was before: the same key, at the same place before others.
void Match(std::vector<Entry>& before, std::vector<Entry>& after) {
  for (const bool samePlace : {true, false}) {
    std::unordered_map<CString, std::vector<std::size_t>> open; // in reverse
    for (std::size_t i = before.size(); i-- > 0;) {
      if (before[i].match == kNone) {
        open[before[i].key + (samePlace ? '\n' + before[i].parent : "")].push_back(i);
      }
    }
    for (std::size_t i = 0; i < after.size(); ++i) {
      const auto found = open.find(after[i].key + (samePlace ? '\n' + after[i].parent : ""));
      if (after[i].match == kNone && found != open.end() && !found->second.empty()) {
        after[i].match = found->second.back();
        before[after[i].match].match = i;
        found->second.pop_back();
      }
    }
  }
}

/// Marks what stands elsewhere: in another holder, or not in the longest run that kept its order.
void MarkMoved(const std::vector<Entry>& before, std::vector<Entry>& after) {
  std::unordered_map<CString, std::vector<std::size_t>> holders;
  for (std::size_t i = 0; i < after.size(); ++i) {
    if (after[i].match == kNone) {
      continue;
    }
    after[i].isMoved = before[after[i].match].parent != after[i].parent;
    if (!after[i].isMoved) {
      holders[after[i].parent].push_back(i);
    }
  }
  for (const auto& holder : holders) {
    const std::vector<std::size_t>& children = holder.second;
    std::vector<std::size_t> ends; // of runs, by length: the entry that ends the best one
    std::vector<std::size_t> previous(children.size(), kNone);
    const auto was = [&](std::size_t child) { return after[children[child]].match; };
    for (std::size_t i = 0; i < children.size(); ++i) {
      const auto at = std::lower_bound(ends.begin(), ends.end(), i,
                                       [&](std::size_t end, std::size_t one) { return was(end) < was(one); });
      previous[i] = at == ends.begin() ? kNone : *(at - 1);
      if (at == ends.end()) {
        ends.push_back(i);
      } else {
        *at = i;
      }
    }
    std::vector<bool> stays(children.size());
    for (std::size_t i = ends.empty() ? kNone : ends.back(); i != kNone; i = previous[i]) {
      stays[i] = true;
    }
    for (std::size_t i = 0; i < children.size(); ++i) {
      after[children[i]].isMoved = !stays[i];
    }
  }
}

class Comparison {
public:
  Comparison(const CString& path, std::vector<PreviewEntry>& out) : m_path(path), m_out(out) {}

  void Compare(std::vector<Entry> before, std::vector<Entry> after) {
    Match(before, after);
    MarkMoved(before, after);
    for (const Entry& entry : before) {
      if (!entry.keys.empty()) {
        m_takenBy.emplace(text::Lower(entry.keys), &entry);
      }
    }
    for (const Entry& entry : after) {
      const Entry* const old = entry.match == kNone ? nullptr : &before[entry.match];
      const Change change = old == nullptr          ? Change::kAdded
                            : entry.isMoved         ? Change::kMoved
                            : entry.own != old->own ? Change::kChanged
                                                    : Change::kNone;
      if (change != Change::kNone) {
        Tell(entry, change);
        TellKeys(entry, old);
      }
    }
    for (const Entry& entry : before) {
      if (entry.match == kNone) {
        Tell(entry, Change::kRemoved);
        if (entry.kind == Kind::kMenuItem && !entry.keys.empty()) {
          m_out.push_back({Kind::kShortcut, Change::kRemoved, entry.keys, entry.id, m_path, {}, {}, Of(entry), {}});
        }
      }
    }
  }

private:
  static CString Of(const Entry& entry) { return entry.name.empty() ? CString() : "of \"" + entry.name + "\""; }

  void Tell(const Entry& entry, Change change) {
    const bool hasPlace = change == Change::kAdded || change == Change::kMoved;
    PreviewEntry told{entry.kind, change, entry.name, entry.id, m_path, entry.parent, hasPlace ? entry.after : "",
                      {},         {}};
    if (entry.kind == Kind::kShortcut && change == Change::kAdded) {
      told.note = TakenFrom(entry, nullptr);
    }
    m_out.push_back(std::move(told));
  }

  void TellKeys(const Entry& entry, const Entry* old) {
    const CString had = old != nullptr ? old->keys : "";
    if (entry.kind != Kind::kMenuItem || had == entry.keys) {
      return;
    }
    if (!had.empty()) {
      m_out.push_back({Kind::kShortcut, Change::kRemoved, had, entry.id, m_path, {}, {}, Of(entry), {}});
    }
    if (!entry.keys.empty()) {
      const CString other = TakenFrom(entry, old);
      m_out.push_back({Kind::kShortcut,
                       Change::kAdded,
                       entry.keys,
                       entry.id,
                       m_path,
                       {},
                       {},
                       Of(entry) + (other.empty() ? "" : ", " + other),
                       {}});
    }
  }

  /// Who has the keys now; empty when nobody else does.
  [[nodiscard]] CString TakenFrom(const Entry& entry, const Entry* old) const {
    const auto [begin, end] = m_takenBy.equal_range(text::Lower(entry.keys));
    for (auto it = begin; it != end; ++it) {
      const Entry& other = *it->second;
      if (&other != old && other.key != entry.key) {
        return "which \"" + (other.kind == Kind::kShortcut ? other.id : other.name) + "\" has now";
      }
    }
    return {};
  }

  const CString& m_path;
  std::vector<PreviewEntry>& m_out;
  std::multimap<CString, const Entry*> m_takenBy;
};

} // namespace

void CompareConfiguration(const CString& path, std::string_view before, std::string_view after,
                          std::vector<PreviewEntry>& entries) {
  Reader reader(path);
  std::vector<Entry> old = reader.Read(before);
  Comparison(path, entries).Compare(std::move(old), reader.Read(after));
}

} // namespace kest
