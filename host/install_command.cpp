#include "host/commands.h"

#include "description/extension.h"
#include "host/extension_file.h"
#include "host/operation.h"
#include "host/preview_output.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "manager/validation.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

namespace kest::host {
namespace {

// TOKEN=DIR of --set, by token name; DIR as the user typed it.
bool ReadTokens(Session& session, std::map<std::string, std::string>& tokens, int& exit) {
  for (const std::string& given : session.options.tokens) {
    const std::size_t equals = given.find('=');
    const std::string missing = equals == std::string::npos ? "" : session.MissingDrive(given.substr(equals + 1));
    if (!missing.empty()) {
      exit = session.Fail(kNotFoundHere, {"--set " + ForTerminal(given) + " cannot be used",
                                          missing + " on " + session.GetMachineName(),
                                          "nothing",
                                          {},
                                          "see which drives there are: kest machine show",
                                          0});
      return false;
    }
    const std::string folder = equals == std::string::npos ? "" : session.ReadFolder(given.substr(equals + 1));
    if (equals == 0 || folder.empty()) {
      exit = session.Fail(kUsage, {"--set " + ForTerminal(given) + " makes no sense",
                                   "it takes TOKEN=DIR, with a Windows path or a folder inside the machine folder",
                                   "nothing",
                                   {},
                                   "as in: --set templates=C:\\Sites\\Templates",
                                   0});
      return false;
    }
    tokens[text::Lower(given.substr(0, equals))] = folder;
  }
  return true;
}

/// A token for which a folder may be asked.
struct AskedToken {
  std::string name;
  CString asked;           ///< what the question is about
  bool mustAnswer = false; ///< without a prompt: it may lead anywhere, and nobody has been asked
};

// Those with a prompt first: of two that ask alike, the stricter one counts.
std::vector<AskedToken> AskedTokens(const CKestExtension& record) {
  std::vector<AskedToken> asked;
  std::vector<AskedToken> strict;
  for (const auto& child : record.GetTokens().GetChildren()) {
    const auto* token = dynamic_cast<const CKestExtensionToken*>(child.get());
    if (token && !token->GetPrompt().empty()) {
      asked.push_back({PlainText(token->GetName()), token->GetPrompt(), false});
    } else if (token && !token->GetDefinition().empty()) {
      strict.push_back({PlainText(token->GetName()), token->GetName(), true});
    }
  }
  asked.insert(asked.end(), strict.begin(), strict.end());
  return asked;
}

// Whether each folder of --set is asked for by one of the files. What cannot be read has its own error later.
bool CheckTokens(Session& session, const std::map<std::string, std::string>& tokens, int& exit) {
  std::set<std::string> asked;
  std::string names;
  for (const std::string& word : session.options.arguments) {
    const ExtensionFile file = tokens.empty() ? ExtensionFile() : ReadExtensionFile(session, word);
    if (!file.record || file.code != 0) {
      return true;
    }
    for (const auto& [name, question, mustAnswer] : AskedTokens(*file.record)) {
      if (asked.insert(text::Lower(name)).second) {
        names += (names.empty() ? "" : ", ") + ForTerminal(name);
      }
    }
  }
  for (const auto& [name, folder] : tokens) {
    if (!asked.contains(name)) {
      exit = session.Fail(kUsage, {fmt::format("--set {}: no folder of this name is asked for", ForTerminal(name)),
                                   names.empty() ? "nothing that is to be installed asks for a folder"
                                                 : "these are asked for: " + names,
                                   "nothing",
                                   {},
                                   "see what an extension asks for: kest info FILE",
                                   0});
      return false;
    }
  }
  return true;
}

void TellTokens(Session& session, const CKestExtension& record, const std::map<std::string, std::string>& given) {
  std::map<std::string, ConsoleUi::Token> byPrompt;
  for (const AskedToken& token : AskedTokens(record)) {
    const auto found = given.find(text::Lower(token.name));
    byPrompt[token.asked] = {ForTerminal(token.name), found == given.end() ? "" : found->second, token.mustAnswer};
  }
  session.GetUi().SetTokens(std::move(byPrompt));
}

// The product that the engine will take: a running one before others, a later one before an earlier.
const CKestProduct* Predict(Session& session, const CKestExtension& record) {
  const CKestExtensionProduct* primary = record.GetPrimaryProduct();
  const CKestProduct* fitting = nullptr;
  for (const CKestProduct* product : session.GetProducts()) {
    if (primary && product->IsInstalled() &&
        product->Supports(primary->GetName().c_str(), primary->GetVersion().c_str()) &&
        (!fitting || product->IsRunning() || !fitting->IsRunning())) {
      fitting = product;
    }
  }
  return fitting;
}

int FailUnread(Session& session, const ExtensionFile& file, const std::string& hostFile) {
  const std::string name = ForTerminal(hostFile);
  if (const MachineError open = session.GetMachine().GetUnanswered(); open.kind != MachineError::Kind::kNone) {
    return session.Fail(ExitCodeOf(open), {fmt::format("{} was not installed", name),
                                           "it could not be read: " + Shown(open.reason),
                                           "nothing",
                                           {},
                                           "try again",
                                           0});
  }
  if (!file.exists) {
    return FailNoFile(session, hostFile, name + " was not installed", "name a package (.kep) or a description (.kei)");
  }
  const std::string why = file.isPackage && !file.record ? "the package cannot be used: " + file.problem
                          : !file.problem.empty()        ? file.problem
                                                         : DescribeLoadCode(file.code);
  return session.Fail(kBadInput,
                      {fmt::format("{} was not installed", name), why, "nothing", {}, "see: kest validate " + name, 0});
}

void SayTarget(Session& session, const CKestExtension& record, const CKestProduct* product) {
  CString label;
  static_cast<void>(session.GetManager().GetTypeLabel(record.GetType(), label));
  session.terminal.Notice(fmt::format("Install {} ({}, {}) into {} on {}, user {}",
                                      session.terminal.Paint(Style::kStrong, Quote(record)), Shown(label),
                                      ShownText(record.GetAuthorName()), product ? NameOf(*product) : "a product",
                                      session.GetMachineName(), session.GetUserName()));
}

int Finish(Session& session, const CKestExtension& record, const CKestProduct* product, const std::string& name) {
  const OperationReport& report = session.GetManager().GetLastReport();
  const Outcome& outcome = session.GetUi().GetOutcome();
  ExitCode exit = ExitCodeOf(report, outcome);
  session.document = ResultJson(session, "install", report, exit);
  if (session.document["extension"].is_null()) {
    session.document["extension"] = {{"name", PlainText(record.GetName())},
                                     {"author", PlainText(record.GetAuthorName())},
                                     {"version", record.GetVersion().ToText()}};
  }
  if (!report.Succeeded() && exit == kDone) {
    session.terminal.Notice(
        fmt::format("{} is installed already: nothing to do. Install it again with --reinstall.", Quote(record)));
    return session.options.dryRun ? ShowPreview(session, report, kDone) : kDone;
  }
  if (exit != kDone) {
    ErrorReport error = DescribeFailure(report, outcome, Quote(record), "installed", name);
    constexpr std::string_view kPlace = "FILE"; // only where it stands for what was to be installed
    if (error.next.ends_with("kest validate FILE")) {
      error.next.replace(error.next.size() - kPlace.size(), kPlace.size(), name);
    }
    const int code = session.Fail(exit, error);
    return session.options.dryRun ? ShowPreview(session, report, code) : code;
  }
  if (session.options.dryRun) {
    return ShowPreview(session, report, exit);
  }
  session.terminal.ClearProgress();
  const auto keptByUser = std::count_if(report.kept.begin(), report.kept.end(), [](const OperationReport::Kept& kept) {
    return kept.why == OperationReport::Why::kUserAnswer;
  });
  std::string line = fmt::format("Installed {} in {}.", Quote(record), product ? NameOf(*product) : "");
  if (keptByUser) {
    line += fmt::format(" {} file{} kept as {}.", keptByUser, keptByUser == 1 ? "" : "s",
                        keptByUser == 1 ? "it was" : "they were");
  }
  if (product && product->IsRunning() && !report.restartProduct && !report.restartMachine) {
    line += " " + NameOf(*product) + " is running and has reloaded it.";
  }
  session.terminal.Notice(line);
  SayWhatHappened(session, report);
  session.terminal.Notice(fmt::format("Remove it with: kest uninstall \"{}\"", ShownText(record.GetName())));
  return kDone;
}

// What of the description had no effect: nobody reads it again once it is installed.
void TellWhatWasLeftOut(Session& session, const ExtensionFile& file, const std::string& name) {
  constexpr std::size_t kMost = 5;
  constexpr std::string_view kRules[] = {"unknown-attribute", "dropped-element",   "unknown-element",
                                         "unknown-token",     "misplaced-element", "empty-removal"};
  CKestExtension record;
  int code = 0;
  std::vector<ValidationFinding> found = ValidateDescription({file.text, nullptr, nullptr}, record, code);
  std::erase_if(found, [&](const ValidationFinding& one) {
    return std::find(std::begin(kRules), std::end(kRules), std::string_view(one.rule)) == std::end(kRules);
  });
  for (std::size_t i = 0; i < found.size() && i < kMost; ++i) {
    session.terminal.Notice(fmt::format("{} {}:{}: {}", session.terminal.Paint(Style::kWarning, "warning:"), name,
                                        found[i].line, Shown(found[i].text)));
  }
  if (found.size() > kMost) {
    session.terminal.Notice(fmt::format("{} more; see: kest validate {}", found.size() - kMost, name));
  }
}

/// What a failure says of an extension.
CKestExtension HeadOf(const CKestExtension& record) {
  CKestExtension head;
  head.SetPath(record.GetPath());
  head.SetID(record.GetID());
  head.SetName(record.GetName());
  head.SetVersion(record.GetVersion().ToText());
  head.SetType(record.GetType());
  head.SetTypeLabel(record.GetTypeLabel());
  head.SetAuthorName(record.GetAuthorName());
  head.ReadRestLater(record.GetFileCount());
  return head;
}

int InstallOne(Session& session, const std::string& word, const CKestProduct* wanted,
               const std::map<std::string, std::string>& tokens) {
  const std::string name = ForTerminal(word);
  ExtensionFile file = ReadExtensionFile(session, word);
  if (!file.exists || !file.record || file.code != 0) {
    return FailUnread(session, file, word);
  }
  CKestExtension record = std::move(*file.record);
  file.record.reset();
  const CKestExtensionProduct* primary = record.GetPrimaryProduct();
  if (wanted && primary && !wanted->Supports(primary->GetName().c_str(), primary->GetVersion().c_str())) {
    return session.Fail(kNoProductSupports, {fmt::format("{} was not installed in {}", Quote(record), NameOf(*wanted)),
                                             fmt::format("it is for {} {}", ShownText(primary->GetName()),
                                                         ShownText(primary->GetVersion())),
                                             "nothing",
                                             {},
                                             "see what it is for: kest info " + name,
                                             0});
  }
  const CKestProduct* product = wanted ? wanted : Predict(session, record);
  SayTarget(session, record, product);
  TellTokens(session, record, tokens);
  session.GetUi().SetEntries(std::move(file.entries));
  session.GetUi().Begin();
  record = HeadOf(record); // the engine reads the rest itself
  InstallOptions options;
  options.product = product;
  options.onlyThatProduct = wanted != nullptr;
  const InstallResult result = session.GetManager().Install(file.path, options);
  const int exit = Finish(session, result ? *result.extension : record, result.product, name);
  if (result && session.terminal.ShowsNotices()) {
    TellWhatWasLeftOut(session, file, name);
  }
  return exit;
}

} // namespace

int RunInstall(Session& session) {
  int exit = kDone;
  std::map<std::string, std::string> tokens;
  if (!session.OpenEngine(exit) || !ReadTokens(session, tokens, exit) || !CheckTokens(session, tokens, exit)) {
    return exit;
  }
  const CKestProduct* wanted = nullptr;
  if (!session.options.product.empty() && !(wanted = session.FindProduct(session.options.product, exit))) {
    return exit;
  }
  return RunEach(session, session.options.arguments,
                 [&](const std::string& word) { return InstallOne(session, word, wanted, tokens); });
}

} // namespace kest::host
