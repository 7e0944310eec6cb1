#include "host/commands.h"

#include "host/extension_file.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/table_printer.h"
#include "host/terminal/text_width.h"
#include "platform/machine/os.h"

#include <fmt/format.h>

#include <filesystem>

namespace kest::host {
namespace {

// Prints what went in, from the package itself.
int ShowPackage(Session& session, const std::string& output, const CString& windowsPath) {
  CKestPackage package(windowsPath.c_str());
  std::vector<PackageEntry> entries;
  if (package.GetEntries(entries) != 0) {
    return session.Fail(kFailed, {"the package was built but cannot be read back",
                                  Shown(package.GetProblem()),
                                  ForTerminal(output),
                                  {},
                                  "build it again",
                                  0});
  }
  TablePrinter table({"SIZE", "FILE"});
  std::uint64_t sum = 0;
  for (const PackageEntry& entry : entries) {
    sum += entry.size;
    table.AddRow({std::to_string(entry.size), Shown(entry.name)});
    session.document["entries"].push_back({{"name", ToUtf8(entry.name)}, {"size", entry.size}});
  }
  session.document["package"] = output;
  session.document["bytes"] = sum;
  if (!session.options.json) {
    session.terminal.Data(table.Print(session.terminal.GetTableWidth()));
  }
  session.terminal.Notice(fmt::format("Packed {} file{}, {} bytes, into {}", entries.size(),
                                      entries.size() == 1 ? "" : "s", sum, ForTerminal(output)));
  return kDone;
}

} // namespace

int RunPack(Session& session) {
  namespace fs = std::filesystem;
  int exit = kDone;
  if (!session.OpenMachineForFiles(exit)) {
    return exit;
  }
  session.StartEngine();
  const Options& options = session.options;
  const std::string input = options.arguments.front();
  const std::string output =
      options.output.empty() ? fs::path(input).replace_extension(".kep").string() : options.output;
  const std::string name = ForTerminal(input);
  // The writable folder first: should the two be one folder, it must stay so.
  const CString target = session.ReachFile(output, true);
  const CString source = session.ReachFile(input, false);
  if (source.empty() || !CKestOS::FileExists(source)) {
    return FailNoFile(session, input, name + " was not packed", "name a description (.kei)");
  }
  if (target.empty()) {
    return session.Fail(kNotFoundHere, {name + " was not packed",
                                        "there is no folder for " + ForTerminal(output),
                                        "nothing",
                                        {},
                                        "make the folder, or name another with -o",
                                        0});
  }
  if (text::EndsWithNoCase(input, ".kep")) {
    return session.Fail(
        kBadInput,
        {name + " was not packed", "it is a package already", "nothing", {}, "name a description (.kei)", 0});
  }
  if (CKestOS::FileExists(target) && !options.force) {
    return session.Fail(kDeclinedOrUnanswered, {name + " was not packed",
                                                ForTerminal(output) + " exists",
                                                "nothing",
                                                {},
                                                "replace it with --force, or name another with -o",
                                                0});
  }
  session.GetUi().Begin();
  if (session.GetManager().CreatePackage(source.c_str(), target.c_str(), nullptr, false, true, options.portable) != 0) {
    const OperationReport& report = session.GetManager().GetLastReport();
    const Outcome& outcome = session.GetUi().GetOutcome();
    const ExitCode code = ExitCodeOf(report, outcome);
    ErrorReport error = DescribeFailure(report, outcome, name, "packed");
    if (code == kBadInput || code == kNotFoundHere) {
      error.next = "see: kest validate " + name;
    }
    return session.Fail(code == kDone ? kFailed : code, error);
  }
  return ShowPackage(session, output, target);
}

} // namespace kest::host
