#include "host/sample/sample_machine.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/machine_folder/machine_folder.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

// Which machine a session works on: a folder that stands for a PC.

namespace kest::host {
namespace {

namespace fs = std::filesystem;

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string DefaultMachine() {
  const std::string data = Environment("XDG_DATA_HOME");
  if (!data.empty() && data.front() == '/') {
    return data + "/kest/pc";
  }
  const std::string home = Environment("HOME");
  return home.empty() ? "" : home + "/.local/share/kest/pc";
}

// "~/pc" for what lies in the user's home.
std::string Short(const std::string& path) {
  const std::string home = Environment("HOME");
  const bool inside = home.size() > 1 && path.size() > home.size() && path.compare(0, home.size(), home) == 0 &&
                      path[home.size()] == '/';
  return ForTerminal(inside ? "~" + path.substr(home.size()) : path);
}

} // namespace

bool Session::OpenMachineAt(const std::string& hostFolder, int& exit) {
  auto machine = std::make_unique<MachineFolder>(hostFolder);
  m_machineName = Short(hostFolder);
  if (document.contains("machine")) {
    document["machine"] = ToUtf8(hostFolder);
  }
  const MachineError unseen = machine->IsUsable() ? MachineError() : machine->GetLastError();
  if (unseen.kind != MachineError::Kind::kNone && unseen.kind != MachineError::Kind::kNotFound) {
    exit = Fail(ExitCodeOf(unseen), {fmt::format("the machine at {} cannot be opened", m_machineName),
                                     Shown(unseen.reason),
                                     "nothing",
                                     {},
                                     "try again, or name another machine with --machine DIR",
                                     0});
    return false;
  }
  if (!machine->IsUsable()) {
    exit = Fail(kNotFoundHere, {fmt::format("there is no machine at {}", m_machineName),
                                "the folder does not exist, or has no drive_c in it",
                                "nothing",
                                {},
                                "make one: kest machine new " + m_machineName,
                                0});
    return false;
  }
  return UseMachine(std::move(machine), exit);
}

bool Session::OpenMachine(int& exit) {
  std::string folder = options.machine.empty() ? Environment("KEST_MACHINE") : options.machine;
  if (!folder.empty()) {
    return OpenMachineAt(Absolute(folder), exit);
  }
  folder = DefaultMachine();
  if (folder.empty()) {
    exit = Fail(kNotFoundHere, {"there is no machine to work on",
                                "neither HOME nor XDG_DATA_HOME is set",
                                "nothing",
                                {},
                                "name one with --machine DIR",
                                0});
    return false;
  }
  std::error_code error;
  if (!fs::exists(folder, error) && Environment("KEST_COMPLETING").empty() && !options.dryRun) {
    SampleMachine sample;
    sample.folder = folder;
    std::string why;
    if (!MakeSampleMachine(sample, why)) {
      exit = Fail(kFailed, {"your machine could not be made at " + Short(folder),
                            why,
                            "nothing",
                            {},
                            "name another with --machine DIR",
                            0});
      return false;
    }
    MachineFolder(folder).NoteOwn({});
    terminal.Notice("Made your own sample machine at " + Short(folder) + ", with all sample products.");
  }
  return OpenMachineAt(folder, exit);
}

bool Session::OpenMachineForFiles(int& exit) {
  std::error_code error;
  const std::string named = options.machine.empty() ? Environment("KEST_MACHINE") : options.machine;
  const std::string folder = named.empty() ? DefaultMachine() : Absolute(named);
  if (!folder.empty() && (!options.machine.empty() || fs::exists(folder, error))) {
    return OpenMachineAt(folder, exit);
  }
  std::string made = (fs::temp_directory_path(error) / "kest-XXXXXX").string();
  if (error || !mkdtemp(made.data()) || !fs::create_directories(made + "/drive_c/windows/temp", error)) {
    exit = Fail(kInUseOrLocked, {"no temporary folder can be made",
                                 error ? error.message() : std::strerror(errno),
                                 "nothing",
                                 {},
                                 "set TMPDIR to a folder that you can write to",
                                 0});
    return false;
  }
  m_temporaryMachine = made;
  return OpenMachineAt(made, exit);
}

} // namespace kest::host
