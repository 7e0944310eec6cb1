#pragma once

#include "support/process.h"
#include "support/temp_machine.h"
#include "support/terminal.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace kest::test {

/// Runs the real program on a machine folder of the test's own, without a terminal unless said otherwise.
class ProgramTest : public ::testing::Test {
protected:
  ProgramTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kest-host-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
  }
  ~ProgramTest() override {
    std::error_code error;
    std::filesystem::remove_all(m_folder, error);
  }

  using Words = std::vector<std::string>;

  [[nodiscard]] std::map<std::string, std::string> environment() const {
    return {{"KEST_MACHINE", m_folder / "pc"}, {"XDG_DATA_HOME", m_folder / "data"}};
  }
  ProcessResult kest(const Words& words, ProcessOptions options = {}) const {
    Words command = {KEST_PROGRAM};
    command.insert(command.end(), words.begin(), words.end());
    const auto common = environment();
    options.environment.insert(common.begin(), common.end());
    return RunProcess(command, options);
  }
  /// Runs with --json; the document, which has to be the whole of the standard output and to carry the code's meaning.
  nlohmann::json json(Words words, int exit) const {
    words.emplace_back("--json");
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, exit) << result.out << result.err;
    nlohmann::json document = nlohmann::json::parse(result.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << result.out << result.err;
    if (document.is_object()) {
      EXPECT_EQ(document.value("ok", exit != 0), exit == 0) << result.out;
      EXPECT_EQ(document.value("schema", "").substr(0, 5), "kest.") << result.out;
    }
    return document;
  }
  [[nodiscard]] PseudoTerminal onTerminal(const Words& words) const {
    Words command = {KEST_PROGRAM};
    command.insert(command.end(), words.begin(), words.end());
    return PseudoTerminal(command, environment());
  }

  /// A machine with one user at KEST_MACHINE.
  void makeMachine(Words more = {"--product", "Tidemark Nova", "--product", "Tidemark 4"}) const {
    Words words = {"machine", "new", (m_folder / "pc").string()};
    words.insert(words.end(), more.begin(), more.end());
    const ProcessResult result = kest(words);
    ASSERT_EQ(result.exit, 0) << result.err;
  }
  std::string write(const std::string& path, const std::string& content) const {
    const std::filesystem::path file = m_folder / path;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file.string();
  }
  [[nodiscard]] static std::string read(const std::filesystem::path& path) { return ReadHostFile(path); }
  [[nodiscard]] MachineSnapshot snapshot() const { return TakeSnapshot(m_folder / "pc"); }
  /// What came, went or has other bytes, but for backup copies, the trash and files of that ending. A file that is
  /// saved with the bytes that it had has another date.
  [[nodiscard]] static std::string difference(MachineSnapshot before, MachineSnapshot after,
                                              const std::string& butFor = ".xbk") {
    for (MachineSnapshot* each : {&before, &after}) {
      for (auto& [path, entry] : each->entries) {
        entry.date = 0;
      }
    }
    return DescribeDifference(before, after, [&](const std::string& path) {
      return IsOfThePast(path) || path.ends_with(butFor) || (path.ends_with("bk") && path[path.size() - 4] == '.');
    });
  }
  [[nodiscard]] bool onMachine(const std::string& path) const {
    return std::filesystem::exists(m_folder / "pc/drive_c" / path);
  }

  struct Extension {
    std::string name = "Table Tools";
    std::string version = "1.0.0";
    std::string author = "Jane Doe";
    std::string file = "tabletools"; ///< of description and package, without extension
    std::string product = "Tidemark";
    std::string more; ///< further elements
  };
  /// Writes a description with one file beside it; its path.
  [[nodiscard]] std::string describe(const Extension& extension) const {
    write("src/" + extension.file + ".htm", "<html>" + extension.name + extension.version + "</html>");
    return write("src/" + extension.file + ".kei",
                 "<kestrel-extension name=\"" + extension.name + "\" version=\"" + extension.version +
                     "\" type=\"command\">\r\n\t<author name=\"" + extension.author +
                     "\" />\r\n"
                     "\t<products>\r\n\t\t<product name=\"" +
                     extension.product +
                     "\" version=\"4\" primary=\"true\" />\r\n\t</products>\r\n"
                     "\t<description><![CDATA[Sorts tables.]]></description>\r\n"
                     "\t<ui-access><![CDATA[In the menu of commands.]]></ui-access>\r\n"
                     "\t<files>\r\n\t\t<file source=\"" +
                     extension.file + ".htm\" destination=\"$tidemark/Configuration/Commands\" />\r\n\t</files>\r\n" +
                     extension.more + "</kestrel-extension>\r\n");
  }
  /// The same, packed by the program; the package's path.
  [[nodiscard]] std::string package(const Extension& extension) const {
    const std::string description = describe(extension);
    const std::string out = (m_folder / (extension.file + extension.version + ".kep")).string();
    const ProcessResult result = kest({"pack", description, "-o", out, "--force"});
    EXPECT_EQ(result.exit, 0) << result.out << result.err;
    return out;
  }
  void install(const Extension& extension, Words more = {}) const {
    Words words = {"install", package(extension), "-y", "--accept-agreement"};
    words.insert(words.end(), more.begin(), more.end());
    const ProcessResult result = kest(words);
    ASSERT_EQ(result.exit, 0) << result.err;
  }

  std::filesystem::path m_folder;
};

} // namespace kest::test
