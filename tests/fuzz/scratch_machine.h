#pragma once

#include "platform/machine_folder/machine_folder.h"

#include <filesystem>
#include <optional>

namespace kest::fuzz {

/// A machine folder with drives C and D and nothing on them but a temporary folder, in force while it lives. It lies in
/// a scratch folder of this process, in memory where the system has a file system for that, which each machine finds
/// empty and which goes with the process, however that ends. One at a time.
class ScratchMachine {
public:
  ScratchMachine();
  ~ScratchMachine();
  ScratchMachine(const ScratchMachine&) = delete;
  ScratchMachine& operator=(const ScratchMachine&) = delete;

  [[nodiscard]] MachineFolder& Get() { return *m_machine; }
  /// The file with its folders; false when the machine refuses the path.
  [[nodiscard]] bool Put(const CString& path, std::string_view content);

  // Past the machine, as the files lie on this system.
  /// What the file holds; none when there is no such file.
  [[nodiscard]] std::optional<CString> Find(const CString& path);
  /// Every file and folder of the scratch folder with contents, but for what lies below `butBelow`.
  [[nodiscard]] CString Describe(const CString& butBelow = {});
  /// Bytes of all files below a folder.
  [[nodiscard]] std::uintmax_t GetBytes(const CString& folder);

private:
  std::optional<MachineFolder> m_machine;
};

} // namespace kest::fuzz
