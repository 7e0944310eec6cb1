// The menus file: what is promised to be readable is, and says the same; an insertion is found, and taking it back
// leaves nothing of it. Input: id, placement ("before x", "after x", "prepend x", "append x"), kinds of what is
// inserted ("item", "menu", "separator", "comment"), each a line; then the file.

#include "fuzz/fuzz_input.h"

#include "menus/menu_changes.h"
#include "menus/menu_sets.h"
#include "platform/xml/xml_parser.h"

using namespace kest;

namespace {

constexpr std::string_view kMark = "kestfuzz";

CString Written(const CKestMenusXmlFile& file, std::size_t mostBytes) {
  CString content;
  const bool promised = file.BuildContent(content);
  fuzz::Require(content.size() <= mostBytes, "a file is not written much larger than it was");
  CKestMenusXmlFile again;
  const bool readable = again.LoadContent(content) == CKestXMLParser::kGood;
  fuzz::Require(readable || !promised, "what the writer vouches for can be read");
  if (readable) {
    CString twice;
    const bool promisedTwice = again.BuildContent(twice);
    CKestMenusXmlFile third;
    const bool readableTwice = third.LoadContent(twice) == CKestXMLParser::kGood;
    fuzz::Require(readableTwice || !promisedTwice, "what the writer vouches for can be read once more");
    CString thrice;
    static_cast<void>(third.BuildContent(thrice));
    if (promised && readableTwice) {
      fuzz::RequireEqual(thrice, twice, "a file read and written again stays as it is");
    }
  }
  return content;
}

void SetPlacement(CKestMenuChangeInsert& change, const CString& placement) {
  const std::size_t blank = placement.find(' ');
  const std::string_view word = std::string_view(placement).substr(0, blank);
  const CString id = blank == CString::npos ? CString() : placement.substr(blank + 1);
  if (word == "before") {
    change.SetInsertBefore(id);
  } else if (word == "after") {
    change.SetInsertAfter(id);
  } else if (word == "prepend") {
    change.SetPrependTo(id);
  } else {
    change.SetAppendTo(id);
  }
}

template <class Object> void Add(CKestMenuChangeInsert& change, const CString& id) {
  auto object = std::make_unique<Object>();
  object->SetID(id);
  change.AppendChild(std::move(object));
}

void FillPayload(CKestMenuChangeInsert& change, const CString& kinds, const CString& id) {
  if (text::ContainsNoCase(kinds, "menu ")) {
    Add<CKestExtensionMenu>(change, id + "menu");
  }
  if (text::ContainsNoCase(kinds, "separator")) {
    Add<CKestExtensionMenuSeparator>(change, id + "line");
  }
  if (text::ContainsNoCase(kinds, "comment")) {
    change.AppendChild(std::make_unique<CKestXmlComment>(id + "note"));
  }
  Add<CKestExtensionMenuItem>(change, id);
}

std::size_t CountOf(std::string_view content, std::string_view word) {
  std::size_t count = 0;
  for (std::size_t at = content.find(word); at != content.npos; at = content.find(word, at + 1)) {
    ++count;
  }
  return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const CString id = input.TakeLine() + CString(kMark);
  const CString placement = input.TakeLine();
  const CString kinds = input.TakeLine();
  const CString content = input.GetRest();

  CKestMenusXmlFile file;
  if (file.LoadContent(content) != CKestXMLParser::kGood) {
    return 0;
  }
  // an element of a few bytes may stand behind two hundred tabs
  const std::size_t most = 256 * content.size() + 64 * id.size() + 1024;
  const CString before = Written(file, most);
  const bool isNew = fuzz::IsPlainWord(id) && !text::ContainsNoCase(before, kMark);

  CKestMenuChangeInsert change;
  SetPlacement(change, placement);
  FillPayload(change, kinds, id);
  // a menu takes everything; bars and the top level take less
  const bool intoMenu =
      !file.FindMenuBar(change.GetID()) && file.FindMenu(change.GetID(), nullptr, nullptr) &&
      (change.GetAction() == CKestConfigChange::kPrependTo || change.GetAction() == CKestConfigChange::kAppendTo);
  // items and separators are looked for in bars alone
  CKestExtensionMenuBar* bar = nullptr;
  const bool outsideBars = file.FindMenu(change.GetID(), &bar, nullptr) && !bar;
  const CKestMasterConfigChanges changes;
  const auto result = change.MakeChange(&changes, &file, nullptr);
  Written(file, most);
  if (isNew && intoMenu) {
    fuzz::Require(result == CKestConfigChange::kSuccess, "a menu takes what is inserted into it");
    fuzz::Require(text::ContainsNoCase(Written(file, most), kMark), "what was inserted is there");
  }
  static_cast<void>(change.UndoChange(&changes, &file, nullptr));
  const CString after = Written(file, most);
  if (isNew && !outsideBars && !CKestConfigChange::IsCriticalError(result)) {
    fuzz::Require(!text::ContainsNoCase(after, kMark), "nothing of an insertion taken back is left");
    // of a menu of last resort the separator may stay that now parts what was there before
    const bool mayLeaveSeparator = result == CKestConfigChange::kPlacedInLastResortMenu;
    const std::size_t separators = CountOf(before, "<separator") + (mayLeaveSeparator ? 1 : 0);
    // neighbouring separators of the host become one, which says that it is the host's
    const std::size_t marks = CountOf(before, "<separator") * std::string_view(" references=\"standard\"").size();
    fuzz::Require(CountOf(after, "<menu") <= CountOf(before, "<menu") && CountOf(after, "<separator") <= separators &&
                      (mayLeaveSeparator || after.size() <= before.size() + marks),
                  "an insertion taken back leaves no more than there was");
  }
  return 0;
}
