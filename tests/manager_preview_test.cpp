#include "manager/preview.h"
#include "platform/machine/os.h"
#include "support/kest_fixture.h"
#include "support/machine_facts.h"

namespace kest {
namespace {

using Kind = PreviewEntry::Kind;
using Change = PreviewEntry::Change;

class PreviewTest : public test::KestFixture {
protected:
  /// Everything on the machine but what is kept of operations that are over.
  static std::map<std::string, std::string> facts(Machine& machine) {
    std::map<std::string, std::string> found = test::FactsOf(machine, "C:\\", false);
    std::erase_if(found, [](const auto& one) { return one.first.starts_with(R"(C:\ProgramData\Kest)"); });
    return found;
  }
  /// Does it on an overlay, and then on the machine: the overlay foretold what the machine is then, and left it alone.
  Preview foretold(const std::function<bool()>& operation, bool isDone = true) {
    const auto before = test::TracesOf(m_pc.GetRoot());
    Preview preview;
    std::map<std::string, std::string> expected;
    {
      OverlayMachine overlay(m_pc.Get());
      CKestOS::SetMachine(&overlay);
      start();
      PreviewMaker maker(overlay);
      EXPECT_EQ(operation(), isDone);
      preview = maker.Make(report());
      m_manager.reset();
      CKestOS::RemoveTempFolder();
      expected = facts(overlay);
      CKestOS::SetMachine(&m_pc.Get());
    }
    EXPECT_EQ(test::TracesOf(m_pc.GetRoot()), before);
    start();
    EXPECT_EQ(operation(), isDone);
    EXPECT_EQ(facts(m_pc.Get()), expected);
    return preview;
  }
  static bool has(const Preview& preview, Kind kind, Change change, std::string_view name) {
    return std::any_of(preview.entries.begin(), preview.entries.end(), [&](const PreviewEntry& entry) {
      return entry.kind == kind && entry.change == change && entry.name.find(name) != CString::npos;
    });
  }
};

TEST_F(PreviewTest, WhatAnOperationLeavesIsForetoldAndTheMachineLeftAlone) {
  const CString first = pack(package("Word Count").file("a.htm", kToCommands).changesTheList());
  Preview preview = foretold([&] { return tryInstall(first) != nullptr; });
  EXPECT_TRUE(has(preview, Kind::kListEntry, Change::kChanged, "SHTML") ||
              has(preview, Kind::kListEntry, Change::kAdded, "SHTML"));
  EXPECT_TRUE(has(preview, Kind::kFile, Change::kAdded, "a.htm"));
  ASSERT_EQ(preview.files.size(), 1U);
  EXPECT_EQ(preview.files[0].after, m_pc.Read(preview.files[0].path));
  const CString second = pack(package("Word Count").version("2.0").file("b.htm", kToCommands).changesTheList());
  m_host.otherwise(kYes);
  preview = foretold([&] { return tryInstall(second) != nullptr; });
  EXPECT_TRUE(has(preview, Kind::kExtension, Change::kRemoved, "Word Count 1.0"));
  EXPECT_TRUE(has(preview, Kind::kFile, Change::kRemoved, "a.htm"));
  preview = foretold([&] { return tryInstall(kConfiguration + "none.kep") != nullptr; }, false);
  EXPECT_FALSE(has(preview, Kind::kFile, Change::kAdded, ""));
  foretold([&] { return disable(find("Word Count")) == 0; });
  foretold([&] { return enable(find("Word Count")) == 0; });
  preview = foretold([&] { return uninstall(find("Word Count")) == 0; });
  EXPECT_TRUE(has(preview, Kind::kFile, Change::kRemoved, "b.htm"));
}

} // namespace
} // namespace kest
