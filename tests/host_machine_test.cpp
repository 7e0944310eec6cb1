#include "support/program_fixture.h"

#include <algorithm>

namespace kest::host {
namespace {

using test::ProcessResult;
using test::ProgramTest;

class MachineCommands : public ProgramTest {};

TEST_F(MachineCommands, UsersAndTheirTypesAreKept) {
  makeMachine({"--product", "tidemark nova", "--multi-user", "--user", "anna:2", "--user", "bob", "--current", "bob",
               "--code-page", "932"});
  const auto document = json({"machine", "show"}, 0);
  EXPECT_EQ(document["current_user"], "bob");
  EXPECT_EQ(document["multi_user"], true);
  EXPECT_EQ(document["code_page"], 932);
  EXPECT_EQ(document["products"], nlohmann::json::array({"Tidemark Nova"}));
  EXPECT_EQ(json({"machine", "user", "Anna"}, 0)["current_user"], "anna");
  EXPECT_EQ(json({"machine", "show", (m_folder / "pc").string()}, 0)["current_type"], 2);
}

TEST_F(MachineCommands, StartedProductsRunUntilTheyAreStopped) {
  makeMachine({"--product", "Prism 4", "--product", "Quarry 2"});
  for (const char* how : {"start", "stop"}) {
    EXPECT_EQ(kest({"machine", how, "Prism 4"}).exit, 0) << how;
    EXPECT_EQ(json({"products"}, 0)["products"][0]["running"], how == std::string("start"));
  }
  EXPECT_EQ(kest({"machine", "start", "Quarry 2"}).exit, 1) << "it has no executable";
  EXPECT_EQ(kest({"machine", "start", "Nothing"}).exit, 4);
}

TEST_F(MachineCommands, AProductThatAnotherOneHidesDoesNotCountAsRunning) {
  makeMachine(); // the executables of both products have one name, and the first that runs stands for it
  EXPECT_EQ(kest({"machine", "start", "Tidemark 4"}).exit, 0);
  const auto before = snapshot();
  const test::ProcessResult hidden = kest({"machine", "start", "Tidemark Nova"});
  EXPECT_EQ(hidden.exit, 7) << hidden.err;
  EXPECT_NE(hidden.err.find("Tidemark 4\\Tidemark.exe runs"), std::string::npos) << hidden.err;
  EXPECT_EQ(difference(before, snapshot()), "");
  EXPECT_EQ(kest({"machine", "stop", "Tidemark 4"}).exit, 0);
  EXPECT_EQ(kest({"machine", "start", "Tidemark Nova"}).exit, 0);
  EXPECT_EQ(json({"products"}, 0)["products"][1]["running"], true);
}

TEST_F(MachineCommands, TheNextLogOnReplacesWhatWaitsForIt) {
  makeMachine();
  EXPECT_EQ(json({"machine", "logon"}, 0)["replacements"], nlohmann::json::array());
  write("src/codec.dll", "new codec");
  write("src/decoder.dll", "new decoder");
  Extension codec;
  codec.more = "<files><file source=\"codec.dll\" destination=\"$system\" systemfile=\"true\" />"
               "<file source=\"decoder.dll\" destination=\"$system/drivers\" systemfile=\"true\" /></files>\r\n";
  const auto result = json({"install", describe(codec), "-y", "--accept-agreement"}, 0);
  EXPECT_EQ(result["restart"], "machine") << result;
  EXPECT_FALSE(onMachine("windows/system32/codec.dll"));
  const auto logon = json({"machine", "logon"}, 0);
  ASSERT_EQ(logon["replacements"].size(), 2U) << logon;
  EXPECT_EQ(read(m_folder / "pc/drive_c/windows/system32/codec.dll"), "new codec");
  EXPECT_EQ(read(m_folder / "pc/drive_c/windows/system32/drivers/decoder.dll"), "new decoder");
  EXPECT_EQ(json({"machine", "logon"}, 0)["replacements"], nlohmann::json::array());
}

TEST_F(MachineCommands, NothingIsMadeWhereSomethingIs) {
  write("pc/something", "here before");
  EXPECT_EQ(kest({"machine", "new", (m_folder / "pc").string()}).exit, 1);
  EXPECT_EQ(read(m_folder / "pc/something"), "here before");
  EXPECT_FALSE(onMachine(""));
  for (const Words& wrong : {Words{"--product", "Tidemark 9"}, Words{"--user", "a/b"}, Words{"--user", "a:x"},
                             Words{"--user", "anna", "--current", "bob"}}) {
    Words words = {"machine", "new", (m_folder / "other").string()};
    words.insert(words.end(), wrong.begin(), wrong.end());
    EXPECT_EQ(kest(words).exit, 2) << wrong[1];
    EXPECT_FALSE(std::filesystem::exists(m_folder / "other"));
  }
}

TEST_F(MachineCommands, OnesOwnMachineIsMadeAtItsFirstUseAndSaidOnce) {
  test::ProcessOptions options;
  options.environment = {{"KEST_MACHINE", ""}};
  const ProcessResult first = kest({"products"}, options);
  EXPECT_EQ(first.exit, 0) << first.err;
  EXPECT_NE(first.err, "");
  EXPECT_EQ(std::count(first.out.begin(), first.out.end(), '\n'), 9);
  EXPECT_TRUE(std::filesystem::is_directory(m_folder / "data/kest/pc/drive_c"));
  const ProcessResult second = kest({"products"}, options);
  EXPECT_EQ(second.err, "");
  EXPECT_EQ(second.out, first.out);
}

} // namespace
} // namespace kest::host
