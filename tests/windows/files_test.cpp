#include "support/machine_test.h"

#include <windows.h>

#include "platform/text/windows_names.h"

// Files of a PC, beside what holds for every machine.

namespace kest::test {
namespace {

using Kind = MachineError::Kind;

class WindowsFiles : public TestOf<WindowsMachine> {
protected:
  WindowsMachine& pc() override { return m_pc.Get(); }
  [[nodiscard]] std::string Read(const CString& path) {
    const auto file = pc().Open(path, OpenMode::kRead);
    char buffer[64];
    const std::int64_t got = file ? file->Read(buffer, sizeof buffer) : -1;
    return got < 0 ? "not read" : std::string(buffer, static_cast<std::size_t>(got));
  }
};

TEST_F(WindowsFiles, NamesThatMeanSomethingElseReachNoFile) {
  m_pc.Write(R"(C:\n\dot)", "x");
  for (const CString name : {"dot.", "dot ", "nul", "NUL.htm", "aux", "com1.txt", "CON", "dot:stream", "dot::$DATA"}) {
    const CString path = R"(C:\n\)" + name;
    EXPECT_EQ(FailureOf(Put(path, OpenMode::kReplace, "y"), Kind::kRefused, path), "");
    EXPECT_FALSE(IsYes(pc().FileExists(path))) << path;
    EXPECT_FALSE(pc().DeleteFile(path) || pc().CreateDirectory(path)) << path;
  }
  std::vector<FolderEntry> entries;
  ASSERT_TRUE(IsYes(pc().ListFolder(R"(C:\n)", entries)));
  EXPECT_EQ(entries.size(), 1U);
}

TEST_F(WindowsFiles, HeldByAnotherProgramAreOfOneTime) {
  const CString path = R"(C:\h\file.htm)";
  const CString next = R"(C:\h\next.htm)";
  for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE},
                            DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE}}) {
    SCOPED_TRACE(share);
    const bool isTight = (share & FILE_SHARE_DELETE) == 0;
    m_pc.Write(path, "old");
    m_pc.Write(next, "new");
    const HANDLE held = CreateFileW(L"C:\\h\\file.htm", GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_EQ(FailureOf(pc().CanUpdateFile(path), Kind::kInUse, path), "");
    const bool isReplaced = pc().ReplaceFile(next, path);
    EXPECT_FALSE(isReplaced && isTight);
    EXPECT_TRUE(isReplaced || pc().GetLastError().kind == Kind::kInUse) << pc().GetLastError().reason;
    EXPECT_EQ(IsYes(pc().FileExists(next)), !isReplaced);
    if (isTight) {
      EXPECT_EQ(FailureOf(pc().DeleteFile(path), Kind::kInUse, path), "");
      EXPECT_EQ(FailureOf(pc().MoveFile(path, R"(C:\h\moved.htm)"), Kind::kInUse, path), "");
    }
    CloseHandle(held);
    EXPECT_EQ(Read(path), isReplaced ? "new" : "old");
  }
}

TEST_F(WindowsFiles, ALinkOfThePrefixLeadsNowhereOutsideTheDrive) {
  if (GetFileAttributesW(L"C:\\out") == INVALID_FILE_ATTRIBUTES) {
    GTEST_SKIP() << "no link C:\\out leads out of the drive";
  }
  EXPECT_FALSE(IsYes(pc().DirectoryExists(R"(C:\out\etc)")));
  EXPECT_FALSE(pc().Open(R"(C:\out\etc\hostname)", OpenMode::kRead));
  EXPECT_EQ(FailureOf(Put(R"(C:\out\kest-test)", OpenMode::kReplace, "x"), Kind::kRefused, R"(C:\out\kest-test)"), "");
  EXPECT_FALSE(pc().CreateDirectory(R"(C:\out\kest-test)"));
}

} // namespace
} // namespace kest::test
