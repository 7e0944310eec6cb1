#include "host/commands.h"

#include "config/config_change.h"
#include "config/help_change.h"
#include "description/extension.h"
#include "host/extension_file.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "manager/validation.h"
#include "products/product.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>

namespace kest::host {
namespace {

const char* PlatformWord(int platform) {
  return platform == CKestExtensionFile::kMac ? "mac" : platform == CKestExtensionFile::kWin ? "win" : "any";
}

/// What is shown: an installed extension, or the record of a file.
struct Subject {
  const CKestProduct* product = nullptr; ///< null for a file
  std::shared_ptr<const CKestExtension> record;
};

using Take = LongLists::Take;

template <class Record, class Work> void ForEach(const CKestXmlObject& container, Work work) {
  for (const auto& child : container.GetChildren()) {
    if (const auto* record = dynamic_cast<const Record*>(child.get())) {
      work(*record);
    }
  }
}

std::string DetailText(Session& session, const CKestExtension& record) {
  CString detail;
  session.GetManager().GetExtensionDetail(&record, detail);
  text::ReplaceAll(detail, "\r\n", "\n");
  return PlainText(detail);
}

void EachProduct(const CKestExtension& record, const Take& take) {
  ForEach<CKestExtensionProduct>(record.GetProducts(), [&](const CKestExtensionProduct& product) {
    take({{"name", PlainText(product.GetName())},
          {"version", PlainText(product.GetVersion())},
          {"primary", product.IsPrimary()},
          {"required", product.IsRequired()}});
  });
}

void EachToken(const CKestExtension& record, const Take& take) {
  ForEach<CKestExtensionToken>(record.GetTokens(), [&](const CKestExtensionToken& token) {
    take({{"name", PlainText(token.GetName())},
          {"prompt", PlainText(token.GetPrompt())},
          {"default", PlainText(token.GetDefault())},
          {"definition", PlainText(token.GetDefinition())}});
  });
}

// Where each file of an installed extension is, by the file name at its end; files without a place are not in it.
CString InstalledPathOf(const std::vector<CString>& installed, std::size_t& next, const CKestExtensionFile& file) {
  if (next >= installed.size() || file.GetPlatform() == CKestExtensionFile::kMac) {
    return {};
  }
  CKestPath source(file.GetSource());
  CString name = source.GetText();
  CKestPath::LocalizePathSeparators(name);
  name = CKestPath(name).GetFileName();
  const CString placed = CKestPath(installed[next]).GetFileName();
  const bool fits = text::EqualNoCase(placed, name) || text::StartsWithNoCase(placed, name + ".");
  return fits ? installed[next++] : CString();
}

void EachFile(Session& session, const Subject& subject, const Take& take) {
  std::vector<CString> installed;
  CKestExtension converted;
  const CKestExtension* record = subject.record.get();
  if (subject.product && subject.record->IsEnabled()) {
    installed = session.GetManager().GetInstalledFiles(subject.product, record);
    converted = session.GetManager().GetConverted(*subject.product, *subject.record);
    record = &converted;
  }
  std::size_t next = 0;
  ForEach<CKestExtensionFile>(record->GetFiles(), [&](const CKestExtensionFile& file) {
    Json json = Json::object();
    json["source"] = PlainText(file.GetSource());
    json["destination"] = PlainText(file.GetDestination());
    json["platform"] = PlatformWord(file.GetPlatform());
    json["shared"] = file.IsShared();
    json["system"] = file.IsSystemFile();
    json["installed"] = PathJson(&session.GetMachine(), InstalledPathOf(installed, next, file));
    take(json);
  });
}

template <class Change, class Set> void EachChangeOf(const Set& set, const Take& take) {
  CString path;
  set.GetPath(path);
  const std::size_t start = path.find_first_not_of('\\');
  for (const auto& child : set.GetChildren()) {
    if (const auto* change = dynamic_cast<const Change*>(child.get())) {
      Json json = Json::object();
      json["set"] = ToUtf8(set.GetTag());
      json["file"] = ToUtf8(start == CString::npos ? CString() : path.substr(start));
      json["change"] = ToUtf8(change->GetTag());
      json["words"] = PlainText(change->DescribeInWords());
      take(json);
    }
  }
}

void EachChange(const CKestExtension& record, const Take& take) {
  for (const auto& set : record.GetConfigChanges()) {
    EachChangeOf<CKestConfigChange>(*set, take);
  }
  for (const auto& set : record.GetHelpChanges()) {
    EachChangeOf<CKestHelpChange>(*set, take);
  }
}

Json InfoJson(Session& session, const Subject& subject) {
  const CKestExtension& record = *subject.record;
  Json json = ExtensionJson(session.GetManager(), &session.GetMachine(), subject.product, record);
  json["id"] = PlainText(record.GetID());
  json["text"] = PlainText(record.GetDesc());
  json["ui_access"] = PlainText(record.GetUIAccess());
  json["license"] = PlainText(record.GetLicenseAgreement());
  json["requires_restart"] = record.RequiresRestart();
  json["multiple_primary"] = record.HasMultiplePrimaryProducts();
  json["products"] = session.lists.Add([subject](const Take& take) { EachProduct(*subject.record, take); });
  json["tokens"] = session.lists.Add([subject](const Take& take) { EachToken(*subject.record, take); });
  json["files"] = session.lists.Add([&session, subject](const Take& take) { EachFile(session, subject, take); });
  json["changes"] = session.lists.Add([subject](const Take& take) { EachChange(*subject.record, take); });
  return json;
}

std::string Line(const char* name, const std::string& value) {
  return value.empty() ? "" : fmt::format("{:<12} {}\n", name, ForTerminal(value));
}

std::string Indented(const std::string& text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    out += (end == at ? "" : "  ") + ForTerminal(text.substr(at, end - at)) + "\n";
    at = end + 1;
  }
  return out;
}

void PrintFiles(Session& session, const Subject& subject) {
  session.terminal.Data("\nFiles\n");
  EachFile(session, subject, [&](const Json& file) {
    std::string marks = file["shared"].get<bool>() ? " shared" : "";
    marks += file["system"].get<bool>() ? " system" : "";
    marks += file["platform"] != "any" ? " " + file["platform"].get<std::string>() : "";
    const Json& installed = file["installed"];
    session.terminal.Data(
        fmt::format("  {} -> {}{}\n", ForTerminal(file["source"].get<std::string>()),
                    ForTerminal((installed.is_null() ? file["destination"] : installed["windows"]).get<std::string>()),
                    marks.empty() ? "" : " (" + marks.substr(1) + ")"));
  });
}

void PrintChanges(Session& session, const CKestExtension& record) {
  session.terminal.Data("\nChanges\n");
  std::string last;
  bool isAny = false;
  EachChange(record, [&](const Json& change) {
    isAny = true;
    const std::string file = change["file"].get<std::string>();
    if (file != last) {
      session.terminal.Data(fmt::format("  {}\n", ForTerminal(file)));
      last = file;
    }
    session.terminal.Data(Indented(Indented(change["words"].get<std::string>())));
  });
  session.terminal.Data(isAny ? "" : "  none\n");
}

std::size_t CountChanges(const CKestExtension& record) {
  std::size_t count = 0;
  EachChange(record, [&](const Json&) { ++count; });
  return count;
}

void PrintInfo(Session& session, const Subject& subject) {
  const CKestExtension& record = *subject.record;
  Terminal& terminal = session.terminal;
  const Json json = ExtensionJson(session.GetManager(), &session.GetMachine(), subject.product, record);
  const auto line = [&](const char* name, const Json& value) { terminal.Data(Line(name, value.get<std::string>())); };
  line("Name", json["name"]);
  line("Version", json["version"]);
  line("Author", json["author"]);
  line("Type", json["type"]["label"]);
  if (subject.product) {
    line("Product", NameOf(*subject.product));
    line("State", json["state"].get<std::string>() + ", " + json["scope"].get<std::string>());
    line("Description", json["description"]["windows"]);
  }
  EachProduct(record, [&](const Json& product) {
    line("For", product["name"].get<std::string>() + " " + product["version"].get<std::string>() +
                    (product["primary"].get<bool>()    ? " (primary)"
                     : product["required"].get<bool>() ? " (required)"
                                                       : ""));
  });
  EachToken(record, [&](const Json& token) {
    const std::string prompt = token["prompt"].get<std::string>();
    line("Token", token["name"].get<std::string>() + (prompt.empty() ? "" : ": " + prompt));
  });
  line("Restart", record.RequiresRestart() ? "needed" : "");
  line("Files", std::to_string(record.GetFileCount()));
  line("Changes", std::to_string(CountChanges(record)));
  const std::string detail = DetailText(session, record);
  terminal.Data(detail.empty() ? "" : "\n" + Indented(detail));
  if (session.options.files) {
    PrintFiles(session, subject);
  }
  if (session.options.changes) {
    PrintChanges(session, record);
  }
}

int Show(Session& session, const Subject& subject) {
  if (session.options.json) {
    session.document["extension"] = InfoJson(session, subject);
  } else {
    PrintInfo(session, subject);
  }
  return kDone;
}

bool LooksLikeFile(const std::string& word) {
  return text::EndsWithNoCase(word, ".kep") || text::EndsWithNoCase(word, ".kei");
}

// Such a word that names a file on this system is that file.
bool NamesFile(const std::string& word) {
  std::error_code error;
  return LooksLikeFile(word) && std::filesystem::is_regular_file(word, error);
}

} // namespace

int RunInfo(Session& session) {
  int exit = kDone;
  const std::string& word = session.options.arguments.front();
  const bool isFile = NamesFile(word);
  if (!session.OpenEngine(exit, !isFile)) {
    return exit;
  }
  if (isFile) {
    ExtensionFile file = ReadExtensionFile(session, word);
    if (!file.record || file.code != 0) {
      return session.Fail(kBadInput, {ForTerminal(word) + " cannot be shown",
                                      file.record ? DescribeLoadCode(file.code) : file.problem,
                                      "nothing",
                                      {},
                                      "see: kest validate " + ForTerminal(word),
                                      0});
    }
    return Show(session, {nullptr, std::move(file.record)});
  }
  const CKestProduct* only = nullptr;
  if (!session.options.product.empty() && !(only = session.FindProduct(session.options.product, exit))) {
    return exit;
  }
  const std::vector<Installed> all = CollectInstalled(session, only);
  if (LooksLikeFile(word) && Match(all, word).empty()) {
    return session.Fail(kNotFoundHere, {ForTerminal(word) + " cannot be shown",
                                        "there is no such file, and nothing installed is called so",
                                        "nothing",
                                        {},
                                        "see what is installed: kest list",
                                        0});
  }
  const Installed one = Select(session, all, word, exit);
  if (one.extension == nullptr) {
    return exit;
  }
  // the engine's own, which outlives the session's output
  const auto borrow = [](const CKestExtension*) {};
  return Show(session, {one.product, {one.extension, borrow}});
}

} // namespace kest::host
