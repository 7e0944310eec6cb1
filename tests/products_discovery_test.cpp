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
  tidemark4.Initialize();
  tidemark6.Initialize();
  EXPECT_EQ(tidemark4.GetInstallFolder(), "C:\\Apps\\Four\\");
  EXPECT_TRUE(tidemark4.IsRunning());
  EXPECT_EQ(tidemark6.GetInstallFolder(), kNovaFolder) << "falls back to the registry";
  EXPECT_FALSE(tidemark6.IsRunning());
}

TEST_F(DiscoveryTest, FirstMatchingProcessDecidesWhateverItsVersion) {
  putProgram("C:\\Apps\\A\\Tidemark.exe", "4.0.2");
  putProgram("C:\\Apps\\B\\Tidemark.exe", "6.0.700");
  run("C:\\Apps\\A\\Tidemark.exe");
  run("C:\\Apps\\B\\Tidemark.exe");
  CKestTidemark6 product;
  product.Initialize();
  EXPECT_FALSE(product.IsInstalled());
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
}

TEST_F(DiscoveryTest, GraphicsEditorTakesTheExecutableThatIsThere) {
  putProgram("C:\\Prism\\Prism 4J.exe", "4.0.1");
  putValue("Software\\Kestrel\\Prism\\4\\Installation", "InstallPath", "C:\\Prism");
  CKestPrism4 product;
  product.Initialize();
  EXPECT_EQ(product.GetInstallFolder(), "C:\\Prism\\");
  EXPECT_EQ(product.GetExecutableFileName(), "Prism 4J.exe");
  EXPECT_EQ(product.GetExtensionsFolder(), "C:\\Prism\\Configuration\\Extensions\\");
  run("C:\\Prism\\Prism 4J.exe");
  EXPECT_TRUE(product.IsRunning());

  putProgram("C:\\Studio\\VantageStudio.exe", "4.1");
  putValue("Software\\Kestrel\\Tidemark Vantage\\4\\Registration", "Location", "C:\\Studio\\");
  CKestVantage4 vantage;
  vantage.Initialize();
  EXPECT_EQ(vantage.GetExecutableFileName(), "VantageStudio.exe");
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
  EXPECT_FALSE(five.CanDelete("C:\\M5\\x")) << "it is running";
  EXPECT_TRUE(six.CanDelete("C:\\M6\\x"));
  EXPECT_EQ(five.GetExtensionsFolder(), "C:\\M5\\Extensions\\");

  const CString user = "C:\\users\\Tester\\AppData\\Roaming\\Kestrel\\Marlin Nova\\Configuration\\";
  EXPECT_TRUE(text::EqualNoCase(six.GetInstallFolder(), user)) << six.GetInstallFolder();
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
  EXPECT_EQ(CreateProduct("tidemark nova", "")->GetInstallFolder(), kNovaFolder);
  EXPECT_EQ(CreateProduct("Tidemark Nova", "C:\\Elsewhere")->GetInstallFolder(), "C:\\Elsewhere\\");
  EXPECT_EQ(CreateProduct("marlin 6", "")->GetName(), "Marlin Nova");
  for (const char* unknown : {"Tidemark 3", "Tidemark Vantage 1", "Prism 3", "Quarry 2", "Tidemark", ""}) {
    EXPECT_EQ(CreateProduct(unknown, "C:\\X"), nullptr) << unknown;
  }
}

TEST_F(DiscoveryTest, DestinationsOfOtherVersionsAreBroughtToTheProductsOwn) {
  const auto massaged = [](const CKestProduct& product, CString destination) {
    product.MassageDestination(destination);
    return destination;
  };
  CKestPrism3 three;
  CKestPrism4 four;
  EXPECT_EQ(massaged(three, "C:\\P\\configuration\\Commands\\"), "C:\\P\\Settings\\Commands\\");
  EXPECT_EQ(massaged(four, "C:\\P\\Settings\\settings\\x"), "C:\\P\\Configuration\\Configuration\\x");
  EXPECT_EQ(massaged(four, "C:\\P\\SETTINGS\\x"), "C:\\P\\Configuration\\x");
  const CString other = "C:\\P\\MyConfiguration\\Configuration.htm";
  EXPECT_EQ(massaged(three, other), other);
  CKestMarlin6 six;
  six.SetPaths("C:\\M6", "");
  EXPECT_EQ(massaged(six, six.GetInstallFolder() + "Include\\a.js"), "C:\\M6\\Configuration\\Include\\a.js");
  const CString own = six.GetInstallFolder() + "Commands\\a.js";
  EXPECT_EQ(massaged(six, own), own);
}

TEST_F(DiscoveryTest, InstallFolderIsFoundFromAFolderBelowIt) {
  putNova();
  CKestTidemark6 product;
  product.Initialize();
  CString found = "untouched";
  for (const char* folder : {"C:\\windows\\system32\\", "D:\\none\\", "relative", ""}) {
    EXPECT_FALSE(product.IsFolderPartOfInstall(folder, found)) << folder;
  }
  EXPECT_EQ(found, "untouched");
  EXPECT_TRUE(product.IsFolderPartOfInstall(CString(kNovaFolder) + "Configuration\\Commands\\", found));
  EXPECT_EQ(found, kNovaFolder);
}

} // namespace
} // namespace kest::test
