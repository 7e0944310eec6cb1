#include "host/commands.h"

#include "host/sample/sample_machine.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/machine/os.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace kest::host {
namespace {

std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  std::string text = std::filesystem::absolute(path, error).lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') {
    text.pop_back();
  }
  return text;
}

// "anna:2" or "anna".
bool ReadUser(const std::string& given, std::pair<std::string, int>& user) {
  const std::size_t colon = given.rfind(':');
  user = {given.substr(0, colon), 1};
  if (colon != std::string::npos) {
    const char* end = given.data() + given.size();
    const auto [at, error] = std::from_chars(given.data() + colon + 1, end, user.second);
    if (error != std::errc() || at != end || user.second < 0) {
      return false;
    }
  }
  return !user.first.empty() && user.first.find_first_of("\\/:*?\"<>|,;=\r\n") == std::string::npos &&
         user.first.find_first_not_of('.') != std::string::npos;
}

std::optional<ErrorReport> CheckSample(const Options& options, SampleMachine& machine) {
  const std::vector<std::string> known = GetSampleProducts();
  for (const std::string& name : options.products) {
    if (std::none_of(known.begin(), known.end(), [&](const std::string& k) { return text::EqualNoCase(k, name); })) {
      return ErrorReport{fmt::format("there is no sample product \"{}\"", ForTerminal(name)),
                         fmt::format("these there are: {}", fmt::join(known, ", ")),
                         "nothing",
                         {},
                         "name one of them, or none for all",
                         0};
    }
  }
  for (const std::string& given : options.users) {
    std::pair<std::string, int> user;
    if (!ReadUser(given, user)) {
      return ErrorReport{fmt::format("\"{}\" is no user", ForTerminal(given)),
                         "a user is NAME or NAME:TYPE",
                         "nothing",
                         {},
                         "as in: --user anna:2",
                         0};
    }
    machine.users.push_back(user);
  }
  const auto& users = machine.users;
  const std::string& current = options.currentUser;
  const bool known_user = std::any_of(users.begin(), users.end(), [&](const auto& u) { return u.first == current; });
  if (!current.empty() && !known_user && !(users.empty() && current == "user")) {
    return ErrorReport{fmt::format("\"{}\" is none of the users", ForTerminal(current)),
                       "--current names one that --user makes",
                       "nothing",
                       {},
                       "add --user " + ForTerminal(current),
                       0};
  }
  return std::nullopt;
}

Json MachineJson(Session& session) {
  HostedMachine& machine = session.GetMachine();
  machine.InitMultiUserMembers();
  Json json = MakeDocument("machine", true);
  json["machine"] = ToUtf8(machine.GetDisplayName());
  json["users"] = Json::array();
  for (const HostedMachine::User& user : machine.GetUsers()) {
    json["users"].push_back({{"name", ToUtf8(user.name)}, {"type", user.type}});
  }
  json["current_user"] = ToUtf8(machine.GetCurrentUser());
  int type = 0;
  json["current_type"] = machine.GetCurrentUserType(type) ? Json(type) : Json(nullptr);
  json["multi_user"] = machine.IsSupportedMultiUserSystem();
  json["code_page"] = machine.GetCodePage();
  json["operating_system"] = machine.GetOperatingSystemVersion();
  json["drives"] = Json::array();
  for (const auto& [letter, folder] : machine.GetDrives()) {
    json["drives"].push_back({{"drive", std::string(1, letter) + ":"}, {"host", ToUtf8(folder)}});
  }
  json["running"] = Json::array();
  for (const CString& process : machine.GetRunningProcesses()) {
    json["running"].push_back(ToUtf8(process));
  }
  return json;
}

// Where a product's executable is; empty for one that has none.
CString ExecutableOf(const CKestProduct& product) {
  CString folder;
  CString name;
  product.GetInstallFolder(folder);
  product.GetExecutableFileName(name);
  const CString path = JoinPath({folder, name});
  if (!name.empty() && CKestOS::FileExists(path)) {
    return path;
  }
  // One that keeps its settings with the user says so in place of its program's folder: the registry knows better.
  CString key;
  CString value;
  product.GetAppRegKey(key);
  product.GetAppRegValName(value);
  CString program;
  if (!name.empty() && !key.empty() && CKestOS::ReadRegistryString(RegistryRoot::kLocalMachine, key, value, program) &&
      CKestOS::FileExists(JoinPath({program, name}))) {
    return JoinPath({program, name});
  }
  return {};
}

// Of several programs whose names have that of the product's in them, the first that runs stands for it.
int FailToCount(Session& session, const CKestProduct& product, const CString& executable, bool running) {
  if (running) {
    (void)session.GetMachine().SetProcessRunning(executable, false);
  }
  std::string other;
  CString name;
  product.GetExecutableFileName(name);
  CKestOS::EnumProcs([&](const CString& process) {
    other = text::ContainsNoCase(process, name) ? Shown(process) : "";
    return other.empty();
  });
  return session.Fail(
      kInUseOrLocked,
      {fmt::format("{} {}", NameOf(product), running ? "does not count as running" : "still runs"),
       other.empty() ? "its version cannot be read" : fmt::format("{} runs, and it is taken for it", other),
       running ? "nothing" : "it is no longer listed as started",
       {},
       running ? "stop that program first: kest machine stop PRODUCT; what runs is in: kest machine show"
               : "end that program",
       0});
}

int SetRunning(Session& session, bool running) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  const CKestProduct* product = session.FindProduct(session.options.arguments.front(), exit);
  if (!product) {
    return exit;
  }
  const CString executable = ExecutableOf(*product);
  if (executable.empty()) {
    return session.Fail(kFailed, {NameOf(*product) + " cannot be started or stopped",
                                  "it has no executable on this machine",
                                  "nothing",
                                  {},
                                  "see what is there: kest machine show",
                                  0});
  }
  if (!session.GetMachine().SetProcessRunning(executable, running)) {
    return session.Fail(kInUseOrLocked, {"machine.ini could not be written",
                                         Shown(session.GetMachine().GetLastError().reason),
                                         "nothing",
                                         {},
                                         "see that the machine folder can be written",
                                         0});
  }
  if (product->IsRunning() != running) {
    return FailToCount(session, *product, executable, running);
  }
  session.terminal.Notice(fmt::format("{} {} on {}.", NameOf(*product),
                                      running ? "counts as running" : "no longer runs", session.GetMachineName()));
  session.document = MachineJson(session);
  return kDone;
}

} // namespace

int RunMachineNew(Session& session) {
  const Options& options = session.options;
  SampleMachine machine;
  machine.folder = AbsolutePath(options.arguments.front());
  machine.products = options.products;
  machine.multiUser = options.multiUser;
  machine.currentUser = options.currentUser;
  machine.codePage = options.codePage;
  if (const auto problem = CheckSample(options, machine)) {
    return session.Fail(kUsage, *problem);
  }
  std::string why;
  if (!MakeSampleMachine(machine, why)) {
    return session.Fail(kFailed, {"no machine was made at " + ForTerminal(machine.folder),
                                  Shown(why),
                                  "nothing",
                                  {},
                                  "name a folder that does not exist yet",
                                  0});
  }
  int exit = kDone;
  if (!session.OpenMachineAt(machine.folder, exit)) {
    return exit;
  }
  session.GetMachine().NoteOwn({});
  session.document = MachineJson(session);
  const std::size_t count = options.products.empty() ? GetSampleProducts().size() : options.products.size();
  session.terminal.Notice(
      fmt::format("Made a machine at {} with {} product{}.", session.GetMachineName(), count, count == 1 ? "" : "s"));
  session.terminal.Notice("Work on it with: kest -m " + session.GetMachineName() + " products");
  return kDone;
}

int RunMachineShow(Session& session) {
  if (!session.options.arguments.empty()) {
    session.options.machine = session.options.arguments.front();
  }
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  session.document = MachineJson(session);
  const Json& json = session.document;
  std::string text = fmt::format("Machine    {}\n", ForTerminal(json["machine"].get<std::string>()));
  for (const Json& user : json["users"]) {
    const std::string name = ForTerminal(user["name"].get<std::string>());
    text += fmt::format("User       {} (type {}){}\n", name, user["type"].get<int>(),
                        user["name"] == json["current_user"] ? ", current" : "");
  }
  text += fmt::format("Users      {}\n",
                      json["multi_user"].get<bool>() ? "have configurations of their own" : "share one configuration");
  text += fmt::format("Code page  {}\n", json["code_page"].get<int>());
  for (const Json& drive : json["drives"]) {
    text += fmt::format("Drive      {} {}\n", drive["drive"].get<std::string>(),
                        ForTerminal(drive["host"].get<std::string>()));
  }
  session.document["products"] = Json::array();
  for (const CKestProduct* product : session.GetProducts()) {
    if (product->IsInstalled()) {
      text += fmt::format("Product    {}{}\n", NameOf(*product), product->IsRunning() ? " (running)" : "");
      session.document["products"].push_back(NameOf(*product));
    }
  }
  for (const Json& process : json["running"]) {
    text += fmt::format("Running    {}\n", ForTerminal(process.get<std::string>()));
  }
  if (!session.options.json) {
    session.terminal.Data(text);
  }
  return kDone;
}

int RunMachineStart(Session& session) { return SetRunning(session, true); }
int RunMachineStop(Session& session) { return SetRunning(session, false); }

int RunMachineUser(Session& session) {
  int exit = kDone;
  if (!session.OpenMachine(exit)) {
    return exit;
  }
  const std::string& name = session.options.arguments.front();
  HostedMachine& machine = session.GetMachine();
  std::string names;
  for (const HostedMachine::User& user : machine.GetUsers()) {
    names += (names.empty() ? "" : ", ") + Shown(user.name);
    if (!text::EqualNoCase(ToUtf8(user.name), name)) {
      continue;
    }
    if (!machine.SetCurrentUser(user.name)) {
      return session.Fail(kInUseOrLocked, {"machine.ini could not be written",
                                           Shown(machine.GetLastError().reason),
                                           "nothing",
                                           {},
                                           "see that the machine folder can be written",
                                           0});
    }
    session.terminal.Notice(fmt::format("{} is the current user of {}.", Shown(user.name), session.GetMachineName()));
    session.document = MachineJson(session);
    return kDone;
  }
  return session.Fail(kNotFoundHere,
                      {fmt::format("there is no user \"{}\" on {}", ForTerminal(name), session.GetMachineName()),
                       "its users are: " + names,
                       "nothing",
                       {},
                       "see: kest machine show",
                       0});
}

} // namespace kest::host
