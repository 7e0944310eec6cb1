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

/// The insertion that is asked for, and the removal of what has its name.
std::pair<Change, Change> MakeChanges(const Request& request) {
  const auto both = [&](auto insert, auto remove, auto setName) {
    setName(*insert, request.name);
    setName(*remove, request.name);
    return std::pair<Change, Change>(std::move(insert), std::move(remove));
  };
  const auto extension = [](auto& change, const CString& name) { change.SetExtension(name); };
  const auto named = [](auto& change, const CString& name) { change.SetName(name); };
  if (request.kind.starts_with('f')) {
    auto insert = std::make_unique<CKestFTPExtensionMapChangeInsert>();
    insert->SetType(request.more.empty() ? CKestFTPExtensionMapChangeInsert::kBinary
                                         : CKestFTPExtensionMapChangeInsert::kAscii);
    return both(std::move(insert), std::make_unique<CKestFTPExtensionMapChangeRemove>(), extension);
  }
  if (request.kind.starts_with('s')) {
    auto insert = std::make_unique<CKestSourceFormatChangeElementInsert>();
    insert->SetBreak(request.more);
    insert->SetIndent(TriStateBool::kTrue);
    insert->SetIndentGroup(request.kind.size() == 1 ? 0 : 2);
    return both(std::move(insert), std::make_unique<CKestSourceFormatChangeElementRemove>(), named);
  }
  if (request.kind.starts_with('a')) {
    auto insert = std::make_unique<CKestSourceFormatChangeAttributeInsert>();
    insert->SetNameCase(request.more);
    return both(std::move(insert), std::make_unique<CKestSourceFormatChangeAttributeRemove>(), named);
  }
  auto insert = std::make_unique<CKestExtensionsChangeInsert>();
  auto remove = std::make_unique<CKestExtensionsChangeRemove>();
  insert->SetDescription(request.more);
  remove->SetDescription(request.more);
  return both(std::move(insert), std::move(remove), extension);
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
  const auto [insert, remove] = MakeChanges(request);
  const auto removed = remove->MakeChange(nullptr, &file, nullptr);
  fuzz::Require(file.GetContent().size() <= content.size() + 2, "a removal adds nothing but a line end");
  const bool wasThere = file.GetContent() != content;

  file.SetContent(content);
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
