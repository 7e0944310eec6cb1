#include "windows/temp_machine.h"

#include "support/machine_facts.h"

namespace kest::test {
namespace {

constexpr const char* kFolders[] = {"C:\\", "C:\\windows\\temp\\"};

} // namespace

TempMachine::~TempMachine() {
  CKestOS::SetMachine(nullptr);
  for (const CString& path : List()) {
    if (!m_before.contains(path)) {
      EXPECT_TRUE(m_machine.RemoveTree(path) || (m_machine.SetFileReadOnly(path, false) && m_machine.DeleteFile(path)))
          << path;
    }
  }
}

void TempMachine::Write(const CString& path, std::string_view content, std::int64_t date) {
  ASSERT_TRUE(m_machine.CreateDirectory(path.substr(0, path.rfind('\\'))));
  const auto file = m_machine.Open(path, OpenMode::kReplace);
  ASSERT_TRUE(file && file->Write(content.data(), content.size()) && file->SetDate(CKestDateTime(date)) &&
              file->Close())
      << path;
}

std::set<CString> TempMachine::List() {
  std::set<CString> paths;
  for (const char* folder : kFolders) {
    std::vector<FolderEntry> entries;
    EXPECT_TRUE(IsYes(m_machine.ListFolder(folder, entries)));
    for (const FolderEntry& entry : entries) {
      paths.insert(folder + entry.name);
    }
  }
  return paths;
}

/// The names there: what a layer that forgets must not add to.
std::map<std::string, std::string> TracesOf(const std::filesystem::path& folder) {
  std::map<std::string, std::string> traces;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    traces[entry.path().string()] = entry.is_directory() ? "folder" : std::to_string(entry.file_size());
  }
  return traces;
}

} // namespace kest::test
