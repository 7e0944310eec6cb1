#include "manager/originals.h"

#include "description/extension.h"
#include "journal/copy_steps.h"
#include "journal/delete_steps.h"
#include "journal/folder_steps.h"
#include "journal/history.h"
#include "journal/private_steps.h"
#include "manager/installed_record.h"
#include "manager/references.h"
#include "platform/machine/os.h"
#include "platform/text/sha256.h"

namespace kest {
namespace {

constexpr std::size_t kNameDigits = 16;
constexpr const char* kEnding = ".original";

CString NameFor(const CString& path) {
  const CString key = text::Lower(path);
  Sha256 hash;
  hash.Add(key.data(), key.size());
  return hash.Finish().substr(0, kNameDigits) + kEnding;
}

bool GetFolder(CString& folder) {
  if (!history::GetFolder(folder)) {
    return false;
  }
  folder += CString(installed_record::kFolder) + '\\';
  return true;
}

} // namespace

bool Originals::GetCopy(const CString& path, CString& copy) {
  if (!GetFolder(copy)) {
    return false;
  }
  copy += NameFor(path);
  return true;
}

bool Originals::Keep(CKestExtensionManager::State& state, const CKestProduct* product,
                     const std::vector<CString>& paths) {
  References references(state, product, nullptr);
  for (const CString& path : paths) {
    const CKestExtension* holder = references.FindHolder(path);
    CString copy;
    if ((holder != nullptr && holder->IsEnabled()) || !GetCopy(path, copy)) {
      continue;
    }
    std::vector<CString> missing;
    bool done = state.CollectMissingFolders(CKestPath(copy).GetFolder(), missing);
    for (std::size_t i = 0; done && i < missing.size(); ++i) {
      done = RunStep<CInstallCreateFolder>(state.journal, missing[i]) == 0;
    }
    if (!done || RunStep<CInstallCopyFile>(state.journal, path, copy, false, false) != 0) {
      state.FailByMachine(path, "no copy of it could be kept for the uninstall");
      return false;
    }
  }
  return true;
}

bool Originals::Find(CKestExtensionManager::State& state) {
  m_names.clear();
  CString folder;
  if (!GetFolder(folder)) {
    return true;
  }
  Machine& machine = CKestOS::GetMachine();
  folder = WithoutBackslash(folder);
  std::vector<FolderEntry> entries;
  const Answer presence = machine.DirectoryExists(folder);
  if (presence == Answer::kNo) {
    return true;
  }
  if (presence == Answer::kCannotTell || !IsYes(machine.ListFolder(folder, entries))) {
    state.FailByMachine(folder, "it cannot be listed");
    return false;
  }
  for (const FolderEntry& entry : entries) {
    if (!entry.isFolder && !entry.isLink && text::EndsWithNoCase(entry.name, kEnding)) {
      m_names.insert(text::Lower(entry.name));
    }
  }
  return true;
}

bool Originals::Has(const CString& path) const { return !m_names.empty() && m_names.contains(NameFor(path)); }

void Originals::Forget(const CString& path) { m_names.erase(NameFor(path)); }

bool Originals::PutBack(CKestExtensionManager::State& state, const CString& path) const {
  CString copy;
  if (!GetCopy(path, copy) || !state.EnsureFolderExists(CKestPath(path).GetFolder()) ||
      (CKestOS::IsFileReadOnly(path) && AppendMakeWritable(&state.journal, path) != 0) ||
      RunStep<CInstallCopyFile>(state.journal, copy, path, false, false) != 0 ||
      RunStep<CInstallDeleteFile>(state.journal, copy) != 0) {
    state.FailByMachine(path, "what stood there before the extension could not be put back");
    return false;
  }
  return true;
}

} // namespace kest
