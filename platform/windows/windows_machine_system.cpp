#include "platform/windows/windows_machine_state.h"

#include "platform/text/code_page.h"
#include "platform/text/path.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include <lmcons.h>
#include <shlobj.h>
#include <tlhelp32.h>

#include "platform/text/windows_names.h"

// Users, processes, registry, fonts, clock: everything of this PC that is no file.

namespace kest {
namespace {

using Kind = MachineError::Kind;

constexpr const wchar_t* kProfiles = LR"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\ProfileList)";
constexpr std::wstring_view kAppData = LR"(\AppData\Roaming)";
constexpr std::size_t kLongestValue = 1U << 20;

/// A key of the registry, closed with its owner.
class RegistryKey {
public:
  RegistryKey() = default;
  ~RegistryKey() {
    if (m_key != nullptr) {
      RegCloseKey(m_key);
    }
  }
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;
  [[nodiscard]] LSTATUS Open(HKEY root, const std::wstring& key, REGSAM access) {
    return RegOpenKeyExW(root, key.c_str(), 0, access, &m_key);
  }
  /// `isNew`: it was not there.
  [[nodiscard]] LSTATUS Create(HKEY root, const std::wstring& key, bool& isNew) {
    DWORD made = 0;
    const LSTATUS code = RegCreateKeyExW(root, key.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE | KEY_WOW64_64KEY,
                                         nullptr, &m_key, &made);
    isNew = code == ERROR_SUCCESS && made == REG_CREATED_NEW_KEY;
    return code;
  }
  [[nodiscard]] HKEY Get() const { return m_key; }

private:
  HKEY m_key = nullptr;
};

HKEY RootOf(RegistryRoot root) { return root == RegistryRoot::kCurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE; }

bool IsMissing(LSTATUS code) { return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND; }

/// For reading: as 64-bit programs see it, else where 32-bit programs keep theirs.
LSTATUS OpenToRead(RegistryKey& opened, RegistryRoot root, const CString& key) {
  const std::wstring wide = ToWide(key);
  const LSTATUS code = opened.Open(RootOf(root), wide, KEY_READ | KEY_WOW64_64KEY);
  return IsMissing(code) ? opened.Open(RootOf(root), wide, KEY_READ | KEY_WOW64_32KEY) : code;
}

bool IsText(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

std::wstring TextOf(const std::vector<BYTE>& bytes, DWORD size) {
  std::wstring text(size / sizeof(wchar_t), L'\0');
  memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
  text.resize(wcsnlen(text.c_str(), text.size()));
  return text;
}

/// ERROR_FILE_NOT_FOUND also for what is no text.
LSTATUS ReadText(HKEY key, const std::wstring& name, std::wstring& text) {
  std::vector<BYTE> bytes(512);
  for (;;) {
    DWORD type = 0;
    auto size = static_cast<DWORD>(bytes.size());
    const LSTATUS code = RegQueryValueExW(key, name.c_str(), nullptr, &type, bytes.data(), &size);
    if (code == ERROR_MORE_DATA && size <= kLongestValue) {
      bytes.resize(size);
      continue;
    }
    if (code == ERROR_SUCCESS && IsText(type)) {
      text = TextOf(bytes, size);
    }
    return code != ERROR_SUCCESS ? code : IsText(type) ? code : ERROR_FILE_NOT_FOUND;
  }
}

/// Where the engine notes the keys that it made, so that they go with their last value.
constexpr const wchar_t* kMadeKeys = LR"(Software\Kest\Made keys)";

void NoteMade(const std::wstring& path) {
  RegistryKey notes;
  bool isNew = false;
  if (notes.Create(HKEY_CURRENT_USER, kMadeKeys, isNew) == ERROR_SUCCESS) {
    RegSetValueExW(notes.Get(), path.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(L""), sizeof(wchar_t));
  }
}

bool TakeMade(const std::wstring& path) {
  RegistryKey notes;
  if (notes.Open(HKEY_CURRENT_USER, kMadeKeys, KEY_READ | KEY_WRITE) != ERROR_SUCCESS ||
      RegDeleteValueW(notes.Get(), path.c_str()) != ERROR_SUCCESS) {
    return false;
  }
  DWORD values = 0;
  if (RegQueryInfoKeyW(notes.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                       nullptr, nullptr) == ERROR_SUCCESS &&
      values == 0) {
    RegDeleteKeyW(HKEY_CURRENT_USER, kMadeKeys);
    RegDeleteKeyW(HKEY_CURRENT_USER, LR"(Software\Kest)"); // stays when it has other keys
  }
  return true;
}

std::wstring KnownFolder(const KNOWNFOLDERID& id) {
  PWSTR found = nullptr;
  const HRESULT result = SHGetKnownFolderPath(id, KF_FLAG_DONT_VERIFY, nullptr, &found);
  const std::wstring path = result == S_OK && found != nullptr ? found : L"";
  CoTaskMemFree(found);
  return path;
}

bool Give(const std::wstring& folder, CString& path) {
  if (!folder.empty()) {
    path = WithoutBackslash(FromWide(folder));
  }
  return !folder.empty();
}

std::wstring Expanded(const std::wstring& text) {
  std::wstring out(32768, L'\0');
  const DWORD length = ExpandEnvironmentStringsW(text.c_str(), out.data(), static_cast<DWORD>(out.size()));
  out.resize(length > 0 ? length - 1 : 0);
  return out;
}

/// The folders of the users that have ever logged on, without those of services.
std::vector<std::wstring> ProfileFolders() {
  std::vector<std::wstring> folders;
  RegistryKey list;
  if (list.Open(HKEY_LOCAL_MACHINE, kProfiles, KEY_READ | KEY_WOW64_64KEY) != ERROR_SUCCESS) {
    return folders;
  }
  wchar_t sid[256];
  for (DWORD i = 0;; ++i) {
    DWORD length = 256;
    if (RegEnumKeyExW(list.Get(), i, sid, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
      return folders;
    }
    RegistryKey profile;
    std::wstring path;
    if (std::wstring_view(sid).starts_with(L"S-1-5-21-") &&
        profile.Open(list.Get(), sid, KEY_READ | KEY_WOW64_64KEY) == ERROR_SUCCESS &&
        ReadText(profile.Get(), L"ProfileImagePath", path) == ERROR_SUCCESS) {
      folders.push_back(Expanded(path));
    }
  }
}

CString LeafOf(const std::wstring& folder) { return CKestPath(FromWide(folder)).GetFileName(); }

CString ModulePath(HANDLE process) {
  std::wstring path(32768, L'\0');
  auto length = static_cast<DWORD>(path.size());
  if (!QueryFullProcessImageNameW(process, 0, path.data(), &length)) {
    return {};
  }
  path.resize(length);
  return FromWide(path);
}

} // namespace

// ---- HostedMachine
// ----------------------------------------------------------------------------------------------------

CString WindowsMachine::GetDisplayName() const {
  std::wstring name(MAX_COMPUTERNAME_LENGTH + 1, L'\0');
  auto length = static_cast<DWORD>(name.size());
  return GetComputerNameW(name.data(), &length) ? Utf8OfWide(name.substr(0, length)) : CString("this PC");
}

CString WindowsMachine::ToHostPath(const CString& windowsPath) {
  return Utf8OfWide(ToWide(GetStoredPath(windowsPath)));
}

CString WindowsMachine::AddHostFolder(const CString& hostFolder, bool writable) {
  const CString path = FromWide(WideOfUtf8(hostFolder));
  WindowsPlace folder;
  if (!m_state->OpenFolder(path, folder)) {
    return {};
  }
  static_cast<void>(writable); // every folder of the PC is the machine's own
  return WithoutBackslash(folder.storedFolder);
}

std::vector<HostedMachine::User> WindowsMachine::GetUsers() {
  std::vector<User> users;
  for (const std::wstring& folder : ProfileFolders()) {
    users.push_back({LeafOf(folder), 1});
  }
  const CString current = GetCurrentUser();
  const bool isKnown =
      std::any_of(users.begin(), users.end(), [&](const User& user) { return text::EqualNoCase(user.name, current); });
  if (!isKnown) {
    users.push_back({current, 1});
  }
  return users;
}

CString WindowsMachine::GetCurrentUser() { return LeafOf(KnownFolder(FOLDERID_Profile)); }

bool WindowsMachine::SetCurrentUser(const CString& name) {
  return m_state->Fail(Kind::kRefused, name, "on a PC the user is whoever has logged on");
}

bool WindowsMachine::SetProcessRunning(const CString& executable, bool running) {
  static_cast<void>(running);
  return m_state->Fail(Kind::kRefused, executable, "on a PC a program runs when somebody starts it");
}

std::vector<CString> WindowsMachine::GetRunningProcesses() {
  std::vector<CString> processes;
  EnumProcs([&](const CString& process) {
    processes.push_back(process);
    return true;
  });
  return processes;
}

std::vector<std::pair<char, CString>> WindowsMachine::GetDrives() {
  std::vector<std::pair<char, CString>> drives;
  const DWORD all = GetLogicalDrives();
  for (char letter = 'A'; letter <= 'Z'; ++letter) {
    if ((all & (1U << (letter - 'A'))) != 0) {
      drives.emplace_back(letter, CString{letter, ':', '\\'});
    }
  }
  return drives;
}

// ---- known places
// -----------------------------------------------------------------------------------------------------

bool WindowsMachine::GetSystemFolder(CString& path) { return Give(KnownFolder(FOLDERID_System), path); }
bool WindowsMachine::GetFontsFolder(CString& path) { return Give(KnownFolder(FOLDERID_Fonts), path); }

bool WindowsMachine::GetTempRoot(CString& path) {
  if (IsWine()) {
    // a machine folder and this program meet in one prefix: each has to find what the other left
    return Give(KnownFolder(FOLDERID_Windows) + LR"(\temp)", path);
  }
  // not the system's own, which users may write to and not list: a start could not find what to recover
  CString shared;
  if (!GetSharedAppDataPath(shared)) {
    return false;
  }
  path = shared + R"(\Kest\Temp)";
  return true;
}

bool WindowsMachine::GetCurrentProcessPath(CString& path) {
  // in short names where there are such: what is made of it becomes a word of a command line
  const std::wstring full = ToWide(ModulePath(GetCurrentProcess()));
  std::wstring brief(full.size() + MAX_PATH, L'\0');
  const DWORD length = GetShortPathNameW(full.c_str(), brief.data(), static_cast<DWORD>(brief.size()));
  brief.resize(length < brief.size() ? length : 0);
  path = FromWide(brief.empty() ? full : brief);
  return !path.empty();
}

// ---- users, system, processes
// -----------------------------------------------------------------------------------------

void WindowsMachine::InitMultiUserMembers() {}
bool WindowsMachine::IsSupportedMultiUserSystem() { return true; }

bool WindowsMachine::GetCurrentUserType(int& type) {
  type = IsUserAnAdmin() ? 2 : 1;
  return true;
}

bool WindowsMachine::GetSharedAppDataPath(CString& path) { return Give(KnownFolder(FOLDERID_ProgramData), path); }
bool WindowsMachine::GetCurrentUserAppDataPath(CString& path) {
  return Give(KnownFolder(FOLDERID_RoamingAppData), path);
}

bool WindowsMachine::GetAppDataPathFor(const CString& user, CString& path) {
  if (text::EqualNoCase(user, GetCurrentUser())) {
    return GetCurrentUserAppDataPath(path);
  }
  for (const std::wstring& folder : ProfileFolders()) {
    if (text::EqualNoCase(LeafOf(folder), user)) {
      return Give(folder + std::wstring(kAppData), path);
    }
  }
  return m_state->Fail(Kind::kNotFound, user, "there is no such user");
}

bool WindowsMachine::GetAllUserAppDataPaths(std::vector<CString>& paths) {
  paths.clear();
  for (const User& user : GetUsers()) {
    CString path;
    if (!GetAppDataPathFor(user.name, path)) {
      return false;
    }
    paths.push_back(std::move(path));
  }
  return true;
}

bool WindowsMachine::ExtractUserName(const CString& path, CString& user) {
  const CString folded = FoldName(path, GetSystemCodePage());
  for (const User& known : GetUsers()) {
    CString data;
    if (!GetAppDataPathFor(known.name, data)) {
      return false;
    }
    data = FoldName(data, GetSystemCodePage());
    if (folded.starts_with(data) && (folded.size() == data.size() || folded[data.size()] == '\\')) {
      user = known.name;
      return true;
    }
  }
  return m_state->Fail(Kind::kNotFound, path, "no user's application data lie there");
}

int WindowsMachine::GetOperatingSystemVersion() {
  // the code of every system that this program runs on
  constexpr int kSystem = 5;
  return kSystem;
}

void WindowsMachine::EnumProcs(const std::function<bool(const CString&)>& callback) {
  const WindowsHandle all(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  if (!all.IsOpen() || !Process32FirstW(all.Get(), &entry)) {
    (void)m_state->CannotTell(::GetLastError(), "C:\\");
    return;
  }
  do {
    const WindowsHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID));
    const CString path = process.IsOpen() ? ModulePath(process.Get()) : CString(); // of the system's own nobody is told
    if (!path.empty() && !callback(path)) {
      return;
    }
  } while (Process32NextW(all.Get(), &entry));
}

void WindowsMachine::WinExec(const CString& commandLine) {
  std::wstring line = ToWide(commandLine);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION started{};
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &started)) {
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
  }
}

int WindowsMachine::GetCodePage() { return GetSystemCodePage(); }

// ---- registry, fonts
// --------------------------------------------------------------------------------------------------

Answer WindowsMachine::RegistryKeyExists(RegistryRoot root, const CString& key) {
  RegistryKey opened;
  const LSTATUS code = OpenToRead(opened, root, key);
  return code == ERROR_SUCCESS ? Answer::kYes
         : IsMissing(code)     ? Answer::kNo
                               : m_state->CannotTell(static_cast<DWORD>(code), RegistryPath(root, key));
}

Answer WindowsMachine::ReadRegistryString(RegistryRoot root, const CString& key, const CString& name, CString& data) {
  RegistryKey opened;
  std::wstring text;
  LSTATUS code = OpenToRead(opened, root, key);
  code = code == ERROR_SUCCESS ? ReadText(opened.Get(), ToWide(name), text) : code;
  if (code == ERROR_SUCCESS) {
    data = FromWide(text);
    return Answer::kYes;
  }
  if (!IsMissing(code)) {
    return m_state->CannotTell(static_cast<DWORD>(code), RegistryPath(root, key));
  }
  (void)m_state->Fail(Kind::kNotFound, RegistryPath(root, key), "there is no such value");
  return Answer::kNo;
}

bool WindowsMachine::WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                         const CString& data) {
  const std::wstring path = ToWide(key);
  const std::wstring text = ToWide(data);
  RegistryKey opened;
  bool isNew = false;
  LSTATUS code = opened.Create(RootOf(root), path, isNew);
  if (code == ERROR_SUCCESS && isNew) {
    NoteMade(ToWide(RegistryPath(root, key)));
  }
  if (code == ERROR_SUCCESS) {
    code = RegSetValueExW(opened.Get(), ToWide(name).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }
  code = code == ERROR_SUCCESS ? RegFlushKey(opened.Get()) : code;
  return code == ERROR_SUCCESS || m_state->Fail(static_cast<DWORD>(code), RegistryPath(root, key));
}

bool WindowsMachine::DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) {
  const std::wstring path = ToWide(key);
  DWORD values = 0;
  DWORD keys = 0;
  {
    RegistryKey opened;
    LSTATUS code = opened.Open(RootOf(root), path, KEY_READ | KEY_WRITE | KEY_WOW64_64KEY);
    code = code == ERROR_SUCCESS ? RegDeleteValueW(opened.Get(), ToWide(name).c_str()) : code;
    if (code != ERROR_SUCCESS) {
      return IsMissing(code) || m_state->Fail(static_cast<DWORD>(code), RegistryPath(root, key));
    }
    RegFlushKey(opened.Get());
    if (RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                         nullptr, nullptr) != ERROR_SUCCESS) {
      return true;
    }
  }
  if (values == 0 && keys == 0 && TakeMade(ToWide(RegistryPath(root, key)))) {
    RegDeleteKeyExW(RootOf(root), path.c_str(), KEY_WOW64_64KEY, 0);
  }
  return true;
}

Answer WindowsMachine::EnumRegistryValues(RegistryRoot root, const CString& key, std::vector<RegistryValue>& values) {
  values.clear();
  RegistryKey opened;
  LSTATUS code = OpenToRead(opened, root, key);
  if (IsMissing(code)) {
    (void)m_state->Fail(Kind::kNotFound, RegistryPath(root, key), "there is no such key");
    return Answer::kNo;
  }
  for (DWORD i = 0; code == ERROR_SUCCESS; ++i) {
    wchar_t name[16384];
    DWORD length = 16384;
    DWORD type = 0;
    code = RegEnumValueW(opened.Get(), i, name, &length, nullptr, &type, nullptr, nullptr);
    std::wstring text;
    if (code == ERROR_SUCCESS && IsText(type) && ReadText(opened.Get(), name, text) == ERROR_SUCCESS) {
      values.push_back({FromWide({name, length}), FromWide(text)});
    }
  }
  if (code == ERROR_NO_MORE_ITEMS) {
    return Answer::kYes;
  }
  values.clear();
  return m_state->CannotTell(static_cast<DWORD>(code), RegistryPath(root, key));
}

bool WindowsMachine::AddFontResource(const CString& path) {
  return AddFontResourceW(ToWide(path).c_str()) > 0 ||
         m_state->Fail(Kind::kOther, path, "Windows does not take the font");
}

bool WindowsMachine::RemoveFontResource(const CString& path) {
  return RemoveFontResourceW(ToWide(path).c_str()) ||
         m_state->Fail(Kind::kNotFound, path, "the font is not registered");
}

void WindowsMachine::BroadcastFontChange() {
  constexpr UINT kLongest = 1000;
  SendMessageTimeoutW(HWND_BROADCAST, WM_FONTCHANGE, 0, 0, SMTO_ABORTIFHUNG, kLongest, nullptr);
}

// ---- clock
// ------------------------------------------------------------------------------------------------------------

CKestDateTime WindowsMachine::Now() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return CKestDateTime(SecondsOf(now));
}

std::int64_t WindowsMachine::MonotonicMilliseconds() { return static_cast<std::int64_t>(GetTickCount64()); }

void WindowsMachine::AllowBackgroundProcessing() { std::this_thread::sleep_for(std::chrono::milliseconds(5)); }

} // namespace kest
