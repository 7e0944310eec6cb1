// Documents: the reader of plain ones tells what the full parser tells. Input: a line with "several", "lines", both or
// neither; then the document.

#include "fuzz/fuzz_input.h"

#include "support/xml_two_ways.h"

using namespace kest;

namespace {

// Behind a document type the full parser tells what stands before the first element in other pieces, and names some
// mistakes there otherwise.
std::string FromFirstElement(const std::string& told) {
  const std::size_t start = told.find(" start ");
  const std::size_t line = told.rfind('\n', start);
  const std::string rest = line == std::string::npos ? told : told.substr(line + 1);
  return start == std::string::npos ? rest.substr(0, rest.find(": ")) : rest;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const CString how = input.TakeLine();
  const CString document = input.GetRest();
  const test::XmlReading reading{text::ContainsNoCase(how, "several"), text::ContainsNoCase(how, "lines")};
  const std::string full = test::TellsOfTyped(document, reading);
  if (!full.empty()) {
    fuzz::RequireEqual(FromFirstElement(test::TellsOf(document, reading)), FromFirstElement(full),
                       "both readers tell the same");
  }
  return 0;
}
