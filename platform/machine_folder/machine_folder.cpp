#include "platform/machine_folder/machine_folder.h"

#include "platform/machine/version_resource.h"
#include "platform/machine_folder/folder_tree.h"
#include "platform/machine_folder/machine_folder_state.h"
#include "platform/text/code_page.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

// Files of a machine folder. Folders, volumes and locks stand in machine_folder_folders.cpp, everything that is no file
// in machine_folder_system.cpp.

namespace kest {
namespace {

using Kind = MachineError::Kind;

/// Whether two entries are one: the same name in the same folder.
bool IsSameEntry(const FoundEntry& a, const FoundEntry& b) {
  return a.Exists() && b.Exists() && a.stored == b.stored && a.folder.folder->identity == b.folder.folder->identity;
}

/// Whether they are one file under one name, perhaps reached by two ways. Two names of one file are two files.
bool IsOneFile(const FoundEntry& a, const FoundEntry& b) {
  return IsSameEntry(a, b) ||
         (b.Exists() && IdentityOf(a.info) == IdentityOf(b.info) && a.info.st_nlink == 1 && S_ISREG(a.info.st_mode));
}

/// The two ends of a rename, both to be changed.
bool FindPair(MachineFolder::State& state, const CString& from, const CString& to, FoundEntry& source,
              FoundEntry& target) {
  return state.FindExisting(from, source) && state.MayChange(source.folder, from) &&
         (!source.IsFolder() || state.Fail(EISDIR, from)) && state.FindEntry(to, target) &&
         state.MayChange(target.folder, to);
}

/// One rename to `target.name`. On failure errno says why, too.
bool MoveEntry(MachineFolder::State& state, const FoundEntry& source, const FoundEntry& target, unsigned flags) {
  FolderCache& folders = state.GetFolders();
  folders.BeginChange(source.folder);
  folders.BeginChange(target.folder);
  const int from = source.folder.Get();
  const int to = target.folder.Get();
  int result = renameat2(from, source.stored.c_str(), to, target.name.c_str(), flags);
  if (result != 0 && errno == EINVAL && flags != 0) {
    // a file system without renames that refuse: a second name refuses as well
    result = linkat(from, source.stored.c_str(), to, target.name.c_str(), 0);
    if (result == 0 && unlinkat(from, source.stored.c_str(), 0) != 0) {
      result = -1;
      unlinkat(to, target.name.c_str(), 0);
    }
  }
  if (result != 0) {
    const int code = errno;
    (void)state.Fail(code, target.path);
    errno = code;
    return false;
  }
  folders.Removed(source.folder, source.stored);
  folders.Added(target.folder, target.name);
  return true;
}

/// A copy under the target's name, complete before it appears.
bool CopyEntry(MachineFolder::State& state, const FoundEntry& source, const FoundEntry& target, bool mayReplace) {
  struct stat info {};
  const HostDescriptor from = state.OpenFile(source, O_RDONLY, info);
  if (!from.IsOpen()) {
    return false;
  }
  const HostTarget place = state.TargetFor(target);
  UnnamedFile copy;
  int code = copy.Open(place, 0666);
  code = code != 0 ? code : CopyContents(from.Get(), info, copy.Get());
  if (code == 0) {
    state.GetFolders().BeginChange(target.folder);
    code = copy.Place(place, mayReplace);
  }
  copy.Drop(place);
  if (code != 0) {
    return state.Fail(code, target.path);
  }
  state.GetFolders().Added(target.folder, place.name);
  return true;
}

/// The plain way to a path that names a file, as most do: one look.
bool IsPlainFile(MachineFolder::State& state, const CString& path, FoundEntry& file) {
  return state.FindEntry(path, file, true) && file.Exists() && S_ISREG(file.info.st_mode);
}

/// Opens the plain file that bears exactly the name of the entry, as nearly all do: the look for the name is saved. Not
/// open for anything else.
HostDescriptor OpenAsNamed(const FoundEntry& entry, struct stat& info) {
  HostDescriptor file(
      openat(entry.folder.Get(), entry.name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW));
  if (file.IsOpen() && (fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode))) {
    file.Reset();
  }
  return file;
}

std::unique_ptr<MachineFile> OpenToRead(const std::shared_ptr<MachineFolder::State>& state, const CString& path) {
  FoundEntry entry;
  if (!state->FindPlace(path, entry)) {
    (void)state->AnswerForMiss();
    return nullptr;
  }
  struct stat info {};
  HostDescriptor file = OpenAsNamed(entry, info);
  if (!file.IsOpen()) {
    const int code = state->GetFolders().FindName(entry.folder, entry.name, entry.stored, entry.info);
    if (code != 0) {
      (void)state->CannotTell(code, path);
    } else if (entry.Exists() || state->Fail(ENOENT, path)) {
      file = state->OpenFile(entry, O_RDONLY, info);
    }
  }
  if (!file.IsOpen()) {
    (void)state->AnswerForError(); // what is there and cannot be read is an open question
    return nullptr;
  }
  HostTarget target{entry.folder.descriptor, entry.folder.folder->identity, entry.GetTargetName(), path, -1};
  return std::make_unique<HostFile>(state, std::move(file), std::move(target),
                                    static_cast<std::uint64_t>(info.st_size));
}

} // namespace

MachineFolder::MachineFolder(CString hostFolder) : m_state(std::make_shared<State>(hostFolder)) {}

MachineFolder::~MachineFolder() = default;

bool MachineFolder::IsUsable() const {
  const auto& mounts = m_state->GetMounts();
  return !mounts.empty() && mounts.front()->drive == 'C';
}

const CString& MachineFolder::GetHostFolder() const { return m_state->hostFolder; }

CString MachineFolder::ToHostPath(const CString& windowsPath) {
  FoundEntry file;
  if (IsPlainFile(*m_state, windowsPath, file)) {
    const CString& folder = file.folder.mount->hostPath;
    const CString below = file.folder.relative == "." ? file.stored : file.folder.relative + "/" + file.stored;
    return folder + (folder.back() == '/' ? "" : "/") + below;
  }
  WindowsPath parsed;
  FoundFolder found;
  std::size_t count = 0;
  if (!m_state->FindDeepest(windowsPath, parsed, found, count)) {
    return {};
  }
  CString host = found.mount->hostPath;
  if (found.relative != ".") {
    host += (host.back() == '/' ? "" : "/") + found.relative;
  }
  for (std::size_t i = count; i < parsed.parts.size(); ++i) {
    struct stat info {};
    CString stored;
    const CString asked = m_state->GetFolders().ToDisk(parsed.parts[i]);
    if (i == count && m_state->GetFolders().FindName(found, asked, stored, info) != 0) {
      return {};
    }
    host += (host.back() == '/' ? "" : "/") + (stored.empty() ? asked : stored);
  }
  return host;
}

CString MachineFolder::AddHostFolder(const CString& hostFolder, bool writable) {
  return m_state->AddMount(hostFolder, writable);
}

std::uint64_t MachineFolder::GetFolderReads() const { return m_state->GetFolders().GetFolderReads(); }

// ---- looking
// ----------------------------------------------------------------------------------------------------------

Answer MachineFolder::FileExists(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry, true)) {
    return m_state->AnswerForMiss();
  }
  bool isFile = entry.Exists() && (entry.IsLink() || S_ISREG(entry.info.st_mode));
  struct stat target {};
  if (entry.IsLink() && fstatat(entry.folder.Get(), entry.stored.c_str(), &target, 0) == 0) {
    isFile = S_ISREG(target.st_mode);
  }
  return isFile ? Answer::kYes : Answer::kNo;
}

Answer MachineFolder::GetFileSize(const CString& path, std::uint64_t& size) {
  FoundEntry entry;
  struct stat info {};
  if (!m_state->FindExisting(path, entry)) {
    return m_state->AnswerForMiss();
  }
  const HostDescriptor target(entry.IsLink() ? OpenBeneath(entry.folder.mount->root.Get(),
                                                           (entry.folder.relative + "/" + entry.stored).c_str(), O_PATH)
                                             : -1);
  if (target.IsOpen() && fstat(target.Get(), &info) != 0) {
    return m_state->CannotTell(errno, path);
  }
  if (S_ISREG(entry.info.st_mode)) {
    info = entry.info;
  } else if (!S_ISREG(info.st_mode) && !m_state->OpenFile(entry, O_RDONLY, info).IsOpen()) {
    return m_state->AnswerForError();
  }
  size = static_cast<std::uint64_t>(info.st_size);
  return Answer::kYes;
}

Answer MachineFolder::IsFileReadOnly(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry, true)) {
    return m_state->AnswerForMiss();
  }
  return entry.IsReadOnly() ? Answer::kYes : Answer::kNo;
}

bool MachineFolder::SetFileReadOnly(const CString& path, bool readOnly) {
  FoundEntry entry;
  struct stat info {};
  if (!m_state->FindExisting(path, entry)) {
    return false;
  }
  if (!entry.folder.mount->writable) {
    return m_state->Fail(Kind::kRefused, path, "the folder was opened for reading alone");
  }
  const HostDescriptor file = m_state->OpenFile(entry, O_RDONLY, info);
  if (!file.IsOpen()) {
    return false;
  }
  // Who may read may write again, as far as new files let them.
  const mode_t mode = info.st_mode & 07777;
  const mode_t wanted = readOnly ? mode & ~mode_t{0222} : mode | 0200 | (((mode & 0444) >> 1) & ~m_state->creationMask);
  if (mode == wanted || (!readOnly && (mode & 0222) != 0)) {
    return true;
  }
  if (info.st_nlink > 1 && !entry.IsLink()) {
    const int code = m_state->PartFromOtherNames(entry, file.Get(), info, wanted);
    return code == 0 || m_state->Fail(code, path);
  }
  return fchmod(file.Get(), wanted) == 0 || m_state->Fail(errno, path);
}

int MachineFolder::State::PartFromOtherNames(const FoundEntry& entry, int file, const struct stat& info, mode_t mode) {
  const HostTarget target = TargetFor(entry);
  UnnamedFile copy;
  int code = copy.Open(target, 0600);
  code = code != 0 ? code : CopyContents(file, info, copy.Get());
  code = code != 0 ? code : KeepOwner(info, copy.Get());
  if (code == 0 && fchmod(copy.Get(), mode) != 0) {
    code = errno;
  }
  if (code == 0) {
    m_folders.BeginChange(entry.folder);
    code = copy.Place(target, true);
  }
  if (code == 0) {
    m_folders.Added(entry.folder, target.name);
  }
  copy.Drop(target);
  return code;
}

bool MachineFolder::CanUpdateFile(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindPlace(path, entry) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  // one look tells both what it is and what holds it, where it is spelled as it was asked for
  int pin = FindPin(entry.folder.Get(), entry.name.c_str(), &entry.info.st_mode);
  if (entry.info.st_mode != 0) {
    entry.stored = entry.name;
  } else {
    if (!m_state->FindEntry(path, entry)) {
      return false;
    }
    pin = entry.Exists() ? FindPin(entry.folder.Get(), entry.stored.c_str()) : 0;
  }
  if (entry.IsFolder()) {
    return m_state->Fail(EISDIR, path);
  }
  if (!m_state->MayUserChange(entry.folder)) {
    return m_state->Fail(errno, path);
  }
  if (pin != 0) {
    return m_state->Fail(pin, path);
  }
  if (!entry.Exists() || entry.IsLink()) {
    return true; // made, or the link replaced
  }
  if (entry.IsReadOnly()) {
    return m_state->Fail(Kind::kAccess, path, "the file is read-only");
  }
  if (!S_ISREG(entry.info.st_mode)) {
    return m_state->Fail(Kind::kRefused, path, "it is no plain file");
  }
  const HostDescriptor file(
      openat(entry.folder.Get(), entry.stored.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.IsOpen() || flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
    return m_state->Fail(errno, path);
  }
  return !m_state->IsRunning(entry) || m_state->Fail(Kind::kInUse, path, "the program is running");
}

Answer MachineFolder::GetFileDateTime(const CString& path, CKestDateTime& date) {
  FoundEntry entry;
  if (!m_state->FindExisting(path, entry)) {
    return m_state->AnswerForMiss();
  }
  struct stat info = entry.info;
  if (entry.IsLink()) {
    const CString below = entry.folder.relative + "/" + entry.stored;
    const HostDescriptor target(OpenBeneath(entry.folder.mount->root.Get(), below.c_str(), O_PATH));
    if (target.IsOpen() && fstat(target.Get(), &info) != 0) {
      return m_state->CannotTell(errno, path);
    }
  }
  if (S_ISDIR(info.st_mode)) {
    (void)m_state->Fail(EISDIR, path);
    return Answer::kNo;
  }
  date = CKestDateTime(info.st_mtim.tv_sec);
  return Answer::kYes;
}

bool MachineFolder::GetFileStamp(const CString& path, FileStamp& stamp) {
  FoundEntry entry;
  if (!m_state->FindExisting(path, entry)) {
    return false;
  }
  const struct stat& info = entry.info;
  if (!S_ISREG(info.st_mode)) {
    return m_state->Fail(Kind::kRefused, path, "it is no plain file");
  }
  constexpr std::int64_t kSecond = 1000000000;
  const auto nanoseconds = [](const timespec& time) { return std::int64_t{time.tv_sec} * kSecond + time.tv_nsec; };
  // Two changes within one tick of the file system's clock look alike: milliseconds as a rule, two seconds where it
  // counts in seconds.
  const bool isCoarse = info.st_ctim.tv_nsec == 0;
  timespec now{};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0 ||
      nanoseconds(now) - nanoseconds(info.st_ctim) < (isCoarse ? 3 * kSecond : kSecond / 10)) {
    return m_state->Fail(Kind::kOther, path, "it was changed a moment ago");
  }
  stamp = {info.st_ino, static_cast<std::uint64_t>(info.st_size), nanoseconds(info.st_mtim), nanoseconds(info.st_ctim)};
  return true;
}

bool MachineFolder::SetFileDateTime(const CString& path, const CKestDateTime& date) {
  FoundEntry entry;
  if (!m_state->FindExisting(path, entry)) {
    return false;
  }
  if (!entry.folder.mount->writable) {
    return m_state->Fail(Kind::kRefused, path, "the folder was opened for reading alone");
  }
  if (entry.IsFolder()) {
    return m_state->Fail(EISDIR, path);
  }
  const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(date.GetSeconds()), 0}};
  if (entry.IsLink()) {
    struct stat info {};
    const HostDescriptor file = m_state->OpenFile(entry, O_RDONLY, info);
    return file.IsOpen() && (futimens(file.Get(), times) == 0 || m_state->Fail(errno, path));
  }
  return utimensat(entry.folder.Get(), entry.stored.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0 ||
         m_state->Fail(errno, path);
}

Answer MachineFolder::GetFileVersion(const CString& path, CKestVersionNumber& version) {
  FoundEntry entry;
  struct stat info {};
  if (!m_state->FindExisting(path, entry)) {
    return m_state->AnswerForMiss();
  }
  const HostDescriptor file = m_state->OpenFile(entry, O_RDONLY, info);
  if (!file.IsOpen()) {
    return m_state->AnswerForError();
  }
  int failure = 0;
  const ReadBytesAt read = [&](std::uint64_t offset, char* buffer, std::size_t count) {
    const ssize_t got = pread(file.Get(), buffer, count, static_cast<off_t>(offset));
    failure = got < 0 ? errno : failure;
    return got == static_cast<ssize_t>(count);
  };
  if (ReadFileVersion(read, static_cast<std::uint64_t>(info.st_size), version)) {
    return Answer::kYes;
  }
  if (failure != 0) {
    return m_state->CannotTell(failure, path);
  }
  (void)m_state->Fail(Kind::kOther, path, "the file carries no version");
  return Answer::kNo;
}

CString MachineFolder::GetStoredPath(const CString& path) {
  FoundEntry file;
  if (IsPlainFile(*m_state, path, file)) {
    const CString& folder = file.folder.storedPath;
    return folder + (folder.size() == 3 ? "" : "\\") +
           m_state->GetFolders().FromDisk(file.stored); // the last byte may be half a character
  }
  WindowsPath parsed;
  FoundFolder found;
  std::size_t count = 0;
  if (!m_state->FindDeepest(path, parsed, found, count)) {
    return {};
  }
  CString stored = found.storedPath;
  for (std::size_t i = count; i < parsed.parts.size(); ++i) {
    struct stat info {};
    CString name;
    if (i == count) {
      const CString asked = m_state->GetFolders().ToDisk(parsed.parts[i]);
      if (const int code = m_state->GetFolders().FindName(found, asked, name, info); code != 0) {
        (void)m_state->CannotTell(code, path);
        return {};
      }
    }
    stored += (stored.size() == 3 ? "" : "\\") +
              (name.empty() ? CString(parsed.parts[i]) : m_state->GetFolders().FromDisk(name));
  }
  if (parsed.endsInBackslash && !parsed.parts.empty()) {
    stored += '\\';
  }
  return stored;
}

// ---- opening
// ----------------------------------------------------------------------------------------------------------

std::unique_ptr<MachineFile> MachineFolder::Open(const CString& path, OpenMode mode) {
  if (mode == OpenMode::kRead) {
    return OpenToRead(m_state, path);
  }
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry)) {
    return nullptr;
  }
  struct stat info {};
  HostTarget target{entry.folder.descriptor, entry.folder.folder->identity, entry.GetTargetName(), path, -1};
  const bool isBad = !m_state->MayChange(entry.folder, path) || (entry.IsFolder() && !m_state->Fail(EISDIR, path)) ||
                     (entry.IsReadOnly() && !m_state->Fail(Kind::kAccess, path, "the file is read-only")) ||
                     (mode == OpenMode::kCreateNew && entry.Exists() && !m_state->Fail(EEXIST, path));
  if (isBad) {
    return nullptr;
  }
  if (mode == OpenMode::kReplace) {
    UnnamedFile file;
    target = m_state->TargetFor(entry);
    int code = file.Open(target, 0666);
    if (code == 0 && entry.Exists() && S_ISREG(entry.info.st_mode)) {
      code = KeepOwner(entry.info, file.Get());
      if (code == 0 && fchmod(file.Get(), entry.info.st_mode & 0777) != 0) {
        code = errno;
      }
    }
    if (code != 0) {
      file.Drop(target);
      (void)m_state->Fail(code, path);
      return nullptr;
    }
    return std::make_unique<HostFile>(m_state, std::move(file), std::move(target));
  }
  m_state->GetFolders().BeginChange(entry.folder);
  const int flags = mode == OpenMode::kCreateNew ? O_EXCL | O_RDWR : O_APPEND | O_RDWR;
  HostDescriptor file(openat(entry.folder.Get(), target.name.c_str(),
                             flags | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
  const bool isNew = file.IsOpen() && mode == OpenMode::kCreateNew; // what was just made is a plain file
  if (!file.IsOpen() || (!isNew && fstat(file.Get(), &info) != 0)) {
    (void)m_state->Fail(errno, path);
    return nullptr;
  }
  if (!isNew && !S_ISREG(info.st_mode)) {
    (void)m_state->Fail(Kind::kRefused, path, "it is no plain file");
    return nullptr;
  }
  if (!entry.Exists()) {
    m_state->GetFolders().Added(entry.folder, target.name);
  }
  return std::make_unique<HostFile>(m_state, std::move(file), std::move(target), mode);
}

// ---- copying, moving, deleting
// ----------------------------------------------------------------------------------------

bool MachineFolder::CopyFile(const CString& from, const CString& to) {
  FoundEntry source;
  FoundEntry target;
  if (!m_state->FindExisting(from, source) || !m_state->FindEntry(to, target) ||
      !m_state->MayChange(target.folder, to)) {
    return false;
  }
  if (IsOneFile(source, target)) {
    return m_state->Fail(Kind::kRefused, to, "source and destination are the same file");
  }
  if (target.IsFolder()) {
    return m_state->Fail(EISDIR, to);
  }
  if (target.IsReadOnly()) {
    return m_state->Fail(Kind::kAccess, to, "the file is read-only");
  }
  return CopyEntry(*m_state, source, target, true);
}

bool MachineFolder::DeleteFile(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindExisting(path, entry) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  if (entry.IsFolder()) {
    return m_state->Fail(EISDIR, path);
  }
  if (entry.IsReadOnly()) {
    return m_state->Fail(Kind::kAccess, path, "the file is read-only");
  }
  m_state->GetFolders().BeginChange(entry.folder);
  if (unlinkat(entry.folder.Get(), entry.stored.c_str(), 0) != 0) {
    return m_state->Fail(errno, path);
  }
  m_state->GetFolders().Removed(entry.folder, entry.stored);
  return true;
}

bool MachineFolder::MoveFile(const CString& from, const CString& to) {
  FoundEntry source;
  FoundEntry target;
  if (!FindPair(*m_state, from, to, source, target)) {
    return false;
  }
  if (target.Exists() && !IsSameEntry(source, target)) {
    return m_state->Fail(EEXIST, to);
  }
  // The name as given, so that a file can be renamed to another letter case of its own name.
  if (MoveEntry(*m_state, source, target, RENAME_NOREPLACE)) {
    return true;
  }
  if (errno != EXDEV) {
    return false;
  }
  target.stored.clear();
  if (!CopyEntry(*m_state, source, target, false)) {
    return false;
  }
  m_state->GetFolders().BeginChange(source.folder);
  if (unlinkat(source.folder.Get(), source.stored.c_str(), 0) != 0) {
    const int code = errno;
    unlinkat(target.folder.Get(), target.name.c_str(), 0);
    m_state->GetFolders().Removed(target.folder, target.name);
    return m_state->Fail(code, from);
  }
  m_state->GetFolders().Removed(source.folder, source.stored);
  return true;
}

bool MachineFolder::ReplaceFile(const CString& from, const CString& to) {
  FoundEntry source;
  FoundEntry target;
  if (!FindPair(*m_state, from, to, source, target)) {
    return false;
  }
  if (target.IsFolder()) {
    return m_state->Fail(EISDIR, to);
  }
  const bool isSecondName =
      target.Exists() && !IsSameEntry(source, target) && IdentityOf(source.info) == IdentityOf(target.info);
  if (isSecondName) {
    // the system leaves both names of one file alone; the one moved has to go all the same
    m_state->GetFolders().BeginChange(source.folder);
    if (unlinkat(source.folder.Get(), source.stored.c_str(), 0) != 0) {
      return m_state->Fail(errno, from);
    }
    m_state->GetFolders().Removed(source.folder, source.stored);
    return true;
  }
  if (target.Exists() && !IsSameEntry(source, target)) {
    target.name = target.stored;
  }
  return MoveEntry(*m_state, source, target, 0);
}

bool MachineFolder::LinkFile(const CString& existing, const CString& to) {
  FoundEntry source;
  FoundEntry target;
  if (!m_state->FindExisting(existing, source) || !m_state->FindEntry(to, target) ||
      !m_state->MayChange(target.folder, to)) {
    return false;
  }
  if (source.IsFolder() || !source.folder.mount->writable) {
    return m_state->Fail(source.IsFolder() ? EISDIR : EACCES, existing);
  }
  if (target.Exists()) {
    return m_state->Fail(EEXIST, to);
  }
  m_state->GetFolders().BeginChange(target.folder);
  if (linkat(source.folder.Get(), source.stored.c_str(), target.folder.Get(), target.name.c_str(), 0) != 0) {
    return m_state->Fail(errno, to);
  }
  m_state->GetFolders().Added(target.folder, target.name);
  return true;
}

Answer MachineFolder::IsSameFile(const CString& a, const CString& b) {
  FoundEntry first;
  FoundEntry second;
  if (!m_state->FindEntry(a, first, true) || !m_state->FindEntry(b, second, true)) {
    return m_state->AnswerForMiss();
  }
  const bool areFiles = first.Exists() && second.Exists() && !first.IsFolder();
  return areFiles && IdentityOf(first.info) == IdentityOf(second.info) ? Answer::kYes : Answer::kNo;
}

bool MachineFolder::MoveFileToTrash(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindExisting(path, entry) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  return entry.IsFolder() ? m_state->Fail(EISDIR, path)
                          : m_state->MoveToTrash(entry, m_state->GetFolders().FromDisk(entry.stored));
}

MachineError MachineFolder::GetLastError() { return m_state->error; }

void MachineFolder::ClearLastError() { m_state->error = {}; }

MachineError MachineFolder::GetUnanswered() { return m_state->unanswered; }

void MachineFolder::ForgetUnanswered() { m_state->unanswered = {}; }

} // namespace kest
