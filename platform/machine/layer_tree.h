#pragma once

#include "platform/machine/layer_bytes.h"
#include "platform/machine/machine.h"
#include "platform/text/windows_path.h"

#include <map>
#include <optional>
#include <unordered_map>

namespace kest {

struct LayerFolder;

/// A plain file of the layer; two names of one file share it.
struct LayerFile {
  CString below;                     ///< where its bytes, date and mark lie below, as far as not given here
  std::shared_ptr<LayerBytes> bytes; ///< shared with copies of the file until one of them is written
  std::optional<CKestDateTime> date;
  std::optional<bool> readOnly;
};

/// A name in a folder of the layer.
struct LayerEntry {
  CString name; ///< as stored
  bool isFolder = false;
  bool isLink = false;
  CString below;                       ///< where it lies below, also after it was moved; empty when it is new
  std::shared_ptr<LayerFile> file;     ///< once something of it was changed
  std::unique_ptr<LayerFolder> folder; ///< once something in it was changed
};

/// A folder in which something was changed.
struct LayerFolder {
  CString below;  ///< without trailing backslash; empty when it is new
  CString volume; ///< a path below that lies on the volume of this folder
  /// Whether `entries` is all that it holds; else they are the folders in it that are known here, and whatever else
  /// lies below is there, too.
  bool isListed = false;
  bool isPrivate = false;                               ///< made as a private one
  std::unordered_multimap<CString, LayerEntry> entries; ///< by folded name
  std::optional<bool> mayChange;                        ///< whether the user may; asked once
};

/// Where a path leads.
struct LayerSpot {
  WindowsPath parsed;            ///< points into the path given
  CString below;                 ///< to be asked below; empty when the layer knows all
  LayerEntry* entry = nullptr;   ///< null for a drive, for what is missing, and for what only lies below
  LayerFolder* folder = nullptr; ///< a folder of the layer; or, for what is missing, the one that it would lie in
  bool isFolder = false;         ///< `folder` is what the path names
  CString stored;                ///< the spelling as far as the layer knows it; empty: the drive was never changed
  // for what lies below: where the way leaves the layer, one of the two; neither in a drive that was never changed
  LayerEntry* through = nullptr;
  LayerFolder* from = nullptr;
  /// How much of `below` the text `stored` stands for.
  [[nodiscard]] std::size_t GetKnown() const {
    return through != nullptr ? through->below.size() : from != nullptr ? from->below.size() : 0;
  }
};

/// The folders of the layer. Every one belongs to the entry that names it; drives belong to the tree.
class LayerTree {
public:
  explicit LayerTree(Machine& below) : m_below(below), m_codePage(below.GetCodePage()) {} ///< borrowed

  /// False for a path that cannot mean a file; `why` says so.
  [[nodiscard]] bool Find(const CString& path, LayerSpot& spot, MachineError& why);
  /// The folder in which the last component of the path lies, with all its names. Null: `why` says why not.
  [[nodiscard]] LayerFolder* FindParent(const CString& path, CString& name, bool mayEndInBackslash, MachineError& why);
  /// The exact name before another spelling; null when the folder has none, or does not know.
  [[nodiscard]] LayerEntry* FindEntry(LayerFolder& folder, std::string_view name);
  [[nodiscard]] LayerEntry& Add(LayerFolder& folder, LayerEntry entry);
  [[nodiscard]] LayerEntry Take(LayerFolder& folder, const LayerEntry& entry);
  [[nodiscard]] CString Fold(std::string_view name) const;
  /// Drives in which something was changed.
  [[nodiscard]] std::map<char, LayerFolder>& GetDrives() { return m_drives; }

private:
  [[nodiscard]] LayerFolder* Track(const LayerSpot& spot, MachineError& why);
  [[nodiscard]] bool List(LayerFolder& folder, MachineError& why);

  Machine& m_below;
  int m_codePage; ///< asked once: it is wanted for every name
  std::map<char, LayerFolder> m_drives;
};

} // namespace kest
