#include "platform/machine_folder/machine_folder.h"
#include "platform/machine_folder/machine_folder_state.h"
#include "platform/machine_folder/process_list.h"
#include "platform/text/code_page.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <pwd.h>
#include <thread>
#include <unistd.h>

// Users, processes, registry, fonts, clock: everything of a machine folder that is no file.

namespace kest {
namespace {

using Kind = MachineError::Kind;

constexpr int kDefaultSystem = 5;
constexpr std::string_view kUsersFolder = R"(C:\users\)";
constexpr std::string_view kAppData = R"(\AppData\Roaming)";
constexpr const char* kHostProgram = R"(C:\windows\kest.exe)"; // no blanks: its short form is itself

CString AppDataOf(const CString& user) { return CString(kUsersFolder) + user + CString(kAppData); }

bool IsUserName(const CString& name) {
  CString reason;
  return IsComponentAllowed(name, reason) && name.find_first_of("=\\[];#") == CString::npos &&
         text::Trimmed(name) == name;
}

/// Where a key is read: 32-bit programs of a 64-bit prefix keep theirs in a branch of their own.
CString KeyToRead(RegistryFile& file, RegistryRoot root, const CString& key) {
  constexpr std::string_view kSoftware = R"(Software\)";
  if (root != RegistryRoot::kLocalMachine || !text::StartsWithNoCase(key, kSoftware) || file.HasKey(key)) {
    return key;
  }
  CString other = R"(Software\Wow6432Node\)" + key.substr(kSoftware.size());
  return file.HasKey(other) ? other : key;
}

/// Who runs this program, as a prefix names its user.
CString LoginName() {
  const char* const name = std::getenv("USER");
  if (name != nullptr && *name != '\0') {
    return name;
  }
  const passwd* const entry = getpwuid(geteuid());
  return entry != nullptr ? entry->pw_name : "";
}

} // namespace

// ---- machine.ini
// ------------------------------------------------------------------------------------------------------

std::vector<MachineFolder::User> MachineFolder::GetUsers() {
  std::vector<User> users;
  for (const MachineIni::Entry& entry : m_state->GetIni().GetEntries("users")) {
    if (IsUserName(entry.key)) {
      users.push_back(
          {m_state->GetFolders().AsFound(entry.key), entry.value.empty() ? 1 : std::atoi(entry.value.c_str())});
    }
  }
  // A prefix that nobody has described yet has the users whose folders it holds.
  std::vector<FolderEntry> folders;
  const MachineError keep = m_state->error;
  if (users.empty() && IsYes(ListFolder(R"(C:\users)", folders))) {
    for (const FolderEntry& folder : folders) {
      if (folder.isFolder && !text::EqualNoCase(folder.name, "public") && IsUserName(folder.name)) {
        users.push_back({folder.name, 1});
      }
    }
  }
  m_state->error = keep;
  if (users.empty()) {
    users.push_back({"user", 1});
  }
  return users;
}

CString MachineFolder::GetCurrentUser() {
  const std::vector<User> users = GetUsers();
  const auto written = m_state->GetIni().GetValue("machine", "current-user");
  for (const CString& wanted : {written.value_or(""), LoginName()}) {
    for (const User& user : users) {
      if (text::EqualNoCase(user.name, m_state->GetFolders().AsFound(wanted))) {
        return user.name;
      }
    }
  }
  return users.front().name;
}

std::vector<CString> MachineFolder::GetRunningProcesses() {
  std::vector<CString> processes;
  for (MachineIni::Entry& entry : m_state->GetIni().GetEntries("processes")) {
    processes.push_back(std::move(entry.line));
  }
  return processes;
}

/// The ini file to be changed; a machine that has none gets the one with the remarks.
static MachineIni& IniToChange(MachineFolder::State& state) {
  MachineIni& ini = state.GetIni();
  if (ini.GetText().empty()) {
    ini.SetText(MachineIni::GetTemplate());
    (void)state.GetTrash(); // there from the start, so that no operation has to make it
  }
  return ini;
}

bool MachineFolder::SetUsers(const std::vector<User>& users, const CString& current) {
  std::vector<MachineIni::Entry> entries;
  bool hasCurrent = false;
  for (const User& user : users) {
    const bool isTwice = std::any_of(entries.begin(), entries.end(),
                                     [&](const auto& entry) { return text::EqualNoCase(entry.key, user.name); });
    if (isTwice || !IsUserName(user.name)) {
      return m_state->Fail(Kind::kRefused, user.name, "it is no name for a user, or stands there twice");
    }
    hasCurrent = hasCurrent || text::EqualNoCase(user.name, current);
    entries.push_back({user.name, std::to_string(user.type), {}});
  }
  if (!hasCurrent) {
    return m_state->Fail(Kind::kRefused, current, "there is no such user");
  }
  MachineIni& ini = IniToChange(*m_state);
  ini.SetEntries("users", entries);
  ini.SetValue("machine", "current-user", current);
  return m_state->SaveIni();
}

bool MachineFolder::SetCurrentUser(const CString& name) {
  for (const User& user : GetUsers()) {
    if (text::EqualNoCase(user.name, name)) {
      IniToChange(*m_state).SetValue("machine", "current-user", user.name);
      return m_state->SaveIni();
    }
  }
  return m_state->Fail(Kind::kNotFound, name, "there is no such user");
}

bool MachineFolder::SetMultiUser(bool multiUser) {
  IniToChange(*m_state).SetValue("machine", "multi-user", multiUser ? "yes" : "no");
  m_state->isMultiUser.reset();
  return m_state->SaveIni();
}

bool MachineFolder::SetCodePageNumber(int codePage) {
  if (codePage <= 0 || codePage > 65535) {
    return m_state->Fail(Kind::kRefused, std::to_string(codePage), "it is no code page");
  }
  IniToChange(*m_state).SetValue("machine", "code-page", std::to_string(codePage));
  if (!m_state->SaveIni()) {
    return false;
  }
  m_state->GetFolders().Forget(); // names fold in another way now
  m_state->GetFolders().SetCodePage(codePage);
  m_state->ForgetRegistries();
  return true;
}

bool MachineFolder::SetOperatingSystemVersion(int code) {
  if (code < 0) {
    return m_state->Fail(Kind::kRefused, std::to_string(code), "it is no code of an operating system");
  }
  IniToChange(*m_state).SetValue("machine", "os-version", std::to_string(code));
  return m_state->SaveIni();
}

bool MachineFolder::SetProcessRunning(const CString& executable, bool running) {
  WindowsPath path;
  CString reason;
  if (!ParseWindowsPath(executable, m_state->GetFolders().GetCodePage(), path, reason) || path.parts.empty()) {
    return m_state->Fail(Kind::kRefused, executable, reason.empty() ? CString("it is no program") : reason);
  }
  std::vector<MachineIni::Entry> entries;
  for (CString& process : GetRunningProcesses()) {
    if (!text::EqualNoCase(process, executable)) {
      entries.push_back({std::move(process), {}, {}});
    }
  }
  if (running) {
    entries.push_back({executable, {}, {}});
  }
  IniToChange(*m_state).SetEntries("processes", entries);
  return m_state->SaveIni();
}

std::vector<std::pair<char, CString>> MachineFolder::GetDrives() {
  std::vector<std::pair<char, CString>> drives;
  for (const auto& mount : m_state->GetMounts()) {
    if (mount->isDrive) {
      drives.emplace_back(mount->drive, mount->hostPath);
    }
  }
  std::sort(drives.begin(), drives.end());
  return drives;
}

const std::vector<CString>& MachineFolder::GetStartedPrograms() const { return m_state->startedPrograms; }

const std::vector<CString>& MachineFolder::GetFontResources() const { return m_state->fontResources; }

// ---- known places
// -----------------------------------------------------------------------------------------------------

bool MachineFolder::GetSystemFolder(CString& path) {
  if (const Answer answer = DirectoryExists(R"(C:\windows\system32)"); !IsYes(answer)) {
    return answer == Answer::kNo && m_state->Fail(ENOENT, R"(C:\windows\system32)");
  }
  path = GetStoredPath(R"(C:\windows\system32)");
  return true;
}

bool MachineFolder::GetFontsFolder(CString& path) {
  if (const Answer answer = DirectoryExists(R"(C:\windows\Fonts)"); !IsYes(answer)) {
    return answer == Answer::kNo && m_state->Fail(ENOENT, R"(C:\windows\Fonts)");
  }
  path = GetStoredPath(R"(C:\windows\Fonts)");
  return true;
}

bool MachineFolder::GetTempRoot(CString& path) {
  const CString stored = GetStoredPath(R"(C:\windows\temp)");
  if (!stored.empty()) {
    path = stored;
  }
  return !stored.empty();
}

bool MachineFolder::GetCurrentProcessPath(CString& path) {
  const auto written = m_state->GetIni().GetValue("machine", "host-program");
  path = written && !written->empty() ? *written : kHostProgram;
  return true;
}

// ---- users, system, processes
// -----------------------------------------------------------------------------------------

void MachineFolder::InitMultiUserMembers() { (void)IsSupportedMultiUserSystem(); }

bool MachineFolder::IsSupportedMultiUserSystem() {
  if (!m_state->isMultiUser) {
    const auto written = m_state->GetIni().GetValue("machine", "multi-user");
    m_state->isMultiUser = written && text::IsTruthy(*written);
  }
  return *m_state->isMultiUser;
}

bool MachineFolder::GetCurrentUserType(int& type) {
  const CString current = GetCurrentUser();
  for (const User& user : GetUsers()) {
    if (user.name == current) {
      type = user.type;
      return true;
    }
  }
  return m_state->Fail(Kind::kNotFound, current, "there is no such user");
}

bool MachineFolder::GetSharedAppDataPath(CString& path) {
  path = R"(C:\ProgramData)";
  return true;
}

bool MachineFolder::GetCurrentUserAppDataPath(CString& path) {
  path = AppDataOf(GetCurrentUser());
  return true;
}

bool MachineFolder::GetAppDataPathFor(const CString& user, CString& path) {
  for (const User& known : GetUsers()) {
    if (text::EqualNoCase(known.name, user)) {
      path = AppDataOf(known.name);
      return true;
    }
  }
  return m_state->Fail(Kind::kNotFound, user, "there is no such user");
}

bool MachineFolder::GetAllUserAppDataPaths(std::vector<CString>& paths) {
  paths.clear();
  for (const User& user : GetUsers()) {
    paths.push_back(AppDataOf(user.name));
  }
  return true;
}

bool MachineFolder::ExtractUserName(const CString& path, CString& user) {
  const int codePage = m_state->GetFolders().GetCodePage();
  const CString folded = FoldName(m_state->GetFolders().AsFound(path), codePage);
  for (const User& known : GetUsers()) {
    const CString root = FoldName(AppDataOf(known.name), codePage);
    if (folded.starts_with(root) && (folded.size() == root.size() || folded[root.size()] == '\\')) {
      user = known.name;
      return true;
    }
  }
  return m_state->Fail(Kind::kNotFound, path, "no user's application data lie there");
}

int MachineFolder::GetOperatingSystemVersion() {
  const auto written = m_state->GetIni().GetValue("machine", "os-version");
  return written ? std::atoi(written->c_str()) : kDefaultSystem;
}

void MachineFolder::EnumProcs(const std::function<bool(const CString&)>& callback) {
  std::vector<CString> processes = GetRunningProcesses();
  if (IsPrefixServed(m_state->rootIdentity, m_state->hostFolder)) {
    int code = 0;
    for (CString& word : ListPrefixProcesses(m_state->rootIdentity, m_state->hostFolder, code)) {
      if (word[0] == '/') {
        word = ToWindowsPath(word);
      }
      const bool isKnown = std::any_of(processes.begin(), processes.end(),
                                       [&](const CString& known) { return text::EqualNoCase(known, word); });
      if (!isKnown && IsYes(FileExists(word))) {
        processes.push_back(GetStoredPath(word));
      }
    }
    if (code != 0) {
      (void)m_state->CannotTell(code, "/proc");
    }
  }
  for (const CString& process : processes) {
    if (!callback(process)) {
      return;
    }
  }
}

CString MachineFolder::ToWindowsPath(const CString& hostPath) {
  for (const auto& mount : m_state->GetMounts()) {
    if (mount->isDrive && mount->hostPath != "/" && hostPath.starts_with(mount->hostPath + "/")) {
      return CString{mount->drive, ':'} + m_state->ToWindowsTail(hostPath.substr(mount->hostPath.size()));
    }
  }
  return {};
}

void MachineFolder::WinExec(const CString& commandLine) { m_state->startedPrograms.push_back(commandLine); }

int MachineFolder::GetCodePage() { return m_state->GetCodePage(); }

// ---- registry, fonts
// --------------------------------------------------------------------------------------------------

Answer MachineFolder::RegistryKeyExists(RegistryRoot root, const CString& key) {
  RegistryFile* const file = m_state->GetRegistry(root);
  if (file == nullptr) {
    return Answer::kCannotTell;
  }
  return file->HasKey(KeyToRead(*file, root, key)) ? Answer::kYes : Answer::kNo;
}

Answer MachineFolder::ReadRegistryString(RegistryRoot root, const CString& key, const CString& name, CString& data) {
  RegistryFile* const file = m_state->GetRegistry(root);
  if (file == nullptr) {
    return Answer::kCannotTell;
  }
  if (file->GetValue(KeyToRead(*file, root, key), name, data)) {
    return Answer::kYes;
  }
  (void)m_state->Fail(Kind::kNotFound, RegistryPath(root, key), "there is no such value");
  return Answer::kNo;
}

bool MachineFolder::WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                        const CString& data) {
  RegistryFile* const file = m_state->GetRegistry(root);
  if (file == nullptr) {
    return false;
  }
  if (!file->SetValue(key, name, data, Now().GetSeconds())) {
    return m_state->Fail(Kind::kRefused, RegistryPath(root, key), "the text cannot stand in a registry");
  }
  return m_state->SaveRegistry(root);
}

bool MachineFolder::DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) {
  RegistryFile* const file = m_state->GetRegistry(root);
  return file != nullptr && (!file->DeleteValue(key, name) || m_state->SaveRegistry(root));
}

Answer MachineFolder::EnumRegistryValues(RegistryRoot root, const CString& key, std::vector<RegistryValue>& values) {
  values.clear();
  RegistryFile* const file = m_state->GetRegistry(root);
  if (file == nullptr) {
    return Answer::kCannotTell;
  }
  if (file->GetValues(KeyToRead(*file, root, key), values)) {
    return Answer::kYes;
  }
  (void)m_state->Fail(Kind::kNotFound, RegistryPath(root, key), "there is no such key");
  return Answer::kNo;
}

bool MachineFolder::AddFontResource(const CString& path) {
  if (const Answer answer = FileExists(path); !IsYes(answer)) {
    return answer == Answer::kNo && m_state->Fail(ENOENT, path);
  }
  m_state->fontResources.push_back(path);
  return true;
}

bool MachineFolder::RemoveFontResource(const CString& path) {
  std::vector<CString>& fonts = m_state->fontResources;
  const auto it =
      std::find_if(fonts.begin(), fonts.end(), [&](const CString& f) { return text::EqualNoCase(f, path); });
  if (it == fonts.end()) {
    return m_state->Fail(Kind::kNotFound, path, "the font is not registered");
  }
  fonts.erase(it);
  return true;
}

void MachineFolder::BroadcastFontChange() {}

// ---- clock
// ------------------------------------------------------------------------------------------------------------

CKestDateTime MachineFolder::Now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return CKestDateTime(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

std::int64_t MachineFolder::MonotonicMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

void MachineFolder::AllowBackgroundProcessing() { std::this_thread::sleep_for(std::chrono::milliseconds(5)); }

} // namespace kest
