// The changes of the three text files: an edit costs no more than it says, and taking an insertion back gives the file
// as it was. Input: kind of file, extension or name, description or attribute, each a line; then the file.

#include "fuzz/fuzz_input.h"

#include "config/config_file.h"
#include "config/extensions_changes.h"
#include "config/ftp_map_changes.h"
#include "config/source_format_changes.h"

#include <memory>

using namespace kest;

namespace {

using Change = std::unique_ptr<CKestConfigChange>;

struct Request {
  CString kind;
  CString name;
  CString more;

  [[nodiscard]] bool IsPlain() const { return fuzz::IsPlainWord(name) && (more.empty() || fuzz::IsPlainWord(more)); }
};

Change MakeInsert(const Request& request) {
  switch (request.kind.empty() ? ' ' : request.kind[0]) {
  case 'f': {
    auto change = std::make_unique<CKestFTPExtensionMapChangeInsert>();
    change->SetExtension(request.name);
    change->SetType(request.more.empty() ? CKestFTPExtensionMapChangeInsert::kBinary
                                         : CKestFTPExtensionMapChangeInsert::kAscii);
    return change;
  }
  case 's': {
    auto change = std::make_unique<CKestSourceFormatChangeElementInsert>();
    change->SetName(request.name);
    change->SetBreak(request.more);
    change->SetIndent(TriStateBool::kTrue);
    change->SetIndentGroup(request.kind.size() == 1 ? 0 : 2);
    return change;
  }
  case 'a': {
    auto change = std::make_unique<CKestSourceFormatChangeAttributeInsert>();
    change->SetName(request.name);
    change->SetNameCase(request.more);
    return change;
  }
  default: {
    auto change = std::make_unique<CKestExtensionsChangeInsert>();
    change->SetExtension(request.name);
    change->SetDescription(request.more);
    return change;
  }
  }
}

Change MakeRemove(const Request& request) {
  switch (request.kind.empty() ? ' ' : request.kind[0]) {
  case 'f': {
    auto change = std::make_unique<CKestFTPExtensionMapChangeRemove>();
    change->SetExtension(request.name);
    return change;
  }
  case 's': {
    auto change = std::make_unique<CKestSourceFormatChangeElementRemove>();
    change->SetName(request.name);
    return change;
  }
  case 'a': {
    auto change = std::make_unique<CKestSourceFormatChangeAttributeRemove>();
    change->SetName(request.name);
    return change;
  }
  default: {
    auto change = std::make_unique<CKestExtensionsChangeRemove>();
    change->SetExtension(request.name);
    change->SetDescription(request.more);
    return change;
  }
  }
}

CString WithLastLineEnded(CString content) {
  if (!content.empty() && !content.ends_with("\r\n")) {
    content += "\r\n";
  }
  return content;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const Request request{input.TakeLine(), input.TakeLine(), input.TakeLine()};
  const CString content = input.GetRest();

  CKestTextConfigFile file;
  file.SetContent(content);
  const auto removed = MakeRemove(request)->MakeChange(nullptr, &file, nullptr);
  fuzz::Require(file.GetContent().size() <= content.size() + 2, "a removal adds nothing but a line end");
  const bool wasThere = file.GetContent() != content;

  file.SetContent(content);
  const Change insert = MakeInsert(request);
  const auto result = insert->MakeChange(nullptr, &file, nullptr);
  const std::size_t most = content.size() + request.name.size() + request.more.size() + 64;
  fuzz::Require(file.GetContent().size() <= most, "an insertion adds what it says");
  const bool inserted = result == CKestConfigChange::kSuccess;
  if (request.IsPlain()) {
    fuzz::Require(!inserted || text::ContainsNoCase(file.GetContent(), request.name), "what was inserted is there");
  }
  const CString once = file.GetContent();
  const auto undone = insert->UndoChange(nullptr, &file, nullptr);
  fuzz::Require(file.GetContent().size() <= once.size() + 2, "taking back adds nothing but a line end");
  if (request.IsPlain() && inserted && removed == CKestConfigChange::kSuccess && !wasThere) {
    fuzz::Require(undone == CKestConfigChange::kSuccess, "what was inserted can be taken back");
    fuzz::RequireEqual(WithLastLineEnded(file.GetContent()), WithLastLineEnded(content),
                       "an insertion taken back leaves the file as it was");
  }
  return 0;
}
