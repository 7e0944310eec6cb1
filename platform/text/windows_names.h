// No `#pragma once`: taken in again by each header that declares one of these names, wherever <windows.h> stood.
//
// <windows.h> makes macros of some names that the engine's classes have, so that a header read after it would declare
// other functions than the library has. A program that wants both calls those of Windows by their whole names, as in
// DeleteFileW.
#undef AddFontResource
#undef CopyFile
#undef CreateDirectory
#undef DeleteFile
#undef FormatMessage
#undef GetForm
#undef GetFreeSpace
#undef GetShortPathName
#undef GetTempFileName
#undef GetTempPath
#undef GetUserName
#undef MoveFile
#undef RemoveDirectory
#undef RemoveFontResource
#undef ReplaceFile
#undef SHGetFolderPath
#undef SetForm
