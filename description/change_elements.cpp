// Change sets and changes of a description.

#include "config/config_sets.h"
#include "config/extensions_changes.h"
#include "config/ftp_map_changes.h"
#include "config/help_change.h"
#include "config/list_changes.h"
#include "config/source_format_changes.h"
#include "config/toolbar_changes.h"
#include "description/element_table.h"
#include "menus/menu_changes.h"
#include "menus/menu_model.h"
#include "menus/menu_sets.h"
#include "menus/shortcut_changes.h"
#include "menus/shortcut_model.h"

#include <algorithm>
#include <array>

namespace kest {

namespace {

using Row = ElementRow;
using Action = Row::Action;
using Home = Row::Home;
using Guard = Row::Guard;
using Otherwise = Row::Otherwise;
using Unknown = Row::Unknown;
using attribute::Make;
using attribute::Text;
using attribute::Truthy;

// ---- values that are not taken as they are

// A path with "/" between its parts, whichever separators it was written with.
template <class T, auto Setter> void Path(CKestXmlObject& object, std::string_view value) {
  CString path(value);
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (text::IsLeadByte(path[i])) {
      ++i;
    } else if (path[i] == ':' || path[i] == '\\') {
      path[i] = '/';
    }
  }
  (static_cast<T&>(object).*Setter)(path);
}

template <class T> void Visibility(CKestXmlObject& object, std::string_view value) {
  if (text::EqualNoCase(value, "hidden")) {
    static_cast<T&>(object).SetVisible(false);
  }
}

template <class T, auto Setter> void TriState(CKestXmlObject& object, std::string_view value) {
  TriStateBool state = TriStateBool::kNotGiven;
  if (text::EqualNoCase(value, "true")) {
    state = TriStateBool::kTrue;
  } else if (text::EqualNoCase(value, "false")) {
    state = TriStateBool::kFalse;
  }
  (static_cast<T&>(object).*Setter)(state);
}

// One digit from 1 to 8; anything else leaves the group unset.
void IndentGroup(CKestXmlObject& object, std::string_view value) {
  const std::size_t digit = std::min(value.find_first_not_of('0'), value.size());
  if (digit + 1 == value.size() && value[digit] >= '1' && value[digit] <= '8') {
    static_cast<CKestSourceFormatChangeElementInsert&>(object).SetIndentGroup(value[digit] - '0');
  }
}

void FtpType(CKestXmlObject& object, std::string_view value) {
  auto& change = static_cast<CKestFTPExtensionMapChangeInsert&>(object);
  if (text::EqualNoCase(value, "ascii")) {
    change.SetType(CKestFTPExtensionMapChangeInsert::kAscii);
  } else if (text::EqualNoCase(value, "binary")) {
    change.SetType(CKestFTPExtensionMapChangeInsert::kBinary);
  }
}

// ---- attributes

using Server = CKestServerConfigChanges;
constexpr auto kServerSet = std::to_array<AttributeRow>({
    {"server", Text<Server, &Server::SetServerModelFolder>},
    {"servermodel", Text<Server, &Server::SetServerModelFolder>},
    {"folder", Text<Server, &Server::SetServerModelFolder>},
    {"servermodelfolder", Text<Server, &Server::SetServerModelFolder>},
});

using ToolbarSet = CKestToolbarConfigChanges;
constexpr auto kToolbarSet = std::to_array<AttributeRow>({{"file", Text<ToolbarSet, &ToolbarSet::SetFileName>}});

using MenuRemove = CKestMenuChangeRemove;
constexpr auto kMenuRemove = std::to_array<AttributeRow>({
    {"id", Text<MenuRemove, &MenuRemove::SetMenuID>},
    {"menuid", Text<MenuRemove, &MenuRemove::SetMenuID>},
});

using MenuInsert = CKestMenuChangeInsert;
constexpr auto kMenuInsert = std::to_array<AttributeRow>({
    {"insertBeforeMenuId", Text<MenuInsert, &MenuInsert::SetInsertBefore>},
    {"insertBefore", Text<MenuInsert, &MenuInsert::SetInsertBefore>},
    {"insertBeforeId", Text<MenuInsert, &MenuInsert::SetInsertBefore>},
    {"insertBeforeMenu", Text<MenuInsert, &MenuInsert::SetInsertBefore>},
    {"insertAfterMenuId", Text<MenuInsert, &MenuInsert::SetInsertAfter>},
    {"insertAfter", Text<MenuInsert, &MenuInsert::SetInsertAfter>},
    {"insertAfterId", Text<MenuInsert, &MenuInsert::SetInsertAfter>},
    {"insertAfterMenu", Text<MenuInsert, &MenuInsert::SetInsertAfter>},
    {"appendToMenuId", Text<MenuInsert, &MenuInsert::SetAppendTo>},
    {"appendTo", Text<MenuInsert, &MenuInsert::SetAppendTo>},
    {"appendToId", Text<MenuInsert, &MenuInsert::SetAppendTo>},
    {"appendToMenu", Text<MenuInsert, &MenuInsert::SetAppendTo>},
    {"prependToMenuId", Text<MenuInsert, &MenuInsert::SetPrependTo>},
    {"prependTo", Text<MenuInsert, &MenuInsert::SetPrependTo>},
    {"prependToId", Text<MenuInsert, &MenuInsert::SetPrependTo>},
    {"prependToMenu", Text<MenuInsert, &MenuInsert::SetPrependTo>},
    {"skipSeparator", Truthy<MenuInsert, &MenuInsert::SetSkipSeparator>},
});

using Bar = CKestExtensionMenuBar;
constexpr auto kBar = std::to_array<AttributeRow>({
    {"name", Text<Bar, &Bar::SetName>},
    {"id", Text<Bar, &Bar::SetID>},
    {"platform", Text<Bar, &Bar::SetPlatform>},
    {"app", Text<Bar, &Bar::SetApplication>},
});

using Menu = CKestExtensionMenu;
constexpr auto kMenu = std::to_array<AttributeRow>({
    {"name", Text<Menu, &Menu::SetName>},
    {"id", Text<Menu, &Menu::SetID>},
    {"platform", Text<Menu, &Menu::SetPlatform>},
    {"app", Text<Menu, &Menu::SetApplication>},
    {"visibility", Visibility<Menu>},
});

using Item = CKestExtensionMenuItem;
constexpr auto kItem = std::to_array<AttributeRow>({
    {"name", Text<Item, &Item::SetName>},
    {"id", Text<Item, &Item::SetID>},
    {"key", Text<Item, &Item::SetKey>},
    {"platform", Text<Item, &Item::SetPlatform>},
    {"app", Text<Item, &Item::SetApplication>},
    {"arguments", Text<Item, &Item::SetArguments>},
    {"command", Text<Item, &Item::SetCommand>},
    {"enabled", Text<Item, &Item::SetEnabled>},
    {"checked", Text<Item, &Item::SetChecked>},
    {"file", Path<Item, &Item::SetFile>},
    {"dynamic", Text<Item, &Item::SetDynamic>},
    {"domRequired", Truthy<Item, &Item::SetDOMRequired>},
});

using Format = CKestExtensionServerFormat;
constexpr auto kFormat = std::to_array<AttributeRow>({
    {"title", Text<Format, &Format::SetTitle>},
    {"id", Text<Format, &Format::SetID>},
    {"expression", Text<Format, &Format::SetExpression>},
    {"platform", Text<Format, &Format::SetPlatform>},
    {"visibility", Visibility<Format>},
    {"file", Path<Format, &Format::SetFile>},
});

using Separator = CKestExtensionMenuSeparator;
constexpr auto kSeparator = std::to_array<AttributeRow>({
    {"platform", Text<Separator, &Separator::SetPlatform>},
    {"app", Text<Separator, &Separator::SetApplication>},
    {"id", Text<Separator, &Separator::SetID>},
});

using ShortcutRemove = CKestShortcutChangeRemove;
constexpr auto kShortcutRemove = std::to_array<AttributeRow>({{"id", Text<ShortcutRemove, &ShortcutRemove::SetID>}});

using ShortcutInsert = CKestShortcutChangeInsert;
constexpr auto kShortcutInsert =
    std::to_array<AttributeRow>({{"listId", Text<ShortcutInsert, &ShortcutInsert::SetListID>}});

using ShortcutList = CKestExtensionShortcutList;
constexpr auto kShortcutList = std::to_array<AttributeRow>({
    {"id", Text<ShortcutList, &ShortcutList::SetID>},
    {"platform", Text<ShortcutList, &ShortcutList::SetPlatform>},
    {"app", Text<ShortcutList, &ShortcutList::SetApplication>},
});

using Shortcut = CKestExtensionShortcut;
constexpr auto kShortcut = std::to_array<AttributeRow>({
    {"key", Text<Shortcut, &Shortcut::SetKey>},
    {"file", Path<Shortcut, &Shortcut::SetFile>},
    {"arguments", Text<Shortcut, &Shortcut::SetArguments>},
    {"platform", Text<Shortcut, &Shortcut::SetPlatform>},
    {"app", Text<Shortcut, &Shortcut::SetApplication>},
    {"command", Text<Shortcut, &Shortcut::SetCommand>},
    {"id", Text<Shortcut, &Shortcut::SetID>},
    {"domRequired", Truthy<Shortcut, &Shortcut::SetDOMRequired>},
    {"name", Text<Shortcut, &Shortcut::SetName>},
    {"checked", Text<Shortcut, &Shortcut::SetChecked>},
});

using ElementInsert = CKestSourceFormatChangeElementInsert;
constexpr auto kElementInsert = std::to_array<AttributeRow>({
    {"name", Text<ElementInsert, &ElementInsert::SetName>},
    {"break", Text<ElementInsert, &ElementInsert::SetBreak>},
    {"indent", TriState<ElementInsert, &ElementInsert::SetIndent>},
    {"indentGroup", IndentGroup},
    {"namecase", Text<ElementInsert, &ElementInsert::SetNameCase>},
    {"noformat", TriState<ElementInsert, &ElementInsert::SetNoFormat>},
});

using AttributeInsert = CKestSourceFormatChangeAttributeInsert;
constexpr auto kAttributeInsert = std::to_array<AttributeRow>({
    {"name", Text<AttributeInsert, &AttributeInsert::SetName>},
    {"namecase", Text<AttributeInsert, &AttributeInsert::SetNameCase>},
    {"samecase", TriState<AttributeInsert, &AttributeInsert::SetSameCase>},
});

using SourceFormat = CKestSourceFormatChange;
constexpr auto kSourceFormatRemove =
    std::to_array<AttributeRow>({{"name", Text<SourceFormat, &SourceFormat::SetName>}});

using FtpInsert = CKestFTPExtensionMapChangeInsert;
constexpr auto kFtpInsert = std::to_array<AttributeRow>({
    {"extension", Text<FtpInsert, &FtpInsert::SetExtension>},
    {"mac-creator", Text<FtpInsert, &FtpInsert::SetMacCreator>},
    {"mac-file-type", Text<FtpInsert, &FtpInsert::SetMacFileType>},
    {"type", FtpType},
});

using FtpRemove = CKestFTPExtensionMapChangeRemove;
constexpr auto kFtpRemove = std::to_array<AttributeRow>({{"extension", Text<FtpRemove, &FtpRemove::SetExtension>}});

using Extensions = CKestExtensionsChange;
constexpr auto kExtensions = std::to_array<AttributeRow>({
    {"extension", Text<Extensions, &Extensions::SetExtension>},
    {"description", Text<Extensions, &Extensions::SetDescription>},
});

template <class T> constexpr auto kId = std::to_array<AttributeRow>({{"id", Text<T, &T::SetID>}});

using InsertbarInsert = CKestInsertbarChangeInsert;
constexpr auto kInsertbarInsert = std::to_array<AttributeRow>({
    {"insertBefore", Text<InsertbarInsert, &InsertbarInsert::SetInsertBefore>},
    {"insertAfter", Text<InsertbarInsert, &InsertbarInsert::SetInsertAfter>},
});

using ToolbarItem = CKestToolbarItemChangeInsert;
constexpr auto kToolbarItem = std::to_array<AttributeRow>({
    {"insertBefore", Text<ToolbarItem, &ToolbarItem::SetInsertBefore>},
    {"insertAfter", Text<ToolbarItem, &ToolbarItem::SetInsertAfter>},
    {"appendTo", Text<ToolbarItem, &ToolbarItem::SetAppendTo>},
    {"prependTo", Text<ToolbarItem, &ToolbarItem::SetPrependTo>},
    {"toolbar", Text<ToolbarItem, &ToolbarItem::SetToolbarID>},
});

using InsertbarItem = CKestInsertbarItemChangeInsert;
constexpr auto kInsertbarItem = std::to_array<AttributeRow>({
    {"insertBefore", Text<InsertbarItem, &InsertbarItem::SetInsertBefore>},
    {"insertAfter", Text<InsertbarItem, &InsertbarItem::SetInsertAfter>},
    {"appendTo", Text<InsertbarItem, &InsertbarItem::SetAppendTo>},
    {"prependTo", Text<InsertbarItem, &InsertbarItem::SetPrependTo>},
    {"category", Text<InsertbarItem, &InsertbarItem::SetCategoryID>},
});

// ---- rows

constexpr std::string_view kAnySet = "configuration-changes";

template <class T>
constexpr Row ConfigSet(std::string_view name, std::span<const AttributeRow> attributes = {},
                        Unknown unknown = Unknown::kReport) {
  return {.name = name,
          .make = Make<T>,
          .bytes = sizeof(T),
          .home = Home::kRecordConfig,
          .push = true,
          .attributes = attributes,
          .unknown = unknown};
}

template <class T> constexpr Row HelpSet(std::string_view name) {
  return {.name = name, .make = Make<T>, .bytes = sizeof(T), .home = Home::kRecordHelp, .push = true};
}

// A change without content: it never becomes the current object.
template <class T>
constexpr Row Leaf(std::string_view name, std::span<const AttributeRow> attributes,
                   Unknown unknown = Unknown::kReport) {
  return {.name = name,
          .make = Make<T>,
          .bytes = sizeof(T),
          .home = Home::kConfigSet,
          .attributes = attributes,
          .unknown = unknown,
          .belongsIn = kAnySet};
}

// A change whose content follows: it becomes the current object even where no set takes it.
template <class T>
constexpr Row Holder(std::string_view name, std::span<const AttributeRow> attributes = {},
                     Unknown unknown = Unknown::kReport) {
  Row row = Leaf<T>(name, attributes, unknown);
  row.push = true;
  return row;
}

// What is written with attributes that it need not have been read with.
constexpr Row WrittenInFull(Row row) {
  row.bytes += 64;
  return row;
}

constexpr Row InHelp(Row row) {
  row.home = Home::kHelpSet;
  row.belongsIn = "helpbook-changes";
  return row;
}

constexpr Row ElseNext(Row row) {
  row.otherwise = Otherwise::kNextRow;
  return row;
}

// What a menu insert or a shortcut insert holds, however deep the description nests it.
template <class T>
constexpr Row Payload(std::string_view name, Guard guard, std::span<const AttributeRow> attributes,
                      Unknown unknown = Unknown::kReport) {
  return {.name = name,
          .make = Make<T>,
          .bytes = sizeof(T),
          .home = Home::kCurrent,
          .attributes = attributes,
          .unknown = unknown,
          .guard = guard,
          .otherwise = Otherwise::kIgnored,
          .belongsIn = guard == Guard::kInMenuInsert ? "menu-insert" : "shortcut-insert"};
}

// A change that goes wherever it stands, and is opened.
template <class T> constexpr Row Anywhere(std::string_view name, std::span<const AttributeRow> attributes) {
  return {.name = name,
          .make = Make<T>,
          .bytes = sizeof(T),
          .home = Home::kCurrent,
          .push = true,
          .attributes = attributes,
          .unknown = Unknown::kSkip,
          .guard = Guard::kHasCurrent};
}

constexpr std::array kRows = std::to_array<Row>({
    ConfigSet<CKestMasterConfigChanges>("configuration-changes", {}, Unknown::kSkip),
    HelpSet<CKestStandardHelpChanges>("help-changes"),
    ConfigSet<CKestToolbarConfigChanges>("toolbar-changes", kToolbarSet, Unknown::kSkip),
    ConfigSet<CKestInsertbarConfigChanges>("insertbar-changes"),
    ConfigSet<CKestServerBehaviorChanges>("server-behavior-changes", kServerSet),
    ConfigSet<CKestServerFormatChanges>("server-format-changes", kServerSet),
    ConfigSet<CKestServerFormatDefinitionChanges>("server-format-definition-changes", kServerSet),
    ConfigSet<CKestDataSourceChanges>("data-source-changes", kServerSet),
    ConfigSet<CKestDocumentTypeConfigChanges>("documenttype-changes"),
    ConfigSet<CKestTagLibraryConfigChanges>("taglibrary-changes"),
    ConfigSet<CKestSourceFormatChanges>("source-format-changes"),
    ConfigSet<CKestFTPExtensionMapChanges>("FTP-extension-map-changes"),
    ConfigSet<CKestExtensionsChanges>("extensions-changes"),
    HelpSet<CKestHelpBookChanges>("helpbook-changes"),
    Leaf<MenuRemove>("menu-remove", kMenuRemove),
    Holder<MenuInsert>("menu-insert", kMenuInsert),
    Payload<Bar>("menubar", Guard::kInMenuInsert, kBar),
    Payload<Menu>("menu", Guard::kInMenuInsert, kMenu),
    Payload<Item>("menuitem", Guard::kInMenuInsert, kItem),
    Payload<Format>("format", Guard::kInMenuInsert, kFormat, Unknown::kKeep),
    ElseNext(Payload<Separator>("separator", Guard::kInMenuInsert, kSeparator)),
    {.name = "separator", .action = Action::kPlainChild, .home = Home::kCurrent, .guard = Guard::kHasCurrent},
    Leaf<ShortcutRemove>("shortcut-remove", kShortcutRemove),
    Holder<ShortcutInsert>("shortcut-insert", kShortcutInsert),
    Payload<ShortcutList>("shortcutlist", Guard::kInShortcutInsert, kShortcutList),
    Payload<Shortcut>("shortcut", Guard::kInShortcutInsert, kShortcut),
    Leaf<ElementInsert>("element-insert", kElementInsert),
    Leaf<CKestSourceFormatChangeElementRemove>("element-remove", kSourceFormatRemove, Unknown::kFirstOnly),
    Leaf<AttributeInsert>("attribute-insert", kAttributeInsert),
    Leaf<CKestSourceFormatChangeAttributeRemove>("attribute-remove", kSourceFormatRemove, Unknown::kFirstOnly),
    WrittenInFull(Leaf<FtpInsert>("FTP-extension-insert", kFtpInsert)),
    Leaf<FtpRemove>("FTP-extension-remove", kFtpRemove),
    Leaf<CKestExtensionsChangeInsert>("extension-insert", kExtensions),
    Leaf<CKestExtensionsChangeRemove>("extension-remove", kExtensions),
    Leaf<CKestDocumentTypeChangeRemove>("documenttype-remove", kId<CKestDocumentTypeChangeRemove>),
    Leaf<CKestTagLibraryChangeRemove>("taglibrary-remove", kId<CKestTagLibraryChangeRemove>),
    Holder<CKestDocumentTypeChangeInsert>("documenttype-insert", {}, Unknown::kSkip),
    Holder<CKestTagLibraryChangeInsert>("taglibrary-insert", {}, Unknown::kSkip),
    InHelp(Leaf<CKestHelpBookChangeRemove>("helpbook-remove", kId<CKestHelpBookChangeRemove>)),
    InHelp(Holder<CKestHelpBookChangeInsert>("helpbook-insert")),
    Anywhere<CKestToolbarChangeInsert>("toolbar-insert", {}),
    Anywhere<InsertbarInsert>("insertbar-insert", kInsertbarInsert),
    Anywhere<ToolbarItem>("toolbar-item-insert", kToolbarItem),
    Anywhere<InsertbarItem>("insertbar-item-insert", kInsertbarItem),
    Anywhere<CKestToolbarChangeRemove>("toolbar-remove", kId<CKestToolbarChangeRemove>),
    Anywhere<CKestToolbarItemChangeRemove>("toolbar-item-remove", kId<CKestToolbarItemChangeRemove>),
    Anywhere<CKestInsertbarChangeRemove>("insertbar-remove", kId<CKestInsertbarChangeRemove>),
    Anywhere<CKestInsertbarItemChangeRemove>("insertbar-item-remove", kId<CKestInsertbarItemChangeRemove>),
});

} // namespace

std::span<const ElementRow> ChangeElements() { return kRows; }

} // namespace kest
