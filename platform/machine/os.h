#pragma once

#include "platform/machine/machine.h"
#include "platform/text/containers.h"
#include "platform/text/windows_names.h"

namespace kest {

/// Static face over the machine in force. Every call is true on success; paths are absolute Windows paths.
/// Meanings are those of Machine where a name stands there too.
class KEST_API CKestOS {
public:
  /// Puts a machine in force (not owned; null: no machine, every call fails). Sets the code page of text and paths,
  /// and drops this process's temporary folder of the machine before.
  static void SetMachine(Machine* machine);
  /// The machine in force; one on which every call fails when none was set. Never null.
  [[nodiscard]] static Machine& GetMachine();

  [[nodiscard]] static bool FileExists(const CString& path);                    ///< see Machine
  [[nodiscard]] static bool CopyFile(const CString& from, const CString& to);   ///< see Machine
  static bool DeleteFile(const CString& path);                                  ///< see Machine
  [[nodiscard]] static bool MoveFile(const CString& from, const CString& to);   ///< see Machine
  [[nodiscard]] static bool RenameFile(const CString& from, const CString& to); ///< as MoveFile
  [[nodiscard]] static bool MoveFileToTrash(const CString& path);               ///< see Machine
  /// Clears the read-only mark; harmless on a missing file.
  static bool MakeFileWritable(const CString& path);
  [[nodiscard]] static bool IsFileReadOnly(const CString& path);                       ///< see Machine
  [[nodiscard]] static bool CanUpdateFile(const CString& path);                        ///< see Machine
  [[nodiscard]] static bool GetFileDateTime(const CString& path, CKestDateTime& date); ///< see Machine
  static bool SetFileDateTime(const CString& path, const CKestDateTime& date);         ///< see Machine
  /// See Machine::GetFileVersion.
  [[nodiscard]] static bool GetFileVersionNumber(const CString& path, CKestVersionNumber& version);
  /// One private folder (0700) per process below the machine's temporary folder, made at the first call, with a
  /// trailing backslash. RemoveTempFolder, another machine in force, or the end of the process removes it.
  [[nodiscard]] static bool GetTempPath(CString& path);
  static void RemoveTempFolder(); ///< removes the folder of GetTempPath with all it holds; harmless without one
  /// The present folder stays (an unfinished journal in it is still needed): RemoveTempFolder then only leaves it
  /// behind, and the next GetTempPath makes another.
  static void KeepTempFolder();
  /// Creates an empty file with a new name "<prefix>....tmp" in the folder.
  [[nodiscard]] static bool GetTempFileName(const CString& folder, const CString& prefix, CString& path);
  /// A name in the same folder that no file has, same extension, stem at most `stemLength` characters. Creates nothing.
  [[nodiscard]] static bool DeriveUniqueFileName(CString& path, int stemLength);
  /// The short form where the machine has one, else the path itself.
  [[nodiscard]] static CString GetShortPathName(const CString& path);

  [[nodiscard]] static bool DirectoryExists(const CString& path); ///< see Machine
  /// True for an existing folder. Without `withParents` the parent must exist.
  [[nodiscard]] static bool CreateDirectory(const CString& path, bool withParents);
  [[nodiscard]] static bool RemoveDirectory(const CString& path);  ///< an empty folder alone
  [[nodiscard]] static bool IsDirectoryEmpty(const CString& path); ///< false for a missing folder, too
  /// True when every entry is a real subfolder named in the list (any case); `holdsAny` tells whether it holds one.
  [[nodiscard]] static bool IsDirectoryEmptyExceptFor(const CString& path, const CKestTypedList<CKestString>& names,
                                                      bool& holdsAny);
  [[nodiscard]] static bool GetSystemFolder(CString& path);       ///< see Machine
  [[nodiscard]] static bool GetFontsFolder(CString& path);        ///< see Machine
  [[nodiscard]] static bool GetCurrentProcessPath(CString& path); ///< see Machine

  static void InitMultiUserMembers();                                              ///< see Machine
  [[nodiscard]] static bool IsSupportedMultiUserSystem();                          ///< see Machine
  [[nodiscard]] static bool GetCurrentUserType(int& type);                         ///< see Machine
  [[nodiscard]] static bool GetSharedAppDataPath(CString& path);                   ///< see Machine
  [[nodiscard]] static bool GetCurrentUserAppDataPath(CString& path);              ///< see Machine
  [[nodiscard]] static bool GetAppDataPathFor(const CString& user, CString& path); ///< see Machine
  /// See Machine; `paths` is replaced.
  [[nodiscard]] static bool GetAllUserAppDataPaths(CKestTypedList<CKestString>& paths);
  [[nodiscard]] static bool ExtractUserName(const CString& path, CString& user); ///< see Machine
  /// The current user's application-data folder without trailing backslash; `path` is left alone on failure.
  [[nodiscard]] static bool SHGetFolderPath(int csidl, CString& path);
  [[nodiscard]] static int GetOperatingSystemVersion();                       ///< see Machine
  static void EnumProcs(const std::function<bool(const CString&)>& callback); ///< see Machine
  static void WinExec(const CString& commandLine, int show); ///< see Machine; `show` means nothing to a machine folder
  static void AllowBackgroundProcessing(); ///< lets the system do what waits for this thread; called in long loops

  [[nodiscard]] static bool RegistryKeyExists(RegistryRoot root, const CString& key); ///< see Machine
  /// False for a value longer than 259 bytes, too.
  [[nodiscard]] static bool ReadRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                               CString& data);
  /// See Machine.
  [[nodiscard]] static bool WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                                const CString& data);
  static bool DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name); ///< see Machine
  /// See Machine.
  [[nodiscard]] static bool EnumRegistryValues(RegistryRoot root, const CString& key,
                                               std::vector<RegistryValue>& values);
  static void AddFontResource(const CString& path);    ///< see Machine; a failure is passed over
  static void RemoveFontResource(const CString& path); ///< see Machine; a failure is passed over
  static void BroadcastFontChange();                   ///< see Machine
};

} // namespace kest
