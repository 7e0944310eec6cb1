#include <gtest/gtest.h>

// as <windows.h> does, and as no function of the library is called
#define AddFontResource AddFontResourceW
#define CopyFile CopyFileW
#define CreateDirectory CreateDirectoryW
#define DeleteFile DeleteFileW
#define FormatMessage FormatMessageW
#define GetFreeSpace(w) (0x100000L)
#define GetShortPathName GetShortPathNameW
#define GetTempFileName GetTempFileNameW
#define GetTempPath GetTempPathW
#define MoveFile MoveFileW
#define RemoveDirectory RemoveDirectoryW
#define RemoveFontResource RemoveFontResourceW
#define ReplaceFile ReplaceFileW
#define SHGetFolderPath SHGetFolderPathW

#include "platform/machine/forwarding_machine.h"
#include "platform/machine/os.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/messages/messages.h"

namespace kest {
namespace {

TEST(WindowsNames, AProgramWithThemMeansTheFunctionsOfTheLibrary) {
  CKestOS::SetMachine(nullptr);
  Machine& none = CKestOS::GetMachine();
  std::uint64_t bytes = 0;
  CString text;
  EXPECT_FALSE(none.GetFreeSpace("C:\\", bytes) || none.CopyFile("C:\\a", "C:\\b") || none.DeleteFile("C:\\a") ||
               none.MoveFile("C:\\a", "C:\\b") || none.ReplaceFile("C:\\a", "C:\\b") || none.CreateDirectory("C:\\a") ||
               none.RemoveDirectory("C:\\a") || none.AddFontResource("C:\\a") || none.RemoveFontResource("C:\\a") ||
               CKestOS::DeleteFile("C:\\a") || CKestOS::GetTempFileName("C:\\", "a", text) ||
               CKestOS::GetTempPath(text) || CKestOS::SHGetFolderPath(0, text));
}

} // namespace
} // namespace kest
