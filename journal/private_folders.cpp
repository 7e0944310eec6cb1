#include "journal/private_folders.h"

#include "journal/operation_record.h"

#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <unordered_map>
#include <unordered_set>

namespace kest {

namespace {

constexpr std::size_t kLongestOwnName = 200;
// More than the registry of one user takes.
constexpr std::size_t kRoom = 1u << 20;

// The folders of the process, as far as they are known. They belong to the temporary folder that stands in `temp`: when
// the process gets another one, all of it is forgotten.
struct Folders {
  CString temp; // as GetTempPath gives it
  CString leaf;
  bool ownMade = false;
  std::vector<CString> elsewhere;                // on other volumes, with trailing backslashes
  std::unordered_map<CString, CString> byFolder; // folded folder of a destination -> private folder
  std::unordered_set<CString> deletedFolders;    // those that were made
  std::unordered_set<CString> deletedNames;      // folded
  std::function<bool(const CString&)> note;
  CString room; // the file that holds it; empty when there is none
  bool operationOpen = false;
  bool trashedWhole = false;
};

Folders& State() {
  static auto* const state = new Folders;
  return *state;
}

long s_number = 0;
int s_holds = 0;

void Forget() {
  Folders& state = State();
  state.temp.clear();
  state.leaf.clear();
  state.ownMade = false;
  state.elsewhere.clear();
  state.byFolder.clear();
  state.deletedFolders.clear();
  state.deletedNames.clear();
  state.room.clear();
}

bool RefreshTemp() {
  Folders& state = State();
  CString temp;
  if (!CKestOS::GetTempPath(temp)) {
    return false;
  }
  if (temp != state.temp) {
    Forget();
    state.temp = temp;
    state.leaf = CKestPath(WithoutBackslash(temp)).GetFileName();
  }
  return true;
}

// The topmost folder on the way to `destination` from which a rename leads there gets a private folder of the same name
// as the process's own; below it where the user may not write there.
bool MakeElsewhere(const CString& destination, CString& folder) {
  Folders& state = State();
  Machine& machine = CKestOS::GetMachine();
  std::size_t cut = text::FindBackslash(destination);
  for (; cut != std::string_view::npos; cut = text::FindBackslash(destination, cut + 1)) {
    const CString above = destination.substr(0, cut + 1);
    if (!IsYes(machine.DirectoryExists(above))) {
      return false;
    }
    const CString candidate = above + state.leaf;
    for (const CString& known : state.elsewhere) {
      if (known == candidate + '\\') {
        folder = known;
        return true;
      }
    }
    if (!machine.SameVolume(above, destination)) {
      continue;
    }
    if (state.note && !state.note(candidate)) {
      return false;
    }
    if (machine.CreatePrivateDirectory(candidate)) {
      folder = candidate + '\\';
      state.elsewhere.push_back(folder);
      return true;
    }
  }
  return false;
}

} // namespace

namespace private_folders {

bool GetLeaf(CString& leaf) {
  if (!RefreshTemp()) {
    return false;
  }
  leaf = State().leaf;
  return true;
}

bool GetOwn(CString& folder) {
  if (!RefreshTemp()) {
    return false;
  }
  Folders& state = State();
  folder = state.temp + state.leaf + '\\';
  if (!state.ownMade) {
    if (!CKestOS::GetMachine().CreatePrivateDirectory(state.temp + state.leaf)) {
      return false;
    }
    state.ownMade = true;
  }
  return true;
}

bool GetFor(const CString& destination, CString& folder) {
  CString own;
  if (!GetOwn(own)) {
    return false;
  }
  Folders& state = State();
  const CString key = text::Lower(CKestPath(destination).GetFolder());
  if (const auto known = state.byFolder.find(key); known != state.byFolder.end()) {
    folder = known->second;
    return true;
  }
  if (CKestOS::GetMachine().SameVolume(own, destination)) {
    folder = own;
  } else if (!MakeElsewhere(destination, folder)) {
    return false;
  }
  state.byFolder.emplace(key, folder);
  return true;
}

bool GetDeletedFor(const CString& destination, CString& folder) {
  if (!GetFor(destination, folder)) {
    return false;
  }
  folder += kDeletedFolder;
  if (!State().deletedFolders.contains(folder)) {
    if (!CKestOS::GetMachine().CreatePrivateDirectory(folder)) {
      return false;
    }
    State().deletedFolders.insert(folder);
  }
  folder += '\\';
  return true;
}

CString NextName(const char* prefix) { return prefix + std::to_string(++s_number) + ".tmp"; }

CString NextDeletedName(const CString& fileName) {
  if (fileName.size() <= kLongestOwnName && State().deletedNames.insert(text::Lower(fileName)).second) {
    return fileName;
  }
  CString name = std::to_string(++s_number) + "-";
  name += fileName.size() <= kLongestOwnName ? fileName : CString("file");
  State().deletedNames.insert(text::Lower(name));
  return name;
}

bool HoldRoom() {
  Folders& state = State();
  CString folder;
  if (!GetOwn(folder)) {
    return false;
  }
  if (state.room.empty()) {
    const CString path = folder + kRoomName;
    if (!CKestFile::WriteAll(path, CString(kRoom, '.'))) {
      return false;
    }
    state.room = path;
  }
  return true;
}

void FreeRoom() {
  CString& room = State().room;
  if (!room.empty()) {
    static_cast<void>(CKestOS::GetMachine().DeleteFile(room));
    room.clear();
  }
}

bool Holds(const CString& path) {
  const Folders& state = State();
  if (!state.temp.empty() && text::StartsWithNoCase(path, state.temp)) {
    return true;
  }
  for (const CString& folder : state.elsewhere) {
    if (text::StartsWithNoCase(path, folder)) {
      return true;
    }
  }
  return false;
}

void Drop(const CString& path) {
  if (!path.empty() && !State().operationOpen) {
    static_cast<void>(CKestOS::GetMachine().DeleteFile(path));
  }
}

void SetNote(std::function<bool(const CString&)> note) { State().note = std::move(note); }

void SetOperationOpen(bool open) { State().operationOpen = open; }

bool IsOperationOpen() { return State().operationOpen; }

void SetTrashedWhole(bool whole) { State().trashedWhole = whole; }

bool IsTrashedWhole() { return State().trashedWhole; }

void RemoveAll(bool trashDeleted, const CString& label) {
  Folders& state = State();
  Machine& machine = CKestOS::GetMachine();
  const CString own = state.temp + state.leaf;
  const bool recorded = trashDeleted && state.ownMade && operation_record::IsIn(own);
  if (trashDeleted && !recorded) {
    for (const CString& folder : state.deletedFolders) {
      // what the trash does not take goes with the private folder
      static_cast<void>(machine.MoveFolderToTrash(folder, label.empty() ? state.leaf : label));
    }
  }
  for (const CString& folder : state.elsewhere) {
    const CString path = WithoutBackslash(folder);
    if (!machine.RemoveTree(path) && !machine.RemoveTree(path)) {
      Abandon(); // the journal knows where it is
      return;
    }
  }
  // the journal goes with it, which knows of the folders above
  if ((!recorded || !operation_record::Publish(own, label)) && IsHeld() && state.ownMade) {
    if (!machine.RemoveTree(own) && !machine.RemoveTree(own)) {
      Abandon();
      return;
    }
  }
  Forget();
  if (!IsHeld()) {
    CKestOS::RemoveTempFolder();
  }
}

void Abandon() {
  CKestOS::KeepTempFolder();
  CKestOS::RemoveTempFolder();
  Forget();
}

bool IsHeld() { return s_holds > 0; }

bool IsLeafName(std::string_view name) {
  constexpr std::string_view kPrefix = "kest-";
  if (!name.starts_with(kPrefix)) {
    return false;
  }
  name.remove_prefix(kPrefix.size());
  const std::size_t dash = name.find('-');
  constexpr std::string_view kDigits = "0123456789";
  constexpr std::string_view kLetters = "0123456789abcdefghijklmnopqrstuvwxyz";
  return dash != std::string_view::npos && dash > 0 && dash + 1 < name.size() &&
         name.substr(0, dash).find_first_not_of(kDigits) == std::string_view::npos &&
         name.substr(dash + 1).find_first_not_of(kLetters) == std::string_view::npos;
}

} // namespace private_folders

TempFolderHold::TempFolderHold() { ++s_holds; }

TempFolderHold::~TempFolderHold() {
  if (--s_holds == 0 && !State().operationOpen) {
    try {
      Forget();
      CKestOS::RemoveTempFolder();
    } catch (const std::bad_alloc&) {
      return; // the next start removes it
    }
  }
}

} // namespace kest
