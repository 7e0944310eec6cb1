#include "platform/machine_folder/machine_folder_state.h"

#include "platform/machine_folder/folder_tree.h"
#include "platform/machine_folder/host_listing.h"
#include "platform/machine_folder/process_list.h"
#include "platform/text/code_page.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <unistd.h>

namespace kest {
namespace {

constexpr int kDefaultCodePage = 1252;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

CString RealPath(const CString& path) {
  char* const real = realpath(path.c_str(), nullptr);
  CString result = real == nullptr ? CString() : CString(real);
  std::free(real);
  return result;
}

} // namespace

// The registries of large machines have some ten megabytes.
constexpr off_t kLargestRootFile = 256 << 20;

MachineFolder::State::State(const CString& folder)
    : m_registries{Registry{"system.reg", RegistryFile(R"(\\Machine)", kDefaultCodePage), false, {}},
                   Registry{"user.reg", RegistryFile(R"(\\User\\S-1-5-21-0-0-0-1000)", kDefaultCodePage), false, {}}} {
  hostFolder = RealPath(folder);
  if (hostFolder.empty()) {
    hostFolder = folder;
  }
  creationMask = umask(0);
  umask(creationMask);
  root = HostDescriptor(open(hostFolder.c_str(), kFolderFlags));
  if (!root.IsOpen()) {
    (void)Fail(errno, hostFolder);
  }
  struct stat info {};
  if (root.IsOpen() && fstat(root.Get(), &info) == 0) {
    rootIdentity = IdentityOf(info);
  }
  m_folders.SetCodePage(GetCodePage());
  OpenMounts();
}

bool MachineFolder::State::Fail(int code, const CString& path) {
  error = DescribeErrno(code, path);
  return false;
}

bool MachineFolder::State::Fail(MachineError::Kind kind, const CString& path, const CString& reason) {
  error = {kind, path, reason};
  return false;
}

bool MachineFolder::State::NoteMiss(MachineError why, bool quiet) {
  m_miss = std::move(why);
  if (!quiet) {
    error = m_miss;
  }
  return false;
}

Answer MachineFolder::State::CannotTell(int code, const CString& path) {
  (void)Fail(code, path);
  return NoteUnanswered();
}

Answer MachineFolder::State::NoteUnanswered() {
  if (unanswered.kind == MachineError::Kind::kNone) {
    unanswered = error;
  }
  return Answer::kCannotTell;
}

Answer MachineFolder::State::AnswerForMiss() {
  using Kind = MachineError::Kind;
  if (m_miss.kind == Kind::kNotFound || m_miss.kind == Kind::kRefused) {
    return Answer::kNo;
  }
  error = m_miss;
  return NoteUnanswered();
}

Answer MachineFolder::State::AnswerForError() {
  m_miss = error;
  return AnswerForMiss();
}

void MachineFolder::State::OpenMounts() {
  int failure = 0;
  const auto add = [&](char drive, const CString& hostPath, bool writable) {
    HostDescriptor descriptor(open(hostPath.c_str(), kFolderFlags));
    failure = descriptor.IsOpen() || errno == ENOENT || errno == ENOTDIR || errno == ELOOP ? failure : errno;
    if (!descriptor.IsOpen() && drive == 'C') {
      (void)Fail(errno, hostPath);
    }
    if (descriptor.IsOpen()) {
      m_mounts.push_back(std::make_unique<FolderMount>(
          FolderMount{drive, {}, RealPath(hostPath), writable, true, std::move(descriptor)}));
    }
  };
  if (root.IsOpen()) {
    add('C', hostFolder + "/drive_c", true);
  }
  const CString devices = hostFolder + "/dosdevices";
  const HostDescriptor folder(root.IsOpen() ? open(devices.c_str(), kFolderFlags) : -1);
  failure = folder.IsOpen() || !root.IsOpen() || errno == ENOENT || errno == ENOTDIR ? failure : errno;
  const int code = !folder.IsOpen() ? 0 : ForEachEntry(folder.Get(), [&](const dirent& entry) {
    const CString name = entry.d_name;
    const char letter = static_cast<char>(text::ToLower(name[0]) - ('a' - 'A'));
    if (name.size() == 2 && name[1] == ':' && letter >= 'A' && letter <= 'Z' && letter != 'C') {
      const CString target = devices + "/" + name;
      add(letter, target, RealPath(target) != "/"); // the whole of this system is there to be read
    }
    return true;
  });
  m_folders.SetMountFailure(code != 0 ? code : failure);
  UseMounts();
}

void MachineFolder::State::UseMounts() {
  std::vector<const FolderMount*> mounts;
  for (const auto& mount : m_mounts) {
    mounts.push_back(mount.get());
  }
  std::stable_sort(mounts.begin(), mounts.end(),
                   [](const FolderMount* a, const FolderMount* b) { return a->parts.size() > b->parts.size(); });
  m_folders.SetMounts(std::move(mounts));
}

CString MachineFolder::State::ToWindowsTail(std::string_view hostPath) const {
  CString tail;
  for (std::size_t begin = 0; begin < hostPath.size();) {
    const std::size_t end = std::min(hostPath.find('/', begin), hostPath.size());
    tail += m_folders.FromDisk(hostPath.substr(begin, end - begin));
    tail += end < hostPath.size() ? "\\" : "";
    begin = end + 1;
  }
  return tail;
}

CString MachineFolder::State::AddMount(const CString& folder, bool writable) {
  const CString real = RealPath(folder);
  HostDescriptor descriptor(real.empty() ? -1 : open(real.c_str(), kFolderFlags));
  if (!descriptor.IsOpen()) {
    (void)Fail(ENOENT, folder);
    return {};
  }
  for (const auto& mount : m_mounts) {
    if (mount->hostPath == real && !mount->isDrive) {
      mount->writable = mount->writable || writable;
      WindowsPath path{mount->drive, {mount->parts.begin(), mount->parts.end()}, false};
      FoundFolder found;
      return m_folders.Find(path, path.parts.size(), found) ? CString() : found.storedPath;
    }
  }
  const auto letterFor = [this](bool mirrors) {
    for (char letter = 'Z'; letter > 'C'; --letter) {
      const bool isFree = std::none_of(m_mounts.begin(), m_mounts.end(), [&](const auto& mount) {
        return mount->drive == letter && !(mirrors && (mount->hostPath == "/" || !mount->parts.empty()));
      });
      if (isFree) {
        return letter;
      }
    }
    return '\0';
  };
  // A drive that mirrors this system serves all such folders; one whose path no Windows path can spell has its own.
  const char mirror = letterFor(true);
  CString text = {mirror, ':'};
  text += ToWindowsTail(real);
  WindowsPath path;
  CString reason;
  const bool canBeSpelled = mirror != '\0' && ParseWindowsPath(text, GetCodePage(), path, reason) &&
                            std::count(real.begin(), real.end(), '/') == static_cast<std::ptrdiff_t>(path.parts.size());
  const char letter = canBeSpelled ? mirror : letterFor(false);
  if (letter == '\0') {
    (void)Fail(MachineError::Kind::kRefused, folder, "no drive letter is free");
    return {};
  }
  FolderMount mount{letter, {}, real, writable, false, std::move(descriptor)};
  for (const std::string_view part : canBeSpelled ? path.parts : std::vector<std::string_view>()) {
    mount.parts.emplace_back(part);
  }
  m_mounts.push_back(std::make_unique<FolderMount>(std::move(mount)));
  UseMounts();
  return canBeSpelled ? text : CString{letter, ':', '\\'};
}

// ---- paths
// ------------------------------------------------------------------------------------------------------------

bool MachineFolder::State::FindFolder(const CString& path, FoundFolder& found, bool quiet) {
  WindowsPath parsed;
  MachineError why{MachineError::Kind::kRefused, path, {}};
  bool isFound = ParseWindowsPath(path, m_folders.GetCodePage(), parsed, why.reason);
  if (isFound) {
    if (auto failure = m_folders.Find(parsed, parsed.parts.size(), found)) {
      why = std::move(*failure);
      why.path = path;
      isFound = false;
    }
  }
  return isFound || NoteMiss(std::move(why), quiet);
}

bool MachineFolder::State::FindEntry(const CString& path, FoundEntry& entry, bool quiet, bool mayEndInBackslash) {
  if (!FindPlace(path, entry, quiet, mayEndInBackslash)) {
    return false;
  }
  const int code = m_folders.FindName(entry.folder, entry.name, entry.stored, entry.info);
  return code == 0 || NoteMiss(DescribeErrno(code, path), quiet);
}

bool MachineFolder::State::FindPlace(const CString& path, FoundEntry& entry, bool quiet, bool mayEndInBackslash) {
  constexpr std::size_t kSurelyShort = 1024;
  std::string_view name;
  CString reason;
  if (path.size() <= kSurelyShort && m_folders.FindFolderOf(path, entry.folder, name) &&
      IsComponentAllowed(name, reason)) {
    entry.path = path;
    entry.name = m_folders.ToDisk(name);
    return true;
  }
  WindowsPath parsed;
  MachineError why{MachineError::Kind::kRefused, path, {}};
  bool isFound = ParseWindowsPath(path, m_folders.GetCodePage(), parsed, why.reason);
  if (isFound && (parsed.parts.empty() || (parsed.endsInBackslash && !mayEndInBackslash))) {
    why.reason = "the path names a folder";
    isFound = false;
  }
  if (isFound) {
    if (auto failure = m_folders.Find(parsed, parsed.parts.size() - 1, entry.folder)) {
      why = std::move(*failure);
      why.path = path;
      isFound = false;
    }
  }
  if (!isFound) {
    return NoteMiss(std::move(why), quiet);
  }
  entry.path = path;
  entry.name = m_folders.ToDisk(parsed.parts.back());
  return true;
}

bool MachineFolder::State::FindExisting(const CString& path, FoundEntry& entry) {
  return FindEntry(path, entry) && (entry.Exists() || Fail(ENOENT, path));
}

bool MachineFolder::State::TryDeepest(const WindowsPath& path, FoundFolder& found, std::size_t& count,
                                      MachineError& why) {
  const FolderMount* const mount = m_folders.FindMount(path, path.parts.size());
  if (mount == nullptr) {
    why.kind = MachineError::Kind::kNotFound;
    why.reason = "there is no such drive, or the folder was not opened";
    return false;
  }
  bool any = false;
  for (std::size_t i = mount->parts.size(); i <= path.parts.size(); ++i) {
    FoundFolder next;
    if (auto failure = m_folders.Find(path, i, next)) {
      if (failure->kind == MachineError::Kind::kNotFound && any) {
        return true;
      }
      why = std::move(*failure); // there, but not to be entered
      return false;
    }
    any = true;
    found = std::move(next);
    count = i;
  }
  return true;
}

bool MachineFolder::State::FindDeepest(const CString& path, WindowsPath& parsed, FoundFolder& found, std::size_t& count,
                                       bool quiet) {
  MachineError why{MachineError::Kind::kRefused, path, {}};
  bool isFound = ParseWindowsPath(path, m_folders.GetCodePage(), parsed, why.reason);
  if (isFound) {
    count = parsed.parts.size();
    const bool isWhole = !m_folders.Find(parsed, count, found);
    const bool isParent = !isWhole && count > 0 && !m_folders.Find(parsed, count - 1, found);
    if (isParent) {
      struct stat info {};
      CString stored;
      const int code = m_folders.FindName(found, m_folders.ToDisk(parsed.parts[count - 1]), stored, info);
      --count;
      if (code != 0) {
        why = DescribeErrno(code, path);
        isFound = false;
      } else if (!stored.empty() && S_ISDIR(info.st_mode)) {
        // a folder after all: it could not be entered a moment ago
        const auto failure = m_folders.Find(parsed, count + 1, found);
        isFound = !failure;
        count += isFound ? 1 : 0;
        why = failure.value_or(why);
        why.path = path;
      } else if (!stored.empty() && S_ISLNK(info.st_mode)) {
        struct stat target {};
        isFound = fstatat(found.Get(), stored.c_str(), &target, 0) != 0 || !S_ISDIR(target.st_mode);
        why.reason = "a link leads out of the drive";
      }
    } else if (!isWhole) {
      isFound = TryDeepest(parsed, found, count, why);
      why.path = path;
    }
  }
  return isFound || NoteMiss(std::move(why), quiet);
}

bool MachineFolder::State::MayChange(const FoundFolder& folder, const CString& path) {
  if (!folder.mount->writable) {
    return Fail(MachineError::Kind::kRefused, path, "the folder was opened for reading alone");
  }
  if ((folder.info.st_mode & 0222) == 0) {
    return Fail(MachineError::Kind::kAccess, path, "the folder is read-only");
  }
  return true;
}

bool MachineFolder::State::MayUserChange(const FoundFolder& folder) {
  const std::int64_t moment = m_folders.GetMoment();
  if (moment != 0 && moment == m_askedOf && m_userMayChange == folder.folder->identity) {
    return true;
  }
  if (faccessat(folder.Get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
    return false;
  }
  if (const int pin = FindFolderPin(folder.Get()); pin != 0) {
    errno = pin;
    return false;
  }
  m_askedOf = moment;
  m_userMayChange = folder.folder->identity;
  return true;
}

bool MachineFolder::State::IsInPrivateFolder(const FoundEntry& entry) {
  const CString& parent = entry.folder.storedPath;
  const CString path = parent + (parent.size() == 3 ? "" : "\\") + m_folders.FromDisk(entry.stored) + '\\';
  return std::any_of(privateFolders.begin(), privateFolders.end(), [&](const CString& one) {
    FoundFolder folder;
    return path.starts_with(one) && FindFolder(one, folder, true) && folder.info.st_uid == geteuid() &&
           (folder.info.st_mode & 07777) == kPrivateMode;
  });
}

bool MachineFolder::State::IsRunning(const FoundEntry& file) {
  const std::int64_t moment = m_folders.GetMoment();
  if (moment == 0 || moment != m_programsOf) {
    m_programs.clear();
    for (const MachineIni::Entry& entry : GetIni().GetEntries("processes")) {
      m_programs.push_back(FoldName(entry.line, m_folders.GetCodePage()));
    }
    m_programsOf = moment;
  }
  if (m_programs.empty()) {
    return false;
  }
  const CString& folder = file.folder.storedPath;
  const CString path = folder + (folder.size() == 3 ? "" : "\\") + m_folders.FromDisk(file.stored);
  return std::find(m_programs.begin(), m_programs.end(), FoldName(path, m_folders.GetCodePage())) != m_programs.end();
}

HostDescriptor MachineFolder::State::OpenFile(const FoundEntry& entry, int flags, struct stat& info) {
  const int all = flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  HostDescriptor file;
  if (entry.IsLink()) {
    file = HostDescriptor(
        OpenBeneath(entry.folder.mount->root.Get(), (entry.folder.relative + "/" + entry.stored).c_str(), all));
  } else {
    file = HostDescriptor(openat(entry.folder.Get(), entry.stored.c_str(), all | O_NOFOLLOW));
  }
  if (!file.IsOpen() || fstat(file.Get(), &info) != 0) {
    (void)Fail(errno, entry.path);
    return {};
  }
  if (!S_ISREG(info.st_mode)) {
    (void)Fail(MachineError::Kind::kRefused, entry.path, "it is no plain file");
    return {};
  }
  return file;
}

HostTarget MachineFolder::State::TargetFor(const FoundEntry& entry) {
  HostTarget target{entry.folder.descriptor, entry.folder.folder->identity, entry.GetTargetName(), entry.path, -1};
  if (entry.Exists() && GetTrash() >= 0 && m_trashIdentity.device == target.folderIdentity.device) {
    target.staging = GetTrash();
  }
  return target;
}

// ---- trash
// ------------------------------------------------------------------------------------------------------------

int MachineFolder::State::GetTrash() {
  struct stat info {};
  if (m_trash.IsOpen() && fstat(m_trash.Get(), &info) == 0 && info.st_nlink > 0) {
    return m_trash.Get();
  }
  if (!root.IsOpen() || (mkdirat(root.Get(), "trash", 0777) != 0 && errno != EEXIST)) {
    return -1;
  }
  m_trash = HostDescriptor(openat(root.Get(), "trash", kFolderFlags | O_NOFOLLOW));
  if (m_trash.IsOpen() && fstat(m_trash.Get(), &info) == 0) {
    m_trashIdentity = IdentityOf(info);
  }
  return m_trash.Get();
}

bool MachineFolder::State::IsTrashUsable() {
  if (!root.IsOpen() || faccessat(root.Get(), "trash", W_OK | X_OK, AT_EACCESS) == 0 || errno == ENOENT) {
    return true;
  }
  const int code = errno;
  (void)Fail(code, hostFolder + "/trash");
  error.reason += "; give this user the right to write in that folder";
  return false;
}

bool MachineFolder::State::MoveToTrash(const FoundEntry& entry, const CString& label) {
  CString reason;
  if (!IsComponentAllowed(label, reason)) {
    return Fail(MachineError::Kind::kRefused, entry.path, reason);
  }
  const int trash = GetTrash();
  if (trash < 0) {
    return Fail(errno, entry.path);
  }
  m_folders.BeginChange(entry.folder);
  m_folders.ForgetChecks();
  CString name = m_folders.ToDisk(label);
  const CString stem = name;
  // Names of the same file moved here before are passed by the clock: no search through what is there.
  for (int tries = 0; tries < 100; ++tries) {
    if (renameat2(entry.folder.Get(), entry.stored.c_str(), trash, name.c_str(), RENAME_NOREPLACE) == 0) {
      m_folders.Removed(entry.folder, entry.stored);
      return true;
    }
    if (errno != EEXIST) {
      break;
    }
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    name = stem + "~" + std::to_string(now.tv_sec) + "." + std::to_string(now.tv_nsec);
  }
  return Fail(errno, entry.path);
}

// ---- state files
// ------------------------------------------------------------------------------------------------------

MachineFolder::State::Mark MachineFolder::State::MarkOf(const char* name) const {
  struct stat info {};
  if (!root.IsOpen() || fstatat(root.Get(), name, &info, 0) != 0) {
    return {};
  }
  return {true, IdentityOf(info), info.st_mtim, info.st_size};
}

int MachineFolder::State::ReadRootFile(const char* name, CString& content) const {
  const HostDescriptor file(openat(root.Get(), name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
  content.clear();
  if (!file.IsOpen()) {
    return errno == ENOENT ? 0 : errno;
  }
  struct stat info {};
  if (fstat(file.Get(), &info) != 0) {
    return errno;
  }
  if (!S_ISREG(info.st_mode)) {
    return EINVAL;
  }
  if (info.st_size > kLargestRootFile) {
    return EFBIG;
  }
  return ReadWhole(file.Get(), content) ? 0 : errno;
}

int MachineFolder::State::WriteRootFile(const char* name, std::string_view content, bool sync) {
  struct stat old {};
  const bool hasOld = fstatat(root.Get(), name, &old, 0) == 0;
  HostTarget target{std::make_shared<HostDescriptor>(dup(root.Get())), rootIdentity, name, name,
                    hasOld ? GetTrash() : -1};
  UnnamedFile file;
  int code = file.Open(target, 0666);
  if (code == 0 && hasOld && fchmod(file.Get(), old.st_mode & 0777) != 0) {
    code = errno;
  }
  if (code == 0 && (!WriteWhole(file.Get(), content) || (sync && fsync(file.Get()) != 0))) {
    code = errno;
  }
  if (code == 0) {
    code = file.Place(target, true);
  }
  file.Drop(target);
  return code == 0 && sync && fsync(root.Get()) != 0 ? errno : code;
}

MachineIni& MachineFolder::State::GetIni() {
  const Mark mark = MarkOf("machine.ini");
  if (!m_iniLoaded || !(mark == m_iniMark)) {
    CString content;
    const int code = root.IsOpen() ? ReadRootFile("machine.ini", content) : 0;
    if (code != 0) {
      (void)CannotTell(code, hostFolder + "/machine.ini");
    }
    m_ini.SetText(content);
    m_iniMark = mark;
    m_iniLoaded = code == 0;
  }
  return m_ini;
}

bool MachineFolder::State::SaveIni() {
  const int code = root.IsOpen() ? WriteRootFile("machine.ini", m_ini.GetText(), false) : ENOENT;
  m_iniLoaded = false;
  return code == 0 || Fail(code, hostFolder + "/machine.ini");
}

int MachineFolder::State::GetCodePage() {
  const auto written = GetIni().GetValue("machine", "code-page");
  const int codePage = written ? std::atoi(written->c_str()) : 0;
  return codePage > 0 ? codePage : kDefaultCodePage;
}

RegistryFile* MachineFolder::State::GetRegistry(RegistryRoot which) {
  Registry& registry = m_registries[which == RegistryRoot::kCurrentUser ? 1 : 0];
  const Mark mark = MarkOf(registry.fileName);
  if (!registry.isLoaded || !(mark == registry.mark)) {
    CString content;
    const int code = root.IsOpen() ? ReadRootFile(registry.fileName, content) : ENOENT;
    if (code != 0) {
      (void)CannotTell(code, hostFolder + "/" + registry.fileName);
      return nullptr;
    }
    registry.file.SetCodePage(m_folders.GetCodePage());
    registry.file.SetText(std::move(content));
    registry.mark = mark;
    registry.isLoaded = true;
  }
  return &registry.file;
}

void MachineFolder::State::ForgetRegistries() {
  for (Registry& registry : m_registries) {
    registry.isLoaded = false;
  }
}

bool MachineFolder::State::SaveRegistry(RegistryRoot which) {
  Registry& registry = m_registries[which == RegistryRoot::kCurrentUser ? 1 : 0];
  registry.isLoaded = false; // what stands on the disk counts, also after a failure
  const CString path = hostFolder + "/" + registry.fileName;
  if (IsPrefixServed(rootIdentity, hostFolder)) {
    return Fail(MachineError::Kind::kInUse, path, "running Windows programs of this machine have its registry open");
  }
  if (registry.file.IsAsNew()) {
    const int code = unlinkat(root.Get(), registry.fileName, 0) == 0 || errno == ENOENT ? 0 : errno;
    return code == 0 || Fail(code, path);
  }
  const int code = WriteRootFile(registry.fileName, registry.file.GetText(), true);
  return code == 0 || Fail(code, path);
}

} // namespace kest
