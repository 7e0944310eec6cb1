// Descriptions: what loads can be stored with a product and loads again, and says the same. Input: a description.

#include "fuzz/fuzz_input.h"

#include "config/config_change.h"
#include "config/help_change.h"
#include "description/extension.h"

using namespace kest;

namespace {

CString Written(const CKestXmlObject& object) {
  CString text;
  object.BuildXml(0, text);
  return text;
}

template <class Container> CString WrittenEach(const Container& container) {
  CString text;
  for (const auto& object : container) {
    text += Written(object);
  }
  return text;
}

// What a record says, but for its free texts and for elements that it does not know: those gain an escape each time
// they are stored.
CString Told(const CKestExtension& record) {
  CString told = record.GetName() + '|' + record.GetID() + '|' + record.GetVersion().ToText() + '|' +
                 record.GetTypeLabel() + '|' + record.GetAuthorName() + '|' +
                 (record.RequiresRestart() ? "restart\n" : "\n");
  told += WrittenEach(record.GetProducts()) + WrittenEach(record.GetTokens()) + WrittenEach(record.GetFiles());
  return told;
}

CString ToldOfChanges(const CKestExtension& record) {
  CString told;
  for (const auto& set : record.GetConfigChanges()) {
    told += Written(*set);
  }
  // what a help file gets is stored as it stands, and gains escapes as well
  for (const auto& set : record.GetHelpChanges()) {
    told += set->GetTag() + ' ' + std::to_string(set->GetChildCount()) + '\n';
  }
  return told;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  CKestExtension record;
  CKestTypedList<CKestString> errors;
  const int loaded = record.LoadText(text, &errors);
  fuzz::Require(errors.GetCount() <= size + 1, "there are no more messages than bytes");
  if (loaded != CKestExtension::kLoaded) {
    return 0;
  }
  const CString stored = Written(record);
  // an element of a few bytes may stand behind two hundred tabs
  fuzz::Require(stored.size() <= 256 * size + 4096, "a description is not stored much larger than it was");
  CKestExtension again;
  fuzz::Require(again.LoadText(stored, nullptr) == CKestExtension::kLoaded, "what loads can be stored and loads again");
  fuzz::RequireEqual(Told(again), Told(record), "a stored description says the same");
  const CString twice = Written(again);
  CKestExtension third;
  fuzz::Require(third.LoadText(twice, nullptr) == CKestExtension::kLoaded, "it can be stored twice");
  fuzz::RequireEqual(ToldOfChanges(third), ToldOfChanges(again), "changes stored twice say the same");
  return 0;
}
