#include "description/extension.h"
#include "platform/package/package.h"
#include "support/kest_fixture.h"

#include <tuple>

namespace kest::test {
namespace {

const CString kTarget = "C:\\Work\\out.kep";

class PackagingTest : public KestFixture {
protected:
  int create(const CString& description, bool repackage = false, bool progress = false, bool portable = false) {
    return manager().CreatePackage(description.c_str(), kTarget.c_str(), repackage ? nova() : nullptr, repackage,
                                   progress, portable);
  }
  static std::vector<CString> names() {
    std::vector<CString> found;
    EXPECT_EQ(CKestPackage(kTarget.c_str()).UnPackFileNames(found), 0);
    return found;
  }
};

TEST_F(PackagingTest, HoldsTheDescriptionFirstThenTheFilesBelowIt) {
  ASSERT_EQ(create(lay(package("Empty"))), 0);
  EXPECT_EQ(names(), std::vector<CString>{"empty.kei"});
  const ExtensionBuilder two = package("Two").file("a.htm", "$tidemark").file("/./sub//b.js", "$tidemark", "b");
  ASSERT_EQ(create(lay(two), false, true), 0) << "an old package is replaced";
  EXPECT_EQ(names(), (std::vector<CString>{"two.kei", "a.htm", "sub\\b.js"}));
  EXPECT_EQ(report().created.size() + report().changed.size(), 1u);
  EXPECT_TRUE(m_host.positions().empty());
  ASSERT_EQ(create(lay(package("Three").file("a", "$x").file("b", "$x").file("c", "$x")), false, true), 0);
  EXPECT_EQ(m_host.positions(), (std::vector<int>{1, 2, 3, 4})) << "shown for more than two files";
  EXPECT_FALSE(m_host.isProgressOpen());
}

TEST_F(PackagingTest, WhatCannotBePackedIsRefusedAndAnOldPackageStays) {
  const std::string longName(28, 'x');
  const std::tuple<const char*, ExtensionBuilder, bool, int, int> rows[] = {
      {"a name that is long for other platforms", package("X").descriptionNamed(longName + ".kei"), true, 4131, -1},
      {"several primary products", package("X").product("Tidemark", "4").product("Prism\" primary=\"true", "4"), true,
       4132, -4},
      {"missing items", package("X").author("").version("0.0").type(""), false, 4072, -1},
      {"a file without extension", package("X").file("readme", "$tidemark"), true, 4135, -1},
      {"a missing file", package("X").file("gone.htm", "$tidemark"), false, 4024, -1},
      {"a device's name", package("X").file("a.htm", "$tidemark/aux"), false, 0, -1},
      {"a way up", package("X").file("../a.htm", "$tidemark"), false, 4172, -5},
  };
  m_pc.Write(kTarget, "an old package");
  for (const auto& [claim, extension, portable, message, code] : rows) {
    SCOPED_TRACE(claim);
    const CString description = lay(extension);
    std::filesystem::remove(m_pc.HostPath("C:\\Work\\X\\gone.htm"));
    m_pc.Reopen();
    m_host.clear();
    EXPECT_EQ(create(description, false, false, portable), code);
    EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{message});
    EXPECT_EQ(m_pc.Read(kTarget), "an old package");
    EXPECT_TRUE(isTempEmpty());
  }
}

TEST_F(PackagingTest, RepackagingTakesTheInstalledFilesAndLeavesOutTheOtherPlatforms) {
  CKestExtension* record = installed(package("Mixed")
                                         .file("a.htm", kToCommands, "a")
                                         .file("readme", kToCommands, "r", "win-extension=\"txt\"")
                                         .file("m.htm", kToCommands, "m", "platform=\"mac\""));
  ASSERT_EQ(create(record->GetPath(), true), 0);
  EXPECT_EQ(names(), (std::vector<CString>{"mixed.kei", "a.htm", "readme"}));
}

class ImportTest : public KestFixture {
protected:
  bool import(std::vector<CKestExtension*> records) {
    CKestTypedList<CKestExtension*> list;
    for (CKestExtension* record : records) {
      list.Append(record);
    }
    return manager().Import(four(), nova(), list);
  }
};

TEST_F(ImportTest, CarriesEnabledAndDisabledOnesOverAndNamesWhatStayed) {
  CKestExtension* one = installed(package("One").file("one.htm", kToCommands, "1"), four());
  CKestExtension* off = installed(package("Off").file("off.htm", kToCommands, "2"), four());
  ASSERT_EQ(disable(off, four()), 0);
  CKestExtension* broken = installed(package("Broken").file("broken.htm", kToCommands), four());
  std::filesystem::remove(m_pc.HostPath(std::string(kFour) + "Configuration\\Commands\\broken.htm"));
  m_pc.Reopen();
  m_host.accept();
  EXPECT_TRUE(import({one, nullptr, off, broken}));
  EXPECT_EQ(m_pc.Read(kCommands + "one.htm"), "1");
  ASSERT_NE(find("Off"), nullptr);
  EXPECT_FALSE(find("Off")->IsEnabled());
  ASSERT_EQ(report().parts.size(), 3u);
  EXPECT_TRUE(report().parts[0].Succeeded());
  EXPECT_TRUE(report().parts[1].Succeeded());
  EXPECT_EQ(report().parts[2].extension, "Broken");
  EXPECT_FALSE(report().parts[2].Succeeded());
  EXPECT_TRUE(isTempEmpty());
  EXPECT_EQ(enable(find("Off")), 0) << "what came over works";
  EXPECT_EQ(m_pc.Read(kCommands + "off.htm"), "2");
}

TEST_F(ImportTest, ADisabledOneWhoseFileNameIsTakenIsLeftOut) {
  ASSERT_EQ(disable(installed(package("Theirs").descriptionNamed("same.kei"))), 0);
  CKestExtension* ours = installed(package("Ours").descriptionNamed("same.kei"), four());
  ASSERT_EQ(disable(ours, four()), 0);
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept();
  EXPECT_TRUE(import({ours}));
  expectUntouched(before);
  ASSERT_EQ(report().parts.size(), 1u);
  EXPECT_EQ(report().parts[0].failure, Failure::kOther) << "it is somebody else's name";
}

} // namespace
} // namespace kest::test
