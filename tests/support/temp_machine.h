#pragma once

#include "support/source_folder.h"

#include "platform/machine_folder/machine_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace kest::test {

/// One file, folder or link below a machine folder, as it lies on the disk.
struct SnapshotEntry {
  enum class Kind { kFile, kFolder, kLink } kind = Kind::kFile;
  std::uint64_t hash = 0; ///< of the bytes, or of a link's target
  std::uint64_t size = 0;
  bool readOnly = false;
  std::int64_t date = 0; ///< whole seconds; files alone (a folder's changes with what is done inside)
  auto operator<=>(const SnapshotEntry&) const = default;
};

/// The bytes of a file of this system; none when there is no such file.
[[nodiscard]] std::string ReadHostFile(const std::filesystem::path& path);
/// A sample below tests/data/config.
[[nodiscard]] inline std::string ConfigSample(const std::string& name) {
  return ReadHostFile(SourceFolder() + "/tests/data/config/" + name);
}

/// Everything below a machine folder: drives, registry, machine.ini and trash, by path from its root with "/".
struct MachineSnapshot {
  std::map<std::string, SnapshotEntry> entries;
  bool operator==(const MachineSnapshot&) const = default;
};

[[nodiscard]] MachineSnapshot TakeSnapshot(const std::filesystem::path& root);
/// One line for each path that came, went or changed, saying how; empty when the two are equal. Paths for which
/// `ignore` says true are passed over.
[[nodiscard]] std::string DescribeDifference(
    const MachineSnapshot& before, const MachineSnapshot& after,
    const std::function<bool(const std::string&)>& ignore = [](const std::string&) { return false; });

/// Whether the path, from a machine's root, is of what is kept of operations that are over: trash, history, records.
[[nodiscard]] inline bool IsOfThePast(std::string_view path) {
  return path.starts_with("trash") || path == "drive_c/ProgramData" || path.starts_with("drive_c/ProgramData/Kest");
}

/// A machine folder in a temporary folder of its own: machine.ini with one user, "Tester" (type 2), an empty registry,
/// C:\windows with system32, Fonts and temp, C:\Program Files, C:\ProgramData and the user's application data. In force
/// as long as it lives; removed at the end.
class TempMachine {
public:
  TempMachine();
  ~TempMachine();
  TempMachine(const TempMachine&) = delete;
  TempMachine& operator=(const TempMachine&) = delete;

  [[nodiscard]] MachineFolder& Get() { return *m_machine; }
  /// The machine folder on this system.
  [[nodiscard]] const std::filesystem::path& GetRoot() const { return m_root; }
  /// A folder of this test outside the machine.
  [[nodiscard]] const std::filesystem::path& GetOutside() const { return m_outside; }
  /// Frees the machine and opens its folder again, as a second process would.
  void Reopen();

  // Straight on the disk, past the machine in force, so that a failing machine does not hinder a test. Windows paths
  // spelled as on disk; drive C alone.
  [[nodiscard]] std::filesystem::path HostPath(std::string_view windowsPath) const;
  /// Folders are made.
  void Write(std::string_view windowsPath, std::string_view content, std::int64_t date = kDate) const;
  [[nodiscard]] std::string Read(std::string_view windowsPath) const;
  [[nodiscard]] bool Exists(std::string_view windowsPath) const;
  void MakeFolder(std::string_view windowsPath) const;
  void SetReadOnly(std::string_view windowsPath, bool readOnly) const;
  [[nodiscard]] std::int64_t GetDate(std::string_view windowsPath) const;

  [[nodiscard]] MachineSnapshot Snapshot() const { return TakeSnapshot(m_root); }

  /// What Write gives a file when nothing else is said: 2004-05-06 07:08:09 UTC.
  static constexpr std::int64_t kDate = 1083827289;

private:
  std::filesystem::path m_base;
  std::filesystem::path m_root;
  std::filesystem::path m_outside;
  std::unique_ptr<MachineFolder> m_machine;
};

/// Base of tests that need a machine.
class TempMachineTest : public ::testing::Test {
protected:
  TempMachine m_pc;
};

} // namespace kest::test
