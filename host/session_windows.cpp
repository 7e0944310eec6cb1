#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/windows/windows_machine.h"

#include <cstdlib>

// Which machine a session works on: this PC.

namespace kest::host {

bool Session::OpenMachineAt(const std::string& hostFolder, int& exit) {
  exit = Fail(kUsage, {"this program works on the PC that it runs on",
                       "a machine folder stands for a PC on other systems: " + ForTerminal(hostFolder),
                       "nothing",
                       {},
                       "leave out --machine, and unset KEST_MACHINE",
                       0});
  return false;
}

bool Session::OpenMachine(int& exit) {
  const char* const variable = std::getenv("KEST_MACHINE");
  const std::string named = !options.machine.empty() ? options.machine : variable != nullptr ? variable : "";
  if (!named.empty()) {
    return OpenMachineAt(named, exit);
  }
  auto machine = std::make_unique<WindowsMachine>();
  m_machineName = ForTerminal(machine->GetDisplayName());
  if (document.contains("machine")) {
    document["machine"] = ToUtf8(machine->GetDisplayName());
  }
  return UseMachine(std::move(machine), exit);
}

bool Session::OpenMachineForFiles(int& exit) { return OpenMachine(exit); }

} // namespace kest::host
