#pragma once

#include "platform/machine/machine.h"

#include <utility>

namespace kest {

/// A machine as the program that made it sees it: what is on it in the terms of this system, for a host to show and to
/// reach. Texts and paths of this system are UTF-8 here.
class KEST_API HostedMachine : public Machine {
public:
  /// A user of the machine.
  struct User {
    CString name; ///< also the name of the user's folder
    int type = 1; ///< 2: the user whose configuration is the shared one
  };

  /// Whether there is a machine at all. Everything fails on one that is not usable.
  [[nodiscard]] virtual bool IsUsable() const = 0;
  /// What a host calls it: the folder of a machine folder, the name of this PC.
  [[nodiscard]] virtual CString GetDisplayName() const = 0;
  /// The path on this system that a Windows path stands for (existing components in their stored spelling); empty when
  /// refused.
  [[nodiscard]] virtual CString ToHostPath(const CString& windowsPath) = 0;
  /// Makes a folder of this system reachable, for packages that a user names: returns its Windows path. Nothing is ever
  /// written below one given without `writable`.
  [[nodiscard]] virtual CString AddHostFolder(const CString& hostFolder, bool writable) = 0;
  [[nodiscard]] virtual std::vector<User> GetUsers() = 0; ///< in the machine's order
  [[nodiscard]] virtual CString GetCurrentUser() = 0;     ///< empty when there is none
  /// Makes another user the current one, on a stand-in; a PC refuses.
  [[nodiscard]] virtual bool SetCurrentUser(const CString& name) = 0;
  /// Has an executable count as running, or no longer, on a stand-in; a PC refuses.
  [[nodiscard]] virtual bool SetProcessRunning(const CString& executable, bool running) = 0;
  /// Who has the right to write now, e.g. "process 4711 (kest)"; empty when nobody has, or the system does not tell.
  /// Takes no lock.
  [[nodiscard]] virtual CString GetWriter() const = 0;
  /// Lets what was seen of folders hold for some milliseconds, as it does for whoever has the right to write. For a
  /// reader that tells of one moment and looks afterwards whether another process changed the machine meanwhile.
  virtual void SetBriefTrust(bool trusting) { (void)trusting; }
  [[nodiscard]] virtual std::vector<CString> GetRunningProcesses() = 0;        ///< their executables, as Windows paths
  [[nodiscard]] virtual std::vector<std::pair<char, CString>> GetDrives() = 0; ///< letters with what each stands for
};

} // namespace kest
