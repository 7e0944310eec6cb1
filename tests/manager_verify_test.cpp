#include "description/extension.h"
#include "manager/verify.h"
#include "platform/machine/forwarding_machine.h"
#include "platform/machine/os.h"
#include "support/config_on_machine.h"
#include "support/kest_fixture.h"

#include <fstream>

namespace kest::test {
namespace {

using Standing = VerifyReport::State;

class VerifyTest : public KestFixture {
protected:
  VerifyTest() {
    PutConfigFiles(m_pc, kNova);
    start();
    installed(package("Tool")
                  .file("tool.htm", kToCommands, "tool")
                  .file("code.js", "$tidemark/Configuration/Shared/tool", "code")
                  .changes(kChangesOfTenFiles)
                  .changes("<shortcut-insert listId=\"TMMainWindow\"><shortcut key=\"Cmd+9\" id=\"Ten_Key\" />"
                           "</shortcut-insert>\n")
                  .changesTheList());
  }
  [[nodiscard]] VerifyReport verify() const { return manager().VerifyExtension(nova(), find("Tool")); }
  /// "state path-below-configuration line" of each thing that is not as installed.
  [[nodiscard]] std::vector<std::string> told() const {
    std::vector<std::string> lines;
    for (const auto& entry : verify().entries) {
      lines.push_back(std::to_string(static_cast<int>(entry.state)) + " " + entry.path.substr(kConfiguration.size()));
    }
    return lines;
  }
  static std::string line(Standing state, const std::string& path) {
    return std::to_string(static_cast<int>(state)) + " " + path;
  }
  /// Takes the line that holds `word` out of the text.
  static std::string cut(std::string& text, const std::string& word) {
    const std::size_t begin = text.rfind('\n', text.find(word)) + 1;
    const std::size_t end = text.find('\n', begin) + 1;
    const std::string line = text.substr(begin, end - begin);
    text.erase(begin, end - begin);
    return line;
  }
  void edit(const std::string& path, const std::function<void(std::string&)>& change) {
    std::string content = m_pc.Read(kConfiguration + path);
    change(content);
    m_pc.Write(kConfiguration + path, content);
  }
};

TEST_F(VerifyTest, EachThingThatSomebodyDidIsFoundAndNothingElse) {
  const VerifyReport fresh = verify();
  EXPECT_TRUE(fresh.recorded);
  EXPECT_EQ(fresh.files, 3u);
  EXPECT_GT(fresh.lines, 5u);
  EXPECT_EQ(told(), std::vector<std::string>{});

  // another extension puts its own beside ours, and adds to the same line
  installed(package("Other")
                .file("other.htm", kToCommands)
                .changes("<extensions-changes><extension-insert extension=\"PHTML\" description=\"HTML Documents\" />"
                         "</extensions-changes>\n"));
  EXPECT_EQ(told(), std::vector<std::string>{});

  struct Case {
    std::string path;
    std::function<void(std::string&)> change;
    Standing state;
  };
  const Case cases[] = {
      {"Commands\\tool.htm", [](std::string& text) { text[0] = 'T'; }, Standing::kChanged},
      {"Commands\\tool.htm", [](std::string& text) { text += " "; }, Standing::kChanged},
      {"Extensions\\tool.kei", [](std::string& text) { text.insert(text.rfind("</"), " "); }, Standing::kChanged},
      {"Extensions.txt", [](std::string& text) { text.erase(text.find(",SHTML"), 6); }, Standing::kMissing},
      {"Menus\\Menus.xml", [](std::string& text) { cut(text, "Ten_Key"); }, Standing::kMissing},
      {"Menus\\Menus.xml",
       [](std::string& text) {
         const std::string item = cut(text, "Ten_Item");
         text.insert(text.find("<separator references"), item);
       },
       Standing::kMoved},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.path);
    const std::string before = m_pc.Read(kConfiguration + one.path);
    edit(one.path, one.change);
    EXPECT_EQ(told(), std::vector<std::string>{line(one.state, one.path)});
    m_pc.Write(kConfiguration + one.path, before);
  }
  std::filesystem::remove(m_pc.HostPath(kConfiguration + "Shared\\tool\\code.js"));
  m_pc.Write(kConfiguration + "Shared\\tool\\mine.txt", "mine");
  EXPECT_EQ(told(), (std::vector<std::string>{line(Standing::kMissing, "Shared\\tool\\code.js"),
                                              line(Standing::kForeign, "Shared\\tool\\mine.txt")}));
}

TEST_F(VerifyTest, ADescriptionThatIsGoneOrDamagedIsMissed) {
  const std::string path = kDescriptions + "tool.kei";
  EXPECT_TRUE(manager().FindLost(nullptr).empty());
  struct Case {
    std::function<void()> act;
    Standing state;
  };
  const Case cases[] = {{[&] { m_pc.Write(path, "<kestrel-ext"); }, Standing::kChanged},
                        {[&] { std::filesystem::remove(m_pc.HostPath(path)); }, Standing::kMissing}};
  for (const Case& one : cases) {
    one.act();
    restart();
    EXPECT_EQ(find("Tool"), nullptr);
    const auto lost = manager().FindLost(nova());
    ASSERT_EQ(lost.size(), 1u);
    EXPECT_TRUE(text::EqualNoCase(lost[0].path, path)) << lost[0].path;
    EXPECT_EQ(lost[0].state, one.state);
    EXPECT_TRUE(manager().FindLost(four()).empty());
  }
}

TEST_F(VerifyTest, WhatLiesThereIsRecordedAndNotWhatThePackageHeld) {
  m_pc.Write(kConfiguration + "Commands\\twice.htm", "theirs");
  m_host.answer(Message::kExistingEqual, kAll);
  installed(package("Odd")
                .file("twice.htm", kToCommands, "ours")
                .file("a\\once.htm", kToCommands, "first")
                .file("b\\once.htm", kToCommands, "second")
                .file("Extensions.txt", "$tidemark/Configuration", "HTM,HTML:All Documents\n")
                .changes("<extensions-changes><extension-insert extension=\"PHTML\" description=\"All Documents\" />"
                         "</extensions-changes>\n"));
  const auto check = [this] {
    const VerifyReport report = manager().VerifyExtension(nova(), find("Odd"));
    EXPECT_TRUE(report.recorded);
    for (const auto& entry : report.entries) {
      EXPECT_EQ(entry.state, Standing::kAsInstalled) << entry.path;
    }
  };
  check();
  EXPECT_NE(m_pc.Read(kConfiguration + "Extensions.txt").find("PHTML"), std::string::npos);
  ASSERT_EQ(disable(find("Odd")), 0);
  ASSERT_EQ(enable(find("Odd")), 0);
  check();
}

/// Files that match cannot be opened.
class UnreadMachine : public ForwardingMachine {
public:
  UnreadMachine(Machine& next, const char* what) : ForwardingMachine(next), m_what(what) {}

protected:
  bool Allow(const Call& call) override { return call.path == nullptr || call.path->find(m_what) == CString::npos; }

private:
  const char* m_what;
};

TEST_F(VerifyTest, WhatCannotBeReadIsNeitherRightNorRepaired) {
  edit("Extensions.txt", [](std::string& text) { text.erase(text.find(",SHTML"), 6); });
  for (const char* what : {".record", "Extensions.txt", "tool.htm"}) {
    SCOPED_TRACE(what);
    UnreadMachine machine(m_pc.Get(), what);
    const MachineSnapshot before = m_pc.Snapshot();
    CKestOS::SetMachine(&machine);
    EXPECT_FALSE(verify().answered);
    EXPECT_EQ(m_manager->RepairExtension(nova(), find("Tool"), {}), -1);
    CKestOS::SetMachine(&m_pc.Get());
    EXPECT_EQ(m_pc.Snapshot(), before);
    EXPECT_FALSE(report().problems.empty());
  }
}

TEST_F(VerifyTest, WithoutAWholeRecordNothingIsAsInstalled) {
  std::string record;
  for (const auto& entry : std::filesystem::directory_iterator(m_pc.HostPath("C:\\ProgramData\\Kest\\installed"))) {
    record = entry.path();
  }
  const std::string whole = ReadHostFile(record);
  for (const std::string& damaged : {whole.substr(0, whole.size() / 2), whole.substr(whole.find('\n') + 1),
                                     std::string("kest 9\n"), std::string()}) {
    std::ofstream(record, std::ios::binary) << damaged;
    const VerifyReport report = verify();
    EXPECT_FALSE(report.recorded);
    EXPECT_TRUE(report.answered && report.damaged);
    EXPECT_FALSE(report.HasProblems());
    ASSERT_EQ(report.entries.size(), 3u);
    EXPECT_EQ(report.entries[0].state, Standing::kUnknown);
  }
  std::ofstream(record, std::ios::binary) << whole;
  ASSERT_EQ(disable(find("Tool")), 0);
  EXPECT_FALSE(std::filesystem::exists(record));
  EXPECT_FALSE(verify().HasProblems());
  ASSERT_EQ(enable(find("Tool")), 0);
  EXPECT_EQ(told(), std::vector<std::string>{});
  EXPECT_TRUE(verify().recorded);
}

/// There is no memory left when a file of this name gets its place.
class WithoutMemory : public ForwardingMachine {
public:
  WithoutMemory(Machine& next, const char* name) : ForwardingMachine(next), m_name(name) {}

protected:
  bool Allow(const Call& call) override {
    if (call.changes && call.path != nullptr && call.path->ends_with(m_name)) {
      throw std::bad_alloc();
    }
    return true;
  }

private:
  const char* m_name;
};

TEST_F(VerifyTest, ARepairPutsBackWhatIsMissingAndLeavesWhatSomebodyChanged) {
  const auto repair = [this](const CString& from, bool all) {
    return m_manager->RepairExtension(nova(), find("Tool"), {from, all});
  };
  const std::string menus = m_pc.Read(kConfiguration + "Menus\\Menus.xml");
  EXPECT_EQ(repair("", false), 0) << "nothing is missing";
  EXPECT_TRUE(report().created.empty() && report().changed.empty());

  // nothing has it but a package
  ASSERT_TRUE(m_pc.Get().DeleteFile(kConfiguration + "Commands\\tool.htm"));
  m_pc.Write(kConfiguration + "Shared\\tool\\code.js", "mine");
  EXPECT_EQ(repair("", false), -1);
  EXPECT_EQ(report().failure, OperationReport::Failure::kNotFound);
  const CString other = pack(package("Other").file("tool.htm", kToCommands, "tool"));
  EXPECT_EQ(repair(other, false), -1) << "a package of something else";
  const CString forged = pack(package("Tool").file("tool.htm", kToCommands, "forged"));
  EXPECT_EQ(repair(forged, false), -1) << "not the content that was installed";
  const CString own = pack(package("Tool")
                               .file("tool.htm", kToCommands, "tool")
                               .file("code.js", "$tidemark/Configuration/Shared/tool", "code"));
  {
    const MachineSnapshot before = m_pc.Snapshot();
    WithoutMemory machine(m_pc.Get(), "tool.htm");
    CKestOS::SetMachine(&machine);
    EXPECT_EQ(repair(own, false), -1);
    EXPECT_EQ(report().failure, OperationReport::Failure::kNoMemory);
    CKestOS::SetMachine(&m_pc.Get());
    EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "");
  }
  EXPECT_EQ(repair(own, false), 0) << report().problems.size();
  EXPECT_EQ(m_pc.Read(kConfiguration + "Commands\\tool.htm"), "tool");
  EXPECT_EQ(m_pc.Read(kConfiguration + "Shared\\tool\\code.js"), "mine");
  EXPECT_EQ(manager().GetHistory().entries.back().operation, "repair");
  EXPECT_EQ(repair(own, true), 0);
  EXPECT_EQ(m_pc.Read(kConfiguration + "Shared\\tool\\code.js"), "code");
  EXPECT_EQ(told(), std::vector<std::string>{});

  // entries; an undo takes the repair back
  edit("Menus\\Menus.xml", [](std::string& text) {
    cut(text, "Ten_Key");
    cut(text, "Ten_Item");
  });
  edit("Extensions.txt", [](std::string& text) { text.erase(text.find(",SHTML"), 6); });
  const std::string torn = m_pc.Read(kConfiguration + "Menus\\Menus.xml");
  EXPECT_EQ(repair("", false), 0);
  EXPECT_EQ(told(), std::vector<std::string>{});
  EXPECT_EQ(m_manager->UndoOperation(0), 0);
  EXPECT_EQ(m_pc.Read(kConfiguration + "Menus\\Menus.xml"), torn);
}

} // namespace
} // namespace kest::test
