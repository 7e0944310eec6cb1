#include "support/temp_machine.h"

#include "platform/machine/os.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kest::test {

namespace fs = std::filesystem;

namespace {

std::uint64_t HashOf(std::string_view bytes) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const char c : bytes) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  }
  return hash;
}

void WriteHostFile(const fs::path& path, std::string_view content) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!out.flush()) {
    throw std::runtime_error("a test cannot write " + path.string());
  }
}

fs::path MakeBase() {
  std::string name = (fs::temp_directory_path() / "kest-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("a test cannot make its temporary folder");
  }
  return name;
}

// What the program keeps for its user goes with the test program, not into the home of whoever runs it.
void UseScratchHome() {
  static const struct Home {
    Home() : path(MakeBase()) { setenv("XDG_DATA_HOME", path.c_str(), 1); }
    ~Home() {
      std::error_code error;
      fs::remove_all(path, error);
    }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    fs::path path;
  } home;
}

void MakeMachine(const fs::path& root) {
  for (const char* folder : {"windows/system32", "windows/Fonts", "windows/temp", "Program Files", "ProgramData",
                             "users/Tester/AppData/Roaming"}) {
    fs::create_directories(root / "drive_c" / folder);
  }
  MachineFolder machine(root.string());
  if (!machine.SetUsers({{"Tester", 2}}, "Tester") || !machine.SetMultiUser(true)) {
    throw std::runtime_error("a test cannot write machine.ini");
  }
  WriteHostFile(root / "system.reg", "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n");
  WriteHostFile(root / "user.reg",
                "WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n");
}

SnapshotEntry Describe(const fs::path& path) {
  struct stat info {};
  if (lstat(path.c_str(), &info) != 0) {
    throw std::runtime_error("a test cannot look at " + path.string());
  }
  SnapshotEntry entry;
  entry.readOnly = (info.st_mode & S_IWUSR) == 0;
  if (S_ISLNK(info.st_mode)) {
    entry.kind = SnapshotEntry::Kind::kLink;
    entry.hash = HashOf(fs::read_symlink(path).string());
  } else if (S_ISDIR(info.st_mode)) {
    entry.kind = SnapshotEntry::Kind::kFolder;
  } else {
    entry.hash = HashOf(ReadHostFile(path));
    entry.size = static_cast<std::uint64_t>(info.st_size);
    entry.date = info.st_mtime;
  }
  return entry;
}

void DescribeChange(std::ostream& out, const std::string& path, const SnapshotEntry& was, const SnapshotEntry& is) {
  out << "changed " << path << ":";
  if (was.kind != is.kind) {
    out << " another kind of entry";
  }
  if (was.hash != is.hash || was.size != is.size) {
    out << " other bytes (" << was.size << " -> " << is.size << ")";
  }
  if (was.readOnly != is.readOnly) {
    out << (is.readOnly ? " now read-only" : " no longer read-only");
  }
  if (was.date != is.date) {
    out << " other date (" << was.date << " -> " << is.date << ")";
  }
  out << '\n';
}

} // namespace

std::string ReadHostFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

MachineSnapshot TakeSnapshot(const fs::path& root) {
  MachineSnapshot snapshot;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
    snapshot.entries.emplace(entry.path().lexically_relative(root).generic_string(), Describe(entry.path()));
  }
  return snapshot;
}

std::string DescribeDifference(const MachineSnapshot& before, const MachineSnapshot& after,
                               const std::function<bool(const std::string&)>& ignore) {
  std::ostringstream out;
  for (const auto& [path, was] : before.entries) {
    if (ignore(path)) {
      continue;
    }
    const auto is = after.entries.find(path);
    if (is == after.entries.end()) {
      out << "gone " << path << '\n';
    } else if (was != is->second) {
      DescribeChange(out, path, was, is->second);
    }
  }
  for (const auto& [path, is] : after.entries) {
    if (!before.entries.contains(path) && !ignore(path)) {
      out << "new " << path << '\n';
    }
  }
  return out.str();
}

TempMachine::TempMachine() : m_base(MakeBase()), m_root(m_base / "pc"), m_outside(m_base / "outside") {
  UseScratchHome();
  fs::create_directories(m_root);
  fs::create_directories(m_outside);
  MakeMachine(m_root);
  m_machine = std::make_unique<MachineFolder>(m_root.string());
  CKestOS::SetMachine(m_machine.get());
}

TempMachine::~TempMachine() {
  CKestOS::SetMachine(nullptr);
  m_machine.reset();
  std::error_code error;
  for (auto it = fs::recursive_directory_iterator(m_base, error); it != fs::recursive_directory_iterator();
       it.increment(error)) {
    if (it->is_directory(error) && !it->is_symlink(error)) {
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, error);
    }
  }
  fs::remove_all(m_base, error);
}

void TempMachine::Reopen() {
  CKestOS::SetMachine(nullptr);
  m_machine = std::make_unique<MachineFolder>(m_root.string());
  CKestOS::SetMachine(m_machine.get());
}

fs::path TempMachine::HostPath(std::string_view windowsPath) const {
  if (windowsPath.size() < 3 || (windowsPath[0] != 'C' && windowsPath[0] != 'c') || windowsPath.substr(1, 2) != ":\\") {
    throw std::invalid_argument("no path on drive C: " + std::string(windowsPath));
  }
  std::string rest(windowsPath.substr(3));
  std::replace(rest.begin(), rest.end(), '\\', '/');
  return m_root / "drive_c" / rest;
}

void TempMachine::Write(std::string_view windowsPath, std::string_view content, std::int64_t date) const {
  const fs::path path = HostPath(windowsPath);
  WriteHostFile(path, content);
  const timespec times[2] = {{date, 0}, {date, 0}};
  if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
    throw std::runtime_error("a test cannot date " + path.string());
  }
}

std::string TempMachine::Read(std::string_view windowsPath) const { return ReadHostFile(HostPath(windowsPath)); }

bool TempMachine::Exists(std::string_view windowsPath) const {
  return fs::symlink_status(HostPath(windowsPath)).type() != fs::file_type::not_found;
}

void TempMachine::MakeFolder(std::string_view windowsPath) const { fs::create_directories(HostPath(windowsPath)); }

void TempMachine::SetReadOnly(std::string_view windowsPath, bool readOnly) const {
  fs::permissions(HostPath(windowsPath), static_cast<fs::perms>(readOnly ? 0444 : 0644));
}

std::int64_t TempMachine::GetDate(std::string_view windowsPath) const {
  struct stat info {};
  return stat(HostPath(windowsPath).c_str(), &info) == 0 ? info.st_mtime : -1;
}

} // namespace kest::test
