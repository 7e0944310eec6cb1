#pragma once

#include "platform/machine_folder/host_descriptor.h"
#include "platform/text/text.h"

#include <vector>

namespace kest {

/// The machine folders in which the user of this process has changed something, with the places outside of the usual
/// ones that were changed there: a list in the user's own data folder, "machines". A machine folder that came from
/// elsewhere cannot put itself into it.
///
/// A line is a machine, fields between tabs: device and inode of its drive_c, its path, places as Windows paths.
class KnownMachines {
public:
  /// What tells one machine folder from another.
  struct Identity {
    HostIdentity drive; ///< its drive_c
    CString path;       ///< on this system, without links
  };
  /// $XDG_DATA_HOME/kest, else ~/.local/share/kest; empty when neither is set.
  [[nodiscard]] static CString GetDataFolder();
  /// Reads the list; a list that somebody else can write says nothing.
  explicit KnownMachines(Identity machine);

  [[nodiscard]] bool IsKnown() const { return m_isKnown; }
  /// Whether the path is one of the places noted, or lies below one.
  [[nodiscard]] bool HasPlace(std::string_view path) const;
  /// Puts the machine with further places on the list, and on the disk. Where the user has no data folder to write to
  /// it is known to this process alone.
  void Note(const std::vector<CString>& places);

private:
  void Read(std::string_view text, std::vector<CString>* others);
  void AddPlaces(const std::vector<CString>& places);

  Identity m_machine;
  bool m_isKnown = false;
  std::vector<CString> m_places; ///< without trailing backslash
};

} // namespace kest
