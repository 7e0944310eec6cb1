#include "platform/machine/shared_lock.h"
#include "platform/machine_folder/host_listing.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/machine_folder/machine_folder_state.h"
#include "platform/machine_folder/process_list.h"

// Whose a machine folder is, what lies in it, and who is at work in it.

namespace kest {

namespace {

/// What becomes of the same access list in a prefix: Wine gives the group what it gives the owner, and takes away what
/// its umask does.
constexpr mode_t kPrivateModeUnderWine = 0750;
constexpr mode_t kOthersMayWrite = 0022;

/// Whether a folder, and all below it, is the user's, and nobody else may write there.
bool IsWrittenByUserAlone(int folder) {
  struct stat info {};
  if (fstat(folder, &info) != 0 || info.st_uid != geteuid() || (info.st_mode & kOthersMayWrite) != 0) {
    return false;
  }
  bool isAlone = true;
  const int code = ForEachEntry(folder, [&](const dirent& entry) {
    isAlone = fstatat(folder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && info.st_uid == geteuid() &&
              (S_ISREG(info.st_mode) || S_ISDIR(info.st_mode)) && (info.st_mode & kOthersMayWrite) == 0;
    if (isAlone && S_ISDIR(info.st_mode)) {
      const HostDescriptor below(openat(folder, entry.d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
      isAlone = below.IsOpen() && IsWrittenByUserAlone(below.Get());
    }
    return isAlone;
  });
  return code == 0 && isAlone;
}

} // namespace

PrivateFolder MachineFolder::LookAtPrivateFolder(const CString& path) {
  FoundFolder folder;
  struct stat info {};
  if (!m_state->FindFolder(path, folder, true) || fstat(folder.Get(), &info) != 0 || info.st_uid != geteuid()) {
    return PrivateFolder::kNo;
  }
  if ((info.st_mode & 07777) == kPrivateMode) {
    return PrivateFolder::kYes;
  }
  if ((info.st_mode & 07777) == kPrivateModeUnderWine && m_state->IsPrefix()) {
    // a Windows program cannot leave the mark; what it did leave tells, since nobody else can have written it
    return IsWrittenByUserAlone(folder.Get()) ? PrivateFolder::kYes : PrivateFolder::kNo;
  }
  return (info.st_mode & 0777) == (kPrivateMode & 0777) ? PrivateFolder::kUnmarked : PrivateFolder::kNo;
}

bool MachineFolder::State::IsPrefix() const {
  // the name of its server's folder, or the date of what Wine put there
  struct stat info {};
  return root.IsOpen() && fstatat(root.Get(), ".update-timestamp", &info, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISREG(info.st_mode) && info.st_uid == geteuid();
}

int MachineFolder::State::LockPrefix(int command, HostDescriptor& held) {
  FoundEntry file;
  if (!FindEntry(shared_lock::kFile, file, true)) {
    return AnswerForMiss() == Answer::kNo ? 0 : EIO;
  }
  if (!file.Exists()) {
    return 0; // no Windows program runs where there is not even that
  }
  held = HostDescriptor(openat(file.folder.Get(), file.stored.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct flock range {};
  range.l_type = F_RDLCK; // among machine folders the other lock decides
  range.l_whence = SEEK_SET;
  range.l_start = shared_lock::kAt;
  range.l_len = 1;
  int code = !held.IsOpen() ? errno : fcntl(held.Get(), command, &range) != 0 ? errno : 0;
  if (held.IsOpen() && (code == EACCES || (command == F_OFD_GETLK && range.l_type != F_UNLCK))) {
    code = EWOULDBLOCK;
  }
  if (code != 0) {
    held.Reset();
  }
  return code;
}

CString MachineFolder::State::FindWindowsWriter() {
  HostDescriptor file;
  return LockPrefix(F_OFD_GETLK, file) == EWOULDBLOCK ? CString("a Windows program") : CString();
}

CString MachineFolder::GetWriter() const {
  const CString holder = FindLockHolder(m_state->rootIdentity);
  return holder.empty() ? m_state->FindWindowsWriter() : holder;
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
  mark.isChanging = m_state->lockCount == 0 && !GetWriter().empty();
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
