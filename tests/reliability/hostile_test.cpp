#include "platform/machine/machine.h"
#include "reliability/pc_under_test.h"
#include "support/process.h"
#include "support/zip_builder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>

namespace kest::test {
namespace {

// sanitizers keep memory of their own, so bounds of memory are for plain builds
#if !defined(__has_feature)
#define __has_feature(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

namespace fs = std::filesystem;

struct Cost {
  int exit = -1;
  double seconds = 0; ///< of processor time, since the machine may be shared
  long kib = 0;
  std::string told;
};

struct HostilePackage {
  std::string what;
  std::vector<ZipItem> items;
  ZipEnd end = {};
};

const std::string kHead = "<kestrel-extension name=\"Hostile\" version=\"1.0\" type=\"command\">"
                          "<author name=\"Nobody\" /><products><product name=\"Tidemark\" version=\"4\" "
                          "primary=\"true\" /></products><description><![CDATA[Does harm.]]></description>"
                          "<ui-access><![CDATA[None.]]></ui-access>";

std::string describe(const std::string& files, const std::string& more = "") {
  return kHead + "<files>" + files + "</files>" + more + "</kestrel-extension>";
}

ZipItem itemOf(const std::string& name, const std::string& content = "planted") {
  return {.name = name, .content = content};
}

/// Packages and texts that nobody who means well would make, given to the real program.
class Hostile : public ::testing::Test {
protected:
  Hostile() {
    m_pc.makeSample();
    fs::create_directories(m_pc.scratch() / "in");
    std::ofstream(m_pc.scratch() / "in/secret.txt") << "the secret of another file";
    (void)run({"list"}); // the first start makes folders
    m_pc.age();
    m_before = m_pc.state();
    m_pc.save("prepared");
  }

  [[nodiscard]] Cost run(std::vector<std::string> words) const {
    const std::string report = m_pc.scratch() / "report";
    words.insert(words.begin(), {KEST_MEASURED_CHILD, report, KEST_PROGRAM, "-m", m_pc.root().string()});
    fs::remove(report);
    ProcessOptions options;
    options.environment = {{"XDG_DATA_HOME", m_pc.scratch() / "data"}};
    options.folder = m_pc.scratch();
    const ProcessResult result = RunProcess(words, options);
    Cost cost;
    cost.told = result.out + result.err;
    std::ifstream in(report);
    EXPECT_TRUE(in >> cost.exit >> cost.seconds >> cost.kib) << "no report of the child";
    return cost;
  }

  std::string put(const std::string& name, const std::string& bytes) const {
    const fs::path path = m_pc.scratch() / "in" / name;
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    return path;
  }

  /// Runs one command on the file: within its bounds, no crash, the machine and the folder of the file untouched.
  void expectHarmless(const std::string& what, const std::vector<std::string>& words, bool mustRefuse, long kib) {
    const Cost cost = run(words);
    ++m_runs;
    m_slowest = std::max(m_slowest, cost.seconds);
    m_largest = std::max(m_largest, cost.kib);
    EXPECT_GE(cost.exit, 0) << what << " " << words[0] << ": signal";
    EXPECT_LE(cost.seconds, 2.0) << what << " " << words[0];
    if (!kSanitized) {
      EXPECT_LE(cost.kib, kib) << what << " " << words[0];
    }
    EXPECT_EQ(cost.told.find("secret of another"), std::string::npos) << what;
    m_refused += cost.exit != 0 && !cost.told.empty() ? 1 : 0;
    if (mustRefuse) {
      EXPECT_NE(cost.exit, 0) << what << " " << words[0] << ": " << cost.told;
      EXPECT_FALSE(cost.told.empty()) << what << " " << words[0];
    }
    if (mustRefuse || words[0] == "validate") {
      EXPECT_EQ(m_before.difference(m_pc.state()), "") << what << " " << words[0];
    }
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(m_pc.scratch() / "in")) {
      files += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(files, 2U) << what << ": a file beside the package";
  }

  void tryPackage(const std::string& what, const std::string& bytes) {
    const std::string path = put("hostile.kep", bytes);
    expectHarmless(what, {"install", path, "-y", "--accept-agreement"}, true, kMostKib);
    expectHarmless(what, {"validate", path}, true, kMostKib);
    fs::remove(path);
  }

  void tryText(const std::string& what, const std::string& bytes) {
    const std::string path = put("hostile.kei", bytes);
    const long most = kMostKib + static_cast<long>(8 * bytes.size() / 1024);
    expectHarmless(what, {"validate", path}, false, most);
    expectHarmless(what, {"install", path, "-y", "--accept-agreement"}, false, most);
    fs::remove(path);
    m_pc.restore("prepared"); // what can be read may well be installed
  }

  void figures(const char* what) const {
    std::printf("%s: %d runs, %d refused with a message, at most %.2f s and %.1f MiB\n", what, m_runs, m_refused,
                m_slowest, static_cast<double>(m_largest) / 1024);
  }

  static constexpr long kMostKib = 64 * 1024;
  PcUnderTest m_pc;
  PcState m_before;
  int m_runs = 0;
  int m_refused = 0;
  double m_slowest = 0;
  long m_largest = 0;
};

const std::string kOneFile = describe(R"(<file source="a.htm" destination="$tidemark/Configuration/Commands" />)");

std::vector<HostilePackage> badNames() {
  std::vector<HostilePackage> all;
  const std::string control = {'a', '\x01', 'b'};
  const std::string nul = {'a', '\0', 'b'};
  std::vector<std::string> names = {"../evil.txt",
                                    "..\\..\\evil.txt",
                                    "a/../../evil.txt",
                                    "/etc/evil.txt",
                                    "\\evil.txt",
                                    "C:\\evil.txt",
                                    "C:evil.txt",
                                    "\\\\server\\share\\evil.txt",
                                    "\\\\?\\C:\\evil.txt",
                                    "CON",
                                    "sub/NUL.txt",
                                    "com1.htm",
                                    "LPT9",
                                    "aux .txt",
                                    "trailing.",
                                    "trailing ",
                                    "sub./x",
                                    "a.htm:stream",
                                    "a.htm::$DATA",
                                    ".",
                                    "..",
                                    "",
                                    "a//b",
                                    "a\nb",
                                    "wild*.txt"};
  names.insert(names.end(), {control, nul, std::string(2000, 'n')});
  for (const std::string& name : names) {
    all.push_back({"name \"" + name.substr(0, 40) + "\"", {itemOf("x.kei", kOneFile), itemOf("a.htm"), itemOf(name)}});
  }
  all.push_back({"case twins", {itemOf("x.kei", kOneFile), itemOf("a.htm"), itemOf("A.HTM")}});
  all.push_back({"the same twice", {itemOf("x.kei", kOneFile), itemOf("a.htm"), itemOf("a.htm", "other")}});
  all.push_back({"file and folder", {itemOf("x.kei", kOneFile), itemOf("a.htm"), itemOf("a.htm/b")}});
  ZipItem twoNames = itemOf("a.htm");
  twoNames.localName = "../evil.txt";
  all.push_back({"two names", {itemOf("x.kei", kOneFile), twoNames}});
  return all;
}

std::vector<HostilePackage> badKinds() {
  std::vector<HostilePackage> all;
  for (const std::uint32_t mode : {0120777u, 0020666u, 0060660u, 0010644u, 0140755u}) {
    ZipItem item = itemOf("a.htm", "/etc/passwd");
    item.attributes = mode << 16;
    all.push_back({"mode " + std::to_string(mode), {itemOf("x.kei", kOneFile), item}});
  }
  ZipItem locked = itemOf("a.htm");
  locked.flags = 1;
  all.push_back({"encrypted", {itemOf("x.kei", kOneFile), locked}});
  ZipItem unknown = itemOf("a.htm");
  unknown.method = 98;
  all.push_back({"unknown method", {itemOf("x.kei", kOneFile), unknown}});
  all.push_back({"no description", {itemOf("a.htm")}});
  all.push_back({"nothing", {}});
  all.push_back({"the file is missing", {itemOf("x.kei", kOneFile)}});
  return all;
}

std::vector<HostilePackage> bombs() {
  std::vector<HostilePackage> all;
  const std::string zeros = Deflate(std::string(8 << 20, '\0'));
  ZipItem big = {.name = "a.htm", .content = "", .deflated = true, .packed = zeros};
  big.size = 0x7FFFFFFF;
  all.push_back({"a size that lies upwards", {itemOf("x.kei", kOneFile), big}});
  big.size = 10;
  all.push_back({"a size that lies downwards", {itemOf("x.kei", kOneFile), big}});
  big.size = 8 << 20;
  all.push_back({"a wrong sum", {itemOf("x.kei", kOneFile), big}});
  std::vector<ZipItem> overlapping = {itemOf("x.kei", kOneFile), itemOf("a.htm")};
  for (int i = 0; i < 2000; ++i) {
    ZipItem item = itemOf("o" + std::to_string(i));
    item.offset = 0;
    overlapping.push_back(item);
  }
  all.push_back({"overlap", overlapping});
  std::vector<ZipItem> many = {itemOf("x.kei", kOneFile), itemOf("a.htm")};
  ZipItem bomb = {.name = "", .content = "", .deflated = true, .packed = zeros};
  bomb.size = 8 << 20;
  for (int i = 0; i < 400; ++i) {
    bomb.name = "b" + std::to_string(i);
    many.push_back(bomb);
  }
  all.push_back({"3.2 GB out of 3 MB", many});
  // within every limit but that of what zeros may unpack to
  const std::string zeros250(250 << 20, '\0');
  const ZipItem half = {.name = "b.htm",
                        .deflated = true,
                        .packed = Deflate(zeros250),
                        .crc = crc32(0, reinterpret_cast<const Bytef*>(zeros250.data()), 250 << 20),
                        .size = 250 << 20};
  all.push_back({"500 MiB of true zeros", {itemOf("x.kei", kOneFile), itemOf("a.htm"), half}});
  all.back().items.push_back(half);
  all.back().items.back().name = "c.htm";
  ZipItem description = {.name = "x.kei", .content = "", .deflated = true, .packed = zeros};
  description.size = 8 << 20;
  all.push_back({"a description of zeros", {description, itemOf("a.htm")}});
  std::vector<ZipItem> count(60000, itemOf(""));
  for (std::size_t i = 0; i < count.size(); ++i) {
    count[i].name = "d/" + std::to_string(i);
    count[i].content.clear();
  }
  all.push_back({"60,000 entries, and 200,000 told", count, {.large = true, .largeCount = 200000}});
  return all;
}

std::vector<HostilePackage> brokenEnds() {
  std::vector<HostilePackage> all;
  const std::vector<ZipItem> items = {itemOf("x.kei", kOneFile), itemOf("a.htm")};
  all.push_back({"too high a count", items, {.count = 9}});
  all.push_back({"too low a count", items, {.count = 1}});
  all.push_back({"a directory behind the end", items, {.offset = 0x7FFFFFFF}});
  all.push_back({"a directory of the wrong size", items, {.size = 3}});
  all.push_back({"a giant directory", items, {.size = 0x7FFFFFFF}});
  all.push_back({"a giant count", items, {.large = true, .largeCount = 1ULL << 60}});
  ZipItem off = itemOf("a.htm");
  off.offset = 0x7FFFFFF0;
  all.push_back({"an entry behind the end", {itemOf("x.kei", kOneFile), off}});
  return all;
}

TEST_F(Hostile, PackagesAreRefusedWithAMessageAndLeaveNothing) {
  for (const auto& make : {badNames, badKinds, bombs, brokenEnds}) {
    for (const HostilePackage& package : make()) {
      tryPackage(package.what, BuildZip(package.items, package.end));
    }
  }
  tryPackage("no archive", "this is no archive");
  const std::string whole = BuildZip({itemOf("x.kei", kOneFile), itemOf("a.htm", "content")});
  for (std::size_t length = 0; length < whole.size(); length += static_cast<std::size_t>(PointsOf(1, 17))) {
    tryPackage("cut at " + std::to_string(length), whole.substr(0, length));
  }
  figures("hostile packages");
}

// Destinations are judged again once their tokens are known.
TEST_F(Hostile, DestinationsThatLeadElsewhereAreRefused) {
  for (const char* destination :
       {"$tidemark/../../..", "$tidemark\\..\\..\\..\\windows", "C:\\windows", "\\\\server\\share", "/etc", "..",
        "$tidemark/Configuration/Commands/CON", "$tidemark/Configuration/dot./x", "$tidemark/Configuration/\x01",
        "$evil/x", "$evil2/x", ""}) {
    const std::string text =
        kHead +
        "<file-tokens><token name=\"evil\" definition=\"C:\\windows\\..\\..\\out\" />"
        "<token name=\"evil2\" definition=\"$tidemark/../../windows\" /></file-tokens><files><file "
        "source=\"a.htm\" destination=\"" +
        destination + "\" /></files></kestrel-extension>";
    const std::string path = put("hostile.kep", BuildZip({itemOf("x.kei", text), itemOf("a.htm")}));
    expectHarmless(destination, {"install", path, "-y", "--accept-agreement"}, true, kMostKib);
    fs::remove(path);
  }
  figures("destinations that lead elsewhere");
}

std::vector<std::pair<std::string, std::string>> hostileTexts() {
  const std::string file = R"(<file source="none.htm" destination="$tidemark/Configuration/Commands" )";
  std::string deep;
  for (int i = 0; i < 100000; ++i) {
    deep += "<menu>";
  }
  std::string attributes = "<kestrel-extension";
  std::string many;
  for (int i = 0; i < 100000; ++i) {
    attributes += " a" + std::to_string(i) + "=\"v\"";
    many += file + "/>";
  }
  const std::string laughs = "<!DOCTYPE k [<!ENTITY a \"haha\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">"
                             "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\"><!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;\">"
                             "<!ENTITY e \"&d;&d;&d;&d;&d;&d;&d;&d;\"><!ENTITY f \"&e;&e;&e;&e;&e;&e;&e;&e;\">]>";
  const std::string other = "<!DOCTYPE k [<!ENTITY x SYSTEM \"secret.txt\">]>";
  std::string utf16 = {'\xFF', '\xFE'};
  for (const char c : describe(file + "/>")) {
    utf16 += {c, '\0'};
  }
  std::string nul = describe(file + "/>");
  nul[nul.size() / 2] = '\0';
  return {{"deep nesting", kHead + deep},
          {"deep changes", describe("", "<configuration-changes><menu-insert appendTo=\"x\">" + deep)},
          {"a giant attribute", describe(file + "shared=\"" + std::string(10 << 20, 'x') + "\" />")},
          {"a giant text", describe(file + "/>", "<description>" + std::string(10 << 20, 'x') + "</description>")},
          {"100,000 attributes", attributes + "></kestrel-extension>"},
          {"100,000 files", describe(many)},
          {"entities in entities", laughs + describe(file + "id=\"&f;\" />")},
          {"another file by an entity", other + describe(file + "/>", "<description>&x;</description>")},
          {"another file by a document type", "<!DOCTYPE k SYSTEM \"secret.txt\">" + describe(file + "/>")},
          {"UTF-16", utf16},
          {"a false encoding", "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + describe(file + "/>")},
          {"an unknown encoding", "<?xml version=\"1.0\" encoding=\"EBCDIC-XX\"?>" + describe(file + "/>")},
          {"broken UTF-8", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + describe(file + "id=\"\xC0\xAF\xFF\" />")},
          {"a NUL byte", nul},
          {"zeros", std::string(100000, '\0')},
          {"ampersands", describe(std::string(1 << 20, '&'))},
          {"open tags", std::string(1 << 20, '<')},
          {"an endless comment", kHead + "<!--" + std::string(1 << 20, '-')},
          {"an endless section", kHead + "<![CDATA[" + std::string(1 << 20, ']')},
          {"nothing", ""}};
}

TEST_F(Hostile, DescriptionsGiveACodeOrARecord) {
  for (const auto& [what, text] : hostileTexts()) {
    tryText(what, text);
  }
  const std::string whole = describe(R"(<file source="none.htm" destination="$tidemark/Configuration/Commands" />)");
  for (std::size_t length = 0; length < whole.size(); length += static_cast<std::size_t>(PointsOf(1, 17))) {
    tryText("cut at " + std::to_string(length), whole.substr(0, length));
  }
  figures("hostile descriptions");
}

// An extension with a change to each file of the configuration, on a machine where that file is hostile.
TEST_F(Hostile, ConfigurationFilesGiveAnErrorOrAChange) {
  const std::string changes =
      "<configuration-changes><menu-insert appendTo=\"TMMenu_View\"><menuitem name=\"N\" id=\"Ho_Item\" "
      "command=\"c()\" /></menu-insert><toolbar-changes><toolbar-insert><toolbar id=\"Ho_Bar\" /></toolbar-insert>"
      "</toolbar-changes><source-format-changes><element-insert name=\"wb\" /></source-format-changes>"
      "<FTP-extension-map-changes><FTP-extension-insert extension=\"wbk\" type=\"ASCII\" /></FTP-extension-map-changes>"
      "<extensions-changes><extension-insert extension=\"WBK\" description=\"W\" /></extensions-changes>"
      "</configuration-changes>";
  const std::string package = put("hostile.kep", BuildZip({itemOf("x.kei", describe("", changes))}));
  for (const char* name :
       {"Menus/Menus.xml", "Toolbars/toolbars.xml", "SourceFormat.txt", "FTPExtensionMap.txt", "Extensions.txt"}) {
    for (const auto& [what, text] : hostileTexts()) {
      m_pc.restore("prepared");
      std::ofstream(m_pc.root() / "drive_c/Program Files/Kestrel/Tidemark 6/Configuration" / name, std::ios::binary)
          << text;
      expectHarmless(std::string(name) + ", " + what, {"install", package, "-y", "--accept-agreement"}, false,
                     kMostKib + static_cast<long>(8 * text.size() / 1024));
      EXPECT_TRUE(fs::is_empty(m_pc.root() / "drive_c/windows/temp")) << name << ", " << what;
    }
  }
  figures("hostile configuration files");
}

} // namespace
} // namespace kest::test
