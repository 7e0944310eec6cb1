#include "platform/machine/overlay_state.h"

#include "platform/text/path.h"

#include <algorithm>

// Files and folders that are moved, copied, marked and deleted.

namespace kest {
namespace {

using Kind = MachineError::Kind;
using State = OverlayMachine::State;

constexpr const char* kFolderInTheWay = "a folder has the name";
constexpr const char* kReadOnly = "the file is read-only";
constexpr const char* kOtherVolume = "it lies outside the drive, or on another volume";

/// Whether a folder is another one, or lies in it.
bool LiesIn(const LayerFolder& folder, const LayerEntry& entry) {
  if (entry.folder == nullptr) {
    return false;
  }
  return entry.folder.get() == &folder || std::any_of(entry.folder->entries.begin(), entry.folder->entries.end(),
                                                      [&](const auto& one) { return LiesIn(folder, one.second); });
}

bool IsEmpty(State& state, const State::Place& place, const CString& path) {
  const LayerEntry& entry = *place.entry;
  bool isEmpty = entry.folder != nullptr && entry.folder->isListed && entry.folder->entries.empty();
  if (entry.folder == nullptr || !entry.folder->isListed) {
    std::vector<FolderEntry> entries;
    if (!IsYes(state.below.ListFolder(entry.below + '\\', entries))) {
      return state.Fail(state.below.GetLastError(), path);
    }
    isEmpty = entries.empty();
  }
  return isEmpty || state.Fail(Kind::kNotEmpty, path, "the folder is not empty");
}

/// A folder to be changed as a whole.
bool FindFolder(State& state, const CString& path, State::Place& place) {
  return state.FindPlace(path, place, true) && state.MayChange(*place.folder, path) &&
         (place.IsFolder() ||
          state.Fail(Kind::kNotFound, path,
                     place.entry != nullptr ? "a part of the path is not a folder" : "no such file or folder"));
}

} // namespace

void State::Put(const Place& place, std::shared_ptr<LayerFile> file) {
  LayerEntry* entry = place.entry;
  if (entry == nullptr) {
    entry = &tree.Add(*place.folder, {place.name, false, false, CString(), nullptr, nullptr});
  }
  entry->isLink = false;
  entry->file = std::move(file);
}

void State::Move(const Place& source, const Place& target) {
  LayerEntry entry = tree.Take(*source.folder, *source.entry);
  entry.name = target.name;
  (void)tree.Add(*target.folder, std::move(entry));
}

// ---- files
// ------------------------------------------------------------------------------------------------------------

bool OverlayMachine::CopyFile(const CString& from, const CString& to) {
  LayerSpot spot;
  State::Place target;
  if (!m_state->Find(from, spot)) {
    return false;
  }
  if (spot.below.empty() && !spot.isFolder && (spot.entry == nullptr || spot.parsed.endsInBackslash)) {
    return m_state->Fail(Kind::kNotFound, from, "no such file or folder");
  }
  // remembered before the target is looked for: that may bring the folder of the source into the layer
  auto copy = std::make_shared<LayerFile>();
  const bool isBelow = !spot.below.empty();
  const bool isFolder = spot.isFolder || (isBelow && IsYes(m_state->below.DirectoryExists(spot.below)));
  if (!isFolder && !isBelow) {
    *copy = *spot.entry->file;
  }
  copy->below = isBelow ? spot.below : copy->below;
  if (isBelow && !isFolder && m_state->below.FileExists(spot.below) == Answer::kNo) {
    return m_state->Fail(Kind::kNotFound, from, "no such file or folder");
  }
  if (!m_state->FindPlace(to, target) || !m_state->MayChange(*target.folder, to)) {
    return false;
  }
  if (target.entry != nullptr && text::EqualNoCase(GetStoredPath(from), GetStoredPath(to))) {
    return m_state->Fail(Kind::kRefused, to, "source and destination are the same file");
  }
  if (target.IsFolder()) {
    return m_state->Fail(Kind::kExists, to, kFolderInTheWay);
  }
  if (target.entry != nullptr && m_state->IsReadOnly(*target.entry)) {
    return m_state->Fail(Kind::kAccess, to, kReadOnly);
  }
  std::uint64_t size = 0;
  if (isFolder) {
    return m_state->Fail(Kind::kRefused, from, "it is no plain file");
  }
  if (isBelow && !IsYes(m_state->below.GetFileSize(copy->below, size))) {
    return m_state->Fail(m_state->below.GetLastError(), from);
  }
  m_state->Put(target, std::move(copy));
  return true;
}

bool OverlayMachine::DeleteFile(const CString& path) {
  State::Place place;
  if (!m_state->FindFile(path, place)) {
    return false;
  }
  if (m_state->IsReadOnly(*place.entry)) {
    return m_state->Fail(Kind::kAccess, path, kReadOnly);
  }
  m_state->Remove(place);
  return true;
}

bool OverlayMachine::MoveFile(const CString& from, const CString& to) {
  State::Place source;
  State::Place target;
  if (!m_state->FindFile(from, source) || !m_state->FindPlace(to, target) || !m_state->MayChange(*target.folder, to)) {
    return false;
  }
  if (target.entry != nullptr && (target.entry != source.entry || target.name == source.entry->name)) {
    return m_state->Fail(Kind::kExists, to, "the name is taken");
  }
  m_state->Move(source, target);
  return true;
}

bool OverlayMachine::ReplaceFile(const CString& from, const CString& to) {
  State::Place source;
  State::Place target;
  if (!m_state->FindFile(from, source) || !m_state->FindPlace(to, target) || !m_state->MayChange(*target.folder, to)) {
    return false;
  }
  if (target.IsFolder()) {
    return m_state->Fail(Kind::kExists, to, kFolderInTheWay);
  }
  if (!m_state->AreSameVolume(*source.folder, *target.folder)) {
    return m_state->Fail(Kind::kRefused, to, kOtherVolume);
  }
  if (target.entry != nullptr && target.entry != source.entry) {
    if (target.entry->file != nullptr && target.entry->file == source.entry->file) {
      m_state->Remove(source); // two names of one file: the one moved goes
      return true;
    }
    target.name = target.entry->name;
    m_state->Remove(target);
  }
  m_state->Move(source, target);
  return true;
}

Answer OverlayMachine::IsSameFile(const CString& a, const CString& b) {
  State::Place first;
  State::Place second;
  const bool areThere = IsYes(FileExists(a)) && IsYes(FileExists(b)) && m_state->FindPlace(a, first) &&
                        m_state->FindPlace(b, second) && first.entry != nullptr && second.entry != nullptr;
  const bool isOne = areThere && (first.entry == second.entry ||
                                  (first.entry->file != nullptr && first.entry->file == second.entry->file));
  return isOne ? Answer::kYes : Answer::kNo;
}

bool OverlayMachine::LinkFile(const CString& existing, const CString& to) {
  State::Place source;
  State::Place target;
  if (!m_state->FindPlace(existing, source) || !m_state->FindPlace(to, target) ||
      !m_state->MayChange(*target.folder, to)) {
    return false;
  }
  if (source.entry == nullptr || source.IsFolder()) {
    return m_state->Fail(source.entry == nullptr ? Kind::kNotFound : Kind::kExists, existing,
                         source.entry == nullptr ? "no such file or folder" : kFolderInTheWay);
  }
  if (!m_state->MayChange(*source.folder, existing)) {
    return false;
  }
  if (target.entry != nullptr) {
    return m_state->Fail(Kind::kExists, to, "the name is taken");
  }
  if (!m_state->AreSameVolume(*source.folder, *target.folder)) {
    return m_state->Fail(Kind::kRefused, to, kOtherVolume);
  }
  (void)m_state->Own(*source.entry);
  m_state->Put(target, source.entry->file);
  return true;
}

bool OverlayMachine::MoveFileToTrash(const CString& path) {
  State::Place place;
  if (!m_state->FindFile(path, place)) {
    return false;
  }
  m_state->trashed.push_back(place.entry->name);
  m_state->Remove(place);
  return true;
}

bool OverlayMachine::MoveFolderToTrash(const CString& path, const CString& label) {
  State::Place place;
  CString reason;
  if (!FindFolder(*m_state, path, place)) {
    return false;
  }
  if (!IsComponentAllowed(label, reason)) {
    return m_state->Fail(Kind::kRefused, path, reason);
  }
  m_state->trashed.push_back(label);
  m_state->Remove(place);
  return true;
}

bool OverlayMachine::SetFileReadOnly(const CString& path, bool readOnly) {
  State::Place place;
  if (!m_state->FindToChange(path, place)) {
    return false;
  }
  if (place.IsFolder()) {
    return m_state->Fail(Kind::kRefused, path, "it is no plain file");
  }
  m_state->Own(*place.entry).readOnly = readOnly;
  return true;
}

bool OverlayMachine::SetFileDateTime(const CString& path, const CKestDateTime& date) {
  State::Place place;
  if (!m_state->FindFile(path, place)) {
    return false;
  }
  m_state->Own(*place.entry).date = date;
  return true;
}

// ---- folders
// ----------------------------------------------------------------------------------------------------------

bool OverlayMachine::CreateDirectory(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return false;
  }
  CString upTo{spot.parsed.drive, ':'};
  const std::vector<std::string_view> parts = spot.parsed.parts;
  if (IsYes(DirectoryExists(path))) {
    return true;
  }
  for (const std::string_view part : parts) {
    upTo += '\\';
    upTo += part;
    if (IsYes(DirectoryExists(upTo))) {
      continue;
    }
    State::Place place;
    if (!m_state->FindPlace(upTo, place)) {
      return m_state->Fail(m_state->error, path);
    }
    if (place.entry != nullptr) {
      return place.entry->isLink ? m_state->Fail(Kind::kRefused, path, "a link leads out of the drive")
                                 : m_state->Fail(Kind::kExists, path, "a file has the name");
    }
    if (!m_state->MayChange(*place.folder, path)) {
      return false;
    }
    LayerEntry made{place.name, true, false, CString(), nullptr, std::make_unique<LayerFolder>()};
    made.folder->volume = place.folder->volume;
    made.folder->isListed = true;
    (void)m_state->tree.Add(*place.folder, std::move(made));
  }
  return true;
}

bool OverlayMachine::CreatePrivateDirectory(const CString& path) {
  State::Place place;
  if (!m_state->FindPlace(path, place, true) || !m_state->MayChange(*place.folder, path)) {
    return false;
  }
  if (place.entry != nullptr) {
    return m_state->Fail(Kind::kExists, path, "the name is taken");
  }
  LayerSpot spot;
  const bool isMade = CreateDirectory(path) && m_state->Find(path, spot) && spot.isFolder;
  if (isMade) {
    spot.folder->isPrivate = true;
  }
  return isMade;
}

bool OverlayMachine::RemoveDirectory(const CString& path) {
  State::Place place;
  if (!FindFolder(*m_state, path, place) || !IsEmpty(*m_state, place, path)) {
    return false;
  }
  m_state->Remove(place);
  return true;
}

bool State::FindFolderMove(const CString& from, const CString& to, bool isEmptyOne, Place& source, Place& target) {
  if (!FindPlace(from, source, true) || !FindPlace(to, target, true) || !MayChange(*source.folder, from) ||
      !MayChange(*target.folder, to)) {
    return false;
  }
  if (!source.IsFolder()) {
    return Fail(Kind::kNotFound, from,
                source.entry != nullptr ? "a part of the path is not a folder" : "no such file or folder");
  }
  if (target.entry != nullptr) {
    return Fail(Kind::kExists, to, "the name is taken");
  }
  if (isEmptyOne && !IsEmpty(*this, source, from)) {
    return false;
  }
  if (LiesIn(*target.folder, *source.entry)) {
    return Fail(Kind::kOther, from, "a folder cannot go into itself");
  }
  return AreSameVolume(*source.folder, *target.folder) || Fail(Kind::kRefused, from, kOtherVolume);
}

bool OverlayMachine::MoveEmptyFolder(const CString& from, const CString& to) {
  State::Place source;
  State::Place target;
  if (!m_state->FindFolderMove(from, to, true, source, target)) {
    return false;
  }
  m_state->Move(source, target);
  return true;
}

bool OverlayMachine::MoveFolder(const CString& from, const CString& to) {
  State::Place source;
  State::Place target;
  if (!m_state->FindFolderMove(from, to, false, source, target)) {
    return false;
  }
  m_state->Move(source, target);
  return true;
}

bool OverlayMachine::RemoveTree(const CString& path) {
  State::Place place;
  if (!FindFolder(*m_state, path, place)) {
    return false;
  }
  m_state->Remove(place);
  return true;
}

// ---- what was done
// ----------------------------------------------------------------------------------------------------

namespace {

using Change = OverlayMachine::Change;

/// Compares the folders of the layer with what lies below at the same paths.
class Comparison {
public:
  Comparison(OverlayMachine& overlay, std::vector<Change>& changes) : m_overlay(overlay), m_changes(changes) {}

  [[nodiscard]] bool Compare(const CString& path, LayerFolder& folder) {
    std::vector<FolderEntry> now;
    std::vector<FolderEntry> before;
    if (!folder.isListed) { // only what is known here can differ
      bool isWhole = true;
      for (auto& [key, entry] : folder.entries) {
        isWhole = (entry.folder == nullptr || Compare(path + '\\' + entry.name, *entry.folder)) && isWhole;
      }
      return isWhole;
    }
    const bool wasThere = IsYes(m_overlay.GetBelow().DirectoryExists(path + '\\'));
    bool isWhole = !wasThere || IsYes(m_overlay.GetBelow().ListFolder(path + '\\', before));
    std::map<CString, bool> old;
    for (const FolderEntry& one : before) {
      old[one.name] = one.isFolder;
    }
    for (auto& [key, entry] : folder.entries) {
      const CString at = path + '\\' + entry.name;
      const auto was = old.find(entry.name);
      const bool isOld = was != old.end() && was->second == entry.isFolder;
      if (isOld) {
        old.erase(was);
      }
      if (isOld && entry.isFolder && entry.below != at) {
        isWhole = CompareOther(at) && isWhole;
      } else if (isOld && entry.folder != nullptr) {
        isWhole = Compare(at, *entry.folder) && isWhole;
      } else if (!isOld) {
        isWhole = Tell(at, entry.isFolder, Change::What::kNew) && isWhole;
      } else if (entry.file != nullptr || entry.below != at) {
        m_changes.push_back({at, false, Change::What::kChanged});
      }
    }
    for (const auto& [name, isFolder] : old) {
      isWhole = Tell(path + '\\' + name, isFolder, Change::What::kGone) && isWhole;
    }
    return isWhole;
  }

private:
  /// Another folder where there was one.
  [[nodiscard]] bool CompareOther(const CString& path) {
    std::vector<FolderEntry> now;
    std::vector<FolderEntry> before;
    bool isWhole = IsYes(m_overlay.ListFolder(path, now)) && IsYes(m_overlay.GetBelow().ListFolder(path, before));
    std::map<CString, bool> old;
    for (const FolderEntry& one : before) {
      old[one.name] = one.isFolder;
    }
    for (const FolderEntry& one : now) {
      const CString at = path + '\\' + one.name;
      const auto was = old.find(one.name);
      if (was == old.end() || was->second != one.isFolder) {
        isWhole = Tell(at, one.isFolder, Change::What::kNew) && isWhole;
        continue;
      }
      old.erase(was);
      if (one.isFolder) {
        isWhole = CompareOther(at) && isWhole;
      } else {
        m_changes.push_back({at, false, Change::What::kChanged});
      }
    }
    for (const auto& [name, isFolder] : old) {
      isWhole = Tell(path + '\\' + name, isFolder, Change::What::kGone) && isWhole;
    }
    return isWhole;
  }

  /// All of a folder that came or went.
  [[nodiscard]] bool Tell(const CString& path, bool isFolder, Change::What what) {
    m_changes.push_back({path, isFolder, what});
    if (!isFolder) {
      return true;
    }
    std::vector<FolderEntry> entries;
    Machine& machine = what == Change::What::kGone ? m_overlay.GetBelow() : m_overlay;
    bool isWhole = IsYes(machine.ListFolder(path, entries));
    for (const FolderEntry& entry : entries) {
      isWhole = Tell(path + '\\' + entry.name, entry.isFolder, what) && isWhole;
    }
    return isWhole;
  }

  OverlayMachine& m_overlay;
  std::vector<Change>& m_changes;
};

} // namespace

bool OverlayMachine::GetChanges(std::vector<Change>& changes) {
  changes.clear();
  Comparison comparison(*this, changes);
  bool isWhole = true;
  for (auto& [letter, folder] : m_state->tree.GetDrives()) {
    isWhole = comparison.Compare(CString{letter, ':'}, folder) && isWhole;
  }
  // a folder that took the place of a file, or the other way round, is told as gone and as new
  std::sort(changes.begin(), changes.end(), [](const Change& a, const Change& b) {
    const bool aIsGone = a.what == Change::What::kGone;
    return a.path != b.path ? a.path < b.path : aIsGone && b.what != Change::What::kGone;
  });
  return isWhole;
}

} // namespace kest
