// A registry file: what is set is found, deleting it gives the text back, and nothing else in the file changes.
// Input: key, value name, data, each a line; then the text.

#include "fuzz/fuzz_input.h"

#include "platform/machine_folder/registry_file.h"

using namespace kest;

namespace {

constexpr int kCodePage = 1252;
// begins what stands under a key that goes with its last value
constexpr std::string_view kRemark = ";; made with";

void SetAndDelete(RegistryFile& file, const CString& key, const CString& name, const CString& data) {
  const CString before = file.GetText();
  std::vector<RegistryValue> values;
  const bool hadKey = file.GetValues(key, values);
  bool hadName = false;
  for (const RegistryValue& value : values) {
    hadName = hadName || text::EqualNoCase(value.name, name);
  }
  if (!file.SetValue(key, name, data, 1000)) {
    fuzz::RequireEqual(file.GetText(), before, "a refused value changes nothing");
    return;
  }
  const std::size_t most = before.size() + 8 * (key.size() + name.size() + data.size()) + 512;
  fuzz::Require(file.GetText().size() <= most, "a value costs what it holds");
  CString found;
  fuzz::Require(file.HasKey(key), "the key of a new value is there");
  fuzz::Require(file.GetValue(key, name, found), "a new value is found");
  fuzz::RequireEqual(found, data, "a value holds what was set");
  RegistryFile again("\\\\Machine", kCodePage);
  again.SetText(file.GetText());
  fuzz::Require(again.GetValue(key, name, found) && found == data, "a value is found in the text alone");
  fuzz::Require(file.DeleteValue(key, name), "a value that is there can be deleted");
  if (before.empty()) {
    fuzz::Require(file.IsAsNew(), "a file made for a value is as new without it");
  } else if (!hadName && !(hadKey && before.find(kRemark) != CString::npos)) {
    fuzz::RequireEqual(file.GetText(), before, "a value added and deleted leaves the text as it was");
    fuzz::Require(file.HasKey(key) == hadKey || hadKey, "a key that was there stays");
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const CString key = input.TakeLine();
  const CString name = input.TakeLine();
  const CString value = input.TakeLine();
  RegistryFile file("\\\\Machine", kCodePage);
  file.SetText(input.GetRest());
  CString found;
  static_cast<void>(file.GetValue(key, name, found));
  std::vector<RegistryValue> values;
  if (file.GetValues(key, values)) {
    fuzz::Require(file.HasKey(key), "a key with values is there");
  }
  SetAndDelete(file, key, name, value);
  return 0;
}
