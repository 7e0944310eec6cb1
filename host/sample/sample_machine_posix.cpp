#include "host/sample/sample_machine.h"

#include "host/sample/sample_files.h"
#include "platform/machine/version_resource.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/text/path.h"

#include <algorithm>
#include <filesystem>

namespace kest::host {
namespace {

namespace fs = std::filesystem;

enum class Family { kWebEditor4, kWebEditor6, kPrism, kMarlin, kQuarry };

struct ProductRow {
  const char* name;
  Family family;
  const char* folder;     ///< below C:\Program Files\Kestrel
  const char* executable; ///< null: it has none
  const char* version;
  const char* key; ///< registry key, in it the value "InstallPath"
};

constexpr const char* kRoot = "C:\\Program Files\\Kestrel";
constexpr ProductRow kProducts[] = {
    {"Tidemark 4", Family::kWebEditor4, "Tidemark 4", "Tidemark.exe", "4.0.2",
     "Software\\Kestrel\\Tidemark\\4\\Installation"},
    {"Tidemark Vantage 4", Family::kWebEditor4, "Tidemark Vantage 4", "Vantage.exe", "4.0.1",
     "Software\\Kestrel\\Tidemark Vantage\\4\\Installation"},
    {"Tidemark Nova", Family::kWebEditor6, "Tidemark 6", "Tidemark.exe", "6.0.1",
     "Software\\Kestrel\\Tidemark\\6\\Installation"},
    {"Prism 4", Family::kPrism, "Prism 4", "Prism 4.exe", "4.0.3", "Software\\Kestrel\\Prism\\4\\Installation"},
    {"Prism Nova", Family::kPrism, "Prism 6", "Prism.exe", "6.0.2", "Software\\Kestrel\\Prism\\6\\Installation"},
    {"Marlin 5", Family::kMarlin, "Marlin 5", "Marlin.exe", "5.0.1", "Software\\Kestrel\\Marlin\\5\\Installation"},
    {"Marlin Nova", Family::kMarlin, "Marlin 6", "Marlin.exe", "6.0.1", "Software\\Kestrel\\Marlin\\6\\Installation"},
    {"Quarry 2", Family::kQuarry, "Quarry 2", nullptr, "2.0", "Software\\Kestrel\\Quarry\\2\\Installation"},
};

CString WithWindowsLines(std::string_view text) {
  CString out;
  out.reserve(text.size() + text.size() / 16);
  for (const char c : text) {
    if (c == '\n') {
      out += '\r';
    }
    out += c;
  }
  return out;
}

/// Writes onto a machine; the first failure stays, and everything after it is passed over.
class Writer {
public:
  explicit Writer(MachineFolder& machine) : m_machine(machine) {}
  [[nodiscard]] bool IsGood() const { return m_problem.empty(); }
  [[nodiscard]] const std::string& GetProblem() const { return m_problem; }

  void Check(bool done, const std::string& what) {
    if (IsGood() && !done) {
      const MachineError error = m_machine.GetLastError();
      m_problem = what + (error.reason.empty() ? " failed" : ": " + error.reason);
    }
  }
  void Folder(const CString& path) {
    if (IsGood()) {
      Check(m_machine.CreateDirectory(path), "making " + path);
    }
  }
  void File(const CString& path, std::string_view bytes) {
    Folder(WithoutBackslash(CKestPath(path).GetFolder()));
    if (!IsGood()) {
      return;
    }
    const std::unique_ptr<MachineFile> file = m_machine.Open(path, OpenMode::kCreateNew);
    Check(file && file->Write(bytes.data(), bytes.size()) && file->Close(), "writing " + path);
  }
  void TextFile(const CString& path, std::string_view text) { File(path, WithWindowsLines(text)); }
  void Files(const CString& folder, std::span<const SampleFile> files) {
    for (const SampleFile& file : files) {
      TextFile(JoinPath({folder, file.path}), file.text);
    }
  }
  void Executable(const CString& path, const char* version) {
    File(path, MakeVersionedExecutable(CKestVersionNumber(version)));
  }

private:
  MachineFolder& m_machine;
  std::string m_problem;
};

// What a web editor reads its settings from; one copy lies with the program, on a machine of many users more of them in
// their application data.
void WriteConfiguration(Writer& writer, const CString& folder, bool version6) {
  writer.TextFile(JoinPath({folder, "Menus\\Menus.xml"}), kSampleMenus);
  for (const char* model : GetServerModels(version6)) {
    for (int which = 0; which < kServerFileCount; ++which) {
      const auto [path, text] = GetServerFile(which, model);
      writer.TextFile(JoinPath({folder, path}), text);
    }
    writer.Folder(JoinPath({folder, "Connections", model}));
  }
  for (const char* sub : GetWebEditorFolders()) {
    writer.Folder(JoinPath({folder, sub}));
  }
  constexpr std::string_view kPrefix = "Configuration\\";
  for (const SampleFile& file : GetWebEditorFiles()) {
    const std::string_view path = file.path;
    if (path.substr(0, kPrefix.size()) == kPrefix) {
      writer.TextFile(JoinPath({folder, path.substr(kPrefix.size())}), file.text);
    }
  }
}

void WriteWebEditor(Writer& writer, const CString& folder, bool version6) {
  WriteConfiguration(writer, JoinPath({folder, "Configuration"}), version6);
  for (const SampleFile& file : GetWebEditorFiles()) {
    if (std::string_view(file.path).substr(0, 5) == "Help\\") {
      writer.TextFile(JoinPath({folder, file.path}), file.text);
    }
  }
}

// Everybody's copy, and that of the user who works there; the others get theirs when they first need them.
void WriteUserCopies(Writer& writer, MachineFolder& machine, const ProductRow& row) {
  CString shared;
  CString own;
  machine.InitMultiUserMembers();
  writer.Check(machine.GetSharedAppDataPath(shared), "finding the shared application data");
  writer.Check(machine.GetCurrentUserAppDataPath(own), "finding the user's application data");
  for (const CString& root : {shared, own}) {
    WriteConfiguration(writer, JoinPath({root, "Kestrel", row.name, "Configuration"}), true);
  }
}

void WriteProduct(Writer& writer, MachineFolder& machine, const ProductRow& row, bool multiUser) {
  const CString folder = JoinPath({kRoot, row.folder});
  writer.Folder(folder);
  if (row.executable) {
    writer.Executable(JoinPath({folder, row.executable}), row.version);
  }
  switch (row.family) {
  case Family::kWebEditor4:
    WriteWebEditor(writer, folder, false);
    break;
  case Family::kWebEditor6:
    WriteWebEditor(writer, folder, true);
    if (multiUser) {
      WriteUserCopies(writer, machine, row);
    }
    break;
  case Family::kPrism:
    writer.Files(folder, GetPrismFiles());
    break;
  case Family::kMarlin:
    writer.Files(folder, GetMarlinFiles());
    break;
  case Family::kQuarry:
    writer.Files(folder, GetQuarryFiles());
    break;
  }
  if (writer.IsGood()) {
    writer.Check(
        machine.WriteRegistryString(RegistryRoot::kLocalMachine, row.key, "InstallPath", WithBackslash(folder)),
        "writing the registry");
  }
}

void WriteSystem(Writer& writer, MachineFolder& machine) {
  for (const char* folder :
       {"C:\\windows\\system32", "C:\\windows\\Fonts", "C:\\windows\\temp", "C:\\ProgramData", kRoot}) {
    writer.Folder(folder);
  }
  // The helper that replaces system files at the next log-on lies beside the program that installs.
  CString program;
  if (writer.IsGood() && machine.GetCurrentProcessPath(program)) {
    const CString helper = CKestPath(program).GetFolder() + "replace.exe";
    if (!IsYes(machine.FileExists(helper))) {
      writer.Executable(helper, "1.0");
    }
  }
}

void WriteUsers(Writer& writer, MachineFolder& machine, const SampleMachine& wanted) {
  std::vector<MachineFolder::User> users;
  for (const auto& [name, type] : wanted.users) {
    users.push_back({name, type});
  }
  if (users.empty()) {
    users.push_back({"user", 1});
  }
  writer.Check(machine.SetUsers(users, wanted.currentUser.empty() ? users.front().name : wanted.currentUser),
               "writing the users");
  writer.Check(machine.SetMultiUser(wanted.multiUser), "writing machine.ini");
  writer.Check(machine.SetCodePageNumber(wanted.codePage ? wanted.codePage : 1252), "writing the code page");
  for (const MachineFolder::User& user : users) {
    CString data;
    writer.Check(machine.GetAppDataPathFor(user.name, data), "finding the application data of " + user.name);
    writer.Folder(WithoutBackslash(data));
  }
}

bool Wanted(const SampleMachine& machine, const ProductRow& row) {
  return machine.products.empty() ||
         std::any_of(machine.products.begin(), machine.products.end(),
                     [&](const std::string& name) { return text::EqualNoCase(name, row.name); });
}

bool WriteMachine(const SampleMachine& wanted, std::string& why) {
  MachineFolder machine(wanted.folder);
  Writer writer(machine);
  WriteSystem(writer, machine);
  WriteUsers(writer, machine, wanted);
  for (const ProductRow& row : kProducts) {
    if (writer.IsGood() && Wanted(wanted, row)) {
      WriteProduct(writer, machine, row, wanted.multiUser);
    }
  }
  why = writer.GetProblem();
  return writer.IsGood();
}

} // namespace

std::vector<std::string> GetSampleProducts() {
  std::vector<std::string> names;
  for (const ProductRow& row : kProducts) {
    names.emplace_back(row.name);
  }
  return names;
}

bool MakeSampleMachine(const SampleMachine& machine, std::string& why) {
  std::error_code error;
  const fs::path folder(machine.folder);
  const bool existed = fs::exists(folder, error);
  if (existed && (!fs::is_directory(folder, error) || !fs::is_empty(folder, error))) {
    why = "the folder exists and is not empty";
    return false;
  }
  fs::create_directories(folder / "drive_c", error);
  if (error) {
    why = error.message();
    return false;
  }
  if (WriteMachine(machine, why)) {
    return true;
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    fs::remove_all(entry.path(), error);
  }
  if (!existed) {
    fs::remove(folder, error);
  }
  return false;
}

} // namespace kest::host
