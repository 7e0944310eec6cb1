#pragma once

#include "platform/machine/forwarding_machine.h"
#include "platform/machine_folder/machine_folder.h"
#include "support/kest_fixture.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace kest::test {

/// What befalls the n-th call, counted from the moment it is armed.
enum class Fault {
  kNone,         ///< calls are only counted
  kFailsOnce,    ///< that call fails
  kFailsForGood, ///< it and all after it fail
  kDiskFull,     ///< from it on, whatever needs room on the disk fails
  kKill,         ///< the process is killed before it; of changing calls the n-th
};

/// A machine to which it happens.
class FaultMachine : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  void arm(Fault fault, int n) {
    m_fault = fault;
    m_n = n;
    m_calls = 0;
    m_armed = true;
    m_hasRoom = false;
    m_name.clear();
  }
  void disarm() { m_armed = false; }
  /// Calls since it was armed; of changing ones when the fault is a kill.
  [[nodiscard]] int calls() const { return m_calls; }
  /// The call that it began with, for messages.
  [[nodiscard]] const std::string& name() const { return m_name; }

  /// A folder that lies on a volume of its own from now on, in every machine of this kind.
  static void setOtherVolume(const CString& folder) { s_otherVolume = folder; }
  bool SameVolume(const CString& a, const CString& b) override;
  bool MoveFile(const CString& from, const CString& to) override;
  bool ReplaceFile(const CString& from, const CString& to) override;
  bool LinkFile(const CString& existing, const CString& to) override;
  bool MoveEmptyFolder(const CString& from, const CString& to) override;
  bool MoveFolder(const CString& from, const CString& to) override;
  bool MoveFileToTrash(const CString& path) override;
  bool MoveFolderToTrash(const CString& path, const CString& label) override;

protected:
  bool Allow(const Call& call) override;
  MachineError Refusal(const Call& call) override;

private:
  Fault m_fault = Fault::kNone;
  int m_n = 0;
  int m_calls = 0;
  bool m_armed = false;
  bool m_hasRoom = false;
  std::string m_name;
  static CString s_otherVolume;
};

/// A process's engine over a machine folder: from its start on, as a host has it. Its host says yes to everything, but
/// never waits for a file in use. What comes before the start may be done on an armed machine.
class EngineRun : public ManagerRun {
public:
  explicit EngineRun(const std::filesystem::path& root);
  ~EngineRun();
  EngineRun(const EngineRun&) = delete;
  EngineRun& operator=(const EngineRun&) = delete;

  [[nodiscard]] FaultMachine& machine() { return m_faults; }
  /// Files of enabled extensions that are missing on the machine, one a line.
  [[nodiscard]] std::string missingFiles();

private:
  MachineFolder m_folder;
  FaultMachine m_faults;
};

/// One of the operations that has to be done as a whole: how its machine is made, once, and how it is run.
struct TriedOperation {
  std::string name;
  std::function<void(EngineRun&)> prepare; ///< on the sample machine
  std::function<bool(EngineRun&)> run;     ///< true when it said that it succeeded
};

/// Install, install over an older one, install that disables another, uninstall, disable, enable, import, repair, the
/// undo of each of these, pack; of
/// extensions of `files` files with changes to every kind of configuration file.
[[nodiscard]] std::vector<TriedOperation> GetTriedOperations(int files);
/// Throws with what the engine told, when it did not.
void MustSucceed(bool done, const EngineRun& engine, const std::string& what);
/// Writes the files of an extension into C:\Work\<its name> and packs them as <its name>-<version>.kep in C:\Work.
[[nodiscard]] std::string PackOnMachine(EngineRun& engine, const ExtensionBuilder& extension,
                                        const std::string& version);
/// The extension that the operations work on.
[[nodiscard]] ExtensionBuilder MakeToolExtension(const std::string& version, int files);

} // namespace kest::test
