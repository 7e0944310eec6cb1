// Puts back what is missing of an installed extension. A file is taken from wherever its very content is: the hash that
// the install recorded decides, so neither a forged record nor another package can put something else in its place.
#include "manager/repair.h"

#include "config/config_change.h"
#include "description/extension.h"
#include "journal/copy_steps.h"
#include "journal/private_steps.h"
#include "manager/changes.h"
#include "manager/installed_record.h"
#include "manager/operation_scope.h"
#include "manager/tag_scan.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/package/package.h"

#include <algorithm>
#include <map>

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Standing = VerifyReport::State;
using Failure = OperationReport::Failure;

struct RepairContext {
  State& state;
  const CKestProduct& product;
  const CKestExtension& extension;
  const RepairOptions& options;
  std::map<CString, FileDigest> files{};           ///< to be put back; no hash: any content will do
  std::map<CString, std::vector<CString>> lines{}; ///< by configuration file
  std::unordered_map<CString, CString> sources{};  ///< by lower-case path
  std::size_t left = 0;                            ///< what cannot be put back

  void Leave(const CString& path, const CString& reason) {
    ++left;
    state.Note(
        {Failure::kNotFound, path, path + " " + reason, 0, "name the package: --from FILE.kep", CString(), false});
  }
};

bool IsWanted(const RepairContext& context, Standing standing) {
  return standing == Standing::kMissing ||
         (context.options.all && (standing == Standing::kChanged || standing == Standing::kMoved));
}

/// Sorts what is to be put back; false when that cannot be told.
bool FindWanted(RepairContext& context) {
  const VerifyReport report = context.state.owner.VerifyExtension(&context.product, &context.extension);
  if (!report.answered) {
    context.state.FailByMachine(context.extension.GetPath(), "what is missing of it cannot be told");
    return false;
  }
  installed_record::Record record;
  std::unordered_map<CString, FileDigest> digests;
  if (report.recorded) {
    bool damaged = false;
    if (!IsYes(installed_record::Read(context.extension.GetPath(), record, damaged))) {
      context.state.FailByMachine(context.extension.GetPath(), "what its install left cannot be read again");
      return false;
    }
    for (const auto& [path, digest] : record.files) {
      digests[text::Lower(path)] = digest;
    }
  }
  for (const VerifyReport::Entry& entry : report.entries) {
    if (!IsWanted(context, entry.state)) {
      continue;
    }
    if (entry.line.empty()) {
      context.files[entry.path] = digests[text::Lower(entry.path)];
    } else {
      context.lines[entry.path].push_back(entry.line);
    }
  }
  return true;
}

bool IsContent(const CString& path, const FileDigest& wanted) {
  FileDigest digest;
  return CKestOS::FileExists(path) && (wanted.hash.empty() || (DigestFile(path, digest) && digest == wanted));
}

void TakeFromTrash(RepairContext& context) {
  std::unordered_map<CString, std::vector<CString>> byHash;
  for (const auto& [path, digest] : context.files) {
    if (!digest.hash.empty() && !context.sources.contains(text::Lower(path))) {
      byHash[digest.hash].push_back(path);
    }
  }
  if (byHash.empty()) {
    return;
  }
  std::vector<TrashEntry> trash = context.state.owner.GetTrash();
  for (auto entry = trash.rbegin(); entry != trash.rend(); ++entry) {
    std::vector<OperationEffect> effects;
    if (!history::ReadEffects(entry->folder, effects)) {
      continue;
    }
    for (const OperationEffect& effect : effects) {
      const auto wanted = byHash.find(effect.keptHash);
      if (effect.kept.empty() || wanted == byHash.end() ||
          !text::StartsWithNoCase(effect.kept, WithBackslash(entry->folder))) {
        continue;
      }
      for (const CString& path : wanted->second) {
        if (IsContent(effect.kept, context.files[path])) {
          context.sources.try_emplace(text::Lower(path), effect.kept);
        }
      }
    }
  }
}

bool IsSameExtension(const CKestExtension& a, const CKestExtension& b) {
  return text::EqualNoCase(a.GetName(), b.GetName()) && text::EqualNoCase(a.GetAuthorName(), b.GetAuthorName()) &&
         a.CompareVersion(b) == 0;
}

/// The description in the unpacked package, as a path; empty when there is none of this extension.
CString FindDescription(RepairContext& context, CKestPackage& package, const CString& folder) {
  std::vector<PackageEntry> entries;
  if (package.GetEntries(entries) != CKestPackage::kGood) {
    return {};
  }
  for (const PackageEntry& entry : entries) {
    CKestExtension packed;
    CString path = folder + entry.name;
    CKestPath::LocalizePathSeparators(path);
    if (text::EqualNoCase(CKestPath(entry.name).GetExtension(), "kei") &&
        packed.Load(path.c_str(), nullptr) == CKestExtension::kLoaded && IsSameExtension(packed, context.extension)) {
      return path;
    }
  }
  return {};
}

/// False, with the reason, when the package is none of this extension.
bool TakeFromPackage(RepairContext& context, const CString& path, const char* name) {
  State& state = context.state;
  CString temp;
  if (!CKestOS::GetTempPath(temp) || !CKestOS::CreateDirectory(temp + name, false)) {
    state.FailByMachine(temp, "no temporary folder could be made");
    return false;
  }
  const CString folder = temp + name + '\\';
  CKestPackage package(path.c_str());
  CKestOS::GetMachine().ClearLastError();
  if (const int unpacked = package.UnPackTo(folder, [&state] { return state.WantsCancel(); });
      unpacked != CKestPackage::kGood) {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    const bool isOfMachine = unpacked == CKestPackage::kCannotWrite || error.kind == MachineError::Kind::kOther ||
                             FailureOf(error) != Failure::kOther;
    state.Fail(isOfMachine ? FailureOf(error) : Failure::kBadPackage, path,
               "it could not be unpacked: " + package.GetProblem());
    return false;
  }
  const CString description = FindDescription(context, package, folder);
  if (description.empty()) {
    state.Fail(Failure::kBadPackage, path,
               "it is no package of " + context.extension.GetName() + ' ' + context.extension.GetVersion().ToText(), 0,
               "name the one that was installed");
    return false;
  }
  const Restored unpackFolder(state.unpackFolder);
  state.unpackFolder = CKestPath(description).GetFolder();
  const FilePlacement::Resolver resolver(state.placement, &context.product, &context.extension);
  for (const CKestExtensionFile& file : context.extension.GetFiles()) {
    const FilePlace place = IsPlaced(file) ? resolver.Locate(file) : FilePlace{};
    const auto wanted = context.files.find(place.destination.GetText());
    if (place.result == FilePlace::kResolved && !place.unsafe && wanted != context.files.end() &&
        IsContent(place.source.GetText(), wanted->second)) {
      context.sources.try_emplace(text::Lower(wanted->first), place.source.GetText());
    }
  }
  return true;
}

bool FindSources(RepairContext& context) {
  if (!context.options.package.empty() && !TakeFromPackage(context, context.options.package, "repair")) {
    return false;
  }
  if (context.files.empty()) {
    return true;
  }
  TakeFromTrash(context);
  CString name = CKestPath(context.extension.GetPath()).GetFileName();
  CKestPath aside(WithBackslash(context.state.GetDisabledFolder(context.product)) + name);
  aside.SetExtension("kep");
  if (context.sources.size() < context.files.size() && CKestOS::FileExists(aside)) {
    return TakeFromPackage(context, aside.GetText(), "aside");
  }
  return true;
}

bool PutFiles(RepairContext& context) {
  State& state = context.state;
  for (const auto& [path, digest] : context.files) {
    const auto source = context.sources.find(text::Lower(path));
    if (source == context.sources.end()) {
      context.Leave(path, "could not be put back: neither the trash nor a package has it as it was installed");
      continue;
    }
    const bool exists = CKestOS::FileExists(path);
    CKestOS::GetMachine().ClearLastError();
    if (!RecordJudge::IsTarget(path, state.reach)) {
      if (CKestOS::GetMachine().GetLastError().kind != MachineError::Kind::kNone) {
        state.FailByMachine(path, "whether it may be put back cannot be told");
        return false;
      }
      context.Leave(path, "is no place that operations of yours change");
      continue;
    }
    if (state.IsCancelled() || !state.EnsureFolderExists(CKestPath(path).GetFolder())) {
      return false;
    }
    if ((exists && CKestOS::IsFileReadOnly(path) && AppendMakeWritable(&state.journal, path) != 0) ||
        RunStep<CInstallCopyFile>(state.journal, source->second, path, false, false) != 0) {
      state.FailByMachine(path, "it could not be put back");
      return false;
    }
  }
  return true;
}

/// What a file holds now, to tell what of a change is gone.
class Held {
public:
  Held(const CString& path, const std::vector<CString>& missing) : m_missing(missing) {
    CString content;
    m_isKnown = CKestFile::ReadAll(path, content) || CKestOS::GetMachine().FileExists(path) == Answer::kNo;
    for (TagScan tag(content); tag.Next();) {
      if (const std::string_view id = tag.Get("id"); !id.empty()) {
        m_ids.insert(text::Lower(id));
      }
    }
  }
  /// False: the file could not be looked at.
  [[nodiscard]] bool IsKnown() const { return m_isKnown; }
  /// Whether the element, with all that it holds, is gone.
  [[nodiscard]] bool IsGone(const CKestXmlObject& object) const {
    CString xml;
    object.BuildXml(0, xml);
    bool anyId = false;
    for (TagScan tag(xml); tag.Next();) {
      const std::string_view id = tag.Get("id");
      anyId |= !id.empty();
      if (!id.empty() && m_ids.contains(text::Lower(id))) {
        return false;
      }
    }
    return anyId || IsAmongMissing(xml);
  }

private:
  /// Of entries without ids: by the word that they are about.
  [[nodiscard]] bool IsAmongMissing(const CString& xml) const {
    for (TagScan tag(xml); tag.Next();) {
      for (const char* attribute : {"extension", "name"}) {
        const std::string_view word = tag.Get(attribute);
        if (!word.empty() && std::any_of(m_missing.begin(), m_missing.end(), [word](const CString& line) {
              return text::ContainsNoCase(line, CString(word).c_str());
            })) {
          return true;
        }
      }
    }
    return false;
  }
  bool m_isKnown = false;
  std::unordered_set<CString> m_ids;
  const std::vector<CString>& m_missing;
};

/// Leaves of the set what is to be put in again. False when that is nothing.
bool KeepGone(RepairContext& context, CKestConfigChanges& set, const Held& held) {
  std::vector<const CKestXmlObject*> done;
  for (const auto& change : set.GetChildren()) {
    if (change->GetTag().ends_with("-remove")) {
      done.push_back(change.get()); // what it took out was not recorded as missing
      continue;
    }
    if (context.options.all || held.IsGone(*change)) {
      continue;
    }
    std::vector<const CKestXmlObject*> present;
    for (const auto& child : change->GetChildren()) {
      if (!held.IsGone(*child)) {
        present.push_back(child.get());
      }
    }
    for (const CKestXmlObject* child : present) {
      static_cast<void>(change->RemoveChild(child));
    }
    if (!change->HasChildren()) {
      done.push_back(change.get());
    }
  }
  for (const CKestXmlObject* change : done) {
    static_cast<void>(set.RemoveChild(change));
  }
  return set.HasChildren();
}

bool PutEntries(RepairContext& context) {
  if (context.lines.empty()) {
    return true;
  }
  // a record of its own, since its changes are cut down
  CKestExtension whole;
  if (whole.Load(context.extension.GetPath().c_str(), nullptr) != CKestExtension::kLoaded) {
    context.state.Fail(Failure::kBadDescription, context.extension.GetPath(), "the description cannot be read");
    return false;
  }
  CKestExtension part;
  part.SetName(context.extension.GetName());
  CString folder;
  context.product.GetExtensionsFolder(folder);
  const CString configuration = CKestPath(WithoutBackslash(folder)).GetFolder();
  bool anything = false;
  for (const auto& set : whole.GetConfigChanges()) {
    CString relative;
    set->GetPath(relative);
    const auto wanted = std::find_if(context.lines.begin(), context.lines.end(), [&](const auto& one) {
      return text::EqualNoCase(one.first, JoinPath({configuration, relative}));
    });
    if (!set->HasSafePath() || wanted == context.lines.end()) {
      continue;
    }
    const Held held(wanted->first, wanted->second);
    if (!held.IsKnown()) {
      context.state.FailByMachine(wanted->first, "it could not be read");
      return false;
    }
    if (KeepGone(context, *set, held)) {
      part.AddConfigChanges(set.get());
      anything = true;
    }
  }
  return !anything || ProcessChanges(context.state, context.product, part, CKestProduct::Enable);
}

/// Entries that somebody changed, or that could not be told from others. False when nothing can be told.
bool NoteLeft(RepairContext& context) {
  const VerifyReport report = context.state.owner.VerifyExtension(&context.product, &context.extension);
  if (!report.answered) {
    context.state.FailByMachine(context.extension.GetPath(), "what is still missing of it cannot be told");
    return false;
  }
  for (const VerifyReport::Entry& entry : report.entries) {
    if (entry.state == Standing::kMissing && !entry.line.empty()) {
      ++context.left;
      context.state.Note({Failure::kOther, entry.path,
                          entry.path + " has the entry in another form, which was left: " + entry.line, 0,
                          "put it back as well: --all", CString(), false});
    }
  }
  return true;
}

} // namespace

int CKestExtensionManager::RepairExtension(const CKestProduct* product, CKestExtension* extension,
                                           const RepairOptions& options) {
  State& state = *m_state;
  if (product == nullptr || extension == nullptr) {
    return -1;
  }
  return Guarded(state, -1, [&] {
    OperationScope operation(state, OperationReport::Operation::kRepair);
    if (!operation.MayWrite()) {
      return -1;
    }
    state.NameInReport(*product, *extension);
    if (!extension->IsEnabled()) {
      state.Fail(Failure::kOther, extension->GetPath(), "it is disabled", 0,
                 "enable it: kest enable \"" + extension->GetName() + '"');
      return -1;
    }
    if (!state.HasWholeRecord(*extension)) {
      return -1;
    }
    state.placement.Forget();
    StepScope steps(state, "repair " + extension->GetName());
    RepairContext context{state, *product, *extension, options};
    if (!FindWanted(context) || !FindSources(context) || !PutFiles(context) || !PutEntries(context)) {
      state.Fail(Failure::kOther, CString(), "the extension could not be repaired");
      return -1;
    }
    if (!context.lines.empty() && !NoteLeft(context)) {
      return -1;
    }
    if (context.left > 0 && !steps.HasSteps()) {
      state.Fail(Failure::kNotFound, extension->GetPath(), "nothing of what is missing could be put back", 0,
                 "name its package: kest repair \"" + extension->GetName() + "\" --from FILE.kep");
      return -1;
    }
    if (!steps.Commit()) {
      state.Fail(Failure::kOther, CString(), "the extension could not be repaired");
      return -1;
    }
    state.report.restartProduct = state.report.restartProduct || (!context.lines.empty() && product->IsRunning());
    return 0;
  });
}

} // namespace kest
