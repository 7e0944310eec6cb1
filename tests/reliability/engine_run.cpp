#include "reliability/engine_run.h"

#include "description/extension.h"
#include "platform/os.h"
#include "products/product.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <stdexcept>

#include <unistd.h>

namespace kest::test {

CString FaultMachine::s_otherVolume;

namespace {

// the trash lies on the machine's own volume
const CString kTrash;

bool isBelow(const CString& path, const CString& folder) {
  return !folder.empty() && text::StartsWithNoCase(path + "\\", folder + "\\");
}

bool leadsAcross(const CString& from, const CString& to, const CString& volume) {
  return isBelow(from, volume) != isBelow(to, volume);
}

} // namespace

bool FaultMachine::SameVolume(const CString& a, const CString& b) {
  return !leadsAcross(a, b, s_otherVolume) && ForwardingMachine::SameVolume(a, b);
}

bool FaultMachine::MoveFile(const CString& from, const CString& to) {
  if (!leadsAcross(from, to, s_otherVolume)) {
    return ForwardingMachine::MoveFile(from, to);
  }
  return !FileExists(to) && CopyFile(from, to) && DeleteFile(from);
}

bool FaultMachine::ReplaceFile(const CString& from, const CString& to) {
  return !leadsAcross(from, to, s_otherVolume) && ForwardingMachine::ReplaceFile(from, to);
}

bool FaultMachine::LinkFile(const CString& existing, const CString& to) {
  return !leadsAcross(existing, to, s_otherVolume) && ForwardingMachine::LinkFile(existing, to);
}

bool FaultMachine::MoveEmptyFolder(const CString& from, const CString& to) {
  return !leadsAcross(from, to, s_otherVolume) && ForwardingMachine::MoveEmptyFolder(from, to);
}

bool FaultMachine::MoveFolder(const CString& from, const CString& to) {
  return !leadsAcross(from, to, s_otherVolume) && ForwardingMachine::MoveFolder(from, to);
}

bool FaultMachine::MoveFileToTrash(const CString& path) {
  return !leadsAcross(path, kTrash, s_otherVolume) && ForwardingMachine::MoveFileToTrash(path);
}

bool FaultMachine::MoveFolderToTrash(const CString& path, const CString& label) {
  return !leadsAcross(path, kTrash, s_otherVolume) && ForwardingMachine::MoveFolderToTrash(path, label);
}

bool FaultMachine::Allow(const Call& call) {
  if (!m_armed || (m_fault == Fault::kKill && !call.changes)) {
    return true;
  }
  ++m_calls;
  if (m_fault == Fault::kNone || m_calls < m_n) {
    return true;
  }
  if (m_fault == Fault::kKill) {
    kill(getpid(), SIGKILL);
  }
  // names, data, folders and second names need room; renames, removals, marks, dates and bytes written over others do
  // not; a registry is written anew, for which the engine may hold room
  if (m_fault == Fault::kDiskFull && call.path != nullptr && call.path->ends_with("\\room")) {
    m_hasRoom = m_hasRoom || std::string(call.name) == "DeleteFile";
  }
  static const std::set<std::string> needRoom = {
      "Write", "CopyFile",  "LinkFile",           "CreateDirectory", "CreatePrivateDirectory",
      "Sync",  "SyncPaths", "WriteRegistryString"};
  const bool needsRoom = call.changes && (needRoom.contains(call.name) || std::string(call.name) == "Open" ||
                                          (!m_hasRoom && std::string(call.name) == "DeleteRegistryValue"));
  if ((m_fault == Fault::kDiskFull && !needsRoom) || (m_fault == Fault::kFailsOnce && m_calls > m_n)) {
    return true;
  }
  if (m_name.empty()) {
    m_name = call.name;
    m_name += call.path != nullptr ? " " + *call.path : "";
  }
  return false;
}

MachineError FaultMachine::Refusal(const Call& call) {
  MachineError error = ForwardingMachine::Refusal(call);
  if (m_fault == Fault::kDiskFull) {
    error.kind = MachineError::Kind::kDiskFull;
    error.reason = "no space left on device";
  }
  return error;
}

EngineRun::EngineRun(const std::filesystem::path& root) : m_folder(root.string()), m_faults(m_folder) {
  m_host.otherwise(kYes).always(Message::kFileInUse, kCancel).always(Message::kFileInUseBy, kCancel);
  CKestOS::SetMachine(&m_faults);
  CKestProduct::ResetBinPaths();
}

EngineRun::~EngineRun() {
  m_manager.reset();
  CKestOS::SetMachine(nullptr);
}

void EngineRun::start() {
  m_manager.reset();
  m_manager = std::make_unique<CKestExtensionManager>(&m_host);
  m_manager->SetFileWait(0);
  (void)m_manager->Init();
  (void)m_manager->Load();
}

const CKestProduct* EngineRun::product(const std::string& name) const {
  const std::unique_ptr<CKestTypedIterator<CKestProduct*>> products(m_manager->CreateProductIterator());
  while (products->HasNext()) {
    const CKestProduct* one = products->Next();
    if (one->GetName() == name) {
      return one;
    }
  }
  return nullptr;
}

CKestExtension* EngineRun::find(const std::string& name, const std::string& in) const {
  CKestTypedList<CKestExtension*> records;
  m_manager->GetExtensions(product(in), records);
  const auto found =
      std::find_if(records.begin(), records.end(), [&](const CKestExtension* one) { return one->GetName() == name; });
  return found == records.end() ? nullptr : *found;
}

std::vector<std::string> EngineRun::catalogue() const {
  std::vector<std::string> lines;
  for (const char* name : {"Tidemark Nova", "Tidemark 4"}) {
    CKestTypedList<CKestExtension*> records;
    m_manager->GetExtensions(product(name), records);
    for (const CKestExtension* record : records) {
      lines.push_back(std::string(name) + " " + record->GetName() + " " + record->GetVersion().ToText() +
                      (record->IsEnabled() ? " enabled " : " disabled ") + record->GetPath());
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string EngineRun::missingFiles() {
  std::string missing;
  for (const char* name : {"Tidemark Nova", "Tidemark 4"}) {
    CKestTypedList<CKestExtension*> records;
    m_manager->GetExtensions(product(name), records);
    for (const CKestExtension* record : records) {
      std::vector<CString> files;
      if (record->IsEnabled()) {
        files = m_manager->GetInstalledFiles(product(name), record);
      }
      files.push_back(record->GetPath());
      for (const CString& file : files) {
        missing += m_folder.FileExists(file) ? "" : record->GetName() + " lacks " + file + "\n";
      }
    }
  }
  return missing;
}

bool EngineRun::install(const std::string& path, const std::string& into) {
  const CKestProduct* wanted = product(into);
  CKestExtension* replaced = nullptr;
  int restart = 0;
  return m_manager->InstallExtension(&wanted, path.c_str(), &replaced, true, true, true, restart, true, false, false) !=
         nullptr;
}

bool EngineRun::uninstall(const std::string& name) {
  CKestExtension* record = find(name);
  int restart = 0;
  const bool done = m_manager->UninstallExtension(product("Tidemark Nova"), record, false, true, true, true, true,
                                                  restart, false) == 0;
  if (done) {
    std::unique_ptr<CKestExtension>{record}.reset();
  }
  return done;
}

} // namespace kest::test
