#pragma once

#include "host/command_table.h"
#include "host/error_report.h"
#include "host/json_output.h"
#include "host/options.h"
#include "host/terminal/console_ui.h"
#include "host/terminal/terminal.h"
#include "manager/extension_manager.h"
#include "manager/preview.h"
#include "platform/machine/hosted_machine.h"
#include "platform/text/windows_names.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kest::host {

/// One run of the program: what was asked for, the terminal, the machine and the engine.
class Session {
public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Options options;
  const CommandSpec* command = nullptr;
  Terminal terminal;
  /// What --json prints; commands fill it. "ok" and "exit" are set at the end.
  Json document;
  LongLists lists; ///< of the document

  /// Opens the machine that the options, the environment or the user's data directory name (there it is made when it
  /// is missing). False: the error has been reported, and `exit` is the code.
  [[nodiscard]] bool OpenMachine(int& exit);
  /// For commands that read and write files of this system alone: the machine that is named, or one in a temporary
  /// folder that goes with the session. `exit` as for OpenMachine.
  [[nodiscard]] bool OpenMachineForFiles(int& exit);
  /// Opens the folder given as the machine.
  [[nodiscard]] bool OpenMachineAt(const std::string& hostFolder, int& exit);
  /// OpenMachine, then the engine with its products; with `load` its catalogue too. Says what was recovered.
  [[nodiscard]] bool OpenEngine(int& exit, bool load = true);
  /// The engine on the machine that is open, without a catalogue.
  void StartEngine();

  [[nodiscard]] HostedMachine& GetMachine() { return *m_machine; }
  [[nodiscard]] HostedMachine* FindMachine() { return m_machine.get(); }
  /// What stands before the machine in a dry run; null in any other.
  [[nodiscard]] OverlayMachine* FindOverlay() { return m_overlay.get(); }
  /// Of a dry run alone.
  [[nodiscard]] PreviewMaker& GetPreviewMaker() { return *m_previews; }
  /// In a dry run: why what it said may not hold, since somebody changed the machine meanwhile; else empty.
  [[nodiscard]] std::string FindInterference();
  [[nodiscard]] bool HasEngine() const { return m_manager != nullptr; }
  [[nodiscard]] CKestExtensionManager& GetManager() { return *m_manager; }
  [[nodiscard]] ConsoleUi& GetUi() { return *m_ui; }
  /// The machine as notices name it.
  [[nodiscard]] const std::string& GetMachineName() const { return m_machineName; }
  [[nodiscard]] std::string GetUserName();
  /// To add to why something was not found: what was closed to the user when the products were looked for; or empty.
  [[nodiscard]] std::string GetClosedPlace();

  /// The products in the order of the engine; borrowed.
  [[nodiscard]] std::vector<CKestProduct*> GetProducts() const;
  /// A product that was found, by name without regard to case. Null: reported, `exit` set.
  [[nodiscard]] const CKestProduct* FindProduct(const std::string& name, int& exit);

  /// Reports an error on the terminal and in the document; returns the code.
  int Fail(ExitCode exit, const ErrorReport& error);
  /// Of the last operation; null before the engine started.
  [[nodiscard]] const OperationReport* FindReport() const {
    const bool isOwn = own.operation != OperationReport::Operation::kNone;
    return isOwn ? &own : m_manager ? &m_manager->GetLastReport() : nullptr;
  }
  OperationReport own; ///< how far a command came that changes the machine without the engine
  [[nodiscard]] const std::optional<ErrorReport>& GetError() const { return m_error; }
  /// Before the next of several operations.
  void ForgetError() { m_error.reset(); }

  /// A Windows path for a file that the user named, whose folder becomes reachable. Empty: its folder is not there.
  [[nodiscard]] CString ReachFile(const std::string& hostFile, bool writable);
  /// A Windows path for a folder that the user typed, as such a path or as a host path inside the machine.
  [[nodiscard]] CString ReadFolder(const std::string& typed);
  /// A sentence about the drive of a Windows path that the machine does not have; empty when it has it.
  [[nodiscard]] std::string MissingDrive(const std::string& windowsPath);

private:
  void TellOfRecovery(const RecoveryReport& report);
  /// What the session works on from now on; in a dry run before it what keeps the changes.
  [[nodiscard]] bool UseMachine(std::unique_ptr<HostedMachine> machine, int& exit);
  [[nodiscard]] bool BeginDryRun(int& exit);

  std::unique_ptr<HostedMachine> m_machine;
  std::unique_ptr<OverlayMachine> m_overlay;
  std::unique_ptr<PreviewMaker> m_previews;
  CString m_stateBefore; ///< of the machine, when a dry run began
  std::unique_ptr<ConsoleUi> m_ui;
  std::unique_ptr<CKestExtensionManager> m_manager;
  std::string m_machineName;
  MachineError m_closed;          ///< what the products could not be looked for in
  std::string m_temporaryMachine; ///< removed at the end; empty: none was made
  std::optional<ErrorReport> m_error;
};

/// A path of this system from its root, without anything superfluous; as given when that cannot be told.
[[nodiscard]] std::string Absolute(const std::string& path);
/// The name of a product, for a user to read.
[[nodiscard]] std::string NameOf(const CKestProduct& product);
/// What a command's JSON document holds before anything is known.
[[nodiscard]] Json EmptyDocument(const CommandSpec& command);

} // namespace kest::host
