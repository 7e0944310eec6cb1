#include "platform/machine/overlay_machine.h"

#include "platform/machine/overlay_state.h"
#include "platform/machine/version_resource.h"
#include "platform/text/path.h"

#include <algorithm>

// Questions, and what the changes have in common. Changes stand in overlay_changes.cpp, opening and open files in
// overlay_files.cpp, the registry in overlay_registry.cpp.

namespace kest {

using Kind = MachineError::Kind;

// ---- state
// ------------------------------------------------------------------------------------------------------------

bool OverlayMachine::State::Fail(Kind kind, const CString& path, const CString& reason) {
  return Fail({kind, path, reason}, path);
}

bool OverlayMachine::State::Fail(MachineError why, const CString& path) {
  below.ClearLastError(); // what failed there before is older
  why.path = path;
  error = std::move(why);
  return false;
}

bool OverlayMachine::State::Find(const CString& path, LayerSpot& spot, bool quiet) {
  MachineError why;
  return tree.Find(path, spot, why) || (!quiet && Fail(why, path));
}

bool OverlayMachine::State::FindPlace(const CString& path, Place& place, bool mayEndInBackslash) {
  MachineError why;
  place.path = path;
  place.folder = tree.FindParent(path, place.name, mayEndInBackslash, why);
  if (place.folder == nullptr) {
    return Fail(why, path);
  }
  place.entry = tree.FindEntry(*place.folder, place.name);
  return true;
}

bool OverlayMachine::State::FindToChange(const CString& path, Place& place, bool mayEndInBackslash) {
  return FindPlace(path, place, mayEndInBackslash) &&
         (place.entry != nullptr || Fail(Kind::kNotFound, path, "no such file or folder")) &&
         MayChange(*place.folder, path);
}

bool OverlayMachine::State::FindFile(const CString& path, Place& place) {
  return FindToChange(path, place) && (!place.IsFolder() || Fail(Kind::kExists, path, "a folder has the name"));
}

bool OverlayMachine::State::IsForeign() {
  if (!isForeign) {
    CString folder;
    isForeign = below.GetTempRoot(folder) && !below.CanUpdateFile(WithBackslash(folder) + "kest-layer~") &&
                below.GetLastError().kind == Kind::kAccess;
    below.ClearLastError();
  }
  return *isForeign;
}

bool OverlayMachine::State::MayChange(LayerFolder& folder, const CString& path) {
  if (!folder.mayChange.value_or(folder.below.empty())) {
    below.ClearLastError();
    const bool may = folder.below.empty() || below.CanUpdateFile(folder.below + "\\kest-layer~");
    MachineError why = below.GetLastError();
    const bool isRefused = !may && (why.kind == Kind::kRefused || (why.kind == Kind::kAccess && !IsForeign()));
    folder.mayChange = !isRefused;
    if (isRefused) {
      return Fail(std::move(why), path);
    }
    below.ClearLastError();
  }
  return true;
}

Answer OverlayMachine::State::AskReadOnly(const LayerEntry& entry) {
  if (entry.isFolder) {
    return Answer::kNo;
  }
  if (entry.file != nullptr && (entry.file->readOnly || entry.file->below.empty())) {
    return entry.file->readOnly.value_or(false) ? Answer::kYes : Answer::kNo;
  }
  return below.IsFileReadOnly(entry.file != nullptr ? entry.file->below : entry.below);
}

LayerFile& OverlayMachine::State::Own(LayerEntry& entry) {
  if (entry.file == nullptr) {
    entry.file = std::make_shared<LayerFile>();
    entry.file->below = entry.below;
  }
  return *entry.file;
}

OverlayMachine::OverlayMachine(Machine& below) : OverlayMachine(below, Limits()) {}

OverlayMachine::OverlayMachine(Machine& below, Limits limits)
    : ForwardingMachine(below), m_state(std::make_shared<State>(below, std::move(limits))) {}

OverlayMachine::~OverlayMachine() = default;

Machine& OverlayMachine::GetBelow() { return m_state->below; }

// ---- files
// ------------------------------------------------------------------------------------------------------------

Answer OverlayMachine::FileExists(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot, true)) {
    return Answer::kNo;
  }
  if (!spot.below.empty()) {
    return m_state->below.FileExists(spot.below);
  }
  return spot.entry != nullptr && spot.entry->file != nullptr && !spot.parsed.endsInBackslash ? Answer::kYes
                                                                                              : Answer::kNo;
}

/// A file of the layer that a path names; what is none has been noted.
static const LayerFile* FileOf(OverlayMachine::State& state, const LayerSpot& spot, const CString& path) {
  if (spot.entry == nullptr && !spot.isFolder) {
    (void)state.Fail(Kind::kNotFound, path, "no such file or folder");
  } else if (spot.parsed.endsInBackslash || spot.isFolder) {
    (void)state.Fail(spot.isFolder ? Kind::kExists : Kind::kRefused, path, "the path names a folder");
  } else {
    return spot.entry->file.get();
  }
  return nullptr;
}

Answer OverlayMachine::GetFileSize(const CString& path, std::uint64_t& size) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return Answer::kNo;
  }
  if (!spot.below.empty()) {
    return m_state->below.GetFileSize(spot.below, size);
  }
  const LayerFile* const file = FileOf(*m_state, spot, path);
  if (file == nullptr) {
    return Answer::kNo;
  }
  if (file->bytes == nullptr) {
    return m_state->below.GetFileSize(file->below, size);
  }
  size = file->bytes->GetSize();
  return Answer::kYes;
}

Answer OverlayMachine::IsFileReadOnly(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot, true)) {
    return Answer::kNo;
  }
  if (!spot.below.empty()) {
    return m_state->below.IsFileReadOnly(spot.below);
  }
  return spot.entry != nullptr && !spot.parsed.endsInBackslash ? m_state->AskReadOnly(*spot.entry) : Answer::kNo;
}

bool OverlayMachine::CanUpdateFile(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return false;
  }
  if (!spot.below.empty()) {
    if (m_state->below.CanUpdateFile(spot.below)) {
      return true;
    }
    const MachineError why = m_state->below.GetLastError();
    const bool isOnlyForeign =
        why.kind == Kind::kAccess && m_state->IsForeign() && m_state->below.IsFileReadOnly(spot.below) == Answer::kNo;
    return isOnlyForeign || m_state->Fail(why, path);
  }
  State::Place place;
  if (!m_state->FindPlace(path, place) || !m_state->MayChange(*place.folder, path)) {
    return false;
  }
  if (place.IsFolder()) {
    return m_state->Fail(Kind::kExists, path, "a folder has the name");
  }
  return place.entry == nullptr || !m_state->IsReadOnly(*place.entry) ||
         m_state->Fail(Kind::kAccess, path, "the file is read-only");
}

Answer OverlayMachine::GetFileDateTime(const CString& path, CKestDateTime& date) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return Answer::kNo;
  }
  if (!spot.below.empty()) {
    return m_state->below.GetFileDateTime(spot.below, date);
  }
  const LayerFile* const file = FileOf(*m_state, spot, path);
  if (file == nullptr) {
    return Answer::kNo;
  }
  if (!file->date) {
    return m_state->below.GetFileDateTime(file->below, date);
  }
  date = *file->date;
  return Answer::kYes;
}

bool OverlayMachine::GetFileStamp(const CString& path, FileStamp& stamp) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return false;
  }
  return spot.below.empty() ? m_state->Fail(Kind::kOther, path, "it lies on no disk yet")
                            : m_state->below.GetFileStamp(spot.below, stamp);
}

Answer OverlayMachine::GetFileVersion(const CString& path, CKestVersionNumber& version) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return Answer::kNo;
  }
  if (!spot.below.empty()) {
    return m_state->below.GetFileVersion(spot.below, version);
  }
  const LayerFile* const file = FileOf(*m_state, spot, path);
  if (file == nullptr) {
    return Answer::kNo;
  }
  if (file->bytes == nullptr) {
    return m_state->below.GetFileVersion(file->below, version);
  }
  const ReadBytesAt read = [file](std::uint64_t offset, char* buffer, std::size_t count) {
    std::size_t got = count;
    return file->bytes->ReadAt(offset, buffer, got) == 0 && got == count;
  };
  if (ReadFileVersion(read, file->bytes->GetSize(), version)) {
    return Answer::kYes;
  }
  (void)m_state->Fail(Kind::kOther, path, "the file carries no version");
  return Answer::kNo;
}

CString OverlayMachine::GetStoredPath(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return {};
  }
  if (spot.below.empty()) {
    return spot.parsed.parts.empty() ? CString{spot.parsed.drive, ':', '\\'} : spot.stored;
  }
  const CString stored = m_state->below.GetStoredPath(spot.below);
  return stored.empty() || spot.stored.empty() ? stored : spot.stored + stored.substr(spot.GetKnown());
}

// ---- folders, volumes
// -------------------------------------------------------------------------------------------------

Answer OverlayMachine::DirectoryExists(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot, true)) {
    return Answer::kNo;
  }
  if (!spot.below.empty()) {
    return m_state->below.DirectoryExists(spot.below);
  }
  return spot.isFolder ? Answer::kYes : Answer::kNo;
}

Answer OverlayMachine::ListFolder(const CString& path, std::vector<FolderEntry>& entries) {
  entries.clear();
  LayerSpot spot;
  if (!m_state->Find(path, spot)) {
    return Answer::kNo;
  }
  if (!spot.isFolder && spot.below.empty()) {
    (void)m_state->Fail(Kind::kNotFound, path, "no such file or folder");
    return Answer::kNo;
  }
  if (!spot.isFolder || !spot.folder->isListed) {
    return m_state->below.ListFolder(spot.isFolder ? spot.folder->below + '\\' : spot.below, entries);
  }
  std::vector<std::pair<const CString*, const LayerEntry*>> order;
  for (const auto& [key, entry] : spot.folder->entries) {
    order.emplace_back(&key, &entry);
  }
  std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
    return *a.first != *b.first ? *a.first < *b.first : a.second->name < b.second->name;
  });
  for (const auto& [key, entry] : order) {
    entries.push_back({entry->name, entry->isFolder, entry->isLink});
  }
  return Answer::kYes;
}

bool OverlayMachine::State::AreSameVolume(const LayerFolder& a, const LayerFolder& b) {
  return a.volume == b.volume || below.SameVolume(a.volume + '\\', b.volume + '\\');
}

/// A path below on the volume that a path of the overlay lies on; empty for a path without one.
static CString VolumeOf(OverlayMachine::State& state, const CString& path) {
  CString at = path;
  for (;;) { // up to the nearest folder that is there
    LayerSpot spot;
    if (!state.Find(at, spot, true)) {
      return {};
    }
    if (!spot.below.empty()) {
      return spot.below;
    }
    if (spot.folder != nullptr) {
      return spot.folder->volume + '\\';
    }
    at = CKestPath(WithoutBackslash(at)).GetParent();
    at += at.size() == 2 ? "\\" : "";
  }
}

bool OverlayMachine::SameVolume(const CString& a, const CString& b) {
  const CString first = VolumeOf(*m_state, a);
  const CString second = VolumeOf(*m_state, b);
  return !first.empty() && !second.empty() && m_state->below.SameVolume(first, second);
}

bool OverlayMachine::GetFreeSpace(const CString& path, std::uint64_t& bytes) {
  LayerSpot spot;
  const CString volume = VolumeOf(*m_state, path);
  if (volume.empty()) {
    return m_state->Find(path, spot) && m_state->Fail(Kind::kNotFound, path, "no such drive");
  }
  if (!m_state->below.GetFreeSpace(volume, bytes)) {
    return false;
  }
  bytes -= std::min(bytes, m_state->store->GetHeld());
  return true;
}

bool OverlayMachine::SyncPaths(const std::vector<CString>& paths) {
  return std::all_of(paths.begin(), paths.end(), [this](const CString& path) {
    LayerSpot spot;
    return m_state->Find(path, spot);
  });
}

void OverlayMachine::StartSync(const CString& path) { static_cast<void>(path); }

WriterLock OverlayMachine::LockWriter(std::int64_t milliseconds) {
  static_cast<void>(milliseconds);
  return {true, {}};
}

void OverlayMachine::UnlockWriter() {}

// ---- whose it is
// ------------------------------------------------------------------------------------------------------------

PrivateFolder OverlayMachine::LookAtPrivateFolder(const CString& path) {
  LayerSpot spot;
  if (!m_state->Find(path, spot, true)) {
    return PrivateFolder::kNo;
  }
  if (!spot.below.empty() || (spot.isFolder && !spot.folder->below.empty())) {
    return m_state->below.LookAtPrivateFolder(spot.below.empty() ? spot.folder->below : spot.below);
  }
  return spot.isFolder && spot.folder->isPrivate ? PrivateFolder::kYes : PrivateFolder::kNo;
}

bool OverlayMachine::IsOwn() { return m_state->isOwn || m_state->below.IsOwn(); }

void OverlayMachine::NoteOwn(const std::vector<CString>& places) {
  m_state->isOwn = true;
  m_state->notedPlaces.insert(m_state->notedPlaces.end(), places.begin(), places.end());
}

bool OverlayMachine::IsNotedPlace(const CString& path) {
  return m_state->below.IsNotedPlace(path) ||
         std::any_of(m_state->notedPlaces.begin(), m_state->notedPlaces.end(), [&](const CString& place) {
           return text::StartsWithNoCase(WithBackslash(path), WithBackslash(place));
         });
}

bool OverlayMachine::IsForeign() { return m_state->IsForeign(); }

// ---- what was done
// ----------------------------------------------------------------------------------------------------

const std::vector<OverlayMachine::RegistryChange>& OverlayMachine::GetRegistryChanges() const {
  return m_state->registryChanges;
}

const std::vector<CString>& OverlayMachine::GetStartedPrograms() const { return m_state->startedPrograms; }

const std::vector<CString>& OverlayMachine::GetFontResources() const { return m_state->fonts; }

const std::vector<CString>& OverlayMachine::GetTrashed() const { return m_state->trashed; }

MachineError OverlayMachine::GetLastError() {
  // a call that was passed on failed later than what was noted here
  MachineError passedOn = m_state->below.GetLastError();
  if (passedOn.kind != Kind::kNone) {
    m_state->error = std::move(passedOn);
    m_state->below.ClearLastError();
  }
  return m_state->error;
}

MachineError OverlayMachine::GetUnanswered() {
  return m_state->unanswered.kind != Kind::kNone ? m_state->unanswered : ForwardingMachine::GetUnanswered();
}

void OverlayMachine::ForgetUnanswered() {
  m_state->unanswered = {};
  ForwardingMachine::ForgetUnanswered();
}

void OverlayMachine::ClearLastError() {
  m_state->error = {};
  m_state->below.ClearLastError();
}

} // namespace kest
