#include "support/program_fixture.h"
#include "support/source_folder.h"

#include <algorithm>
#include <map>

namespace kest::host {
namespace {

namespace fs = std::filesystem;
using test::ProcessResult;
using test::ProgramTest;

std::vector<std::string> ExampleNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(test::SourceFolder() + "/examples")) {
    const std::string name = entry.path().filename().string();
    if (fs::exists(entry.path() / (name + ".kei"))) {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string DescriptionOf(const std::string& name) {
  return test::SourceFolder() + "/examples/" + name + "/" + name + ".kei";
}

class Examples : public ProgramTest, public ::testing::WithParamInterface<std::string> {
protected:
  /// The command succeeds and has nothing to warn of.
  void runs(const Words& words) const {
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, 0) << words[0] << "\n" << result.out << result.err;
    EXPECT_EQ((result.out + result.err).find("warning"), std::string::npos) << words[0] << "\n"
                                                                            << result.out << result.err;
  }
  /// What came before gave every configuration file the form that the editor of it gives.
  void expectTheSameTreesAgain(const Words& install, const std::string& name) const {
    const Words logOn = {"machine", "logon"}; // puts a system file in place
    runs(logOn);
    const test::MachineSnapshot before = snapshot();
    runs(install);
    const test::MachineSnapshot installed = snapshot();
    std::map<std::string, test::MachineSnapshot> first;
    for (const char* step : {"disable", "enable", "disable", "enable"}) {
      runs({step, name, "-y"});
      runs(logOn);
      const test::MachineSnapshot now = snapshot();
      // an enabled extension's package stays aside for the next time that it is disabled
      EXPECT_EQ(difference(first.try_emplace(step, now).first->second, now, ".kep"), "") << step;
      EXPECT_TRUE(*step == 'e' || !difference(installed, now, ".kep").empty());
    }
    const test::MachineSnapshot enabled = snapshot();
    runs({"uninstall", name, "-y"});
    EXPECT_EQ(difference(before, snapshot()), "");
    runs({"undo", "-y"});
    EXPECT_EQ(difference(enabled, snapshot()), "");
    runs({"verify"});
  }
};

TEST_P(Examples, IsPackedInstalledSetAsideAndTakenAway) {
  makeMachine({});
  const std::string package = (m_folder / "example.kep").string();
  runs({"validate", DescriptionOf(GetParam())});
  runs({"pack", DescriptionOf(GetParam()), "-o", package});
  runs({"validate", package});
  const std::string name = json({"info", package}, 0)["extension"]["name"];
  for (const char* round : {"the first time", "on a product that it was installed in before"}) {
    SCOPED_TRACE(round);
    const test::MachineSnapshot before = snapshot();
    const auto written = json({"install", package, "-y", "--accept-agreement"}, 0)["registry"];
    EXPECT_EQ(written.empty(), difference(before, snapshot()).find("user.reg") == std::string::npos);
    for (const auto& value : written) {
      EXPECT_EQ(kest({"owns", "--registry", value["value"]}).exit, 0) << value;
    }
    const auto list = json({"list"}, 0)["extensions"];
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]["name"], name);
    EXPECT_EQ(list[0]["state"], "enabled");
    runs({"machine", "logon"}); // puts a system file in place
    const auto verified = json({"verify"}, 0)["extensions"][0];
    EXPECT_TRUE(verified["recorded"] && verified["problems"].empty()) << verified;
    runs({"disable", name});
    runs({"enable", name, "-y"});
    runs({"uninstall", name, "-y"});
    EXPECT_TRUE(json({"list"}, 0)["extensions"].empty());
  }
  expectTheSameTreesAgain({"install", package, "-y", "--accept-agreement"}, name);
}

INSTANTIATE_TEST_SUITE_P(All, Examples, ::testing::ValuesIn(ExampleNames()), [](const auto& row) {
  std::string name = row.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

} // namespace
} // namespace kest::host
