#include "host/commands.h"

#include "description/extension.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/table_printer.h"
#include "host/terminal/text_width.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>

namespace kest::host {
namespace {

Json ProductJson(Session& session, const CKestProduct& product) {
  HostedMachine* machine = &session.GetMachine();
  CString family;
  CString install;
  CString extensions;
  CKestVersionNumber version;
  product.GetProductFamily(family);
  product.GetInstallFolder(install);
  product.GetExtensionsFolder(extensions);
  product.GetVersion(version);
  // The extensions folder is the last one of the configuration folder.
  const CString configuration = CKestPath(WithoutBackslash(extensions)).GetFolder();
  Json json = Json::object();
  json["name"] = NameOf(product);
  json["version"] = product.IsInstalled() ? Json(version.ToText()) : Json(nullptr);
  json["family"] = ToUtf8(family);
  json["running"] = product.IsRunning();
  json["install_folder"] = PathJson(machine, install);
  json["extensions_folder"] = PathJson(machine, product.IsInstalled() ? extensions : CString());
  json["configuration_folder"] = PathJson(machine, product.IsInstalled() ? configuration : CString());
  return json;
}

using Compare = int (CKestExtensionManager::*)(const CKestExtension*, const CKestExtension*) const;

Compare ComparisonFor(const std::string& key) {
  constexpr std::pair<std::string_view, Compare> kKeys[] = {
      {"version", &CKestExtensionManager::CompareVersion}, {"type", &CKestExtensionManager::CompareType},
      {"author", &CKestExtensionManager::CompareAuthor},   {"state", &CKestExtensionManager::CompareEnabled},
      {"name", &CKestExtensionManager::CompareName},
  };
  for (const auto& [name, compare] : kKeys) {
    if (key == name) {
      return compare;
    }
  }
  return &CKestExtensionManager::CompareName;
}

void Sort(Session& session, std::vector<Installed>& all) {
  const CKestExtensionManager& manager = session.GetManager();
  const Compare compare = ComparisonFor(session.options.sort);
  const int sign = session.options.reverse ? -1 : 1;
  std::stable_sort(all.begin(), all.end(), [&](const Installed& a, const Installed& b) {
    const int order = sign * (manager.*compare)(a.extension, b.extension);
    return order != 0 ? order < 0 : manager.CompareName(a.extension, b.extension) < 0;
  });
}

std::string Table(Session& session, const std::vector<Installed>& all, bool withProduct) {
  std::vector<std::string> headings = {"NAME", "VERSION", "TYPE", "AUTHOR", "STATE", "SCOPE"};
  if (withProduct) {
    headings.emplace_back("PRODUCT");
  }
  TablePrinter table(headings);
  for (const auto& [product, extension] : all) {
    CString label;
    static_cast<void>(session.GetManager().GetTypeLabel(extension->GetType(), label));
    std::vector<std::string> row = {ShownText(extension->GetName()),
                                    extension->GetVersion().ToText(),
                                    Shown(label),
                                    ShownText(extension->GetAuthorName()),
                                    extension->IsEnabled() ? "enabled" : "disabled",
                                    extension->IsShared() ? "shared" : "user"};
    if (withProduct) {
      row.push_back(NameOf(*product));
    }
    table.AddRow(std::move(row));
  }
  return table.Print(session.terminal.GetTableWidth());
}

} // namespace

int RunProducts(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  TablePrinter table({"NAME", "VERSION", "RUNNING", "FOLDER"});
  for (const CKestProduct* product : session.GetProducts()) {
    if (!product->IsInstalled() && !session.options.all) {
      continue;
    }
    const Json json = ProductJson(session, *product);
    const bool found = product->IsInstalled();
    table.AddRow({NameOf(*product), found ? json["version"].get<std::string>() : "not found",
                  product->IsRunning() ? "yes" : "no",
                  found ? ForTerminal(json["install_folder"]["windows"].get<std::string>()) : "-"});
    session.document["products"].push_back(json);
  }
  if (session.document["products"].empty()) {
    session.terminal.Notice(fmt::format("No product was found on {}. See what is looked for: kest products --all",
                                        session.GetMachineName()));
  } else if (!session.options.json) {
    session.terminal.Data(table.Print(session.terminal.GetTableWidth()));
  }
  return kDone;
}

int RunList(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  const Options& options = session.options;
  const CKestProduct* only = nullptr;
  if (!options.product.empty() && !(only = session.FindProduct(options.product, exit))) {
    return exit;
  }
  std::vector<Installed> all = CollectInstalled(session, only);
  if (!options.state.empty()) {
    const bool enabled = options.state == "enabled";
    std::erase_if(all, [&](const Installed& one) { return one.extension->IsEnabled() != enabled; });
  }
  Sort(session, all);
  if (options.json) {
    for (const auto& [product, extension] : all) {
      session.document["extensions"].push_back(
          ExtensionJson(session.GetManager(), &session.GetMachine(), product, *extension));
    }
    return kDone;
  }
  if (!all.empty()) {
    session.terminal.Data(Table(session, all, only == nullptr));
  }
  const auto disabled =
      std::count_if(all.begin(), all.end(), [](const Installed& one) { return !one.extension->IsEnabled(); });
  session.terminal.Notice(fmt::format("{} extension{}{} {} {}", all.size(), all.size() == 1 ? "" : "s",
                                      disabled ? fmt::format(", {} disabled,", disabled) : "", only ? "in" : "on",
                                      only ? NameOf(*only) : session.GetMachineName()));
  return kDone;
}

} // namespace kest::host
