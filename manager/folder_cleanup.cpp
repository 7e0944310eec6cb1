#include "journal/delete_steps.h"
#include "journal/folder_steps.h"
#include "manager/uninstall.h"
#include "platform/machine/os.h"

namespace kest::uninstall {
namespace {

/// Plans which folders go: looks at each once, with what is planned already counted as gone.
class FolderCleanup {
public:
  explicit FolderCleanup(Context& context) : m_context(context) {}

  /// From the folder upwards, as long as folders are empty.
  void CleanUp(CString folder) {
    const CKestProduct* product = FindDeletable(folder);
    if (product == nullptr) {
      return;
    }
    CKestTypedList<CKestString> transient;
    if (m_context.remove) {
      product->GetTransientFolders(transient);
    }
    if (!EmptyTransient(folder, transient, *product)) {
      return;
    }
    CleanUpEmpty(std::move(folder));
  }

  /// The same from above a folder that is gone.
  void CleanUpAbove(const CString& folder) { CleanUpEmpty(WithoutBackslash(CKestPath(folder).GetFolder())); }

  std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
  std::vector<CString> paths;
  bool failed = false; ///< the machine could not tell what a folder holds

private:
  void CleanUpEmpty(CString folder) {
    while (!folder.empty() && FindDeletable(folder) != nullptr && IsEmpty(folder)) {
      PlanFolder(folder);
      folder = WithoutBackslash(CKestPath(folder).GetFolder());
    }
  }

  [[nodiscard]] const CKestProduct* FindDeletable(const CString& folder) const {
    const CKestProduct* product = m_context.state.FindOwner(folder);
    return product != nullptr && product->CanDelete(folder.c_str()) ? product : nullptr;
  }

  [[nodiscard]] bool IsGone(const CString& path) const { return m_gone.count(text::Lower(path)) != 0; }

  /// Entries that are not planned to go. False when the folder is not there, or cannot be listed.
  bool List(const CString& folder, std::vector<FolderEntry>& entries) {
    std::vector<FolderEntry> all;
    if (IsGone(folder)) {
      return false;
    }
    if (const Answer answer = CKestOS::GetMachine().ListFolder(folder, all); !IsYes(answer)) {
      failed = failed || answer == Answer::kCannotTell;
      return false;
    }
    for (FolderEntry& entry : all) {
      if (!IsGone(JoinPath({folder, entry.name}))) {
        entries.push_back(std::move(entry));
      }
    }
    return true;
  }

  [[nodiscard]] bool IsEmpty(const CString& folder) {
    std::vector<FolderEntry> entries;
    return List(folder, entries) && entries.empty();
  }

  static bool Names(const CKestTypedList<CKestString>& names, const CString& name) {
    for (const CKestString& one : names) {
      if (text::EqualNoCase(one, name)) {
        return true;
      }
    }
    return false;
  }

  void PlanFolder(const CString& folder) {
    steps.push_back(std::make_unique<CInstallDeleteFolder>(folder));
    paths.push_back(folder);
    m_gone.insert(text::Lower(folder));
  }

  /// The folder holds nothing but transient folders, and those go.
  bool EmptyTransient(const CString& folder, const CKestTypedList<CKestString>& transient,
                      const CKestProduct& product) {
    std::vector<FolderEntry> entries;
    if (!List(folder, entries)) {
      return false;
    }
    for (const FolderEntry& entry : entries) {
      if (!entry.isFolder || entry.isLink || !Names(transient, entry.name)) {
        return false;
      }
    }
    CKestTypedList<CKestString> extensions;
    product.GetTransientFileExtensions(extensions);
    for (const FolderEntry& entry : entries) {
      const CString path = JoinPath({folder, entry.name});
      if (DeleteContents(path, extensions)) {
        PlanFolder(path);
      }
    }
    return true;
  }

  /// True when the folder is going to be empty. Stops at the first file that has to stay.
  bool DeleteContents(const CString& folder, const CKestTypedList<CKestString>& extensions) {
    std::vector<FolderEntry> entries;
    if (!List(folder, entries)) {
      return false;
    }
    for (const FolderEntry& entry : entries) {
      const CString path = JoinPath({folder, entry.name});
      if (entry.isFolder && !entry.isLink) {
        if (!DeleteContents(path, extensions)) {
          return false;
        }
        PlanFolder(path);
      } else if (!entry.isLink && (extensions.IsEmpty() || Names(extensions, CKestPath(path).GetExtension()))) {
        steps.push_back(std::make_unique<CInstallDeleteFile>(path));
        paths.push_back(path);
        m_gone.insert(text::Lower(path));
      } else {
        return false;
      }
    }
    return true;
  }

  Context& m_context;
  std::unordered_set<CString> m_gone;
};

} // namespace

bool CleanUpFolders(Context& context) {
  CKestExtensionManager::State& state = context.state;
  FolderCleanup cleanup(context);
  for (const CString& folder : context.folders) {
    if (context.goneFolders.count(text::Lower(folder)) != 0) {
      cleanup.CleanUpAbove(folder);
    } else {
      cleanup.CleanUp(folder);
    }
  }
  if (cleanup.failed) {
    state.FailByMachine(CString(), "a folder cannot be looked into");
    return false;
  }
  if (state.journal.Plan(std::move(cleanup.steps)) != 0) {
    state.FailByMachine(CString(), "the journal could not be written");
    return false;
  }
  for (const CString& path : cleanup.paths) {
    CKestOS::GetMachine().ClearLastError();
    if (state.journal.RunNext() == 0) {
      state.knownFolders.erase(text::Lower(path));
    } else if (CKestOS::GetMachine().GetLastError().kind != MachineError::Kind::kNotEmpty) {
      // a folder that somebody filled meanwhile stays; anything else is a failure
      state.FailByMachine(path, "it could not be deleted");
      state.journal.EndPass();
      return false;
    }
  }
  state.journal.EndPass();
  return true;
}

} // namespace kest::uninstall
