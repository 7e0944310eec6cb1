#pragma once

#include "manager/manager_state.h"

#include <unordered_map>
#include <vector>

namespace kest {

/// The files that stood where an extension's files went, and that no extension had put there: an install keeps a copy
/// of each beside the records of installs, by steps of its own. When the last enabled extension that has the place is
/// disabled or uninstalled, the file comes back; the copy goes with the last one that is installed. The trash does not
/// serve: it forgets.
class Originals {
public:
  using State = CKestExtensionManager::State;

  /// What becomes of the file that stood at a place.
  enum class Fate {
    kNone,    ///< nothing did, or nothing is known of it
    kReturns, ///< it comes back
    kLost,    ///< its copy is gone, or is not what the install noted
  };

  /// One file that an install is about to replace.
  struct Replaced {
    CString path;
    bool readOnly = false; ///< it had the mark when the install began
  };
  /// As part of an install, before its own files are placed. Leaves in the list those of which there is a copy then;
  /// false, and told, when one cannot be made.
  [[nodiscard]] static bool Keep(State& state, const CKestProduct* product, std::vector<Replaced>& files);
  /// Whether the file is the one that a copy was kept of; not when the machine cannot tell.
  [[nodiscard]] static bool IsKept(const CString& path);
  /// Plans and runs, as part of a disable or uninstall, the steps that put the files back, and, of those that are not
  /// to come back again, delete the copies; false, and told, when that fails.
  [[nodiscard]] static bool PutBack(State& state, const std::vector<CString>& paths, bool forGood);
  /// Where the copy of a file lies; false when the machine has no place for it.
  [[nodiscard]] static bool GetCopy(const CString& path, CString& copy);

  /// Looks up what the install of the extension noted; false when the machine cannot tell.
  [[nodiscard]] bool Find(const CKestExtension& extension);
  [[nodiscard]] Fate Get(const CString& path) const;
  /// Paths of those that do not come back.
  [[nodiscard]] const std::vector<CString>& GetLost() const { return m_lost; }

private:
  std::unordered_map<CString, Fate> m_fates; ///< by lower-case path
  std::vector<CString> m_lost;
};

} // namespace kest
