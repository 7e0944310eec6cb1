#include "platform/machine/layer_tree.h"

#include "platform/text/code_page.h"
#include "platform/text/path.h"

namespace kest {
namespace {

using Kind = MachineError::Kind;

CString Joined(const CString& folder, std::string_view name) { return folder + '\\' + CString(name); }

/// What of a path follows its first `from` components.
CString RestOf(const WindowsPath& path, std::size_t from) {
  CString rest;
  for (std::size_t i = from; i < path.parts.size(); ++i) {
    rest += '\\';
    rest += path.parts[i];
  }
  return rest + (path.endsInBackslash ? "\\" : "");
}

} // namespace

CString LayerTree::Fold(std::string_view name) const { return FoldName(name, m_codePage); }

LayerEntry* LayerTree::FindEntry(LayerFolder& folder, std::string_view name) {
  const auto exact = [&](std::string_view wanted) -> LayerEntry* {
    const auto [begin, end] = folder.entries.equal_range(Fold(wanted));
    for (auto it = begin; it != end; ++it) {
      if (it->second.name == wanted) {
        return &it->second;
      }
    }
    return nullptr;
  };
  const auto any = folder.entries.find(Fold(name));
  LayerEntry* const found = any == folder.entries.end() ? nullptr : exact(name);
  if (any == folder.entries.end() || found != nullptr) {
    return found;
  }
  return folder.isListed ? &any->second
                         : exact(CKestPath(m_below.GetStoredPath(Joined(folder.below, name))).GetFileName());
}

LayerEntry& LayerTree::Add(LayerFolder& folder, LayerEntry entry) {
  CString key = Fold(entry.name);
  return folder.entries.emplace(std::move(key), std::move(entry))->second;
}

LayerEntry LayerTree::Take(LayerFolder& folder, const LayerEntry& entry) {
  const auto [begin, end] = folder.entries.equal_range(Fold(entry.name));
  for (auto it = begin; it != end; ++it) {
    if (&it->second == &entry) {
      LayerEntry taken = std::move(it->second);
      folder.entries.erase(it);
      return taken;
    }
  }
  return {};
}

bool LayerTree::Find(const CString& path, LayerSpot& spot, MachineError& why) {
  if (!ParseWindowsPath(path, m_codePage, spot.parsed, why.reason)) {
    why.kind = Kind::kRefused;
    why.path = path;
    return false;
  }
  const auto drive = m_drives.find(spot.parsed.drive);
  if (drive == m_drives.end()) {
    spot.below = path;
    return true;
  }
  LayerFolder* folder = &drive->second;
  spot.stored = CString{spot.parsed.drive, ':'};
  const std::vector<std::string_view>& parts = spot.parsed.parts;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    LayerEntry* const entry = FindEntry(*folder, parts[i]);
    const bool isLast = i + 1 == parts.size();
    if (entry == nullptr) {
      spot.folder = isLast ? folder : nullptr;
      if (!folder->isListed) {
        spot.folder = nullptr;
        spot.from = folder;
        spot.below = folder->below + RestOf(spot.parsed, i);
      } else {
        spot.stored += RestOf(spot.parsed, i);
      }
      return true;
    }
    spot.stored = Joined(spot.stored, entry->name);
    if (entry->folder != nullptr) {
      folder = entry->folder.get();
      spot.entry = isLast ? entry : nullptr;
    } else if (entry->file == nullptr && (isLast || entry->isFolder || entry->isLink)) {
      spot.entry = isLast ? entry : nullptr;
      spot.through = entry;
      spot.below = entry->below + RestOf(spot.parsed, i + 1);
      return true;
    } else {
      spot.entry = isLast ? entry : nullptr;
      spot.stored += RestOf(spot.parsed, i + 1);
      return true; // a file; nothing lies below one
    }
  }
  spot.folder = folder;
  spot.isFolder = true;
  spot.stored += spot.parsed.endsInBackslash ? "\\" : "";
  return true;
}

bool LayerTree::List(LayerFolder& folder, MachineError& why) {
  if (folder.isListed) {
    return true;
  }
  std::vector<FolderEntry> names;
  if (!IsYes(m_below.ListFolder(folder.below + '\\', names))) {
    why = m_below.GetLastError();
    return false;
  }
  for (FolderEntry& one : names) {
    LayerEntry* known = nullptr;
    const auto [begin, end] = folder.entries.equal_range(Fold(one.name));
    for (auto it = begin; it != end; ++it) {
      known = it->second.name == one.name ? &it->second : known;
    }
    if (known == nullptr) {
      CString below = Joined(folder.below, one.name);
      known = &Add(folder, {std::move(one.name), false, false, std::move(below), nullptr, nullptr});
    }
    known->isFolder = one.isFolder;
    known->isLink = one.isLink;
  }
  folder.isListed = true;
  return true;
}

/// The folder that a spot names, made known to the layer.
LayerFolder* LayerTree::Track(const LayerSpot& spot, MachineError& why) {
  if (spot.isFolder) {
    return spot.folder;
  }
  m_below.ClearLastError();
  if (spot.below.empty() || !IsYes(m_below.DirectoryExists(spot.below))) {
    why = spot.below.empty() ? MachineError{} : m_below.GetLastError();
    if (why.kind == Kind::kNone) {
      why = {Kind::kNotFound, {}, "no such folder"};
    }
    return nullptr;
  }
  const auto enter = [](LayerEntry& entry) {
    if (entry.folder == nullptr) {
      entry.folder = std::make_unique<LayerFolder>();
      entry.folder->below = entry.folder->volume = entry.below;
    }
    return entry.folder.get();
  };
  LayerFolder* folder = spot.from;
  if (spot.through != nullptr) {
    folder = enter(*spot.through);
  } else if (folder == nullptr) {
    folder = &m_drives[spot.parsed.drive];
    folder->below = folder->volume = CString{spot.parsed.drive, ':'};
  }
  const CString stored = WithBackslash(m_below.GetStoredPath(spot.below));
  for (std::size_t at = folder->below.size() + 1; at < stored.size();) {
    const std::size_t end = std::min(text::FindBackslash(stored, at), stored.size());
    const CString name = stored.substr(at, end - at);
    LayerEntry* const known = FindEntry(*folder, name);
    folder = enter(known != nullptr ? *known
                                    : Add(*folder, {name, true, false, Joined(folder->below, name), nullptr, nullptr}));
    at = end + 1;
  }
  return folder;
}

LayerFolder* LayerTree::FindParent(const CString& path, CString& name, bool mayEndInBackslash, MachineError& why) {
  LayerSpot whole;
  if (!Find(path, whole, why)) {
    return nullptr;
  }
  if (whole.parsed.parts.empty() || (whole.parsed.endsInBackslash && !mayEndInBackslash)) {
    why = {Kind::kRefused, path, "the path names a folder"};
    return nullptr;
  }
  name = whole.parsed.parts.back();
  CString parent{whole.parsed.drive, ':'};
  for (std::size_t i = 0; i + 1 < whole.parsed.parts.size(); ++i) {
    parent = Joined(parent, whole.parsed.parts[i]);
  }
  parent += whole.parsed.parts.size() == 1 ? "\\" : "";
  LayerSpot spot;
  LayerFolder* folder = nullptr;
  if (Find(parent, spot, why)) {
    folder = Track(spot, why);
  }
  if (folder != nullptr && !List(*folder, why)) {
    folder = nullptr;
  }
  if (folder == nullptr) {
    why.path = path;
  }
  return folder;
}

} // namespace kest
