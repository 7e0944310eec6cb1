#include "host/commands.h"

#include "description/extension.h"
#include "host/operation.h"
#include "host/preview_output.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/text/path.h"
#include "products/product.h"

#include <fmt/format.h>

#include <map>
#include <memory>
#include <optional>

namespace kest::host {
namespace {

constexpr std::size_t kMostListed = 40;     ///< files that a question is preceded by; more are told by their folders
constexpr int kSharedConfigurationUser = 2; ///< the type of user who installs for everybody

std::string WhyItStays(const UninstallPreview::Entry& entry) {
  switch (entry.why) {
  case OperationReport::Why::kShared:
    return SharedWith(entry.holder);
  case OperationReport::Why::kFont:
    return "a font";
  case OperationReport::Why::kSystemFile:
    return "a system file";
  case OperationReport::Why::kUserAnswer:
    break;
  }
  return "kept";
}

std::string WhatStoodThere(const UninstallPreview::Entry& entry) {
  return entry.returns        ? " (what stood there before comes back)"
         : entry.lostOriginal ? " (what stood there before does not come back: its copy is gone or changed)"
                              : "";
}

// Names the target first: extension, product, machine, user.
void SayTarget(Session& session, const char* verb, const Installed& one) {
  session.terminal.Notice(fmt::format("{} {} in {} on {}, user {}", verb,
                                      session.terminal.Paint(Style::kStrong, Quote(*one.extension)),
                                      NameOf(*one.product), session.GetMachineName(), session.GetUserName()));
}

void SayPreviewEnd(Session& session, const UninstallPreview& preview) {
  for (const CString& path : preview.missing) {
    session.terminal.Notice(fmt::format("  gone   {} (missing already)", Shown(path)));
  }
  if (preview.restartProduct) {
    session.terminal.Notice("  The product must be restarted afterwards.");
  }
}

void SayPreview(Session& session, const UninstallPreview& preview) {
  std::size_t goes = 0;
  std::size_t stays = 0;
  for (const UninstallPreview::Entry& entry : preview.files) {
    (entry.stays ? stays : goes) += 1;
  }
  session.terminal.Notice(fmt::format("  {} file{} will go, {} will stay.", goes, goes == 1 ? "" : "s", stays));
  if (!session.options.verbose && preview.files.size() > kMostListed) {
    std::map<std::string, std::size_t> folders;
    for (const UninstallPreview::Entry& entry : preview.files) {
      ++folders[(entry.stays ? "  stays  " : "  goes   ") + Shown(CKestPath(entry.path).GetFolder())];
    }
    for (const auto& [folder, count] : folders) {
      session.terminal.Notice(fmt::format("{}: {} file{}", folder, count, count == 1 ? "" : "s"));
    }
    session.terminal.Notice("  Each of them with --verbose.");
    for (const UninstallPreview::Entry& entry : preview.files) {
      if (entry.lostOriginal) {
        session.terminal.Notice(fmt::format("  goes   {}{}", Shown(entry.path), WhatStoodThere(entry)));
      }
    }
    return SayPreviewEnd(session, preview);
  }
  for (const UninstallPreview::Entry& entry : preview.files) {
    if (entry.stays) {
      session.terminal.Notice(fmt::format("  stays  {} ({})", Shown(entry.path), WhyItStays(entry)));
    } else {
      session.terminal.Notice(fmt::format("  goes   {}{}", Shown(entry.path), WhatStoodThere(entry)));
    }
  }
  SayPreviewEnd(session, preview);
}

struct Verbs {
  const char* operation; ///< of the JSON
  const char* command;   ///< "Disable"
  const char* done;      ///< "disabled"
};

int Finish(Session& session, const Installed& one, const std::string& quoted, const Verbs& verbs) {
  const OperationReport& report = session.GetManager().GetLastReport();
  const Outcome& outcome = session.GetUi().GetOutcome();
  const ExitCode exit = ExitCodeOf(report, outcome);
  session.document = ResultJson(session, verbs.operation, report, exit);
  if (session.document["product"].is_null()) {
    session.document["product"] = NameOf(*one.product);
  }
  if (!report.Succeeded() && exit == kDone) {
    session.terminal.Notice(fmt::format("The same extension is enabled already: {} stays as it is.", quoted));
    return session.options.dryRun ? ShowPreview(session, report, kDone) : kDone;
  }
  if (exit != kDone) {
    const int code = session.Fail(
        exit, DescribeFailure(report, outcome, quoted, verbs.done, '"' + ShownText(one.extension->GetName()) + '"'));
    return session.options.dryRun ? ShowPreview(session, report, code) : code;
  }
  if (session.options.dryRun) {
    return ShowPreview(session, report, exit);
  }
  std::string done = verbs.done;
  done[0] = static_cast<char>(done[0] - 'a' + 'A');
  session.terminal.Notice(fmt::format("{} {} in {}.", done, quoted, NameOf(*one.product)));
  SayWhatHappened(session, report);
  return kDone;
}

// Of an operation that never began.
OperationReport ReportOf(const Installed& one, OperationReport::Failure failure) {
  OperationReport report;
  report.failure = failure;
  report.extension = one.extension->GetName();
  report.version = one.extension->GetVersion().ToText();
  report.author = one.extension->GetAuthorName();
  report.product = NameOf(*one.product);
  return report;
}

// Everybody's extension is not for everybody to take away: the engine would look for its files among the user's own.
bool MayChange(Session& session, const Installed& one) {
  int type = 0;
  HostedMachine& machine = session.GetMachine();
  return !one.extension->IsShared() || !one.product->SupportsMultiUserAdmin() ||
         !machine.IsSupportedMultiUserSystem() ||
         (machine.GetCurrentUserType(type) && type == kSharedConfigurationUser);
}

int RefuseShared(Session& session, const Installed& one, const char* operation, const char* done) {
  const OperationReport refused = ReportOf(one, OperationReport::Failure::kNoPermission);
  session.document = ResultJson(session, operation, refused, kInUseOrLocked);
  return session.Fail(kInUseOrLocked,
                      {fmt::format("{} was not {} in {}", Quote(*one.extension), done, NameOf(*one.product)),
                       fmt::format("it is installed for everybody, and user {} may change only what is their own",
                                   session.GetUserName()),
                       "nothing",
                       {},
                       "let a user of type 2 do it; see: kest machine show",
                       0});
}

int UninstallOne(Session& session, const Installed& one) {
  if (!MayChange(session, one)) {
    return RefuseShared(session, one, "uninstall", "uninstalled");
  }
  const std::string quoted = Quote(*one.extension);
  ConsoleUi& ui = session.GetUi();
  ui.Begin();
  SayTarget(session, "Uninstall", one);
  if (session.terminal.ShowsNotices() && !session.options.dryRun) {
    SayPreview(session, session.GetManager().PreviewUninstall(one.product, one.extension));
  }
  if (!ui.Confirm(fmt::format("Uninstall {}?", quoted), false, session.options.yes, "--yes")) {
    const OperationReport declined = ReportOf(one, OperationReport::Failure::kDeclined);
    const ExitCode exit = ExitCodeOf(declined, ui.GetOutcome());
    session.document = ResultJson(session, "uninstall", declined, exit);
    return session.Fail(exit, DescribeFailure(declined, ui.GetOutcome(), quoted, "uninstalled"));
  }
  int restart = 0;
  // With the copies set aside: a package left by an enable would pass for one of a later install under the same name.
  const int result =
      session.GetManager().UninstallExtension(one.product, one.extension, true, false, true, true, true, restart, true);
  // The record left the catalogue with a success and is ours then.
  const std::unique_ptr<CKestExtension> gone(result == 0 ? one.extension : nullptr);
  return Finish(session, one, quoted, {"uninstall", "Uninstall", "uninstalled"});
}

int SetState(Session& session, const Installed& one, bool enable) {
  const Verbs verbs = enable ? Verbs{"enable", "Enable", "enabled"} : Verbs{"disable", "Disable", "disabled"};
  const std::string quoted = Quote(*one.extension);
  if (one.extension->IsEnabled() == enable) {
    session.terminal.Notice(fmt::format("{} is {} already: nothing to do.", quoted, verbs.done));
    session.document["extension"] = {{"name", PlainText(one.extension->GetName())},
                                     {"author", PlainText(one.extension->GetAuthorName())},
                                     {"version", one.extension->GetVersion().ToText()}};
    session.document["product"] = NameOf(*one.product);
    session.document["rolled_back"] = false;
    return kDone;
  }
  if (!MayChange(session, one)) {
    return RefuseShared(session, one, verbs.operation, verbs.done);
  }
  session.GetUi().Begin();
  SayTarget(session, verbs.command, one);
  if (enable) {
    session.GetManager().EnableExtension(one.product, one.extension);
  } else {
    session.GetManager().DisableExtension(one.product, one.extension, true);
  }
  return Finish(session, one, quoted, verbs);
}

int RunOnExtensions(Session& session, int preferEnabled, const std::function<int(const Installed&)>& work) {
  int exit = kDone;
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  const CKestProduct* only = nullptr;
  if (!session.options.product.empty() && !(only = session.FindProduct(session.options.product, exit))) {
    return exit;
  }
  return RunEach(session, session.options.arguments, [&](const std::string& word) {
    // Collected anew for each word: the one before may have changed the catalogue.
    int code = kDone;
    const Installed one = Select(session, CollectInstalled(session, only), word, code, preferEnabled);
    return one.extension ? work(one) : code;
  });
}

} // namespace

int RunUninstall(Session& session) {
  return RunOnExtensions(session, -1, [&](const Installed& one) { return UninstallOne(session, one); });
}

int RunDisable(Session& session) {
  return RunOnExtensions(session, 1, [&](const Installed& one) { return SetState(session, one, false); });
}

int RunEnable(Session& session) {
  return RunOnExtensions(session, 0, [&](const Installed& one) { return SetState(session, one, true); });
}

} // namespace kest::host
