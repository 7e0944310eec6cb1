#include "platform/machine_folder/registry_file.h"

#include <gtest/gtest.h>

#include <random>

namespace kest {
namespace {

const CString kSample = "WINE REGISTRY Version 2\n"
                        ";; All keys relative to \\\\Machine\n"
                        "\n"
                        "#arch=win64\n"
                        "\n"
                        "[Software\\\\Kestrel\\\\Tidemark\\\\6] 1234567890\n"
                        "#time=1d9f2b3c4d5e6f0\n"
                        "@=\"the default\"\n"
                        "\"InstallPath\"=\"C:\\\\Program Files\\\\Kestrel\\\\\"\n"
                        "\"Build\"=dword:00000284\n"
                        "\"Blob\"=hex:01,02,\\\n"
                        "  03,04,\\\n"
                        "  05\n"
                        "\"Expand\"=str(2):\"%SystemRoot%\\\\x\"\n"
                        "\"Multi\"=str(7):\"a\\0b\\0\"\n"
                        "\"Bytes\"=hex(1):41,00,42,00,00,00\n"
                        "something nobody knows\n"
                        "\"Quo\\\"te\\\\d\"=\"a\\tb\\r\\n\\x263a\\\"c\\\"\"\n"
                        "\n"
                        "[Software\\\\Odd \\[key\\]] 1\n"
                        "\"x\"=\"y\"\n"
                        "\n"
                        "[Software\\\\Kestrel\\\\Tidemark\\\\6] 1234567891\n"
                        "\"Later\"=\"section\"\n";

const CString kKey = R"(Software\Kestrel\Tidemark\6)";

RegistryFile Load(CString content, int codePage = 1252) {
  RegistryFile file(R"(\\Machine)", codePage);
  file.SetText(std::move(content));
  return file;
}

CString ValueOf(RegistryFile& file, const CString& key, const CString& name) {
  CString data;
  return file.GetValue(key, name, data) ? data : CString("(none)");
}

TEST(RegistryFile, TextsAreReadInEveryForm) {
  RegistryFile file = Load(kSample);
  const std::pair<const char*, const char*> rows[] = {
      {"", "the default"},
      {"installpath", "C:\\Program Files\\Kestrel\\"},
      {"EXPAND", "%SystemRoot%\\x"},
      {"Bytes", "AB"},
      {"Later", "section"},
      {"quo\"TE\\d", "a\tb\r\n\xE2\x98\xBA\"c\""},
      {"Build", "(none)"},
      {"Multi", "(none)"},
      {"03", "(none)"},
  };
  for (const auto& [name, data] : rows) {
    EXPECT_EQ(ValueOf(file, R"(\SOFTWARE\\kestrel\Tidemark\6\)", name), data) << name;
  }
  EXPECT_EQ(ValueOf(file, R"(Software\odd [key])", "X"), "y");
  EXPECT_TRUE(file.HasKey(R"(software\KESTREL)"));
  EXPECT_FALSE(file.HasKey(R"(Software\Kest)"));
  std::vector<RegistryValue> values;
  ASSERT_TRUE(file.GetValues(kKey, values));
  ASSERT_EQ(values.size(), 9U);
  EXPECT_EQ(values[8].data, "section");
}

TEST(RegistryFile, AChangeTouchesItsOwnLineAlone) {
  RegistryFile file = Load(kSample);
  ASSERT_TRUE(file.SetValue(kKey, "INSTALLPATH", R"(D:\x "y")", 1));
  CString expected = kSample;
  const CString old = R"("InstallPath"="C:\\Program Files\\Kestrel\\")";
  expected.replace(expected.find(old), old.size(), R"("INSTALLPATH"="D:\\x \"y\"")");
  EXPECT_EQ(file.GetText(), expected);
  ASSERT_TRUE(file.SetValue(kKey, "blob", "text", 1)); // all three lines of it
  EXPECT_EQ(file.GetText().find("03,04"), CString::npos);
  EXPECT_NE(file.GetText().find("\"blob\"=\"text\"\n\"Expand\""), CString::npos);
}

TEST(RegistryFile, WhatIsAddedAndDeletedAgainLeavesNothing) {
  const CString unfinished = kSample.substr(0, kSample.size() - 1); // no end behind the last line
  for (const CString& before : {kSample, unfinished, CString(), CString("WINE REGISTRY Version 2\n")}) {
    for (const CString& key : {kKey, CString(R"(New\Deep\Key)"), CString(R"(Software\Odd [key])")}) {
      for (const CString& name : {CString("one"), CString(), CString("q\"\\")}) {
        RegistryFile file = Load(before);
        CString old;
        if (file.GetValue(key, name, old)) {
          continue;
        }
        ASSERT_TRUE(file.SetValue(key, name, "data", 1234567890));
        ASSERT_TRUE(file.SetValue(R"(Another\Key)", "x", "y", 1234567890));
        EXPECT_EQ(ValueOf(file, key, name), "data");
        RegistryFile later = Load(file.GetText()); // another process takes it away
        ASSERT_TRUE(later.DeleteValue(R"(another\KEY)", "X"));
        ASSERT_TRUE(later.DeleteValue(key, name));
        EXPECT_FALSE(later.DeleteValue(key, name));
        EXPECT_TRUE(later.GetText() == before || (before.empty() && later.IsAsNew())) << later.GetText();
      }
    }
  }
  // a key that somebody else made, or has put something into, stays
  RegistryFile file = Load(kSample);
  ASSERT_TRUE(file.DeleteValue(R"(Software\Odd [key])", "x"));
  EXPECT_TRUE(file.HasKey(R"(Software\Odd [key])"));
  ASSERT_TRUE(file.SetValue("Mine", "a", "1", 1) && file.SetValue("Mine", "b", "2", 1));
  ASSERT_TRUE(file.DeleteValue("Mine", "a"));
  EXPECT_EQ(ValueOf(file, "mine", "B"), "2");
}

TEST(RegistryFile, BytesOfEveryCodePageComeBack) {
  const CString japanese = "C:\\\x95\x5C\x8E\xA6\\\x83\x5C.txt"; // second bytes that are backslashes
  const CString broken = "\x81 \xFF\x80 end\x81";
  const CString utf8 = "\xE7\x94\xBB\xE5\x83\x8F \xF0\x9F\x98\x80";
  CString all;
  for (int c = 1; c < 256; ++c) {
    all += static_cast<char>(static_cast<unsigned char>(c));
  }
  for (const int codePage : {1252, 932, 65001}) {
    for (const CString& text : {japanese, broken, utf8, all}) {
      RegistryFile file = Load(kSample, codePage);
      ASSERT_TRUE(file.SetValue(kKey, text, text, 1)) << codePage;
      RegistryFile again = Load(file.GetText(), codePage);
      EXPECT_EQ(ValueOf(again, kKey, text), text) << codePage;
      for (const char c : file.GetText()) {
        ASSERT_TRUE(c == '\n' || (c >= 0x20 && c < 0x7F)) << codePage;
      }
    }
  }
  RegistryFile file = Load(kSample, 932);
  ASSERT_TRUE(file.SetValue("Sub\\\x83\x5C\\Key", "a", "b", 1)); // two separators, not three
  EXPECT_NE(file.GetText().find("[Sub\\\\\\x30bd\\\\Key]"), CString::npos);
  EXPECT_FALSE(file.SetValue(kKey, "nul", CString("a\0b", 3), 1));
}

/// Everything that can be asked and done, on a text that may be anything.
void UseAll(const CString& content) {
  RegistryFile file = Load(content);
  std::vector<RegistryValue> values;
  CString data;
  (void)file.HasKey(kKey);
  (void)file.GetValues(kKey, values);
  for (const CString name : {"", "Blob", "Later"}) {
    (void)file.GetValue(kKey, name, data);
  }
  ASSERT_TRUE(file.SetValue(kKey, "Added", "text", 1));
  ASSERT_EQ(ValueOf(file, kKey, "added"), "text") << file.GetText();
  ASSERT_TRUE(file.DeleteValue(kKey, "Added"));
  ASSERT_EQ(ValueOf(file, kKey, "added"), "(none)");
  (void)file.DeleteValue(kKey, "Blob");
}

TEST(RegistryFile, CutAndHostileTextsAreHarmless) {
  for (std::size_t length = 0; length <= kSample.size(); ++length) {
    UseAll(kSample.substr(0, length));
  }
  std::mt19937 random(5);
  constexpr std::string_view kEvil = "\\\"[]=@\n\r\0\xFFx0:(,";
  for (int round = 0; round < 1200; ++round) {
    CString changed = kSample;
    for (int i = 0; i < 3; ++i) {
      changed[random() % changed.size()] = kEvil[random() % kEvil.size()];
    }
    UseAll(changed);
  }
  for (const char* line : {"[]", "@=hex:zz", "@=hex(1):4", "@=\"\\777\"", "@=hex:\\", "@=\"\\x12345\""}) {
    UseAll(kSample + line + "\n" + kSample);
  }
}

} // namespace
} // namespace kest
