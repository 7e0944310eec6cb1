#include <windows.h>

#include <shellapi.h>

// replace.exe: puts a file that waited for the next log-on in the place of one that was in use. Windows starts it from
// RunOnce, with the destination and the file that waits. It shows nothing; a file that is still in use waits for the
// next start of the system, where the rights suffice for that.

namespace {

bool Replace(const wchar_t* destination, const wchar_t* pending) {
  const DWORD marks = GetFileAttributesW(destination);
  const bool isReadOnly = marks != INVALID_FILE_ATTRIBUTES && (marks & FILE_ATTRIBUTE_READONLY) != 0;
  if (isReadOnly && !SetFileAttributesW(destination, marks & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY))) {
    return false;
  }
  constexpr DWORD kNow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  constexpr DWORD kAtStart = MOVEFILE_REPLACE_EXISTING | MOVEFILE_DELAY_UNTIL_REBOOT;
  if (MoveFileExW(pending, destination, kNow)) {
    return true;
  }
  const bool waits = MoveFileExW(pending, destination, kAtStart) != FALSE;
  if (isReadOnly && !waits) {
    SetFileAttributesW(destination, marks);
  }
  return waits;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  constexpr int kWords = 3;
  const bool isDone = words != nullptr && count == kWords && Replace(words[1], words[2]);
  LocalFree(words);
  return isDone ? 0 : 1;
}
