#pragma once

#include "platform/machine.h"

#include <map>

namespace kest {

/// A folder that stands for a PC, in the shape of a Wine prefix:
///   machine.ini   users and the current one with its type, multi-user or not, code page, operating-system code, the
///                 processes that count as running
///   system.reg    HKEY_LOCAL_MACHINE    user.reg   HKEY_CURRENT_USER   ("WINE REGISTRY Version 2", unknown lines kept)
///   drive_c/      C:\        dosdevices/d: ...  further drives (links), optional
///   trash/        what MoveFileToTrash took
class KEST_API MachineFolder : public Machine {
public:
  explicit MachineFolder(CString hostFolder);
  ~MachineFolder() override;
  MachineFolder(const MachineFolder&) = delete;
  MachineFolder& operator=(const MachineFolder&) = delete;

  /// Whether the folder is there and has a drive_c. Everything fails on one that has not.
  [[nodiscard]] bool IsUsable() const;
  [[nodiscard]] const CString& GetHostFolder() const;

  // ---- host paths
  /// The path on this system that a Windows path stands for (existing components in their stored spelling); empty when
  /// refused.
  [[nodiscard]] CString ToHostPath(const CString& windowsPath);
  /// Makes a folder outside the machine reachable, for packages that a user names: returns its Windows path (on a drive
  /// of its own). Only folders given here are reachable there; nothing is ever written below one given without
  /// `writable`.
  [[nodiscard]] CString AddHostFolder(const CString& hostFolder, bool writable);

  // ---- machine.ini
  struct User {
    CString name;
    int type = 1;
  };
  [[nodiscard]] std::vector<User> GetUsers();
  [[nodiscard]] CString GetCurrentUser();
  [[nodiscard]] std::vector<CString> GetRunningProcesses();
  /// Each writes machine.ini at once. False when it cannot be written or the value makes no sense.
  [[nodiscard]] bool SetUsers(const std::vector<User>& users, const CString& current);
  [[nodiscard]] bool SetCurrentUser(const CString& name);
  [[nodiscard]] bool SetMultiUser(bool multiUser);
  [[nodiscard]] bool SetCodePageNumber(int codePage);
  [[nodiscard]] bool SetOperatingSystemVersion(int code);
  [[nodiscard]] bool SetProcessRunning(const CString& executable, bool running);
  /// Drive letters with the host folder each stands for.
  [[nodiscard]] std::vector<std::pair<char, CString>> GetDrives();
  /// Command lines that WinExec recorded since the machine was opened.
  [[nodiscard]] const std::vector<CString>& GetStartedPrograms() const;
  /// Font files that AddFontResource registered since the machine was opened.
  [[nodiscard]] const std::vector<CString>& GetFontResources() const;

  // every operation of Machine (H1: list the overrides here)

private:
  struct State;
  std::unique_ptr<State> m_state;
};

} // namespace kest
