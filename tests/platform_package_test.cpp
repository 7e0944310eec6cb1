#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/package/inflater.h"
#include "platform/package/package.h"
#include "platform/package/package_names.h"
#include "platform/text/sha256.h"
#include "support/damage.h"
#include "support/temp_machine.h"
#include "support/zip_builder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace kest {
namespace {

using test::BuildZip;
using test::ZipEnd;
using test::ZipItem;

constexpr const char* kPackage = "C:\\p.kep";
constexpr const char* kTarget = "C:\\target";

// Every byte value, in an order that deflates badly.
CString Noise(std::size_t count) {
  CString bytes(count, '\0');
  std::uint32_t state = 12345;
  for (char& c : bytes) {
    state = state * 1664525 + 1013904223;
    c = static_cast<char>(state >> 24);
  }
  return bytes;
}

class Package : public test::TempMachineTest {
protected:
  void SetUp() override { m_pc.MakeFolder(kTarget); }
  void TearDown() override { CKestPackage::SetLimits(PackageLimits()); }

  // What a reader makes of the bytes: names first, as an install does.
  int Unpack(const std::string& zip, CString& problem) {
    m_pc.Write(kPackage, zip);
    CKestPackage package(kPackage);
    std::vector<CString> names;
    int code = package.UnPackFileNames(names);
    if (code == 0) {
      code = package.UnPackTo(kTarget);
    }
    problem = package.GetProblem();
    return code;
  }

  // What has changed but for the package, and for what lies in the folder that it is unpacked to.
  [[nodiscard]] std::string Changed(const test::MachineSnapshot& before, bool butForTarget = false) const {
    return test::DescribeDifference(before, m_pc.Snapshot(), [&](const std::string& path) {
      return path == "drive_c/p.kep" || (butForTarget && path.starts_with("drive_c/target/"));
    });
  }

  void ExpectRefused(const std::string& zip, const char* what) {
    const auto before = m_pc.Snapshot();
    CString problem;
    EXPECT_EQ(Unpack(zip, problem), CKestPackage::kDamaged) << what;
    EXPECT_FALSE(problem.empty()) << what;
    EXPECT_EQ(Changed(before), "") << what;
  }
};

TEST_F(Package, GivesBackNamesBytesAndDates) {
  struct {
    const char* name;
    CString content;
    std::int64_t date;
  } files[] = {
      {"x.kei", "<kestrel-extension/>", 1083827289}, // an odd second
      {"Commands\\Word Count.htm", CString(300000, 'w'), -1},
      {"Commands\\noise.bin", Noise(3000000), 2147483647},
      {"empty", "", 0},
      {"later.txt", "far away", 4102444800}, // 2100: past what the extra field holds
      {"deep\\er\\b\xC3\xBC\xC3\xBC", "b", 86399},
  };
  CKestPackage package(nullptr);
  ASSERT_EQ(package.Create(kPackage), 0);
  package.SetRelativeRoot("C:\\src\\");
  std::vector<CString> expected;
  for (const auto& file : files) {
    const CString path = CString("c:\\SRC\\") + file.name;
    m_pc.Write(CString("C:\\src\\") + file.name, file.content, file.date);
    ASSERT_EQ(package.PackFile(path.c_str(), true, false), 0) << package.GetProblem();
    expected.emplace_back(file.name);
  }
  ASSERT_TRUE(package.Finish()) << package.GetProblem();
  std::vector<CString> names;
  ASSERT_EQ(package.UnPackFileNames(names), 0) << package.GetProblem();
  EXPECT_EQ(names, expected);
  EXPECT_EQ(package.Check(), 0) << package.GetProblem();
  std::vector<CString> hashes;
  const auto note = [&hashes](std::size_t number, const CString& hash) {
    EXPECT_EQ(number, hashes.size());
    hashes.push_back(hash);
  };
  ASSERT_EQ(package.UnPackTo(kTarget, {}, note), 0) << package.GetProblem();
  ASSERT_EQ(hashes.size(), std::size(files));
  for (const auto& file : files) {
    Sha256 hash(true);
    hash.Add(file.content.data(), file.content.size());
    EXPECT_EQ(hashes[static_cast<std::size_t>(&file - files)], hash.Finish()) << file.name;
    const CString path = CString(kTarget) + "\\" + file.name;
    EXPECT_TRUE(m_pc.Read(path) == file.content) << file.name;
    EXPECT_EQ(m_pc.GetDate(path), file.date) << file.name;
  }
  CString content;
  EXPECT_EQ(package.UnPackToMemory("X.KEI", 100, content), 0);
  EXPECT_EQ(content, files[0].content);
  EXPECT_EQ(package.UnPackToMemory("x.kei", 5, content), CKestPackage::kDamaged);
}

TEST_F(Package, SameInputGivesSameBytesWhereverTheClockStands) {
  m_pc.Write("C:\\src\\a.txt", "a");
  m_pc.Write("C:\\src\\b\\noise", Noise(5000), 1700000000);
  std::string made[2];
  for (int i = 0; i < 2; ++i) {
    setenv("TZ", i == 0 ? "UTC" : "Asia/Tokyo", 1);
    CKestPackage package(nullptr);
    ASSERT_EQ(package.Create(kPackage), 0);
    package.SetRelativeRoot("C:\\src\\");
    ASSERT_EQ(package.PackFile("C:\\src\\a.txt", true, false), 0);
    ASSERT_EQ(package.PackFile("C:\\src\\b\\noise", true, false), 0);
    ASSERT_TRUE(package.Finish());
    made[i] = m_pc.Read(kPackage);
  }
  unsetenv("TZ");
  EXPECT_TRUE(made[0] == made[1]);
  EXPECT_NE(made[0].find("b/noise"), std::string::npos) << "names stand with forward slashes";
}

TEST_F(Package, NamesByRootByNameOrAsGiven) {
  m_pc.Write("C:\\src\\sub\\a.txt", "first");
  m_pc.Write("C:\\other\\a.txt", "second");
  CKestPackage package(nullptr);
  ASSERT_EQ(package.Create(kPackage), 0);
  package.SetRelativeRoot("C:\\src\\");
  EXPECT_EQ(package.PackFile("C:\\src\\sub\\a.txt", true, false), 0);
  EXPECT_EQ(package.PackFile("C:\\src\\sub\\a.txt", false, false), 0);
  EXPECT_EQ(package.PackFile("Sub/A.txt", "C:\\other\\a.txt", true, false), 0) << "kept, not replaced";
  EXPECT_EQ(package.PackFile("given/name.txt", "C:\\other\\a.txt", true, false), 0);
  EXPECT_EQ(package.PackFile("C:\\src", true, false), CKestPackage::kUnreadable) << "plain files alone";
  EXPECT_EQ(package.PackFile("../out", "C:\\other\\a.txt", true, false), CKestPackage::kDamaged);
  ASSERT_TRUE(package.Finish());
  std::vector<CString> names;
  ASSERT_EQ(package.UnPackFileNames(names), 0);
  EXPECT_EQ(names, (std::vector<CString>{"sub\\a.txt", "a.txt", "given\\name.txt"}));
  CString content;
  EXPECT_EQ(package.UnPackToMemory("sub\\a.txt", 100, content), 0);
  EXPECT_EQ(content, "first");
}

TEST_F(Package, NamesMarkedAsUtf8OnlyWhenTheyAre) {
  m_pc.Write("C:\\src\\a", "a");
  const std::pair<const char*, std::optional<bool>> rows[] = {{"plain", false}, {"b\xC3\xBC", true},  {"b\xFC", false},
                                                              {"\xC0x", {}},    {"\xED\xA0\x80", {}}, {"a\xC3", {}}};
  for (const auto& [name, marked] : rows) {
    CKestPackage package(nullptr);
    ASSERT_EQ(package.Create(kPackage), 0);
    ASSERT_EQ(package.PackFile(name, "C:\\src\\a", true, false), 0);
    ASSERT_TRUE(package.Finish()) << package.GetProblem();
    const bool isMarked = (m_pc.Read(kPackage)[7] & 8) != 0;
    EXPECT_EQ(isMarked, marked.value_or(isMarked)) << name;
    std::vector<CString> names;
    ASSERT_EQ(package.UnPackFileNames(names), 0);
    EXPECT_EQ(names, std::vector<CString>{name}) << "bytes come back as they were";
  }
}

TEST_F(Package, ReadsWhatOtherToolsWrite) {
  const std::string zip = BuildZip({
      {.name = "folder/", .madeBy = 0x0314, .attributes = (0040755u << 16) | 0x10},
      {.name = "folder/stored.txt", .content = "stored", .extra = test::TimestampField(-5)},
      {.name = "folder\\deflated.txt",
       .content = std::string(70000, 'd'),
       .deflated = true,
       .madeBy = 0x0014,
       .attributes = 0x20},
      {.name = "odd", .content = "x", .dosTime = 0xFFFF, .dosDate = 0},
  });
  CString problem;
  ASSERT_EQ(Unpack(zip, problem), 0) << problem;
  EXPECT_EQ(m_pc.Read("C:\\target\\folder\\stored.txt"), "stored");
  EXPECT_EQ(m_pc.GetDate("C:\\target\\folder\\stored.txt"), -5);
  EXPECT_EQ(m_pc.Read("C:\\target\\folder\\deflated.txt"), std::string(70000, 'd'));
  EXPECT_EQ(m_pc.GetDate("C:\\target\\folder\\deflated.txt"), 1083827288) << "to two seconds, by the header";
  EXPECT_EQ(m_pc.Read("C:\\target\\odd"), "x");
  // again over what is there
  ASSERT_EQ(Unpack(zip, problem), 0) << problem;
}

TEST_F(Package, RefusesNamesThatLeadElsewhere) {
  for (const char* name :
       {"",         "\\abs",       "C:\\x",         "C:x",           "x:stream", "..",    "..\\x", "a\\..\\..\\x",
        "a\\..\\x", ".\\x",        "a\\\\x",        "a\"b",          "a\nb",     "a\x7F", "dot.",  "blank ",
        "a\\b.\\c", "CON",         "nul.txt",       "a\\Com1.htm",   "lpt9 .x",  "q?",    "a*",    "a|b",
        "\x01",     "COM\xC2\xB9", "lpt\xC2\xB3.x", "a\\com\xB2.htm"}) {
    EXPECT_NE(JudgePackageName(name), nullptr) << name;
  }
  EXPECT_NE(JudgePackageName(std::string(256, 'n')), nullptr);
  EXPECT_EQ(JudgePackageName(std::string(255, 'n') + "\\" + std::string(255, 'm')), nullptr);
  for (const char* name : {"com10", "com\xC2\xB4", "a\\.hidden", "Tom's console.htm"}) {
    EXPECT_EQ(JudgePackageName(name), nullptr) << name;
  }
  for (const char* name : {"a/../../x", "/abs", "\\abs", "../"}) {
    ExpectRefused(BuildZip({{.name = "ok", .content = "1"}, {.name = name, .attributes = 0}}), name);
  }
}

// Another program that looks at the package would see other names.
TEST_F(Package, RefusesNamesThatCanBeReadInTwoWays) {
  const auto pathField = [](const std::string& name) {
    std::string field = "up";
    test::PutLittle(field, name.size() + 5, 2);
    return field +
           std::string("\x01"
                       "abcd",
                       5) +
           name;
  };
  constexpr std::uint16_t kUtf8 = 0x0800;
  const ZipItem refused[] = {{.name = "a\xC0\xAE\xC0\xAEx"},
                             {.name = "a\xC0\xAFx", .flags = kUtf8},
                             {.name = "a\xE0\x80\xAFx"},
                             {.name = "a\xF0\x80\x80\xAFx"},
                             {.name = "a\xFFx", .flags = kUtf8},
                             {.name = "a.htm", .extra = pathField("..\\a.htm")},
                             {.name = "a.htm", .extra = "up"},
                             {.name = "a.htm", .extra = std::string("UT\x09\0\x01", 5)},
                             {.name = "a.htm", .extra = test::TimestampField(1) + "x"}};
  for (const ZipItem& item : refused) {
    ExpectRefused(BuildZip({{.name = "ok", .content = "1"}, item}), item.name.c_str());
  }
  CString problem;
  EXPECT_EQ(Unpack(BuildZip({{.name = "\xE0 la carte\xC0"},
                             {.name = "a\xC3\xA9.htm", .flags = kUtf8, .extra = pathField("a\xC3\xA9.htm")},
                             {.name = "b\xE9.htm", .extra = pathField("b\xC3\xA9.htm") + std::string(3, '\0')}}),
                   problem),
            0)
      << problem;
}

TEST_F(Package, RefusesNamesThatClash) {
  const auto zipOf = [](const std::vector<std::string>& names) {
    std::vector<ZipItem> items;
    for (const auto& name : names) {
      items.push_back({.name = name, .attributes = 0});
    }
    return BuildZip(items);
  };
  const std::vector<std::vector<std::string>> rows = {{"a", "b", "a"},  {"Menu.htm", "x", "menu.HTM"}, {"a", "A/b"},
                                                      {"a/b/c", "a/b"}, {"a", "a-b", "a b", "a/c"},    {"a/", "a"}};
  for (const auto& names : rows) {
    ExpectRefused(zipOf(names), names.back().c_str());
  }
  CString problem;
  EXPECT_EQ(Unpack(zipOf({"a/", "A/b", "a/"}), problem), 0) << problem;
}

// Links, encryption, and counts and places that are wrong: see the hostile packages that the whole program is given.
TEST_F(Package, RefusesDirectoriesThatLie) {
  const std::string big(200000, 'z');
  ExpectRefused(BuildZip({{.name = "l", .content = "x", .madeBy = 0x0A14, .attributes = 0x400}}), "reparse point");
  ExpectRefused(BuildZip({{.name = "l", .attributes = 0040755u << 16}}), "folder without slash");
  ExpectRefused(BuildZip({{.name = "a", .content = "12345", .size = 4}}), "stored sizes differ");
  ExpectRefused(BuildZip({{.name = "a", .content = big, .deflated = true, .size = 200000000}}),
                "cannot grow that much");
  ExpectRefused(BuildZip({{.name = "a", .content = "1"}, {.name = "b", .content = "2", .offset = 5}}), "overlap");
  ExpectRefused(BuildZip({{.name = "a", .content = "1", .size = 5000, .packedSize = 5000}}), "beyond the end");
  ExpectRefused(BuildZip({{.name = "a", .content = "1"}}, {.offset = 0xFFFFFFFFu}), "large record without one");
  std::vector<ZipItem> fields(5, {.extra = std::string(65000, '\0')});
  for (std::size_t i = 0; i < fields.size(); ++i) {
    fields[i].name = std::to_string(i);
  }
  ExpectRefused(BuildZip(fields), "a directory of nothing but fields");
  ExpectRefused("MZ" + BuildZip({{.name = "a", .content = "1"}}), "something in front");
}

// What only unpacking shows may leave files in the folder, never outside of it.
TEST_F(Package, UnpackingChecksSizesAndSums) {
  // one that is unpacked at once, and one in pieces
  for (const std::uint32_t size : {200000u, static_cast<std::uint32_t>(Inflater::kMostAtOnce) + 1}) {
    const std::string big(size, 'z');
    const std::string packed = test::Deflate(big);
    const ZipItem whole = {.name = "a", .content = big, .deflated = true};
    CString problem;
    ASSERT_EQ(Unpack(BuildZip({whole}), problem), 0) << problem;
    EXPECT_TRUE(m_pc.Read("C:\\target\\a") == big);
    std::vector<ZipItem> items(6, whole);
    items[0].crc = 7u;
    items[1].size = size - 1;
    items[2].size = size + 1;
    items[3].packed = packed + "more";
    items[4].packed = packed.substr(0, packed.size() - 1);
    items[5].packed = "\xFF" + packed.substr(1);
    items.push_back({.name = "a", .content = "1", .crc = 7u});
    items.push_back({.name = "a", .content = "1", .localName = "b"});
    const auto before = m_pc.Snapshot();
    for (const ZipItem& item : items) {
      EXPECT_EQ(Unpack(BuildZip({item}), problem), CKestPackage::kDamaged);
      EXPECT_EQ(CKestPackage(kPackage).Check(), CKestPackage::kDamaged) << problem;
      EXPECT_NE(problem.find("\"a\""), CString::npos) << problem;
    }
    EXPECT_EQ(Changed(before, true), "");
  }
}

TEST_F(Package, EveryCutGivesACodeAndEveryChangeACodeOrAPackage) {
  const std::string zip = BuildZip({{.name = "x.kei", .content = "<kestrel-extension/>"},
                                    {.name = "sub/y.htm", .content = std::string(300, 'y'), .deflated = true}});
  const auto before = m_pc.Snapshot();
  test::ForEveryCutAndChange(zip, std::string_view("\0\x01\xFF", 3), [&](const std::string& changed) {
    CString problem;
    const int code = Unpack(changed, problem);
    EXPECT_EQ(problem.empty(), code == 0) << changed.size();
    if (changed.size() < zip.size()) {
      EXPECT_EQ(code, changed.size() < 2 ? CKestPackage::kNotAPackage : CKestPackage::kDamaged) << changed.size();
    }
  });
  EXPECT_EQ(Changed(before, true), "");
}

TEST_F(Package, TellsWhatIsNoPackageFromWhatCannotBeRead) {
  CString problem;
  EXPECT_EQ(Unpack(Noise(100000), problem), CKestPackage::kNotAPackage);
  EXPECT_EQ(Unpack("<kestrel-extension name=\"taken for a package\"/>", problem), CKestPackage::kNotAPackage);
  std::vector<CString> names;
  for (const char* path : {"C:\\missing.kep", "C:\\windows", ""}) {
    CKestPackage package(path);
    EXPECT_EQ(package.UnPackFileNames(names), CKestPackage::kUnreadable) << path;
  }
}

TEST_F(Package, KeepsToTheLimits) {
  CKestPackage::SetLimits({.entries = 3, .bytesPerFile = 1000, .bytesInAll = 2000});
  CString problem;
  const ZipItem full = {.name = "a", .content = std::string(1000, 'a'), .deflated = true};
  ZipItem second = full;
  second.name = "b";
  EXPECT_EQ(Unpack(BuildZip({full, second}), problem), 0) << problem;
  ExpectRefused(BuildZip({full, second, {.name = "c", .content = "1"}}), "in all");
  ExpectRefused(BuildZip({{.name = "a", .content = std::string(1001, 'a'), .deflated = true}}), "a file");
  ExpectRefused(BuildZip({{.name = "1"}, {.name = "2"}, {.name = "3"}, {.name = "4"}}), "entries");
  ExpectRefused(BuildZip({{.name = "1/2/3/4/5"}}), "folders");
  CKestPackage::SetLimits({.usualRatio = 10, .bytesInflated = 1500});
  ExpectRefused(BuildZip({full, second}), "inflated");
  EXPECT_EQ(Unpack(BuildZip({full, {.name = "b", .content = std::string(1000, 'a')}}), problem), 0) << problem;
}

TEST_F(Package, FollowsNoLinksWhenUnpacking) {
  m_pc.MakeFolder("C:\\elsewhere");
  m_pc.Write("C:\\elsewhere\\file", "safe");
  std::filesystem::create_directory_symlink("../elsewhere", m_pc.HostPath("C:\\target\\sub"));
  std::filesystem::create_symlink("../elsewhere/file", m_pc.HostPath("C:\\target\\file"));
  CString problem;
  EXPECT_NE(Unpack(BuildZip({{.name = "sub/new", .content = "x"}}), problem), 0);
  EXPECT_FALSE(m_pc.Exists("C:\\elsewhere\\new"));
  static_cast<void>(Unpack(BuildZip({{.name = "file", .content = "x"}}), problem)); // replaced or refused
  EXPECT_EQ(m_pc.Read("C:\\elsewhere\\file"), "safe");
}

TEST_F(Package, ReadsTheLargeEndRecord) {
  const std::vector<ZipItem> items = {{.name = "a", .content = "1"}, {.name = "b", .content = "2"}};
  CString problem;
  EXPECT_EQ(Unpack(BuildZip(items, {.count = std::uint16_t{0xFFFF}, .large = true}), problem), 0) << problem;
  EXPECT_EQ(m_pc.Read("C:\\target\\b"), "2");
  std::string moved = BuildZip(items, {.count = std::uint16_t{0xFFFF}, .large = true});
  moved[moved.size() - 22 - 20 + 8] ^= 1; // the locator points beside the record
  ExpectRefused(moved, "locator");
}

} // namespace
} // namespace kest
