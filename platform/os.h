#pragma once

#include "platform/containers.h"
#include "platform/machine.h"

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

  [[nodiscard]] static bool FileExists(const CString& path);
  [[nodiscard]] static bool CopyFile(const CString& from, const CString& to);
  static bool DeleteFile(const CString& path);
  [[nodiscard]] static bool MoveFile(const CString& from, const CString& to);
  [[nodiscard]] static bool RenameFile(const CString& from, const CString& to);
  [[nodiscard]] static bool MoveFileToTrash(const CString& path);
  /// Clears the read-only mark; harmless on a missing file.
  static bool MakeFileWritable(const CString& path);
  [[nodiscard]] static bool IsFileReadOnly(const CString& path);
  [[nodiscard]] static bool CanUpdateFile(const CString& path);
  [[nodiscard]] static bool GetFileDateTime(const CString& path, CKestDateTime& date);
  static bool SetFileDateTime(const CString& path, const CKestDateTime& date);
  [[nodiscard]] static bool GetFileVersionNumber(const CString& path, CKestVersionNumber& version);
  /// One private folder (0700) per process below the machine's temporary folder, made at the first call, with a
  /// trailing backslash. RemoveTempFolder, another machine in force, or the end of the process removes it.
  [[nodiscard]] static bool GetTempPath(CString& path);
  static void RemoveTempFolder();
  /// The present folder stays (an unfinished journal in it is still needed): RemoveTempFolder then only leaves it
  /// behind, and the next GetTempPath makes another.
  static void KeepTempFolder();
  /// Creates an empty file with a new name "<prefix>....tmp" in the folder.
  [[nodiscard]] static bool GetTempFileName(const CString& folder, const CString& prefix, CString& path);
  /// A name in the same folder that no file has, same extension, stem at most `stemLength` characters. Creates nothing.
  [[nodiscard]] static bool DeriveUniqueFileName(CString& path, int stemLength);
  [[nodiscard]] static CString GetShortPathName(const CString& path);

  [[nodiscard]] static bool DirectoryExists(const CString& path);
  [[nodiscard]] static bool CreateDirectory(const CString& path, bool withParents);
  [[nodiscard]] static bool RemoveDirectory(const CString& path);
  [[nodiscard]] static bool IsDirectoryEmpty(const CString& path);
  /// True when every entry is a real subfolder named in the list (any case); `holdsAny` tells whether it holds one.
  [[nodiscard]] static bool IsDirectoryEmptyExceptFor(const CString& path, const CKestTypedList<CKestString>& names,
                                                      bool& holdsAny);
  [[nodiscard]] static bool GetSystemFolder(CString& path);
  [[nodiscard]] static bool GetFontsFolder(CString& path);
  [[nodiscard]] static bool GetCurrentProcessPath(CString& path);

  static void InitMultiUserMembers();
  [[nodiscard]] static bool IsSupportedMultiUserSystem();
  [[nodiscard]] static bool GetCurrentUserType(int& type);
  [[nodiscard]] static bool GetSharedAppDataPath(CString& path);
  [[nodiscard]] static bool GetCurrentUserAppDataPath(CString& path);
  [[nodiscard]] static bool GetAppDataPathFor(const CString& user, CString& path);
  [[nodiscard]] static bool GetAllUserAppDataPaths(CKestTypedList<CKestString>& paths);
  [[nodiscard]] static bool ExtractUserName(const CString& path, CString& user);
  /// The current user's application-data folder without trailing backslash; `path` is left alone on failure.
  [[nodiscard]] static bool SHGetFolderPath(int csidl, CString& path);
  [[nodiscard]] static int GetOperatingSystemVersion();
  static void EnumProcs(const std::function<bool(const CString&)>& callback);
  static void WinExec(const CString& commandLine, int show);
  static void AllowBackgroundProcessing();

  [[nodiscard]] static bool RegistryKeyExists(RegistryRoot root, const CString& key);
  /// False for a value longer than 259 bytes, too.
  [[nodiscard]] static bool ReadRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                               CString& data);
  [[nodiscard]] static bool WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                                const CString& data);
  static bool DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name);
  [[nodiscard]] static bool EnumRegistryValues(RegistryRoot root, const CString& key,
                                               std::vector<RegistryValue>& values);
  static void AddFontResource(const CString& path);
  static void RemoveFontResource(const CString& path);
  static void BroadcastFontChange();
};

} // namespace kest
