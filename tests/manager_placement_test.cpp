#include "description/extension.h"
#include "manager/manager_state.h"
#include "manager/references.h"
#include "support/kest_fixture.h"

#include <tuple>

namespace kest::test {
namespace {

class PlacementTest : public KestFixture {
protected:
  int localize(const std::string& source, const std::string& destination, std::string& out, const CString& win = {},
               const CKestExtension* extension = nullptr) {
    state().unpackFolder = "C:\\unpacked\\";
    CKestPath from(source);
    CKestPath to(destination);
    const int result = state().placement.LocalizeFiles(from, to, m_product, CKestPath(), extension, win);
    out = to.GetText();
    m_source = from.GetText();
    return result;
  }
  [[nodiscard]] CKestExtensionManager::State& state() const { return manager().GetState(); }
  static CKestExtension withTokens(const std::vector<std::pair<const char*, const char*>>& tokens) {
    CKestExtension extension;
    for (const auto& [name, definition] : tokens) {
      CKestExtensionToken& token = extension.GetTokens().Add();
      token.SetName(name);
      token.SetDefinition(definition);
    }
    return extension;
  }

  const CKestProduct* m_product = nova();
  std::string m_source;
};

TEST_F(PlacementTest, DestinationsBecomePathsByTheirLeadingToken) {
  const std::string nova = kNova;
  const std::tuple<const char*, const char*, std::string, const char*> rows[] = {
      {"a.dll", "$system", "C:\\windows\\system32\\a.dll", ""},
      {"a.dll", "$SYSTEM/deep:er", "C:\\windows\\system32\\deep\\er\\a.dll", ""},
      {"f/fancy.ttf", "$fonts", "C:\\windows\\Fonts\\fancy.ttf", ""},
      {"wc.htm", kToCommands, nova + "Configuration\\Commands\\wc.htm", ""},
      {"sub/wc.htm", "$tidemark/Configuration/Commands/WC.HTM", nova + "Configuration\\Commands\\wc.htm", ""},
      {"wc.htm", "/$tidemark/x", nova + "x\\wc.htm", ""},
      {"readme", "$tidemark", nova + "readme.txt", "txt"},
      {"readme.htm", "$tidemark", nova + "readme.htm", "txt"},
  };
  for (const auto& [source, destination, placed, winExtension] : rows) {
    std::string path;
    EXPECT_EQ(localize(source, destination, path, winExtension), 0) << destination;
    EXPECT_EQ(path, placed) << destination;
  }
  EXPECT_EQ(m_source, "C:\\unpacked\\readme.htm");
  std::string path;
  EXPECT_EQ(localize("a", "Configuration/Commands", path), FilePlace::kNoToken);
  EXPECT_EQ(localize("a", "\\\\$tidemark", path), FilePlace::kNoToken);
  EXPECT_EQ(localize("a", "", path), FilePlace::kNoToken);
  EXPECT_EQ(localize("a", "$nowhere/x", path), FilePlace::kUnresolved);
  m_product = nullptr;
  EXPECT_EQ(localize("a.htm", "$tidemark", path), 0);
  EXPECT_EQ(path, std::string(kNova) + "a.htm") << "the youngest installed product that knows the token";
}

TEST_F(PlacementTest, AnExtensionsOwnTokensComeLastAndMayNotRunInCircles) {
  const CKestExtension extension =
      withTokens({{"Mine", "D:\\Sites\\Templates"}, {"system", "D:\\mine"}, {"loop", "$loop\\x"}});
  std::string path;
  EXPECT_EQ(localize("a.htm", "$MINE/sub", path, {}, &extension), 0);
  EXPECT_EQ(path, "D:\\Sites\\Templates\\sub\\a.htm");
  EXPECT_EQ(localize("a.htm", "$system", path, {}, &extension), 0);
  EXPECT_EQ(path, "C:\\windows\\system32\\a.htm");
  EXPECT_EQ(localize("a.htm", "$loop", path, {}, &extension), FilePlace::kUnresolved);
}

TEST_F(PlacementTest, UnsafePlacesAreMarkedHoweverTheyHideTheWayUp) {
  const std::tuple<const char*, const char*, const char*, bool, const char*> rows[] = {
      {"a.htm", "$tidemark/x", "", false, ""},
      {"./b/././a.htm", "$tidemark/./x/.", "", false, ""},
      {"a.htm", "$dots/.", "", false, ""},
      {"a.htm", "$drive", "", true, ""},
      {"a.htm", "$tidemark:..:x", "", true, ""},
      {"..:a.htm", "$tidemark", "", true, ""},
      {"a.htm", "$up/x", "", true, ""},
      {"a", "$tidemark", "txt\\x", true, ""},
      {"a", "$tidemark", "t:x", true, "its name \"a.t:x\" has a colon"},
      {"a.htm", "$relative", "", true, ""},
      {"a.htm", "$tidemark/. ./x", "", true, "its name \". .\" has a component that ends in a dot or a blank"},
      {"b/a.htm.", "$tidemark", "", true, "its name \"a.htm.\" has a component that ends in a dot or a blank"},
      {"a.htm", "$tidemark/nul.x", "", true, "its name \"nul.x\" is that of a device"},
  };
  const CKestExtension extension = withTokens(
      {{"up", "C:\\a\\..\\b"}, {"relative", "somewhere"}, {"dots", "$tidemark\\.\\x\\."}, {"drive", ".\\C:\\x"}});
  state().unpackFolder = "C:\\unpacked\\";
  const FilePlacement::Resolver resolver(state().placement, nova(), &extension);
  for (const auto& [source, destination, winExtension, unsafe, why] : rows) {
    CKestExtensionFile file;
    file.SetSource(source);
    file.SetDestination(destination);
    file.SetWinExtension(winExtension);
    const FilePlace place = resolver.Locate(file);
    EXPECT_EQ(place.unsafe, unsafe) << source << " to " << destination;
    EXPECT_EQ(place.why, why);
    EXPECT_TRUE(unsafe || place.destination.GetText() == kNova + std::string("x\\a.htm"))
        << place.destination.GetText();
  }
}

TEST_F(PlacementTest, AFileIsReferencedByAnyOtherCataloguedExtensionDisabledOnesIncluded) {
  const std::string shared = "$tidemark/Configuration/Shared";
  const std::string flag = "shared=\"true\"";
  CKestExtension* one =
      installed(package("One").file("common.js", shared, "c", flag).file("own.js", shared, "o", flag));
  CKestExtension* two = installed(package("Two").file("lib/COMMON.js", shared + "/Elsewhere", "c", flag));
  const std::string folder = kConfiguration + "Shared\\";
  EXPECT_FALSE(manager().IsFileReferenced(nova(), (folder + "own.js").c_str(), one));
  EXPECT_TRUE(manager().IsFileReferenced(nova(), (folder + "OWN.js").c_str(), nullptr));
  EXPECT_FALSE(manager().IsFileReferenced(nova(), nullptr, nullptr));
  EXPECT_EQ(disable(two), 0);
  References others(state(), nova(), one);
  EXPECT_FALSE(others.Holds(folder + "common.js"));
  EXPECT_TRUE(others.Holds(folder + "elsewhere\\common.js"));
  EXPECT_FALSE(others.Holds(folder + "own.js"));
}

} // namespace
} // namespace kest::test
