#pragma once

#include "platform/machine/machine.h"
#include "platform/text/containers.h"

namespace kest {

/// Whether something is on the disk, as far as it can be told: a call that fails looks like a missing file, and undo
/// must not take the one for the other.
enum class Presence { kAbsent, kPresent, kUnknown };

/// A plain file. Absent only when its folder answered as well, or is itself surely absent.
[[nodiscard]] Presence ProbeFile(const CString& path);
[[nodiscard]] Presence ProbeFolder(const CString& path);

/// Second name `name` of an existing file; where the volume has no such thing a complete copy, and then `isCopy`.
[[nodiscard]] bool KeepFile(const CString& path, const CString& name, bool& isCopy);

/// Renames a kept file over its place. kPresent: restored. kAbsent: it is no longer kept (it was restored before).
/// kUnknown: it could not be done.
[[nodiscard]] Presence PutBack(const CString& kept, const CString& place);

/// The folder of a path, for the list of what has to reach the disk.
void AppendFolderOf(CKestTypedList<CKestString>& paths, const CString& path);

} // namespace kest
