#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

class File : public test::TempMachineTest {
protected:
  std::vector<CString> Find(const CString& pattern) {
    std::vector<CString> names;
    CKestFileFinder finder;
    for (bool more = finder.FindFirst(pattern); more; more = finder.FindNext()) {
      names.push_back(finder.GetFileName());
    }
    return names;
  }
};

using Names = std::vector<CString>;

TEST_F(File, KeepsEveryByteAndStaysUntilTheNewOneIsClosed) {
  CString bytes;
  for (int i = 0; i < 200000; ++i) { // more than one buffer
    bytes.push_back(static_cast<char>(i * 7 % 256));
  }
  m_pc.Write("C:\\All.bin", "old");
  CKestFile file;
  ASSERT_TRUE(file.OpenForWrite("C:\\all.bin"));
  EXPECT_EQ(file.Write(bytes.data(), 70000), 70000);
  EXPECT_TRUE(file.WriteLine(std::string_view(bytes).substr(70000)));
  EXPECT_EQ(m_pc.Read("C:\\All.bin"), "old");
  ASSERT_TRUE(file.Close());
  EXPECT_TRUE(m_pc.Read("C:\\All.bin") == bytes);
  ASSERT_TRUE(file.OpenForRead("C:\\all.bin"));
  CString pieces;
  char buffer[1023];
  while (const int got = file.Read(buffer, sizeof buffer)) {
    pieces.append(buffer, static_cast<std::size_t>(got));
  }
  EXPECT_TRUE(pieces == bytes);
}

TEST_F(File, ReadingHasABound) {
  m_pc.Write("C:\\x", "12345");
  CString content = "as before";
  EXPECT_FALSE(CKestFile::ReadAll("C:\\x", content, 4));
  EXPECT_FALSE(CKestFile::ReadAll("C:\\missing", content));
  EXPECT_FALSE(CKestFile::ReadAll("C:\\windows", content));
  EXPECT_EQ(content, "as before");
  EXPECT_TRUE(CKestFile::ReadAll("C:\\x", content, 5));
  EXPECT_EQ(content, "12345");
}

TEST_F(File, FinderMatchesAndSortsWithoutCase) {
  for (const char* name : {"b.kei", "A.KEI", "c.keix", "readme", "d.kei.bak", "e.kep"}) {
    m_pc.Write(CString("C:\\e\\") + name, "");
  }
  m_pc.MakeFolder("C:\\e\\Folder.kei");
  EXPECT_EQ(Find("C:\\e\\*.kei"), (Names{"A.KEI", "b.kei", "Folder.kei"}));
  EXPECT_EQ(Find("C:\\e\\*.*"), (Names{"A.KEI", "b.kei", "c.keix", "d.kei.bak", "e.kep", "Folder.kei", "readme"}));
  EXPECT_EQ(Find("C:\\e\\?.ke?"), (Names{"A.KEI", "b.kei", "e.kep"}));
  EXPECT_EQ(Find("C:\\e\\a.kei"), Names{"A.KEI"});
  EXPECT_EQ(Find("C:\\e\\missing"), Names{});
  EXPECT_EQ(Find("C:\\missing\\*.*"), Names{});
}

TEST_F(File, FinderReadsItsFolderOnceAndKnowsLinks) {
  m_pc.MakeFolder("C:\\e\\f");
  m_pc.Write("C:\\e\\1", "");
  m_pc.Write("C:\\e\\2", "");
  std::filesystem::create_directory_symlink("f", m_pc.HostPath("C:\\e\\link"));
  std::vector<CString> seen;
  CKestFileFinder finder;
  for (bool more = finder.FindFirst("C:\\e\\*.*"); more; more = finder.FindNext()) {
    seen.push_back(finder.GetFileName() + (finder.IsFolder() ? "\\" : ""));
    EXPECT_EQ(CKestOS::DeleteFile("C:\\e\\" + finder.GetFileName()), !finder.IsFolder());
  }
  EXPECT_EQ(seen, (Names{"1", "2", "f\\", "link"}));
}

} // namespace
} // namespace kest
