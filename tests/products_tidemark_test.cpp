#include "description/extension.h"
#include "products/prism.h"
#include "products/vantage.h"
#include "support/product_fixture.h"

#include <tuple>

namespace kest::test {
namespace {

class TidemarkTest : public ProductTest {
protected:
  void putFour(const char* executable, const char* key) const {
    putProgram("C:\\Four\\" + std::string(executable), "4.0.2");
    putValue("Software\\Kestrel\\" + CString(key) + "\\4\\Installation", "InstallPath", "C:\\Four");
  }
  static CString tokens(const CKestProduct& product, const CString& destination, const CString& userFolder = {}) {
    CKestTokenMap map;
    product.MapTokens(destination, userFolder, map);
    CString text;
    for (const auto& [token, folder] : map) {
      text += token + "=" + folder + ";";
    }
    return text;
  }
  void logOn(int type) { ASSERT_TRUE(m_pc.Get().SetUsers({{"Tester", type}, {"Ann", 1}}, "Tester")); }
};

TEST_F(TidemarkTest, EachVersionKnowsWhatItSupportsAndItsTokens) {
  putNova();
  putFour("Tidemark.exe", "Tidemark");
  putFour("Vantage.exe", "Tidemark Vantage");
  CKestTidemark6 six;
  CKestTidemark4 four;
  CKestVantage4 vantage;
  six.Initialize();
  four.Initialize();
  vantage.Initialize();
  const std::tuple<const char*, const char*, bool, bool, bool> rows[] = {
      {"TIDEMARK 3", "4.0", true, true, true},  {"Tide", "6.0", true, false, false},
      {"Tidemark", "6.1", false, false, false}, {"Tidemark", "3.9", true, true, true},
      {"Vantage", "4.0", true, false, true},    {"vantage", "4.0.1", false, false, true},
      {"Vantage 4", "4.0", false, false, true}, {"Prism", "1", false, false, false},
      {"Tidemarks", "1", false, false, true},   {"Tidemark ", "4.0", false, false, true},
  };
  for (const auto& [name, version, bySix, byFour, byVantage4] : rows) {
    EXPECT_EQ(six.Supports(name, version), bySix) << name << version;
    EXPECT_EQ(four.Supports(name, version), byFour) << name << version;
    EXPECT_EQ(vantage.Supports(name, version), byVantage4) << name << version;
  }
  EXPECT_EQ(tokens(four, "$tidemark\\Configuration\\x", "C:\\U\\"), "tidemark=C:\\Four\\;");
  EXPECT_EQ(tokens(vantage, "$vantage\\x"), "tidemark=C:\\Four\\;vantage=C:\\Four\\;");
  EXPECT_TRUE(four.IsInProductFamily(vantage));
  EXPECT_FALSE(four.IsInProductFamily(CKestPrism4()));
}

TEST_F(TidemarkTest, FoldersFollowUserAndMachine) {
  putNova();
  const CString shared = "C:\\ProgramData\\Kestrel\\Tidemark Nova\\";
  const CString own = "C:\\users\\Tester\\AppData\\Roaming\\Kestrel\\Tidemark Nova\\";
  CKestTidemark6 product;
  const auto extensions = [&] { return text::Lower(product.GetExtensionsFolder()); };

  logOn(1);
  product.Initialize();
  EXPECT_EQ(extensions(), text::Lower(own + "Configuration\\Extensions\\"));
  EXPECT_EQ(text::Lower(tokens(product, "$tidemark/Configuration\\Commands")),
            text::Lower("tidemark=" + own + ";vantage=" + own + ";"));
  EXPECT_EQ(tokens(product, "$tidemark\\Help"),
            "tidemark=" + CString(kNovaFolder) + ";vantage=" + CString(kNovaFolder) + ";");
  EXPECT_EQ(tokens(product, "$tidemark\\Configuration\\x", "C:\\U\\"), "tidemark=C:\\U\\;vantage=C:\\U\\;");
  EXPECT_TRUE(product.BelongsTo(text::Lower(own + "x").c_str()));
  EXPECT_TRUE(product.BelongsTo("c:\\program files\\KESTREL\\tidemark 6\\x"));
  EXPECT_FALSE(product.BelongsTo("C:\\Program Files\\Kestrel\\Tidemark 6")) << "the folder itself";

  logOn(2);
  product.SetPaths(kNovaFolder, "");
  EXPECT_EQ(extensions(), text::Lower(shared + "Configuration\\Extensions\\"));
  product.SetPaths(kNovaFolder, "Ann");
  EXPECT_NE(extensions().find("\\ann\\"), CString::npos) << extensions();
  product.SetPaths(kNovaFolder, "Nobody");
  EXPECT_FALSE(CKestOS::CreateDirectory(product.GetExtensionsFolder(), true)) << "leads nowhere";

  ASSERT_TRUE(m_pc.Get().SetMultiUser(false));
  product.SetPaths(kNovaFolder, "Ann");
  EXPECT_EQ(product.GetExtensionsFolder(), CString(kNovaFolder) + "Configuration\\Extensions\\");
}

TEST_F(TidemarkTest, RestartDependsOnVersionTypeAndFolderAndAReloadIsAScript) {
  putNova();
  CKestTidemark6 six;
  six.Initialize();
  CKestTidemark3 unset; // version 0.0: cannot reload
  CKestVantage1 vantage;
  CKestExtension command;
  command.SetType(1);
  CKestExtension floater;
  floater.SetType(8);
  EXPECT_FALSE(six.RequiresRestart(&command, true));
  EXPECT_TRUE(six.RequiresRestart(&command, false));
  EXPECT_TRUE(six.RequiresRestart(&floater, true));
  EXPECT_TRUE(unset.RequiresRestart(&command, true));
  EXPECT_FALSE(vantage.RequiresRestart(&command, true)) << "no rule of the version";
  EXPECT_TRUE(six.RequiresRestart("C:\\x\\jsextensions\\a.dll", true));
  EXPECT_FALSE(six.RequiresRestart("C:\\x\\JSExtensions\\a.dll", false));

  six.Refresh();
  EXPECT_EQ(m_pc.Get().GetStartedPrograms(),
            std::vector<CString>{CString(kNovaFolder) + "Tidemark.exe -krjs=tm.reloadExtensions();"});
}

TEST_F(TidemarkTest, InstalledExtensionsAreListedByFolderAndThoseThatDoNotLoadAreSkipped) {
  putNova();
  logOn(1);
  CKestTidemark6 product;
  product.Initialize();
  EXPECT_EQ(product.GetExtensions(), nullptr);
  const auto describe = [&](const std::string& folder, const std::string& name) {
    m_pc.Write(folder + name + ".kei", "<kestrel-extension name=\"" + name + "\" version=\"1.0\" />");
  };
  const std::string own = "C:\\users\\Tester\\AppData\\Roaming\\Kestrel\\Tidemark Nova\\Configuration\\Extensions\\";
  const std::string shared = "C:\\ProgramData\\Kestrel\\Tidemark Nova\\Configuration\\Extensions\\";
  describe(own, "b");
  describe(own, "A");
  describe(own + "Disabled\\", "c");
  describe(shared, "d");
  describe(shared + "Disabled\\", "e");
  m_pc.Write(own + "broken.kei", "<kestrel-extension");
  const auto list = [&] {
    std::string names;
    const std::unique_ptr<CKestTypedList<CKestExtension*>> found(product.GetExtensions());
    for (CKestExtension* extension : *found) {
      const std::unique_ptr<CKestExtension> owner(extension);
      names += extension->GetName() + (extension->IsEnabled() ? "+" : "-") + (extension->IsShared() ? "s " : " ");
    }
    return names;
  };
  EXPECT_EQ(list(), "A+ b+ c- d+s e-s ");
  logOn(2);
  product.SetPaths(kNovaFolder, "");
  EXPECT_EQ(list(), "d+ e- ") << "the shared folders are this user's own";
}

} // namespace
} // namespace kest::test
