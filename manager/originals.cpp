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

using State = CKestExtensionManager::State;
using Steps = std::vector<std::unique_ptr<CKestExtensionInstallStep>>;

constexpr std::size_t kNameDigits = 16;

/// Whether both hold the same; kNo also when the second is not there.
Answer IsSame(const CString& path, const CString& copy) {
  FileDigest one;
  FileDigest other;
  if (const Answer presence = CKestOS::GetMachine().FileExists(copy); presence != Answer::kYes) {
    return presence;
  }
  if (!DigestFile(path, one) || !DigestFile(copy, other)) {
    return Answer::kCannotTell;
  }
  return one == other ? Answer::kYes : Answer::kNo;
}

/// The step that copies the file; null when what it copies cannot be prepared.
std::unique_ptr<CKestExtensionInstallStep> MakeCopyStep(const Originals::Replaced& file, const CString& copy) {
  CString source = file.path;
  if (file.readOnly) { // the mark is off by now, and the copy takes it from what it is made of
    CString temp;
    if (!CKestOS::GetTempPath(temp) || !CKestOS::GetTempFileName(temp, "org", source) ||
        !CKestOS::CopyFile(file.path, source) || !CKestOS::GetMachine().SetFileReadOnly(source, true)) {
      return nullptr;
    }
  }
  return std::make_unique<CInstallCopyFile>(source, copy, false, false);
}

bool RunAll(State& state, Steps steps) {
  const std::size_t count = steps.size();
  bool done = count == 0 || state.journal.Plan(std::move(steps)) == 0;
  for (std::size_t i = 0; done && i < count; ++i) {
    done = !state.IsCancelled() && state.journal.RunNext() == 0;
  }
  if (count > 0) {
    state.journal.EndPass();
  }
  return done;
}

/// The folder of the copies is ours, not the user's: no display tells of it.
bool AddFolderSteps(State& state, const CString& copy, Steps& steps) {
  std::vector<CString> missing;
  if (!state.CollectMissingFolders(CKestPath(copy).GetFolder(), missing)) {
    return false;
  }
  for (const CString& folder : missing) {
    steps.push_back(std::make_unique<CInstallCreateFolder>(folder));
  }
  return true;
}

} // namespace

bool Originals::GetCopy(const CString& path, CString& copy) {
  if (!history::GetFolder(copy)) {
    return false;
  }
  const CString key = text::Lower(path);
  Sha256 hash;
  hash.Add(key.data(), key.size());
  copy += CString(installed_record::kFolder) + '\\' + hash.Finish().substr(0, kNameDigits) + ".original";
  return true;
}

bool Originals::IsKept(const CString& path) {
  CString copy;
  return GetCopy(path, copy) && IsYes(IsSame(path, copy));
}

bool Originals::Keep(State& state, const CKestProduct* product, std::vector<Replaced>& files) {
  References others(state, product, nullptr, References::Among::kEnabled);
  Steps steps;
  std::vector<Replaced> kept;
  for (Replaced& file : files) {
    CString copy;
    if (!GetCopy(file.path, copy)) {
      continue;
    }
    const bool isAnExtensions = others.Holds(file.path);
    const Answer isThere = isAnExtensions ? CKestOS::GetMachine().FileExists(copy) : IsSame(file.path, copy);
    bool done = isThere != Answer::kCannotTell && others.GetUnread().empty();
    if (done && !isAnExtensions && isThere == Answer::kNo) {
      done = !steps.empty() || AddFolderSteps(state, copy, steps);
      auto step = done ? MakeCopyStep(file, copy) : nullptr;
      done = step != nullptr && AppendMakeWritable(&state.journal, copy) == 0;
      steps.push_back(std::move(step));
    }
    if (!done) {
      state.FailByMachine(file.path, "no copy of it could be kept for the uninstall");
      return false;
    }
    if (!isAnExtensions || isThere == Answer::kYes) {
      kept.push_back(std::move(file));
    }
  }
  files = std::move(kept);
  if (!RunAll(state, std::move(steps))) {
    state.FailByMachine(files.front().path, "no copy of it could be kept for the uninstall");
    return false;
  }
  return true;
}

bool Originals::PutBack(State& state, const std::vector<CString>& paths, bool forGood) {
  Steps steps;
  for (const CString& path : paths) {
    CString copy;
    if (!GetCopy(path, copy) || !state.EnsureFolderExists(CKestPath(path).GetFolder()) ||
        AppendMakeWritable(&state.journal, path) != 0) {
      state.FailByMachine(path, "what stood there before the extension could not be put back");
      return false;
    }
    steps.push_back(std::make_unique<CInstallCopyFile>(copy, path, false, false));
    if (forGood) {
      steps.push_back(std::make_unique<CInstallDeleteFile>(copy));
    }
  }
  if (!RunAll(state, std::move(steps))) {
    state.FailByMachine(paths.front(), "what stood there before the extension could not be put back");
    return false;
  }
  return true;
}

bool Originals::Find(const CKestExtension& extension) {
  installed_record::Record record;
  bool isDamaged = false;
  const Answer isRecorded = installed_record::Read(extension.GetPath(), record, isDamaged);
  if (isRecorded != Answer::kYes) {
    return isRecorded == Answer::kNo;
  }
  for (const auto& [path, noted] : record.originals) {
    CString copy;
    FileDigest found;
    if (!GetCopy(path, copy)) {
      return false;
    }
    const Answer isThere = CKestOS::GetMachine().FileExists(copy);
    if (isThere == Answer::kCannotTell || (isThere == Answer::kYes && !DigestFile(copy, found))) {
      return false;
    }
    const bool returns = isThere == Answer::kYes && found == noted;
    m_fates[text::Lower(path)] = returns ? Fate::kReturns : Fate::kLost;
    if (!returns) {
      m_lost.push_back(path);
    }
  }
  return true;
}

Originals::Fate Originals::Get(const CString& path) const {
  const auto found = m_fates.empty() ? m_fates.end() : m_fates.find(text::Lower(path));
  return found == m_fates.end() ? Fate::kNone : found->second;
}

} // namespace kest
