#include "description/extension.h"
#include "products/marlin.h"
#include "products/prism.h"
#include "products/product_table.h"
#include "products/quarry.h"
#include "products/vantage.h"
#include "support/product_fixture.h"

namespace kest::test {
namespace {

class DiscoveryTest : public ProductTest {};

TEST_F(DiscoveryTest, RunningProcessIsTakenByTheProductOfItsVersionAlone) {
  const CString four = "C:\\Apps\\Four\\tidemark.EXE";
  putProgram(four, "4.0.2");
  putNova();
  run(four);
  CKestTidemark4 tidemark4;
  CKestTidemark6 tidemark6;
  CKestTidemark3 tidemark3;
  tidemark4.Initialize();
  tidemark6.Initialize();
  tidemark3.Initialize();
  EXPECT_EQ(tidemark4.GetInstallFolder(), "C:\\Apps\\Four\\");
  EXPECT_TRUE(tidemark4.IsRunning());
  EXPECT_EQ(tidemark6.GetInstallFolder(), kNovaFolder) << "falls back to the registry";
  EXPECT_FALSE(tidemark6.IsRunning());
  EXPECT_FALSE(tidemark3.IsInstalled());
  run(four, false);
  EXPECT_FALSE(tidemark4.IsRunning());
}

TEST_F(DiscoveryTest, FirstMatchingProcessDecidesWhateverItsVersion) {
  putProgram("C:\\Apps\\A\\Tidemark.exe", "4.0.2");
  putProgram("C:\\Apps\\B\\Tidemark.exe", "6.0.700");
  putProgram("C:\\Apps\\C\\TidemarkD.exe", "6.0.800");
  run("C:\\Apps\\A\\Tidemark.exe");
  run("C:\\Apps\\B\\Tidemark.exe");
  CKestTidemark6 product;
  product.Initialize();
  EXPECT_FALSE(product.IsInstalled());
  run("C:\\Apps\\C\\TidemarkD.exe");
  product.Initialize();
  EXPECT_EQ(product.GetInstallFolder(), "C:\\Apps\\C\\") << "a debug build is looked for next";
}

TEST_F(DiscoveryTest, RegistryEntriesAreTriedInOrderUntilOneLeadsToAnExecutable) {
  putProgram("C:\\Nova\\TidemarkD.exe", "6.0.1");
  putValue(kNovaKey, "InstallPath", "C:\\Nowhere");
  putValue("Software\\Kestrel\\Tidemark 6 Beta 3\\Registration", "Location", "C:\\Nova");
  CKestTidemark6 product;
  product.Initialize();
  EXPECT_EQ(product.GetInstallFolder(), "C:\\Nova\\") << "a folder without a backslash, with a debug build alone";
  putProgram("C:\\Direct\\Tidemark.exe", "9.1");
  putValue("Software\\Kestrel\\Tidemark\\6\\Registration", "Location", "C:\\Direct\\Tidemark.exe");
  product.Initialize();
  EXPECT_EQ(product.GetInstallFolder(), "C:\\Direct\\") << "a value may name the executable, of any version";
  CKestVersionNumber version;
  product.GetVersion(version);
  EXPECT_EQ(version.Compare("9.1"), 0);
  CString key = "untouched";
  product.GetAppRegKey(key);
  EXPECT_EQ(key, "untouched") << "it has several";
}

TEST_F(DiscoveryTest, GraphicsEditorTakesTheExecutableThatIsThere) {
  putProgram("C:\\Prism\\Prism 4J.exe", "4.0.1");
  putValue("Software\\Kestrel\\Prism\\4\\Installation", "InstallPath", "C:\\Prism");
  CKestPrism4 product;
  product.Initialize();
  EXPECT_EQ(product.GetInstallFolder(), "C:\\Prism\\");
  EXPECT_EQ(product.GetExecutableFileName(), "Prism 4J.exe");
  EXPECT_EQ(product.GetExtensionsFolder(), "C:\\Prism\\Configuration\\Extensions\\");
  EXPECT_FALSE(product.IsRunning());
  run("C:\\Prism\\Prism 4J.exe");
  EXPECT_TRUE(product.IsRunning());

  putProgram("C:\\Studio\\VantageStudio.exe", "4.1");
  putValue("Software\\Kestrel\\Tidemark Vantage\\4\\Registration", "Location", "C:\\Studio\\");
  CKestVantage4 vantage;
  vantage.Initialize();
  EXPECT_EQ(vantage.GetExecutableFileName(), "VantageStudio.exe");
  EXPECT_TRUE(vantage.IsInstalled());
}

TEST_F(DiscoveryTest, AnimationToolKeepsSixWithTheUser) {
  putProgram("C:\\M5\\Marlin.exe", "5.0");
  putProgram("C:\\M6\\Marlin.exe", "6.0");
  putValue("Software\\Kestrel\\Marlin\\6\\Installation", "InstallPath", "C:\\M6");
  run("C:\\M5\\Marlin.exe");
  CKestMarlin5 five;
  CKestMarlin6 six;
  five.Initialize();
  six.Initialize();
  EXPECT_TRUE(five.IsRunning());
  EXPECT_FALSE(five.CanDelete("C:\\M5\\x"));
  EXPECT_FALSE(six.IsRunning());
  EXPECT_TRUE(six.CanDelete("C:\\M6\\x"));
  EXPECT_EQ(five.GetExtensionsFolder(), "C:\\M5\\Extensions\\");

  const CString user = "C:\\users\\Tester\\AppData\\Roaming\\Kestrel\\Marlin Nova\\Configuration\\";
  EXPECT_TRUE(text::EqualNoCase(six.GetInstallFolder(), user)) << six.GetInstallFolder();
  EXPECT_TRUE(CKestOS::DirectoryExists(user));
  EXPECT_EQ(six.GetProgramFolder(), "C:\\M6\\");
  CString path;
  six.GetConfigurationPath(path, false, CKestMarlin6::kProgram);
  EXPECT_EQ(path, "C:\\M6\\Configuration\\");
  six.GetConfigurationPath(path, true, CKestMarlin6::kFirstRun);
  EXPECT_EQ(path, "C:\\M6\\First Run\\");
  EXPECT_TRUE(m_pc.Exists("C:\\M6\\First Run"));
}

TEST_F(DiscoveryTest, ServerGraphicsProductNeedsItsRegistryEntryAlone) {
  CKestQuarry2 product;
  product.Initialize();
  EXPECT_FALSE(product.IsInstalled());
  putValue("Software\\Kestrel\\Quarry\\2\\Installation", "InstallPath", "C:\\Quarry 2");
  product.Initialize();
  EXPECT_EQ(product.GetExtensionsFolder(), "C:\\Quarry 2\\Extensions\\");
  EXPECT_TRUE(product.Supports("quarry", "2.0"));
  EXPECT_FALSE(product.Supports("quarry", "2.1"));
  EXPECT_FALSE(product.IsSupported());
  EXPECT_FALSE(product.BelongsTo("C:\\Quarry 22\\x")) << "a neighbour with a longer name";
}

TEST_F(DiscoveryTest, FactoryKnowsItsNamesInAnyLetterCase) {
  putNova();
  const auto nova = CreateProduct("tidemark nova", "");
  ASSERT_NE(nova, nullptr);
  EXPECT_EQ(nova->GetInstallFolder(), kNovaFolder);
  const auto elsewhere = CreateProduct("Tidemark Nova", "C:\\Elsewhere");
  EXPECT_EQ(elsewhere->GetInstallFolder(), "C:\\Elsewhere\\");
  EXPECT_EQ(CreateProduct("marlin 6", "")->GetName(), "Marlin Nova");
  for (const char* unknown : {"Tidemark 3", "Tidemark Vantage 1", "Prism 3", "Quarry 2", "Tidemark", ""}) {
    EXPECT_EQ(CreateProduct(unknown, "C:\\X"), nullptr) << unknown;
  }
  std::vector<CString> served;
  for (const auto& product : MakeServedProducts()) {
    served.push_back(product->GetName());
  }
  EXPECT_EQ(served, (std::vector<CString>{"Tidemark 4", "Tidemark Vantage 4", "Tidemark Nova", "Prism 4", "Prism Nova",
                                          "Marlin 5", "Marlin Nova", "Quarry 2"}));
}

TEST_F(DiscoveryTest, DestinationsOfOtherVersionsAreBroughtToTheProductsOwn) {
  struct Row {
    const char* from;
    const char* three;
    const char* four;
  };
  CKestPrism3 three;
  CKestPrism4 four;
  for (const Row& row :
       {Row{"C:\\P\\configuration\\Commands\\", "C:\\P\\Settings\\Commands\\", "C:\\P\\configuration\\Commands\\"},
        Row{"C:\\P\\SETTINGS\\x", "C:\\P\\SETTINGS\\x", "C:\\P\\Configuration\\x"},
        Row{"C:\\P\\MyConfiguration\\Configuration.htm", "C:\\P\\MyConfiguration\\Configuration.htm",
            "C:\\P\\MyConfiguration\\Configuration.htm"}}) {
    CString destination = row.from;
    three.MassageDestination(destination);
    EXPECT_EQ(destination, row.three);
    destination = row.from;
    four.MassageDestination(destination);
    EXPECT_EQ(destination, row.four);
  }
  CKestMarlin6 six;
  six.SetPaths("C:\\M6", "");
  CString destination = six.GetInstallFolder() + "Include\\a.js";
  six.MassageDestination(destination);
  EXPECT_EQ(destination, "C:\\M6\\Configuration\\Include\\a.js");
  destination = six.GetInstallFolder() + "Commands\\a.js";
  const CString before = destination;
  six.MassageDestination(destination);
  EXPECT_EQ(destination, before);
}

TEST_F(DiscoveryTest, InstallFolderIsFoundFromAFolderBelowIt) {
  putNova();
  CKestTidemark6 product;
  product.Initialize();
  CString found = "untouched";
  EXPECT_TRUE(product.IsFolderPartOfInstall(CString(kNovaFolder) + "Configuration\\Commands\\", found));
  EXPECT_EQ(found, kNovaFolder);
  found = "untouched";
  for (const char* folder : {"C:\\windows\\system32\\", "D:\\none\\", "relative", "", "\\"}) {
    EXPECT_FALSE(product.IsFolderPartOfInstall(folder, found)) << folder;
  }
  EXPECT_EQ(found, "untouched");
}

} // namespace
} // namespace kest::test
