#include "menus/menus_file.h"

#include "menus/line_repairs.h"
#include "menus/menus_index.h"
#include "menus/menus_parser.h"
#include "menus/menus_writer.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"

namespace kest {
namespace {

using Kind = MenusNode::Kind;

/// Reads what was built, to see whether it can be read.
class Probe : public CKestXMLParser {
public:
  [[nodiscard]] bool MayRewrite(std::string_view text) const override { return MayNeedRepair(text); }
  int OnPreProcessLine(CString& line) override {
    RepairMenuLine(line);
    return 0;
  }
};

/// A file longer than this is parsed again before it replaces the old one, since readers have a limit.
constexpr std::size_t kMostBytes = 48u << 20;

MenusNode* TopOf(MenusNode* node) {
  while (node && node->GetHolder()) {
    node = node->GetHolder();
  }
  return node;
}

/// The searched bar that holds the node, or is it; null for none.
CKestExtensionMenuBar* BarOf(MenusNode* node) {
  auto* bar = dynamic_cast<CKestExtensionMenuBar*>(TopOf(node));
  return bar && bar->IsSearched() ? bar : nullptr;
}

bool IsInFreeMenu(MenusNode* node) {
  const MenusNode* top = TopOf(node);
  return top && top->GetKind() == Kind::kMenu;
}

/// What `find` finds below bars; else, when asked for, what it finds below menus outside of any bar.
template <class Find> auto FindIn(CKestMenusXmlFile::Scope scope, Find find) {
  auto found = find([](MenusNode* node) { return BarOf(node) != nullptr; });
  return found || scope == CKestMenusXmlFile::Scope::kBars ? found : find(IsInFreeMenu);
}

CKestExtensionMenu* AsMenu(MenusNode* node) { return dynamic_cast<CKestExtensionMenu*>(node); }

template <class T> void Fill(T** output, T* value) {
  if (output) {
    *output = value;
  }
}

} // namespace

CKestMenusXmlFile::CKestMenusXmlFile() = default;
CKestMenusXmlFile::~CKestMenusXmlFile() = default;

int CKestMenusXmlFile::Load(const char* path, CKestTypedList<CKestString>* /*errors*/) {
  m_path = path ? path : "";
  RemoveAllChildren();
  CString content;
  if (!CKestFile::ReadAll(m_path, content)) {
    return CKestXMLParser::kUnreadable;
  }
  return LoadContent(content);
}

int CKestMenusXmlFile::LoadContent(std::string_view content) {
  RemoveAllChildren();
  m_loadedSize = content.size();
  CKestMenusXMLParser parser(this);
  const int result = parser.ParseLines(content, true);
  m_byteOrderMark = parser.HasByteOrderMark();
  return result;
}

bool CKestMenusXmlFile::BuildContent(CString& content) const {
  content.reserve(content.size() + m_loadedSize + m_loadedSize / 16);
  content += m_byteOrderMark ? "\xEF\xBB\xBF" : "";
  MenusWriter writer(content);
  writer.WriteChildren(*this, 0);
  // with the blank, for a format may have an attribute whose name only ends so
  text::ReplaceAll(content, " dynamic=\"true\"", " dynamic");
  return writer.IsReadable() && content.size() <= kMostBytes;
}

int CKestMenusXmlFile::Save(const char* path) {
  if (!path) {
    return -1;
  }
  CString content;
  if (!BuildContent(content)) {
    Probe probe;
    if (probe.ParseLines(content, true) != CKestXMLParser::kGood) {
      return -1;
    }
  }
  if (CKestOS::IsFileReadOnly(path)) {
    CKestOS::MakeFileWritable(path);
  }
  return CKestFile::WriteAll(path, content) ? 0 : -1;
}

// ---- searches

MenusIndex& CKestMenusXmlFile::Index() const {
  if (!m_index) {
    m_index = std::make_unique<MenusIndex>(const_cast<CKestMenusXmlFile&>(*this)); // it links the objects themselves
  }
  return *m_index;
}

std::size_t CKestMenusXmlFile::GetSearchSteps() const { return m_index ? m_index->GetSteps() : 0; }

CKestExtensionMenuBar* CKestMenusXmlFile::FindMenuBar(std::string_view id) const {
  return BarOf(Index().Find(Kind::kBar, id, [](MenusNode& node) { return BarOf(&node) != nullptr; }));
}

CKestExtensionMenu* CKestMenusXmlFile::FindMenu(std::string_view id, CKestExtensionMenuBar** bar,
                                                CKestExtensionMenu** parent) const {
  Fill<CKestExtensionMenuBar>(bar, nullptr);
  Fill<CKestExtensionMenu>(parent, nullptr);
  MenusNode* found = Index().Find(Kind::kMenu, id, [](MenusNode& node) {
    return BarOf(&node) != nullptr || TopOf(&node)->GetKind() == Kind::kMenu;
  });
  if (!found) {
    return nullptr;
  }
  Fill(bar, BarOf(found));
  if (found->GetHolder() && found->GetHolder()->GetKind() == Kind::kMenu) {
    Fill(parent, AsMenu(found->GetHolder()));
  }
  return AsMenu(found);
}

CKestExtensionMenuItem* CKestMenusXmlFile::FindMenuItem(std::string_view id, CKestExtensionMenuBar** bar,
                                                        CKestExtensionMenu** menu, Scope scope) const {
  Fill<CKestExtensionMenuBar>(bar, nullptr);
  Fill<CKestExtensionMenu>(menu, nullptr);
  MenusNode* found = FindIn(
      scope, [&](auto lies) { return Index().Find(Kind::kItem, id, [&](MenusNode& node) { return lies(&node); }); });
  if (!found) {
    return nullptr;
  }
  Fill(bar, BarOf(found));
  Fill(menu, AsMenu(found->GetHolder()));
  return static_cast<CKestExtensionMenuItem*>(found);
}

CKestExtensionServerFormat* CKestMenusXmlFile::FindFormat(std::string_view id, CKestExtensionMenuBar** bar,
                                                          CKestExtensionMenu** menu, Scope scope) const {
  Fill<CKestExtensionMenuBar>(bar, nullptr);
  Fill<CKestExtensionMenu>(menu, nullptr);
  MenusNode* found = FindIn(
      scope, [&](auto lies) { return Index().Find(Kind::kFormat, id, [&](MenusNode& node) { return lies(&node); }); });
  if (!found) {
    return nullptr;
  }
  Fill(bar, BarOf(found));
  Fill(menu, AsMenu(found->GetHolder()));
  return static_cast<CKestExtensionServerFormat*>(found);
}

CKestExtensionMenuSeparator* CKestMenusXmlFile::FindSeparator(std::string_view reference, CKestExtensionMenuBar** bar,
                                                              CKestExtensionMenu** menu, Scope scope) const {
  Fill<CKestExtensionMenuBar>(bar, nullptr);
  Fill<CKestExtensionMenu>(menu, nullptr);
  if (reference.empty()) {
    return nullptr;
  }
  const MenusIndex::Place found = FindIn(scope, [&](auto lies) {
    return Index().FindSeparator(reference, [&](const MenusIndex::Place& place) { return lies(place.holder); });
  });
  if (!found.object) {
    return nullptr;
  }
  Fill(bar, BarOf(found.holder));
  Fill(menu, AsMenu(found.holder));
  return static_cast<CKestExtensionMenuSeparator*>(found.object);
}

CKestXmlComment* CKestMenusXmlFile::FindComment(std::string_view text, CKestExtensionMenuBar** bar,
                                                CKestExtensionMenu** menu, Scope scope) const {
  Fill<CKestExtensionMenuBar>(bar, nullptr);
  Fill<CKestExtensionMenu>(menu, nullptr);
  const MenusIndex::Place found = FindIn(scope, [&](auto lies) {
    return Index().FindComment(text,
                               [&](const MenusIndex::Place& place) { return !place.holder || lies(place.holder); });
  });
  if (!found.object) {
    return nullptr;
  }
  Fill(bar, BarOf(found.holder));
  Fill(menu, AsMenu(found.holder));
  return static_cast<CKestXmlComment*>(found.object);
}

CKestXmlComment* CKestMenusXmlFile::FindComment(std::string_view text, CKestExtensionShortcutList** list) const {
  Fill<CKestExtensionShortcutList>(list, nullptr);
  const MenusIndex::Place top = Index().FindComment(text, [](const MenusIndex::Place& place) { return !place.holder; });
  const MenusIndex::Place found = top.object ? top : Index().FindComment(text, [](const MenusIndex::Place& place) {
    return place.holder && place.holder->GetKind() == Kind::kShortcutList;
  });
  if (found.holder) {
    Fill(list, static_cast<CKestExtensionShortcutList*>(found.holder));
  }
  return static_cast<CKestXmlComment*>(found.object);
}

CKestExtensionShortcutList* CKestMenusXmlFile::FindShortcutList(std::string_view id) const {
  return static_cast<CKestExtensionShortcutList*>(
      Index().Find(Kind::kShortcutList, id, [](const MenusNode& node) { return !node.GetHolder(); }));
}

CKestExtensionShortcut* CKestMenusXmlFile::FindShortcut(std::string_view id, CKestExtensionShortcutList** list) const {
  Fill<CKestExtensionShortcutList>(list, nullptr);
  MenusNode* found = Index().Find(Kind::kShortcut, id, [](const MenusNode& node) {
    return node.GetHolder() && node.GetHolder()->GetKind() == Kind::kShortcutList;
  });
  if (found) {
    Fill(list, static_cast<CKestExtensionShortcutList*>(found->GetHolder()));
  }
  return static_cast<CKestExtensionShortcut*>(found);
}

MenusNode* CKestMenusXmlFile::FindDirectChild(const MenusNode* holder, Kind kind, std::string_view id) const {
  return Index().Find(kind, id, [holder](const MenusNode& node) { return node.GetHolder() == holder; });
}

MenusNode* CKestMenusXmlFile::FindBelow(const MenusNode* bar, Kind kind, std::string_view id) const {
  return Index().Find(kind, id, [bar](MenusNode& node) { return TopOf(&node) == bar; });
}

// ---- top level

CKestXmlObject* CKestMenusXmlFile::Insert(std::size_t at, std::unique_ptr<CKestXmlObject> child) {
  CKestXmlObject* object = child.get();
  Children& children = EditChildren();
  children.insert(children.begin() + static_cast<std::ptrdiff_t>(at), std::move(child));
  if (auto* node = dynamic_cast<MenusNode*>(object)) {
    node->m_holder = this;
    node->m_topLevel = true;
  }
  if (m_index) {
    m_index->Add(object, nullptr);
  }
  return object;
}

CKestXmlObject* CKestMenusXmlFile::AppendChild(std::unique_ptr<CKestXmlObject> child) {
  return Insert(GetChildren().size(), std::move(child));
}

CKestXmlObject* CKestMenusXmlFile::InsertFirst(std::unique_ptr<CKestXmlObject> child) {
  return Insert(0, std::move(child));
}

CKestXmlObject* CKestMenusXmlFile::InsertBefore(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child) {
  const int at = IndexOf(anchor);
  return Insert(at < 0 ? GetChildren().size() : static_cast<std::size_t>(at), std::move(child));
}

CKestXmlObject* CKestMenusXmlFile::InsertAfter(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child) {
  const int at = IndexOf(anchor);
  return Insert(at < 0 ? GetChildren().size() : static_cast<std::size_t>(at) + 1, std::move(child));
}

std::unique_ptr<CKestXmlObject> CKestMenusXmlFile::RemoveChild(const CKestXmlObject* child) {
  std::unique_ptr<CKestXmlObject> removed = CKestXmlFile::RemoveChild(child);
  if (!removed) {
    return nullptr;
  }
  if (m_index) {
    m_index->Remove(removed.get());
  }
  if (auto* node = dynamic_cast<MenusNode*>(removed.get())) {
    node->m_holder = nullptr;
    node->m_topLevel = false;
  }
  return removed;
}

void CKestMenusXmlFile::RemoveAllChildren() {
  m_index.reset();
  CKestXmlFile::RemoveAllChildren();
}

std::unique_ptr<CKestXmlObject> CKestMenusXmlFile::Remove(MenusNode* node) {
  if (!node || node->GetFile() != this) {
    return nullptr;
  }
  MenusNode* holder = node->GetHolder();
  return holder ? holder->RemoveChild(node) : RemoveChild(node);
}

} // namespace kest
