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

namespace kest::host {
namespace {

const char* PlatformWord(int platform) {
  return platform == CKestExtensionFile::kMac ? "mac" : platform == CKestExtensionFile::kWin ? "win" : "any";
}

/// What is shown: an installed extension, or the record of a file.
struct Subject {
  const CKestProduct* product = nullptr; ///< null for a file
  const CKestExtension* record = nullptr;
};

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

Json ProductsJson(const CKestExtension& record) {
  Json list = Json::array();
  ForEach<CKestExtensionProduct>(record.GetProducts(), [&](const CKestExtensionProduct& product) {
    list.push_back({{"name", PlainText(product.GetName())},
                    {"version", PlainText(product.GetVersion())},
                    {"primary", product.IsPrimary()},
                    {"required", product.IsRequired()}});
  });
  return list;
}

Json TokensJson(const CKestExtension& record) {
  Json list = Json::array();
  ForEach<CKestExtensionToken>(record.GetTokens(), [&](const CKestExtensionToken& token) {
    list.push_back({{"name", PlainText(token.GetName())},
                    {"prompt", PlainText(token.GetPrompt())},
                    {"default", PlainText(token.GetDefault())},
                    {"definition", PlainText(token.GetDefinition())}});
  });
  return list;
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

Json FilesJson(Session& session, const Subject& subject) {
  Json list = Json::array();
  std::vector<CString> installed;
  CKestExtension converted;
  const CKestExtension* record = subject.record;
  if (subject.product && subject.record->IsEnabled()) {
    installed = session.GetManager().GetInstalledFiles(subject.product, subject.record);
    converted = session.GetManager().GetConverted(*subject.product, *subject.record);
    record = &converted;
  }
  std::size_t next = 0;
  ForEach<CKestExtensionFile>(record->GetFiles(), [&](const CKestExtensionFile& file) {
    Json json;
    json["source"] = PlainText(file.GetSource());
    json["destination"] = PlainText(file.GetDestination());
    json["platform"] = PlatformWord(file.GetPlatform());
    json["shared"] = file.IsShared();
    json["system"] = file.IsSystemFile();
    json["installed"] = PathJson(&session.GetMachine(), InstalledPathOf(installed, next, file));
    list.push_back(std::move(json));
  });
  return list;
}

template <class Change, class Set> void AddChanges(Json& list, const Set& set) {
  CString path;
  set.GetPath(path);
  const std::size_t start = path.find_first_not_of('\\');
  for (const auto& child : set.GetChildren()) {
    if (const auto* change = dynamic_cast<const Change*>(child.get())) {
      Json json;
      json["set"] = ToUtf8(set.GetTag());
      json["file"] = ToUtf8(start == CString::npos ? CString() : path.substr(start));
      json["change"] = ToUtf8(change->GetTag());
      json["words"] = PlainText(change->DescribeInWords());
      list.push_back(std::move(json));
    }
  }
}

Json ChangesJson(const CKestExtension& record) {
  Json list = Json::array();
  for (const auto& set : record.GetConfigChanges()) {
    AddChanges<CKestConfigChange>(list, *set);
  }
  for (const auto& set : record.GetHelpChanges()) {
    AddChanges<CKestHelpChange>(list, *set);
  }
  return list;
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
  json["products"] = ProductsJson(record);
  json["tokens"] = TokensJson(record);
  json["files"] = FilesJson(session, subject);
  json["changes"] = ChangesJson(record);
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

std::string FilesText(const Json& files) {
  std::string text = "\nFiles\n";
  for (const Json& file : files) {
    std::string marks = file["shared"].get<bool>() ? " shared" : "";
    marks += file["system"].get<bool>() ? " system" : "";
    marks += file["platform"] != "any" ? " " + file["platform"].get<std::string>() : "";
    const Json& installed = file["installed"];
    text +=
        fmt::format("  {} -> {}{}\n", ForTerminal(file["source"].get<std::string>()),
                    ForTerminal((installed.is_null() ? file["destination"] : installed["windows"]).get<std::string>()),
                    marks.empty() ? "" : " (" + marks.substr(1) + ")");
  }
  return text;
}

std::string ChangesText(const Json& changes) {
  std::string text = changes.empty() ? "\nChanges\n  none\n" : "\nChanges\n";
  std::string last;
  for (const Json& change : changes) {
    const std::string file = change["file"].get<std::string>();
    if (file != last) {
      text += fmt::format("  {}\n", ForTerminal(file));
      last = file;
    }
    text += Indented(Indented(change["words"].get<std::string>()));
  }
  return text;
}

std::string InfoText(Session& session, const Subject& subject, const Json& json) {
  const CKestExtension& record = *subject.record;
  std::string text = Line("Name", json["name"].get<std::string>());
  text += Line("Version", json["version"].get<std::string>());
  text += Line("Author", json["author"].get<std::string>());
  text += Line("Type", json["type"]["label"].get<std::string>());
  if (subject.product) {
    text += Line("Product", NameOf(*subject.product));
    text += Line("State", json["state"].get<std::string>() + ", " + json["scope"].get<std::string>());
    text += Line("Description", json["description"]["windows"].get<std::string>());
  }
  for (const Json& product : json["products"]) {
    text += Line("For", product["name"].get<std::string>() + " " + product["version"].get<std::string>() +
                            (product["primary"].get<bool>()    ? " (primary)"
                             : product["required"].get<bool>() ? " (required)"
                                                               : ""));
  }
  for (const Json& token : json["tokens"]) {
    text += Line("Token",
                 token["name"].get<std::string>() +
                     (token["prompt"].get<std::string>().empty() ? "" : ": " + token["prompt"].get<std::string>()));
  }
  text += Line("Restart", json["requires_restart"].get<bool>() ? "needed" : "");
  text += Line("Files", std::to_string(json["files"].size()));
  text += Line("Changes", std::to_string(json["changes"].size()));
  const std::string detail = DetailText(session, record);
  text += detail.empty() ? "" : "\n" + Indented(detail);
  if (session.options.files) {
    text += FilesText(json["files"]);
  }
  if (session.options.changes) {
    text += ChangesText(json["changes"]);
  }
  return text;
}

int Show(Session& session, const Subject& subject) {
  session.document["extension"] = InfoJson(session, subject);
  if (!session.options.json) {
    session.terminal.Data(InfoText(session, subject, session.document["extension"]));
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
    const ExtensionFile file = ReadExtensionFile(session, word);
    if (!file.record || file.code != 0) {
      return session.Fail(kBadInput, {ForTerminal(word) + " cannot be shown",
                                      file.record ? DescribeLoadCode(file.code) : file.problem,
                                      "nothing",
                                      {},
                                      "see: kest validate " + ForTerminal(word),
                                      0});
    }
    return Show(session, {nullptr, file.record.get()});
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
  return one.extension ? Show(session, {one.product, one.extension}) : exit;
}

} // namespace kest::host
