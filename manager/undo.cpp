#include "journal/copy_steps.h"
#include "journal/delete_steps.h"
#include "journal/file_digest.h"
#include "journal/folder_steps.h"
#include "journal/private_steps.h"
#include "manager/operation_scope.h"
#include "platform/machine/os.h"
#include "platform/package/package.h"
#include "products/config_processing.h"

#include <algorithm>

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Failure = OperationReport::Failure;

/// What an undo is about, and what its phases find out for each other.
struct UndoContext {
  State& state;
  const History& history;
  const HistoryEntry& entry;
  std::vector<OperationEffect> effects{};
  std::unordered_map<CString, CString> unpacked{}; ///< lower-case package -> folder with its files

  bool Refuse(const CString& path, const CString& reason, Failure kind = Failure::kOther, const CString& next = {}) {
    state.Fail(kind, path, reason, 0, next);
    return false;
  }
};

/// Who changed the path since, in words.
CString WhoChanged(const UndoContext& context, const CString& path) {
  for (const HistoryEntry& later : context.history.entries) {
    std::vector<OperationEffect> effects;
    if (later.number <= context.entry.number || later.kept.empty() || !history::ReadEffects(later.kept, effects)) {
      continue;
    }
    const bool touched = std::any_of(effects.begin(), effects.end(), [&path](const OperationEffect& effect) {
      return text::EqualNoCase(effect.path, path);
    });
    if (touched) {
      return "operation " + std::to_string(later.number) + " (" + later.operation + ' ' + later.extension +
             ") has changed it since";
    }
  }
  return "somebody has changed it since";
}

/// Whether the path is as the operation left it.
bool IsAsLeft(UndoContext& context, const OperationEffect& effect) {
  const Answer presence = CKestOS::GetMachine().FileExists(effect.path);
  if (presence == Answer::kCannotTell) {
    context.state.FailByMachine(effect.path, "it cannot be looked at");
    return false;
  }
  FileDigest digest;
  const bool isThere = presence == Answer::kYes;
  if (isThere && effect.exists && !DigestFile(effect.path, digest)) {
    context.state.FailByMachine(effect.path, "it cannot be read");
    return false;
  }
  if (isThere != effect.exists || (effect.exists && digest.hash != effect.hash)) {
    return context.Refuse(effect.path, WhoChanged(context, effect.path), Failure::kOther,
                          "take back what came later first");
  }
  if (effect.exists && !CKestOS::CanUpdateFile(effect.path) && !CKestOS::IsFileReadOnly(effect.path)) {
    context.state.FailByMachine(effect.path, "it cannot be put back now");
    return false;
  }
  return true;
}

/// The record of an operation may have been put there by somebody.
bool IsWithinReach(UndoContext& context, const OperationEffect& effect) {
  const Reach& reach = context.state.reach;
  const bool isKeptHere = effect.kept.empty() || RecordJudge::IsTarget(effect.kept, reach) ||
                          text::StartsWithNoCase(effect.kept, WithBackslash(context.entry.kept));
  const bool isOnTheWay = effect.isFolder && reach.LiesIn(effect.path) && RecordJudge::IsPlain(effect.path);
  if ((isOnTheWay || RecordJudge::IsTarget(effect.path, reach)) && isKeptHere &&
      (effect.package.empty() || RecordJudge::IsTarget(effect.package, reach))) {
    return true;
  }
  return context.Refuse(effect.path, "the record names a place that no operation of yours has changed");
}

bool IsKept(UndoContext& context, const OperationEffect& effect) {
  if (!effect.package.empty()) {
    return true; // a file that the operation made, and so was looked at
  }
  if (effect.kept.empty()) {
    return effect.exists || context.Refuse(effect.path, "what was there is not kept");
  }
  FileDigest digest;
  if (CKestOS::GetMachine().FileExists(effect.kept) != Answer::kYes ||
      (!effect.keptHash.empty() && (!DigestFile(effect.kept, digest) || digest.hash != effect.keptHash))) {
    return context.Refuse(effect.path, "what the trash kept of it is gone or damaged");
  }
  return true;
}

bool CheckEffects(UndoContext& context) {
  for (const OperationEffect& effect : context.effects) {
    if (context.state.IsCancelled() || !IsWithinReach(context, effect)) {
      return false;
    }
    if (effect.isFolder) {
      continue;
    }
    if (!effect.whyForGood.empty()) {
      context.state.report.kept.push_back({effect.path, OperationReport::Why::kSystemFile, CString()});
    } else if (!IsAsLeft(context, effect) || (effect.existed && !IsKept(context, effect))) {
      return false;
    }
  }
  return true;
}

/// The package's files, in a private folder.
bool Unpack(UndoContext& context, const CString& path, CString& folder) {
  const auto [known, isNew] = context.unpacked.try_emplace(text::Lower(path));
  if (isNew) {
    CString temp;
    CKestPackage package(path.c_str());
    if (!CKestOS::GetTempPath(temp) ||
        !CKestOS::CreateDirectory(temp + "aside" + std::to_string(context.unpacked.size()), false)) {
      context.state.FailByMachine(temp, "no temporary folder could be made");
      return false;
    }
    known->second = temp + "aside" + std::to_string(context.unpacked.size()) + '\\';
    if (package.UnPackTo(known->second, [&] { return context.state.WantsCancel(); }) != CKestPackage::kGood) {
      return context.Refuse(path, "it could not be unpacked: " + package.GetProblem(), Failure::kBadPackage);
    }
  }
  folder = known->second;
  return true;
}

/// The file to put back: what is kept itself, or a private copy where date or mark are to be set.
bool FindSource(UndoContext& context, const OperationEffect& effect, CString& source) {
  CString folder;
  if (!effect.package.empty()) {
    if (!Unpack(context, effect.package, folder)) {
      return false;
    }
    source = folder + effect.entry;
  } else {
    source = effect.kept.empty() ? effect.path : effect.kept;
    if (!effect.readOnly) {
      return true;
    }
  }
  CString temp;
  if (!CKestOS::GetTempPath(temp) || !CKestOS::GetTempFileName(temp, "und", folder) ||
      !CKestOS::CopyFile(source, folder) ||
      (!effect.package.empty() && !CKestOS::SetFileDateTime(folder, effect.date)) ||
      (effect.readOnly && !CKestOS::GetMachine().SetFileReadOnly(folder, true))) {
    context.state.FailByMachine(effect.path, "what was there could not be prepared");
    return false;
  }
  source = folder;
  return true;
}

bool MakeFolders(UndoContext& context) {
  std::vector<CString> folders;
  for (const OperationEffect& effect : context.effects) {
    if (effect.isFolder && effect.existed && !effect.exists) {
      folders.push_back(effect.path);
    }
  }
  std::sort(folders.begin(), folders.end());
  for (const CString& folder : folders) {
    if (!context.state.EnsureFolderExists(folder)) {
      return false;
    }
  }
  return true;
}

bool PutFiles(UndoContext& context) {
  State& state = context.state;
  std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
  std::vector<const OperationEffect*> planned;
  for (const OperationEffect& effect : context.effects) {
    if (effect.isFolder || !effect.whyForGood.empty() || !effect.existed) {
      continue;
    }
    CString source;
    if (!state.EnsureFolderExists(CKestPath(effect.path).GetFolder()) || !FindSource(context, effect, source)) {
      return false;
    }
    if (effect.exists && AppendMakeWritable(&state.journal, effect.path) != 0) {
      state.FailByMachine(effect.path, "its read-only mark cannot be taken off");
      return false;
    }
    steps.push_back(std::make_unique<CInstallCopyFile>(source, effect.path, false, false));
    planned.push_back(&effect);
  }
  for (const OperationEffect& effect : context.effects) {
    if (!effect.isFolder && effect.whyForGood.empty() && !effect.existed && effect.exists) {
      steps.push_back(std::make_unique<CInstallDeleteFile>(effect.path));
      planned.push_back(&effect);
    }
  }
  if (state.journal.Plan(std::move(steps)) != 0) {
    state.FailByMachine(CString(), "the journal could not be written");
    return false;
  }
  for (const OperationEffect* effect : planned) {
    if (state.IsCancelled() || state.journal.RunNext() != 0) {
      state.FailByMachine(effect->path, "it could not be put back");
      state.journal.EndPass();
      return false;
    }
  }
  state.journal.EndPass();
  return true;
}

/// Those that the operation made; one that somebody put something into stays.
bool RemoveFolders(UndoContext& context) {
  std::vector<CString> folders;
  for (const OperationEffect& effect : context.effects) {
    if (effect.isFolder && !effect.existed && effect.exists) {
      folders.push_back(effect.path);
    }
  }
  std::sort(folders.rbegin(), folders.rend());
  for (const CString& folder : folders) {
    if (!CKestOS::IsDirectoryEmpty(folder)) {
      continue;
    }
    if (RunStep<CInstallDeleteFolder>(context.state.journal, folder) != 0) {
      context.state.FailByMachine(folder, "it could not be removed");
      return false;
    }
  }
  return true;
}

using Phase = bool (*)(UndoContext&);
constexpr Phase kPhases[] = {CheckEffects, MakeFolders, PutFiles, RemoveFolders};

bool RunPhases(UndoContext& context) {
  for (const Phase phase : kPhases) {
    if (context.state.IsCancelled() || !phase(context)) {
      return false;
    }
  }
  return true;
}

/// Of the files that are put back, those of the products' configuration: an operation leaves a copy beside each.
std::vector<CString> FindConfiguration(const std::vector<OperationEffect>& effects) {
  std::unordered_set<CString> touched;
  for (const OperationEffect& effect : effects) {
    touched.insert(text::Lower(effect.path));
  }
  std::vector<CString> paths;
  for (const OperationEffect& effect : effects) {
    if (!effect.isFolder && effect.existed && effect.exists &&
        touched.contains(text::Lower(BackupNameOf(effect.path)))) {
      paths.push_back(effect.path);
    }
  }
  return paths;
}

/// The operation to take back; null, with the reason in the report, when there is none.
const HistoryEntry* FindOperation(State& state, const History& history, long number) {
  if (history.entries.empty()) {
    state.Fail(Failure::kNotFound, CString(), "the history of the machine is empty", 0, "see: kest history");
    return nullptr;
  }
  const auto found = number == 0 ? std::prev(history.entries.end())
                                 : std::find_if(history.entries.begin(), history.entries.end(),
                                                [number](const HistoryEntry& entry) { return entry.number == number; });
  if (found == history.entries.end()) {
    state.Fail(Failure::kNotFound, CString(), "the history has no operation " + std::to_string(number), 0,
               "see: kest history");
    return nullptr;
  }
  for (auto later = history.entries.rbegin(); later != history.entries.rend(); ++later) {
    if (later->undoes == found->number) {
      // an undo that was itself undone counts for nothing
      const bool standing = std::none_of(history.entries.begin(), history.entries.end(),
                                         [&](const HistoryEntry& one) { return one.undoes == later->number; });
      if (standing) {
        state.Fail(Failure::kOther, CString(),
                   "operation " + std::to_string(later->number) + " has taken it back already", 0,
                   "take that one back to have it again");
        return nullptr;
      }
    }
  }
  return &*found;
}

} // namespace

int CKestExtensionManager::UndoOperation(long number) {
  State& state = *m_state;
  return Guarded(state, -1, [&] {
    OperationScope operation(state, OperationReport::Operation::kUndo);
    if (!operation.MayWrite()) {
      return -1;
    }
    const History history = history::Read();
    if (!history.isComplete) {
      state.FailByMachine(CString(), "the history of the machine cannot be read");
      return -1;
    }
    const HistoryEntry* entry = FindOperation(state, history, number);
    if (entry == nullptr) {
      return -1;
    }
    state.report.undoes = entry->number;
    state.report.extension = entry->extension;
    state.report.author = entry->author;
    state.report.version = entry->version;
    state.report.product = entry->product;
    UndoContext context{.state = state, .history = history, .entry = *entry};
    if (entry->kept.empty() || !history::ReadEffects(entry->kept, context.effects)) {
      state.Fail(Failure::kNotFound, entry->kept,
                 entry->kept.empty() ? "the trash does not keep what it replaced and deleted any more"
                                     : "what the trash keeps of it cannot be read");
      return -1;
    }
    StepScope steps(state, "undo of operation " + std::to_string(entry->number));
    Catalogue after; // read while all can still be taken back
    bool isDone = RunPhases(context);
    if (isDone) {
      state.ReadCatalogueOnce(after);
      isDone = steps.Commit();
    }
    if (!isDone) {
      state.Fail(Failure::kOther, CString(), "the operation could not be undone");
      return -1;
    }
    state.catalogue.Swap(after);
    AfterDone([&] {
      state.report.configuration = FindConfiguration(context.effects);
      for (const auto& product : state.products) {
        CString name;
        product->GetName(name);
        state.report.restartProduct = state.report.restartProduct || (name == entry->product && product->IsRunning());
      }
    });
    return 0;
  });
}

History CKestExtensionManager::GetHistory() const { return history::Read(); }

bool CKestExtensionManager::GetEffects(long number, std::vector<OperationEffect>& effects) const {
  effects.clear();
  for (const TrashEntry& entry : GetTrash()) {
    if (entry.number == number) {
      return history::ReadEffects(entry.folder, effects);
    }
  }
  return false;
}

std::vector<TrashEntry> CKestExtensionManager::GetTrash() const {
  std::vector<TrashEntry> trash;
  static_cast<void>(history::ListTrash(trash)); // GetHistory tells a trash that cannot be listed
  return trash;
}

int CKestExtensionManager::EmptyTrash(const TrashLimits& limits, std::vector<TrashEntry>& dropped) {
  OperationScope operation(*m_state, OperationReport::Operation::kNone);
  if (!operation.MayWrite()) {
    return -1;
  }
  if (!history::DropTrash(limits, dropped)) {
    m_state->FailByMachine(CString(), "not all of the trash could be emptied");
    return -1;
  }
  return 0;
}

} // namespace kest
