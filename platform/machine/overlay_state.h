#pragma once

#include "platform/machine/layer_tree.h"
#include "platform/machine/overlay_machine.h"

#include <set>

namespace kest {

/// What an overlay knows; its files look their places up here when they are closed.
struct OverlayMachine::State {
  State(Machine& machine, Limits limits)
      : below(machine), tree(machine), store(std::make_shared<LayerStore>(limits.memory, std::move(limits.folder))) {}

  /// A name in a folder of the layer, to be changed.
  struct Place {
    LayerFolder* folder = nullptr;
    LayerEntry* entry = nullptr; ///< null when the name is free
    CString name;                ///< as asked for
    CString path;                ///< as asked for
    [[nodiscard]] bool IsFolder() const { return entry != nullptr && entry->isFolder; }
  };

  bool Fail(MachineError::Kind kind, const CString& path, const CString& reason);
  bool Fail(MachineError why, const CString& path);
  /// Where a path leads; with `quiet`, for plain questions, a bad path leaves the last error alone.
  [[nodiscard]] bool Find(const CString& path, LayerSpot& spot, bool quiet = false);
  /// A name whose folder is there.
  [[nodiscard]] bool FindPlace(const CString& path, Place& place, bool mayEndInBackslash = false);
  /// The same, of a name that is taken, in a folder that the user may change.
  [[nodiscard]] bool FindToChange(const CString& path, Place& place, bool mayEndInBackslash = false);
  /// A plain file, or what stands for one, whose folder the user may change; the file may be marked read-only.
  [[nodiscard]] bool FindFile(const CString& path, Place& place);
  /// Whether entries of the folder may be made, removed and renamed.
  [[nodiscard]] bool MayChange(LayerFolder& folder, const CString& path);
  [[nodiscard]] Answer AskReadOnly(const LayerEntry& entry);
  /// Whether it must be left alone; so must what nobody can tell of.
  [[nodiscard]] bool IsReadOnly(const LayerEntry& entry) { return AskReadOnly(entry) != Answer::kNo; }
  /// The two ends of a folder's rename; the target is free.
  [[nodiscard]] bool FindFolderMove(const CString& from, const CString& to, bool isEmptyOne, Place& source,
                                    Place& target);
  [[nodiscard]] bool AreSameVolume(const LayerFolder& a, const LayerFolder& b);
  /// Gives the entry of one place the name and folder of another.
  void Move(const Place& source, const Place& target);
  void Remove(const Place& place) { (void)tree.Take(*place.folder, *place.entry); }
  void Put(const Place& place, std::shared_ptr<LayerFile> file);
  [[nodiscard]] LayerFile& Own(LayerEntry& entry);
  /// Bytes of the file that nobody shares, those from below among them. Null: why not has been noted.
  [[nodiscard]] LayerBytes* OwnBytes(LayerFile& file, const CString& path);
  [[nodiscard]] bool IsForeign();

  // ---- registry
  struct Key {
    CString name;                                                         ///< as first written
    std::map<CString, std::pair<CString, std::optional<CString>>> values; ///< by folded name: name as given, data
  };
  [[nodiscard]] static CString KeyForm(RegistryRoot root, const CString& key);

  Machine& below;
  LayerTree tree;
  std::shared_ptr<LayerStore> store;
  MachineError error;
  MachineError unanswered;
  std::optional<bool> isForeign;
  bool isOwn = false;               ///< the user changed something, in the layer
  std::vector<CString> notedPlaces; ///< see NoteOwn
  std::map<CString, Key> keys;      ///< by folded root and name
  std::vector<RegistryChange> registryChanges;
  std::vector<CString> startedPrograms;
  std::vector<CString> fonts;
  std::vector<CString> trashed;
};

} // namespace kest
