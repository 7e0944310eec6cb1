#include "host/session.h"

#include "host/terminal/text_width.h"
#include "platform/machine/os.h"
#include "platform/text/utf8.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace kest::host {
namespace {

namespace fs = std::filesystem;

/// Documents of commands that change the machine.
constexpr std::string_view kChangingSchemas[] = {"result", "results"};

} // namespace

std::string Absolute(const std::string& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  std::string text = error ? path : absolute.lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') {
    text.pop_back();
  }
  return text;
}

Session::Session() = default;

Session::~Session() {
  Terminal::SetInterruptible(nullptr);
  try {
    m_manager.reset();
    CKestOS::SetMachine(nullptr);
    m_previews.reset();
    m_overlay.reset();
    m_machine.reset();
    if (!m_temporaryMachine.empty()) {
      std::error_code error;
      fs::remove_all(m_temporaryMachine, error);
    }
  } catch (const std::exception&) {
    return; // what is left in temporary folders goes with the next start
  }
}

int Session::Fail(ExitCode exit, const ErrorReport& error) {
  m_error = error;
  for (std::string* text : {&m_error->what, &m_error->why, &m_error->changed, &m_error->next}) {
    *text = terminal.GetTypedPaths().In(std::move(*text));
  }
  for (std::string& left : m_error->left) {
    left = terminal.GetTypedPaths().In(std::move(left));
  }
  if (options.dryRun) {
    text::ReplaceAll(m_error->what, " was not ", " would not be ");
  }
  PrintError(terminal, *m_error);
  return exit;
}

bool Session::UseMachine(std::unique_ptr<HostedMachine> machine, int& exit) {
  m_machine = std::move(machine);
  CKestOS::SetMachine(m_machine.get());
  return !options.dryRun || BeginDryRun(exit);
}

bool Session::BeginDryRun(int& exit) {
  m_stateBefore = m_machine->GetChangeMark().state;
  const std::string writer = Shown(m_machine->GetWriter());
  if (!writer.empty()) {
    exit = Fail(kInUseOrLocked, {"it cannot be told what would happen",
                                 "the machine is being changed by " + writer,
                                 "nothing",
                                 {},
                                 "try again when it has finished",
                                 0});
    return false;
  }
  m_machine->SetBriefTrust(true); // FindInterference tells when it was in vain
  m_overlay = std::make_unique<OverlayMachine>(*m_machine);
  m_previews = std::make_unique<PreviewMaker>(*m_overlay);
  CKestOS::SetMachine(m_overlay.get());
  return true;
}

std::string Session::FindInterference() {
  const std::string writer = Shown(m_machine->GetWriter());
  if (!writer.empty()) {
    return "the machine is being changed by " + writer;
  }
  return m_machine->GetChangeMark().state != m_stateBefore ? "another process changed the machine meanwhile" : "";
}

bool Session::OpenEngine(int& exit, bool load) {
  if (!OpenMachine(exit)) {
    return false;
  }
  StartEngine();
  if (load) {
    m_manager->Load();
    if (!m_manager->IsSettled()) {
      terminal.Say(terminal.Paint(Style::kWarning, "notice:") +
                   " another program is changing this machine; what is told may be of a moment in between");
    }
  }
  const MachineError& unread = m_manager->GetUnread();
  if (unread.kind == MachineError::Kind::kNone) {
    return true;
  }
  const std::string why = Shown(unread.path) + ": " + Shown(unread.reason);
  if (!load || !command ||
      std::none_of(std::begin(kChangingSchemas), std::end(kChangingSchemas),
                   [&](std::string_view schema) { return schema == command->schema; })) {
    terminal.Say(terminal.Paint(Style::kWarning, "warning:") +
                 " not all that is installed could be read; what follows may lack some of it: " + why);
    return true;
  }
  exit = Fail(ExitCodeOf(unread),
              {"what is installed on " + m_machineName + " could not all be read", why, "nothing", {}, "try again", 0});
  return false;
}

void Session::StartEngine() {
  m_ui = std::make_unique<ConsoleUi>(terminal, options);
  m_ui->SetFolderReader([this](const std::string& typed) { return ReadFolder(typed); },
                        [this](const std::string& folder) { return MissingDrive(folder); });
  m_manager = std::make_unique<CKestExtensionManager>(m_ui.get());
  Terminal::SetInterruptible(m_manager.get());
  if (options.wait >= 0) {
    m_manager->SetLockWait(std::int64_t{options.wait} * 1000);
    m_manager->SetFileWait(std::min<std::int64_t>(10000, std::int64_t{options.wait} * 1000));
  }
  m_manager->Init();
  m_closed = m_machine->GetUnanswered();
  if (command == nullptr || std::string_view(command->name) != "recover") {
    TellOfRecovery(m_manager->GetRecoveryReport());
  }
}

void Session::TellOfRecovery(const RecoveryReport& report) {
  if (options.dryRun) {
    return; // the preview says so
  }
  for (const RecoveryReport::Entry& entry : report.entries) {
    std::string told = fmt::format("an operation had been interrupted ({}); ", Shown(entry.operation));
    if (!entry.refused.empty()) {
      told = fmt::format("{} was left alone, since {}", Shown(entry.leftovers.front().path), Shown(entry.refused));
    } else if (report.isForeign) {
      told += "nothing was taken back, since you never changed anything in this machine before, see: kest recover";
    } else {
      told += !entry.leftovers.empty() ? "taking it back is incomplete, see: kest recover"
              : entry.finished         ? "its clean-up was completed"
                                       : "it was taken back";
    }
    terminal.Say(terminal.Paint(Style::kWarning, "notice:") + " " + told);
  }
}

std::string Session::GetUserName() { return Shown(m_machine->GetCurrentUser()); }

std::vector<CKestProduct*> Session::GetProducts() const {
  std::vector<CKestProduct*> products;
  const std::unique_ptr<CKestTypedIterator<CKestProduct*>> walk(m_manager->CreateProductIterator());
  while (walk->HasNext()) {
    products.push_back(walk->Next());
  }
  return products;
}

const CKestProduct* Session::FindProduct(const std::string& name, int& exit) {
  std::string found;
  for (const CKestProduct* product : GetProducts()) {
    if (!product->IsInstalled()) {
      continue;
    }
    if (text::EqualNoCase(NameOf(*product), name)) {
      return product;
    }
    found += (found.empty() ? "" : ", ") + NameOf(*product);
  }
  const std::string closed = GetClosedPlace();
  exit = Fail(closed.empty() ? kNotFoundHere : kInUseOrLocked,
              {fmt::format("there is no product \"{}\" on {}", ForTerminal(name), m_machineName),
               (found.empty() ? "no product was found there" : "these were found: " + found) + closed,
               "nothing",
               {},
               "see: kest products --all",
               0});
  return nullptr;
}

std::string Session::GetClosedPlace() {
  return m_closed.kind != MachineError::Kind::kAccess
             ? ""
             : fmt::format("; what is closed to user {} is not seen: {}: {}", GetUserName(), Shown(m_closed.path),
                           Shown(m_closed.reason));
}

CString Session::ReachFile(const std::string& hostFile, bool writable) {
  const fs::path path(Absolute(hostFile));
  const CString folder = m_machine->AddHostFolder(path.parent_path().string(), writable);
  if (folder.empty() || path.filename().empty()) {
    return {};
  }
  terminal.GetTypedPaths().Add(Shown(folder), ForTerminal(fs::path(hostFile).parent_path().string()));
  CKestPath windows(folder);
  windows.Append(text::FromUtf8(path.filename().string()));
  return windows;
}

std::string Session::MissingDrive(const std::string& windowsPath) {
  if (windowsPath.size() < 2 || windowsPath[1] != ':') {
    return "";
  }
  const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(windowsPath[0])));
  const auto drives = m_machine->GetDrives();
  const bool isThere = std::any_of(drives.begin(), drives.end(), [letter](const auto& drive) {
    return std::toupper(static_cast<unsigned char>(drive.first)) == letter;
  });
  return isThere ? "" : std::string("There is no drive ") + letter + ":";
}

CString Session::ReadFolder(const std::string& typed) {
  const bool windows = typed.size() >= 3 && std::isalpha(static_cast<unsigned char>(typed[0])) && typed[1] == ':' &&
                       (typed[2] == '\\' || typed[2] == '/');
  if (windows) {
    CString path = typed;
    text::ReplaceAll(path, "/", "\\");
    return CKestPath::HasParentComponent(path) || !MissingDrive(path).empty() ? CString() : path;
  }
  const std::string wanted = Absolute(typed);
  for (const auto& [letter, folder] : m_machine->GetDrives()) {
    std::error_code error;
    const std::string root = fs::weakly_canonical(folder, error).string();
    const std::string inside = fs::weakly_canonical(wanted, error).string();
    if (!error && (inside == root || inside.compare(0, root.size() + 1, root + "/") == 0)) {
      CString path = CString(1, letter) + ":" + inside.substr(root.size());
      text::ReplaceAll(path, "/", "\\");
      return path.size() == 2 ? path + "\\" : path;
    }
  }
  return {};
}

std::string NameOf(const CKestProduct& product) {
  CString name;
  product.GetName(name);
  return Shown(name);
}

Json EmptyDocument(const CommandSpec& command) {
  const std::string schema = command.schema;
  Json document = MakeDocument(command.schema, true);
  if (schema == "result") {
    document["exit"] = 0;
    document["operation"] = command.name;
    for (const char* key : {"extension", "product", "replaced"}) {
      document[key] = nullptr;
    }
    document["restart"] = "none";
    for (const char* key : {"messages", "changed", "registry", "kept"}) {
      document[key] = Json::array();
    }
    document["rolled_back"] = true;
    document["left"] = Json::array();
    return document;
  }
  if (schema == "check") {
    document["file"] = nullptr;
    document["code"] = nullptr;
    document["problems"] = Json::array();
    return document;
  }
  if (schema == "help" || schema == "completion") {
    document["text"] = nullptr;
    return document;
  }
  document["machine"] = nullptr;
  constexpr std::pair<std::string_view, const char*> kLists[] = {
      {"products", "products"}, {"list", "extensions"},    {"pack", "entries"},       {"history", "operations"},
      {"trash", "entries"},     {"verify", "extensions"},  {"verify", "lost"},        {"owns", "owners"},
      {"results", "results"},   {"logon", "replacements"}, {"recover", "operations"},
  };
  for (const auto& [name, list] : kLists) {
    if (schema == name) {
      document[list] = Json::array();
    }
  }
  if (schema == "info") {
    document.erase("machine");
    document["extension"] = nullptr;
  }
  return document;
}

} // namespace kest::host
