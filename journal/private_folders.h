#pragma once

#include "platform/machine/machine.h"

#include <functional>

namespace kest {

/// Where the steps of this process keep what undo needs: the folder of CKestOS::GetTempPath for its own volume, and a
/// folder of the same name on every other volume that an operation touches. All of it goes as a whole when the
/// outermost operation ends.
///
/// Inside the process's folder everything of the journal lies in a subfolder that has the folder's own name: a package
/// is unpacked beside it and cannot know that name, so no entry of it can pose as a journal or a backup.
namespace private_folders {

/// The folder, with a trailing backslash, from which a rename leads to `destination`. False when there is none.
[[nodiscard]] KEST_API bool GetFor(const CString& destination, CString& folder);
/// The folder for files that were deleted from the volume of `destination`; what it holds goes to the trash at the end.
[[nodiscard]] KEST_API bool GetDeletedFor(const CString& destination, CString& folder);
/// A name that no other call gives: "<prefix><number>.tmp".
[[nodiscard]] KEST_API CString NextName(const char* prefix);
/// A name for a deleted file: its own where that is free, else with a number before it.
[[nodiscard]] KEST_API CString NextDeletedName(const CString& fileName);
/// Holds room on the disk that undo may need (a registry file is written anew); false when there is none. Once an
/// operation is enough.
[[nodiscard]] bool HoldRoom();
/// Gives it to the undo that begins now.
void FreeRoom();
/// Whether the path lies in the process's own temporary folder or one of the others.
[[nodiscard]] KEST_API bool Holds(const CString& path);
/// Deletes a private file that is no longer needed; while an operation is open nothing is done, since the folder goes
/// as a whole.
KEST_API void Drop(const CString& path);

/// The subfolder of the process's folder, made when missing.
[[nodiscard]] KEST_API bool GetOwn(CString& folder);
/// Name of the folders of the process, e.g. "kest-4711-0a1b2c".
[[nodiscard]] KEST_API bool GetLeaf(CString& leaf);
/// Asked with the path of a folder on another volume before it is made; false keeps it from being made.
void SetNote(std::function<bool(const CString&)> note);
/// Whether an operation is open (see Drop).
void SetOperationOpen(bool open);
[[nodiscard]] bool IsOperationOpen();
/// While set, RemoveAll is about to send all deleted files to the trash, so no step sends its own.
void SetTrashedWhole(bool whole);
[[nodiscard]] bool IsTrashedWhole();
/// Has an operation that is done recorded, or sends the deleted files of all folders to the trash (when asked); removes
/// the folders on other volumes, and then the process's own (of which, while a hold is on it, only the journal's part).
/// What cannot be removed, and with it the journal, is left to the next start.
void RemoveAll(bool trashDeleted, const CString& label);
/// Forgets the folders without touching them: they are kept for the next start.
void Abandon();
[[nodiscard]] KEST_API bool IsHeld();

/// Names that the folders consist of, for the recovery.
[[nodiscard]] KEST_API bool IsLeafName(std::string_view name);
inline constexpr const char* kDeletedFolder = "deleted";
inline constexpr const char* kRoomName = "room";
inline constexpr const char* kJournalPrefix = "journal-";

} // namespace private_folders

/// While one exists the temporary folder of the process survives the end of an operation (for a caller that makes
/// something in it by one operation and uses it in the next). Take it under the writer lock.
class KEST_API TempFolderHold {
public:
  TempFolderHold();
  ~TempFolderHold(); ///< removes the folder when it was the last and no operation is open
  TempFolderHold(const TempFolderHold&) = delete;
  TempFolderHold& operator=(const TempFolderHold&) = delete;
};

} // namespace kest
