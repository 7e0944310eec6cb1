#include "reliability/engine_run.h"

#include "description/extension.h"
#include "platform/machine/os.h"

#include <csignal>
#include <set>

#include <unistd.h>

namespace kest::test {

CString FaultMachine::s_otherVolume;

namespace {

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
  return FileExists(to) == Answer::kNo && CopyFile(from, to) && DeleteFile(from);
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
  return !isBelow(path, s_otherVolume) && ForwardingMachine::MoveFileToTrash(path);
}

bool FaultMachine::MoveFolderToTrash(const CString& path, const CString& label) {
  return !isBelow(path, s_otherVolume) && ForwardingMachine::MoveFolderToTrash(path, label);
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

std::string EngineRun::missingFiles() {
  std::string missing;
  for (const CKestProduct* in : {nova(), four()}) {
    for (const CKestExtension* record : records(in)) {
      std::vector<CString> files;
      if (record->IsEnabled()) {
        files = manager().GetInstalledFiles(in, record);
      }
      files.push_back(record->GetPath());
      for (const CString& file : files) {
        missing += IsYes(m_folder.FileExists(file)) ? "" : record->GetName() + " lacks " + file + "\n";
      }
    }
  }
  return missing;
}

} // namespace kest::test
