#include "platform/text/path.h"

#include <gtest/gtest.h>

#include <tuple>

namespace kest {
namespace {

TEST(Path, CutsAtTheLastBackslash) {
  const std::tuple<const char*, const char*, const char*, const char*, const char*> rows[] = {
      {"C:\\a\\b.kei", "C:\\a\\", "b.kei", "kei", "C:\\a"},
      {"C:\\a.b\\c", "C:\\a.b\\", "c", "", "C:\\a.b"}, // the dot is the folder's
      {"C:\\a\\b\\\\", "C:\\a\\b\\\\", "", "", "C:\\a"},
      {"C:\\", "C:\\", "", "", ""},
      {"C:\\a", "C:\\", "a", "", "C:"},
      {"name.HTM", "", "name.HTM", "HTM", ""},
      {"C:\\.x", "C:\\", ".x", "x", "C:"},
      {"C:\\x.", "C:\\", "x.", "", "C:"},
      {"", "", "", "", ""},
  };
  for (const auto& [whole, before, last, extension, parent] : rows) {
    const CKestPath path(whole);
    EXPECT_EQ(path.GetFolder(), before) << whole;
    EXPECT_EQ(path.GetFileName(), last) << whole;
    EXPECT_EQ(path.GetExtension(), extension) << whole;
    EXPECT_EQ(path.GetParent(), parent) << whole;
  }
}

TEST(Path, JoinsWithOneBackslash) {
  EXPECT_EQ(JoinPath({"C:\\a\\\\", "\\\\b\\", "\\c\\"}), "C:\\a\\b\\c\\");
  // an absolute right side does not drop the left one
  EXPECT_EQ(JoinPath({"C:\\temp", "D:\\x"}), "C:\\temp\\D:\\x");
  EXPECT_EQ(WithBackslash("C:\\a\\\\"), "C:\\a\\");
  EXPECT_EQ(WithBackslash(""), "");
  EXPECT_EQ(WithoutBackslash("C:\\a\\\\"), "C:\\a");
  EXPECT_EQ(WithoutBackslash("C:\\"), "C:\\");
}

TEST(Path, ReplacesNameAndExtension) {
  CKestPath path("C:\\a.b\\c.kep");
  path.SetExtension("");
  path.SetExtension(".x");
  EXPECT_EQ(path.GetText(), "C:\\a.b\\c.x");
  path.SetFileName("d");
  path.SetExtension("e");
  EXPECT_EQ(path.GetText(), "C:\\a.b\\d.e");
}

TEST(Path, LocalizesSeparators) {
  const std::pair<const char*, const char*> rows[] = {
      {"Mac HD:Web:x.htm", "Mac HD\\Web\\x.htm"},
      {"C:\\a/b:c", "C:\\a\\b\\c"},
      {"c::x", "c:\\x"},
      {"C:x", "C\\x"}, // no drive: nothing that separates follows
      {"$tidemark/Configuration", "$tidemark\\Configuration"},
  };
  for (const auto& [given, localized] : rows) {
    CString path = given;
    CKestPath::LocalizePathSeparators(path);
    EXPECT_EQ(path, localized);
    CKestPath::LocalizePathSeparators(path);
    EXPECT_EQ(path, localized) << "a second time changes nothing";
  }
}

TEST(Path, FindsComponentsThatLeadUpwards) {
  for (const char* path : {"..", "a\\..", "..\\a", "C:\\a\\..\\b", "a/../b", "a\\.. \\b"}) {
    EXPECT_TRUE(CKestPath::HasParentComponent(path)) << path;
  }
  for (const char* path : {"", "a..b", "..a\\b", "a\\b..", "a\\...\\b", "."}) {
    EXPECT_FALSE(CKestPath::HasParentComponent(path)) << path;
  }
}

TEST(Path, HeedsSecondBytesThatLookLikeBackslashes) {
  const CString so = "\x83\x5C";
  text::SetCodePage(932);
  const CKestPath path("C:\\" + so + "\\" + so + ".htm");
  EXPECT_EQ(path.GetFileName(), so + ".htm");
  EXPECT_EQ(path.GetParent(), "C:\\" + so);
  EXPECT_EQ(WithoutBackslash("C:\\" + so), "C:\\" + so);
  EXPECT_EQ(JoinPath({"C:\\" + so, so}), "C:\\" + so + "\\" + so);
  EXPECT_FALSE(CKestPath::HasParentComponent(so + "..\\x"));
  text::SetCodePage(0);
}

} // namespace
} // namespace kest
