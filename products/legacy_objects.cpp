#include "products/legacy_objects.h"

#include "config/toolbar_changes.h"
#include "description/extension.h"
#include "platform/text/path.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::string_view kObjectsFolders = "\\configuration\\objects\\";
constexpr const char* kNoIcon = "generic.gif";
constexpr const char* kForeignCategory = "TM_Inserbar_%s"; // spelled as installed descriptions have it

struct Category {
  std::string_view folder;
  const char* id;
};
constexpr Category kInsertbarCategoryIds[] = {
    {"Common", "TM_Insertbar_Common"},
    {"Tools", "TM_Insertbar_Layout"},
    {"Text", "TM_Insertbar_Text"},
    {"Tables", "TM_Insertbar_Tables"},
    {"Frames", "TM_Insertbar_Frames"},
    {"Forms", "TM_Insertbar_Forms"},
    {"Templates", "TM_Insertbar_Templates"},
    {"Characters", "TM_Insertbar_Characters"},
    {"Media", "TM_Insertbar_Media"},
    {"Head", "TM_Insertbar_Head"},
    {"Script", "TM_Insertbar_Script"},
    {"ASP", "TM_Insertbar_ASP"},
    {"JSP", "TM_Insertbar_JSP"},
    {"Server", "TM_Insertbar_Server"},
};

CString CategoryIdOf(const CString& folder) {
  for (const Category& category : kInsertbarCategoryIds) {
    if (text::EqualNoCase(category.folder, folder)) {
      return category.id;
    }
  }
  CString id = text::Format(kForeignCategory, {folder});
  for (std::size_t at = 0; at < id.size(); ++at) {
    if (text::IsLeadByte(id[at])) {
      ++at;
    } else if (id[at] == '\\' || id[at] == ' ') {
      id[at] = '_';
    }
  }
  return id;
}

CString WithoutExtension(const CString& name) {
  CKestPath path(name);
  path.SetExtension("");
  return path.GetText();
}

CKestPath SourceOf(const CKestExtensionFile& file) {
  CKestPath source(file.GetSource());
  source.LocalizePathSeparators();
  return source;
}

} // namespace

CString ObjectFiles::Place::GetPath() const { return folder.empty() ? name : folder + "\\" + name; }

ObjectFiles::Place ObjectFiles::PlaceOf(const CKestExtensionFile& file) {
  const CString name = SourceOf(file).GetFileName();
  CKestPath destination(file.GetDestination());
  destination.LocalizePathSeparators();
  // a destination may name the folder, with or without its last separator, or the file itself
  const CString folder = WithBackslash(text::EqualNoCase(destination.GetFileName(), name) ? destination.GetFolder()
                                                                                          : destination.GetText());
  const int mark = text::FindNoCase(folder, kObjectsFolders);
  if (mark < 0) {
    return {CString(), name};
  }
  const CString below = folder.substr(static_cast<std::size_t>(mark) + kObjectsFolders.size());
  return {below.substr(0, below.empty() ? 0 : below.size() - 1), name};
}

void ObjectFiles::Remember(const CKestExtensionFile& file) {
  const CKestPath source = SourceOf(file);
  const CString extension = source.GetExtension();
  const CString stem = text::Lower(WithoutExtension(source));
  if (text::StartsWithNoCase(extension, "htm")) {
    m_pages.push_back({stem, PlaceOf(file)});
  } else if (text::EqualNoCase(extension, "gif")) {
    m_icons.try_emplace(stem, PlaceOf(file));
  }
}

std::unique_ptr<CKestXmlObject> ObjectFiles::MakeButtons(const CString& extensionName) const {
  auto insert = std::make_unique<CKestInsertbarChangeInsert>();
  std::unordered_map<CString, CKestXmlObject*> categories; // by lower-case id
  for (const Page& page : m_pages) {
    const CString categoryId = CategoryIdOf(page.place.folder);
    CKestXmlObject*& category = categories[text::Lower(categoryId)];
    if (category == nullptr) {
      category = insert->AppendChild(std::make_unique<CKestXmlObject>("category"));
      category->SetAttribute("id", categoryId);
      category->SetAttribute("folder", page.place.folder);
    }
    CString buttonId = extensionName + "_" + WithoutExtension(page.place.name);
    std::replace(buttonId.begin(), buttonId.end(), ' ', '_');
    const auto icon = m_icons.find(page.stem);
    CKestXmlObject* const button = category->AppendChild(std::make_unique<CKestXmlObject>("button"));
    button->SetAttribute("id", buttonId);
    button->SetAttribute("image", icon != m_icons.end() ? icon->second.GetPath() : CString(kNoIcon));
    button->SetAttribute("file", page.place.GetPath());
  }
  return insert;
}

} // namespace kest
