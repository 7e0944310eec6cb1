#pragma once

#include "manager/manager_state.h"

#include <unordered_set>
#include <vector>

namespace kest {

/// The files that stood where an extension's files went, and that no extension had put there: an install keeps a copy
/// of each beside the records of installs, by steps of its own, and the uninstall that takes the last extension's file
/// away puts it back. The trash does not serve: it forgets.
class Originals {
public:
  /// As part of an install, before its own files are placed; false, and told, when a copy cannot be made.
  [[nodiscard]] static bool Keep(CKestExtensionManager::State& state, const CKestProduct* product,
                                 const std::vector<CString>& paths);

  /// Finds the copies that there are; false, and told, when the machine cannot tell.
  [[nodiscard]] bool Find(CKestExtensionManager::State& state);
  /// Whether there is a copy of what stood at the path.
  [[nodiscard]] bool Has(const CString& path) const;
  /// The copy is not what the install noted: it is not put back.
  void Forget(const CString& path);
  /// Puts it back, by steps; false, and told, when that fails.
  [[nodiscard]] bool PutBack(CKestExtensionManager::State& state, const CString& path) const;
  /// Where the copy of a file lies; false when the machine has no place for it.
  [[nodiscard]] static bool GetCopy(const CString& path, CString& copy);

private:
  std::unordered_set<CString> m_names; ///< of the copies, in lower case
};

} // namespace kest
