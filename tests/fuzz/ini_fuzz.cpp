// machine.ini: what is set is found again, also in the text alone, and a text survives being read and written.
// Input: section, key, value, each a line; then the text.

#include "fuzz/fuzz_input.h"

#include "platform/machine_folder/machine_ini.h"

using namespace kest;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const CString section = input.TakeLine();
  const CString key = input.TakeLine();
  const CString value = input.TakeLine();
  const CString text = input.GetRest();

  MachineIni ini;
  ini.SetText(text);
  const CString once = ini.GetText();
  MachineIni again;
  again.SetText(once);
  fuzz::RequireEqual(again.GetText(), once, "a text that was read and written stays as it is");
  const std::vector<MachineIni::Entry> entries = ini.GetEntries(section);
  fuzz::Require(entries.size() <= text.size() + 1, "an entry is a line of the file");
  static_cast<void>(ini.GetValue(section, key));

  if (!fuzz::IsPlainWord(section) || !fuzz::IsPlainWord(key)) {
    return 0;
  }
  const CString plain(text::Trimmed(value));
  if (plain.find('\r') == CString::npos && plain.find('\0') == CString::npos) {
    ini.SetValue(section, key, plain);
    again.SetText(ini.GetText());
    const std::optional<CString> found = again.GetValue(section, key);
    fuzz::Require(found.has_value(), "a value that was set is found");
    fuzz::RequireEqual(*found, plain, "a value holds what was set");
  }
  ini.SetEntries(section, {{key, "1", {}}, {key, {}, {}}});
  again.SetText(ini.GetText());
  const std::vector<MachineIni::Entry> set = again.GetEntries(section);
  fuzz::Require(set.size() == 2 && set[0].key == key && set[0].value == "1",
                "a section holds the entries that were set");
  return 0;
}
