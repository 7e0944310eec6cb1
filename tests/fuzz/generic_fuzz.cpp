// Generic XML files: what is written can be read and says the same; a record and a toolbar item that were inserted are
// found, and taking them back gives the file as it was. Input: id, label, placement ("before x", "after x",
// "prepend x", "append x"), each a line; then the file.

#include "fuzz/fuzz_input.h"

#include "config/generic_xml_file.h"
#include "config/list_changes.h"
#include "config/toolbar_changes.h"

using namespace kest;

namespace {

constexpr std::string_view kMark = "kestfuzz";

CString Written(const CKestGenericXmlFile& file) {
  CString content;
  file.BuildContent(content);
  return content;
}

CString RequireReadable(const CKestGenericXmlFile& file, std::size_t mostBytes) {
  const CString content = Written(file);
  fuzz::Require(content.size() <= mostBytes, "a file is not written much larger than it was");
  CKestGenericXmlFile again;
  if (again.LoadContent(content) == CKestXMLParser::kGood) {
    const CString twice = Written(again);
    CKestGenericXmlFile third;
    fuzz::Require(third.LoadContent(twice) == CKestXMLParser::kGood,
                  "what was read back can be written and read again");
    fuzz::RequireEqual(Written(third), twice, "a file read and written again stays as it is");
  }
  return content;
}

CKestConfigChange::Action ActionOf(std::string_view word) {
  constexpr std::pair<std::string_view, CKestConfigChange::Action> kActions[] = {
      {"before", CKestConfigChange::kInsertBefore},
      {"after", CKestConfigChange::kInsertAfter},
      {"prepend", CKestConfigChange::kPrependTo},
      {"append", CKestConfigChange::kAppendTo},
  };
  for (const auto& [name, action] : kActions) {
    if (name == word) {
      return action;
    }
  }
  return CKestConfigChange::kNoAction;
}

// Inserts and takes back; equal again when the id was new and its place was there.
template <class Change>
void TryChange(CKestGenericXmlFile& file, Change& change, const CString& id, bool isNew, std::size_t mostBytes) {
  const CString before = Written(file);
  const auto result = change.MakeChange(nullptr, &file, nullptr);
  RequireReadable(file, mostBytes);
  if (isNew && !CKestConfigChange::IsCriticalError(result)) {
    fuzz::Require(text::ContainsNoCase(Written(file), id), "what was inserted is there");
  }
  const auto undone = change.UndoChange(nullptr, &file, nullptr);
  if (isNew && result == CKestConfigChange::kSuccess) {
    fuzz::Require(undone == CKestConfigChange::kSuccess, "what was inserted can be taken back");
    fuzz::RequireEqual(Written(file), before, "an insertion taken back leaves the file as it was");
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const CString id = input.TakeLine() + CString(kMark);
  const CString label = input.TakeLine();
  const CString placement = input.TakeLine();
  const CString content = input.GetRest();

  CKestGenericXmlFile file;
  if (file.LoadContent(content) != CKestXMLParser::kGood) {
    return 0;
  }
  // an element of a few bytes may stand behind two hundred tabs
  const std::size_t most = 256 * content.size() + 8 * (id.size() + label.size()) + 1024;
  const CString before = RequireReadable(file, most);
  const bool isNew = fuzz::IsPlainWord(id) && !text::ContainsNoCase(before, kMark);

  CKestDocumentTypeChangeInsert record;
  CKestXmlObject* payload = record.AppendChild(std::make_unique<CKestXmlObject>("documenttype"));
  payload->SetAttribute("id", id);
  payload->AppendChild(std::make_unique<CKestXmlObject>("title"))->SetValue(label);
  TryChange(file, record, id, isNew, most);

  const std::size_t blank = placement.find(' ');
  CKestToolbarItemChangeInsert item;
  item.SetAction(ActionOf(placement.substr(0, blank)),
                 blank == CString::npos ? std::string_view() : std::string_view(placement).substr(blank + 1));
  item.SetToolbarID(label);
  payload = item.AppendChild(std::make_unique<CKestXmlObject>("button"));
  payload->SetAttribute("id", id);
  payload->SetAttribute("tooltip", label);
  TryChange(file, item, id, isNew, most);
  return 0;
}
