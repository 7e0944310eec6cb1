#pragma once

#include "platform/messages/host_ui.h"
#include "products/tidemark.h"

#include <vector>

namespace kest {

/// Path of the copy that is left beside a configuration file: "Menus.xml" is backed up as "Menus.xbk".
[[nodiscard]] CString BackupNameOf(const CString& path);

/// Applies or takes back one set of changes of a web editor: finds the file in every configuration folder concerned,
/// sees to it that there is one, backs it up, edits and saves it. All it does to a disk but the saves is a step in the
/// journal, and every save has a step before it that takes it back.
///
/// Each operation that answers bool answers true for "stop": then the error was counted and recorded.
class ConfigRun {
public:
  using Steps = CKestTypedVector<CKestExtensionInstallStep*>;
  using Operation = CKestProduct::OperationType;

  struct Tally {
    CString& errorText;
    int& critical;
    int& nonCritical;
  };

  /// All borrowed.
  ConfigRun(const CKestTidemark& product, Steps* steps, CKestExtensionManagerUI* ui, Operation operation,
            const Tally& tally);

  [[nodiscard]] bool Run(const CKestConfigChanges* set);
  [[nodiscard]] bool Run(const CKestHelpChanges* set);

private:
  enum class Counting { kCounted, kUncounted };
  enum class Next { kEdit, kNextFolder, kStop };

  // ---- one set
  [[nodiscard]] bool LearnOfUsers();
  [[nodiscard]] bool ChooseFolders(std::vector<CString>& folders);
  [[nodiscard]] bool RunInFolder(const CKestConfigChanges& set, const CString& folder);
  /// Sets m_path and m_existing.
  [[nodiscard]] Next Locate(const CKestConfigChanges& set, const CString& folder);
  [[nodiscard]] Next CopyFreshFile(const CString& relativePath, const CString& folder);
  [[nodiscard]] bool PrepareExisting();
  [[nodiscard]] bool MakeChanges(const CKestConfigChanges& set, CKestXmlFile& file);
  [[nodiscard]] bool MakeOneChange(const CKestConfigChanges& set, CKestConfigChange& change, CKestXmlFile& file);
  [[nodiscard]] bool Save(CKestXmlFile& file);
  [[nodiscard]] bool MakeChanges(const CKestHelpChanges& set, CKestXmlFile& file);

  // ---- the file at hand
  [[nodiscard]] bool MakeUpdatable();
  [[nodiscard]] bool BackUp();
  [[nodiscard]] bool WaitUntilUpdatable();
  [[nodiscard]] bool CreateMissingFolders(const CString& folder);
  [[nodiscard]] bool IsApplying() const {
    return m_operation == Operation::Install || m_operation == Operation::Enable;
  }

  // ---- errors
  [[nodiscard]] bool Stop(CKestConfigChange::ErrorCode code, Counting counting = Counting::kCounted);
  [[nodiscard]] bool Stop(CKestHelpChange::ErrorCode code, Counting counting = Counting::kCounted);
  void Record(CKestConfigChange::ErrorCode code);
  void Record(CKestHelpChange::ErrorCode code);
  void AddProblem(int code, bool help);

  const CKestTidemark& m_product;
  Steps* m_steps;
  HostUi m_ui;
  Operation m_operation;
  Tally m_tally;

  bool m_multiUserMachine = false;
  bool m_perUser = false;  ///< the product keeps its configuration per user on this machine
  bool m_allUsers = false; ///< the changes are for everybody's
  CString m_sharedBinPath; ///< empty when nothing is kept per user
  CString m_path;          ///< of the file at hand, as stored
  bool m_existing = false;
  CString m_change;          ///< the change at hand in words
  bool m_isNoChange = false; ///< m_change is an element that stands for none
  bool m_declined = false;
};

} // namespace kest
