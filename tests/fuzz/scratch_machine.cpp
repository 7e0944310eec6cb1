#include "fuzz/scratch_machine.h"

#include "fuzz/fuzz_input.h"
#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <fstream>
#include <iterator>
#include <map>

#include <unistd.h>

namespace kest::fuzz {

namespace fs = std::filesystem;

namespace {

fs::path MakeScratch() {
  const fs::path memory = "/dev/shm";
  std::string name = ((access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path()) / "kest-fuzz-XXXXXX");
  Require(mkdtemp(name.data()) != nullptr, "there is a scratch folder");
  // a finding ends this process at once, so another one waits for its end
  const std::string clean = "trap '' INT HUP TERM; cat > /dev/null; rm -rf '" + name + "'";
  setenv("XDG_DATA_HOME", (name + "/data").c_str(), 1);
  Require(popen(clean.c_str(), "we") != nullptr, "the scratch folder goes with the process");
  return name;
}

const fs::path& Scratch() {
  static const fs::path scratch = MakeScratch();
  return scratch;
}

std::string ReadHostFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace

ScratchMachine::ScratchMachine() {
  for (const fs::directory_entry& entry : fs::directory_iterator(Scratch())) {
    fs::remove_all(entry);
  }
  fs::create_directories(Scratch() / "pc/drive_c/windows/temp");
  fs::create_directories(Scratch() / "pc/dosdevices/d:");
  m_machine.emplace((Scratch() / "pc").string());
  CKestOS::SetMachine(&*m_machine);
}

ScratchMachine::~ScratchMachine() { CKestOS::SetMachine(nullptr); }

bool ScratchMachine::Put(const CString& path, std::string_view content) {
  if (!m_machine->CreateDirectory(CKestPath(path).GetFolder())) {
    return false;
  }
  const std::unique_ptr<MachineFile> file = m_machine->Open(path, OpenMode::kReplace);
  return file != nullptr && file->Write(content.data(), content.size()) && file->Close();
}

std::optional<CString> ScratchMachine::Find(const CString& path) {
  const fs::path host = m_machine->ToHostPath(path);
  return fs::is_regular_file(host) ? std::optional<CString>(ReadHostFile(host)) : std::nullopt;
}

CString ScratchMachine::Describe(const CString& butBelow) {
  const fs::path passed = butBelow.empty() ? fs::path() : fs::path(m_machine->ToHostPath(butBelow));
  std::map<fs::path, CString> all;
  for (auto it = fs::recursive_directory_iterator(Scratch()); it != fs::recursive_directory_iterator(); ++it) {
    const bool isWritable = (it->symlink_status().permissions() & fs::perms::owner_write) != fs::perms::none;
    all[it->path()] =
        CString(isWritable ? "" : " (read-only)") + (it->is_regular_file() ? " = " + ReadHostFile(it->path()) : "");
    if (it->path() == passed) {
      it.disable_recursion_pending();
    }
  }
  CString text;
  for (const auto& [path, told] : all) {
    text += path.native() + told + '\n';
  }
  return text;
}

std::uintmax_t ScratchMachine::GetBytes(const CString& folder) {
  std::uintmax_t bytes = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_machine->ToHostPath(folder).c_str())) {
    bytes += entry.is_regular_file() ? entry.file_size() : 0;
  }
  return bytes;
}

} // namespace kest::fuzz
