#include "platform/machine_folder/machine_folder.h"
#include "platform/machine_folder/machine_folder_state.h"
#include "platform/machine_folder/process_list.h"

#include <unistd.h>

// Whose a machine folder is, what lies in it, and who is at work in it.

namespace kest {

PrivateFolder MachineFolder::LookAtPrivateFolder(const CString& path) {
  FoundFolder folder;
  struct stat info {};
  if (!m_state->FindFolder(path, folder, true) || fstat(folder.Get(), &info) != 0 || info.st_uid != geteuid() ||
      (info.st_mode & 0777) != (kPrivateMode & 0777)) {
    return PrivateFolder::kNo;
  }
  return (info.st_mode & 07777) == kPrivateMode ? PrivateFolder::kYes : PrivateFolder::kUnmarked;
}

// Every operation makes a private folder in the temporary folder, and removes it at its end.
ChangeMark MachineFolder::GetChangeMark() {
  ChangeMark mark;
  CString temp;
  FoundFolder folder;
  struct stat info {};
  if (GetTempRoot(temp) && m_state->FindFolder(temp, folder, true) && fstat(folder.Get(), &info) == 0) {
    mark.state = std::to_string(info.st_mtim.tv_sec) + '.' + std::to_string(info.st_mtim.tv_nsec);
  }
  mark.isChanging = m_state->lockCount == 0 && !FindLockHolder(m_state->rootIdentity).empty();
  return mark;
}

bool MachineFolder::HoldsDriveOf(const CString& path) {
  WindowsPath parsed;
  CString reason;
  if (!ParseWindowsPath(path, m_state->GetFolders().GetCodePage(), parsed, reason)) {
    return false;
  }
  const FolderMount* const mount = m_state->GetFolders().FindMount(parsed, parsed.parts.size());
  return mount != nullptr && mount->isDrive && mount->hostPath.starts_with(m_state->hostFolder + '/');
}

bool MachineFolder::IsOwn() {
  // the user's own PC needs no list
  struct stat info {};
  const CString data = KnownMachines::GetDataFolder();
  const bool isDefault =
      !data.empty() && stat((data + "/pc").c_str(), &info) == 0 && IdentityOf(info) == m_state->rootIdentity;
  return isDefault || m_state->GetKnown().IsKnown();
}

void MachineFolder::NoteOwn(const std::vector<CString>& places) {
  KnownMachines& known = m_state->GetKnown();
  bool isNew = !known.IsKnown();
  for (const CString& place : places) {
    isNew = isNew || !known.HasPlace(place);
  }
  if (isNew) {
    known.Note(places);
  }
}

bool MachineFolder::IsNotedPlace(const CString& path) { return m_state->GetKnown().HasPlace(path); }

KnownMachines& MachineFolder::State::GetKnown() {
  if (!m_known) {
    struct stat info {};
    const bool isThere = root.IsOpen() && fstatat(root.Get(), "drive_c", &info, 0) == 0;
    m_known.emplace(KnownMachines::Identity{isThere ? IdentityOf(info) : HostIdentity(), hostFolder});
  }
  return *m_known;
}

} // namespace kest
