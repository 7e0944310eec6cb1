#include "description/extension.h"
#include "journal/journal.h"
#include "manager/manager_state.h"
#include "manager/operation_scope.h"
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
}

TEST_F(PlacementTest, WhatDoesNotResolveSaysWhy) {
  std::string path;
  EXPECT_EQ(localize("a", "Configuration/Commands", path), FilePlace::kNoToken);
  EXPECT_EQ(localize("a", "\\\\$tidemark", path), FilePlace::kNoToken);
  EXPECT_EQ(localize("a", "", path), FilePlace::kNoToken);
  EXPECT_EQ(localize("a", "$nowhere/x", path), FilePlace::kUnresolved);
  EXPECT_EQ(localize("a", "$tidemark/" + std::string(5000, 'x'), path), FilePlace::kUnresolved);
}

TEST_F(PlacementTest, AnExtensionsOwnTokensComeLastAndMayNotRunInCircles) {
  CKestExtension extension;
  const auto define = [&](const char* name, const char* definition) {
    CKestExtensionToken& token = extension.GetTokens().Add();
    token.SetName(name);
    token.SetDefinition(definition);
  };
  define("Mine", "D:\\Sites\\Templates");
  define("system", "D:\\mine");
  define("loop", "$loop\\x");
  std::string path;
  EXPECT_EQ(localize("a.htm", "$MINE/sub", path, {}, &extension), 0);
  EXPECT_EQ(path, "D:\\Sites\\Templates\\sub\\a.htm");
  EXPECT_EQ(localize("a.htm", "$system", path, {}, &extension), 0);
  EXPECT_EQ(path, "C:\\windows\\system32\\a.htm");
  EXPECT_EQ(localize("a.htm", "$loop", path, {}, &extension), FilePlace::kUnresolved);
}

TEST_F(PlacementTest, WithoutAProductTheYoungestInstalledOneThatKnowsTheTokenPlacesTheFile) {
  m_product = nullptr;
  std::string path;
  EXPECT_EQ(localize("a.htm", "$tidemark", path), 0);
  EXPECT_EQ(path, std::string(kNova) + "a.htm");
}

TEST_F(PlacementTest, UnsafePlacesAreMarkedHoweverTheyHideTheWayUp) {
  const std::tuple<const char*, const char*, const char*, bool> rows[] = {
      {"a.htm", "$tidemark/x", "", false},    {"a.htm", "$tidemark:..:x", "", true},
      {"..:a.htm", "$tidemark", "", true},    {"a.htm", "$up/x", "", true},
      {"a", "$tidemark", "txt\\x", true},     {"a", "$tidemark", "t:x", true},
      {"a.htm", "$tidemark/. ./x", "", true}, {"a.htm", "$relative", "", true},
  };
  CKestExtension extension;
  for (const auto& [name, definition] : {std::pair{"up", "C:\\a\\..\\b"}, std::pair{"relative", "somewhere"}}) {
    CKestExtensionToken& token = extension.GetTokens().Add();
    token.SetName(name);
    token.SetDefinition(definition);
  }
  state().unpackFolder = "C:\\unpacked\\";
  const FilePlacement::Resolver resolver(state().placement, nova(), &extension);
  for (const auto& [source, destination, winExtension, unsafe] : rows) {
    CKestExtensionFile file;
    file.SetSource(source);
    file.SetDestination(destination);
    file.SetWinExtension(winExtension);
    EXPECT_EQ(resolver.Locate(file).unsafe, unsafe) << source << " to " << destination;
  }
}

TEST_F(PlacementTest, AFolderIsMadeWithItsParentsAndGoesWithARollBack) {
  const MachineSnapshot before = m_pc.Snapshot();
  const CString folder = kConfiguration + "New\\Deeper\\";
  {
    const OperationScope operation(state(), OperationReport::Operation::kInstall);
    StepScope steps(state(), "test");
    EXPECT_TRUE(state().EnsureFolderExists(folder));
    EXPECT_EQ(state().journal.GetCount(), 2u);
    EXPECT_TRUE(state().EnsureFolderExists(folder)) << "known now";
    EXPECT_EQ(state().journal.GetCount(), 2u);
    EXPECT_TRUE(m_pc.Exists(kConfiguration + "New\\Deeper"));
    EXPECT_FALSE(state().EnsureFolderExists("Q:\\no\\such\\drive"));
    EXPECT_FALSE(state().EnsureFolderExists(""));
  }
  expectUntouched(before);
}

TEST_F(PlacementTest, AFolderThatCannotBeMadeIsTold) {
  m_pc.Write(std::string(kNova) + "file", "in the way");
  const OperationScope operation(state(), OperationReport::Operation::kInstall);
  StepScope steps(state(), "test");
  EXPECT_FALSE(state().EnsureFolderExists(std::string(kNova) + "file\\below"));
  ASSERT_EQ(m_host.notices().size(), 1u);
  EXPECT_EQ(m_host.notices()[0].number, 4027);
  EXPECT_EQ(m_host.notices()[0].arguments, (std::vector<std::string>{std::string(kNova) + "file"}));
}

TEST_F(PlacementTest, ARunningProductKeepsItsScriptExtensions) {
  const std::string script = kConfiguration + "JSExtensions\\x.dll";
  EXPECT_TRUE(state().CanDeleteFile(script));
  runNova();
  EXPECT_FALSE(state().CanDeleteFile(script));
  EXPECT_TRUE(state().CanDeleteFile(kCommands + "x.htm"));
  EXPECT_TRUE(state().CanDeleteFile("C:\\windows\\jsextensions\\x.dll")) << "no product's";
}

TEST_F(PlacementTest, HelpWithAFileNamesTheProductThatHasIt) {
  const std::string path = std::string(kNova) + "x.dll";
  m_host.answer(Message::kFileInUseBy, kRetry)
      .answer(Message::kFileInUse, kCancel)
      .answer(Message::kFileInUse, kCancel);
  EXPECT_EQ(state().HelpUserFreeFile(path, false), kRetry);
  EXPECT_EQ(state().HelpUserFreeFile("C:\\windows\\x.dll", false), kCancel);
  EXPECT_EQ(state().HelpUserFreeFile(path, true), kCancel);
  EXPECT_EQ(m_host.questions()[0].arguments, (std::vector<std::string>{path, "Tidemark Nova", "Tidemark Nova"}));
}

TEST_F(PlacementTest, AFileIsReferencedByAnyOtherCataloguedExtensionDisabledOnesIncluded) {
  const std::string shared = "$tidemark/Configuration/Shared";
  CKestExtension* one = installed(package("One").file("common.js", shared, "c", "shared=\"true\""));
  const std::string path = kConfiguration + "Shared\\common.js";
  EXPECT_FALSE(manager().IsFileReferenced(nova(), path.c_str(), one));
  EXPECT_TRUE(manager().IsFileReferenced(nova(), text::Lower(path).c_str(), nullptr));
  EXPECT_EQ(disable(one), 0);
  EXPECT_TRUE(manager().IsFileReferenced(nova(), path.c_str(), nullptr));
  EXPECT_FALSE(manager().IsFileReferenced(nova(), nullptr, nullptr));
}

TEST_F(PlacementTest, SharedFilesStayWhereAnotherExtensionHasOneOfTheNameThere) {
  const std::string shared = "$tidemark/Configuration/Shared";
  const std::string flag = "shared=\"true\"";
  CKestExtension* one =
      installed(package("One").file("common.js", shared, "c", flag).file("own.js", shared, "o", flag));
  installed(package("Two").file("lib/COMMON.js", shared + "/Elsewhere", "c", flag));
  const std::string folder = kConfiguration + "Shared\\";
  {
    References others(state(), nova(), one);
    EXPECT_FALSE(others.Holds(folder + "common.js"));
    EXPECT_TRUE(others.Holds(folder + "elsewhere\\common.js"));
    EXPECT_FALSE(others.Holds(folder + "own.js"));
    EXPECT_FALSE(others.Holds(folder));
  }
  References all(state(), nova(), nullptr);
  EXPECT_TRUE(all.Holds(folder + "Common.js"));
  EXPECT_TRUE(all.Holds(folder + "own.js"));
}

} // namespace
} // namespace kest::test
