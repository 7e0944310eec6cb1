#include "description/extension.h"
#include "platform/machine/forwarding_machine.h"
#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"
#include "support/kest_fixture.h"
#include "support/process.h"

#include <fstream>

namespace kest::test {
namespace {

constexpr const char* kState = "C:\\ProgramData\\Kest\\";

class HistoryTest : public KestFixture {
protected:
  static ExtensionBuilder tool(const char* version = "1.0") {
    ExtensionBuilder extension = package("Tool")
                                     .version(version)
                                     .file("tool.htm", kToCommands, std::string("tool ") + version)
                                     .file("tool.js", "$tidemark/Configuration/Shared/tool", "code")
                                     .changesTheList();
    for (int i = 0; i < 9; ++i) { // a folder that comes and goes as a whole
      extension.file("many/" + std::to_string(i) + ".htm", "$tidemark/Configuration/Many", version);
    }
    return extension;
  }
  struct Kind {
    const char* name;
    std::function<void()> prepare;
    std::function<bool()> run;
  };
  /// Operations of each kind, on "Tool".
  std::vector<Kind> kinds() {
    const CString old = pack(tool());
    const CString newer = pack(tool("2.0").descriptionNamed("tool2.kei"));
    const CString clash = pack(package("Other").descriptionNamed("tool.kei").file("other.htm", kToCommands));
    const auto install = [this, old] { ASSERT_NE(tryInstall(old), nullptr); };
    const auto disabled = [this, install] {
      install();
      ASSERT_EQ(disable(find("Tool")), 0);
    };
    const auto import = [this] {
      CKestTypedList<CKestExtension*> all;
      all.Append(find("Tool"));
      return manager().Import(nova(), four(), all) && report().parts.at(0).Succeeded();
    };
    const auto put = [this](const CString& kep) {
      return [this, kep] {
        m_host.otherwise(kYes);
        return tryInstall(kep) != nullptr;
      };
    };
    return {{"install", [] {}, put(old)},
            {"replacement", install, put(newer)},
            {"clash", install, put(clash)},
            {"uninstall", install, [this] { return uninstall(find("Tool")) == 0; }},
            {"uninstall of a disabled one", disabled, [this] { return uninstall(find("Tool")) == 0; }},
            {"disable", install, [this] { return disable(find("Tool")) == 0; }},
            {"enable", disabled, [this] { return enable(find("Tool")) == 0; }},
            {"import", install, import},
            {"import of a disabled one", disabled, import},
            {"repair",
             [this, install] {
               install();
               std::filesystem::remove_all(m_pc.HostPath(kConfiguration + "Many"));
               m_pc.Write(kCommands + "tool.htm", "somebody's");
               m_pc.Write(kConfiguration + "Extensions.txt", "HTM,HTML:All Documents\r\n");
             },
             [this, old] {
               return manager().RepairExtension(nova(), find("Tool"), {old, true}) == 0;
             }}};
  }
  void putBack() {
    m_manager.reset();
    for (const auto& entry : std::filesystem::directory_iterator(m_pc.GetRoot())) {
      std::filesystem::remove_all(entry);
    }
    ASSERT_EQ(RunProcess({"/bin/cp", "-a", m_saved / ".", m_pc.GetRoot()}).exit, 0);
    restart();
  }
  [[nodiscard]] std::string lastReason() const {
    return report().problems.empty() ? std::string()
                                     : report().problems.front().path + ": " + report().problems.front().reason;
  }

  std::filesystem::path m_saved = m_pc.GetOutside() / "saved";
};

/// Trash and history, with the folders above them; what is recorded of installed extensions comes back.
bool isHistoryAlone(const std::string& path) {
  return IsOfThePast(path) && path.find("Kest/installed/") == std::string::npos;
}

/// Nothing can be done with the history itself.
class WithoutItsHistory : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;

protected:
  bool Allow(const Call& call) override { return call.path == nullptr || !call.path->ends_with("history.log"); }
};

TEST_F(HistoryTest, AnUndoOfEachKindBringsTheMachineBackAndCanBeUndone) {
  const auto all = kinds();
  ASSERT_EQ(RunProcess({"/bin/cp", "-a", m_pc.GetRoot() / ".", m_saved}).exit, 0);
  for (const Kind& kind : all) {
    SCOPED_TRACE(kind.name);
    putBack();
    kind.prepare();
    MachineSnapshot before = m_pc.Snapshot();
    const std::vector<std::string> records = catalogue();
    ASSERT_TRUE(kind.run()) << lastReason();
    const MachineSnapshot after = m_pc.Snapshot();
    for (auto& [path, entry] : before.entries) { // what is saved with the bytes that it had keeps its new date
      const auto now = after.entries.find(path);
      entry.date = now != after.entries.end() && now->second.hash == entry.hash ? now->second.date : entry.date;
    }
    ASSERT_NE(DescribeDifference(before, after, isHistoryAlone), "");
    restart();
    ASSERT_EQ(manager().UndoOperation(0), 0) << lastReason();
    EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot(), isHistoryAlone), "");
    EXPECT_EQ(catalogue(), records);
    EXPECT_TRUE(isTempEmpty());
    const History history = manager().GetHistory();
    ASSERT_GE(history.entries.size(), 2u);
    EXPECT_EQ(history.entries.back().operation, "undo");
    EXPECT_EQ(history.entries.back().undoes, history.entries.back().number - 1);
    EXPECT_EQ(history.unreadable, 0u);
    ASSERT_EQ(manager().UndoOperation(0), 0) << lastReason();
    EXPECT_EQ(DescribeDifference(after, m_pc.Snapshot(), isHistoryAlone), "");
  }
}

TEST_F(HistoryTest, AnUndoRefusesWhatItCannotBringBackAndChangesNothing) {
  const CString log = std::string(kState) + "history.log";
  const auto refused = [this](long number, const std::string& why) {
    const MachineSnapshot before = m_pc.Snapshot();
    EXPECT_EQ(manager().UndoOperation(number), -1);
    EXPECT_NE(lastReason().find(why), std::string::npos) << lastReason();
    EXPECT_EQ(m_pc.Snapshot(), before);
    EXPECT_TRUE(isTempEmpty());
  };
  refused(0, "history of the machine is empty");
  installed(tool());
  installed(package("Other").file("other.htm", kToCommands).changesTheList());
  refused(7, "no operation 7");
  refused(1, "operation 2 (install Other) has changed it since");
  m_pc.Write(kCommands + "other.htm", "somebody's");
  refused(2, "somebody has changed it since");
  ASSERT_EQ(uninstall(find("Other")), 0);
  const std::string kept = manager().GetTrash().back().folder + "\\deleted\\other.htm";
  EXPECT_EQ(m_pc.Read(kept), "somebody's");
  std::filesystem::remove(m_pc.HostPath(kept));
  refused(3, "what the trash kept of it is gone");
  const std::string record = manager().GetTrash().back().folder + "\\record";
  m_pc.Write(record, m_pc.Read(record).substr(0, 300)); // cut
  refused(3, "what the trash keeps of it cannot be read");

  // a history that cannot be read is not an empty one, and no number is given twice
  {
    WithoutItsHistory machine(m_pc.Get());
    CKestOS::SetMachine(&machine);
    EXPECT_FALSE(manager().GetHistory().isComplete);
    refused(0, "the history of the machine cannot be read");
    installed(package("Unnoted").file("unnoted.htm", kToCommands));
    CKestOS::SetMachine(&m_pc.Get());
  }
  EXPECT_EQ(manager().GetHistory().entries.size(), 3u);
  ASSERT_EQ(uninstall(find("Unnoted")), 0);
  EXPECT_EQ(manager().GetHistory().entries.back().number, 4);

  // a damaged line, one of a later version and one that was cut short hinder neither the rest nor what comes
  const std::string lines = m_pc.Read(log);
  m_pc.Write(log, "forged\tnumber=900\n" + sealed_line::Seal("miracle\tnumber=40") + lines + "operation\tnum");
  History history = manager().GetHistory();
  EXPECT_EQ(history.unreadable, 2u);
  ASSERT_EQ(history.entries.size(), 4u);
  EXPECT_EQ(history.entries[2].operation, "uninstall");
  installed(package("Third").file("third.htm", kToCommands));
  history = manager().GetHistory();
  EXPECT_EQ(history.unreadable, 3u);
  ASSERT_EQ(history.entries.size(), 5u);
  EXPECT_EQ(history.entries[4].number, 41);
  EXPECT_EQ(manager().UndoOperation(0), 0) << lastReason();
  refused(41, "operation 42 has taken it back already");
}

TEST_F(HistoryTest, WhateverBecomesOfItsFilesOperationsGoOnAndNothingWrongIsTakenBack) {
  installed(tool());
  ASSERT_EQ(disable(find("Tool")), 0);
  const std::string log = std::string(kState) + "history.log";
  const std::string record = manager().GetTrash().back().folder + "\\record";
  const std::string lines = m_pc.Read(log);
  const std::string whole = m_pc.Read(record);
  const std::size_t first = lines.find('\n') + 1;
  const auto line = [](const std::string& number) {
    return sealed_line::Seal("operation\tnumber=" + number + "\ttime=9000000000000000000\toperation=install\tnew=1");
  };
  struct Case {
    const char* name;
    std::string log, record;
    std::size_t told, unreadable, lost;
    bool undone; ///< whether the last operation can still be taken back
  };
  const Case cases[] = {
      {"as written", lines, whole, 2, 0, 0, true},
      {"emptied", "", whole, 0, 0, 2, false},
      {"cut in its last line", lines.substr(0, lines.size() - 9), whole, 1, 0, 1, false},
      {"without its first line", lines.substr(first), whole, 1, 0, 1, true},
      {"turned round", lines.substr(first) + lines.substr(0, first), whole, 2, 0, 0, true},
      {"said twice", lines + lines, whole, 2, 2, 0, true},
      {"one byte changed", "O" + lines.substr(1), whole, 1, 1, 1, true},
      {"not text", std::string(5000, '\0') + "\n" + lines, whole, 2, 1, 0, true},
      {"a number that is none", lines + line("-1") + line("99999999999999999999"), whole, 2, 2, 0, true},
      {"the last number", lines + line("999999999"), whole, 3, 0, 0, false},
      {"fields of a later version", lines + line("40"), whole, 3, 0, 0, false},
      {"a record cut", lines, whole.substr(0, whole.size() / 2), 2, 0, 0, false},
      {"a record without its end", lines, whole.substr(0, whole.rfind("end\t")), 2, 0, 0, false},
      {"a record of a later kind", lines, sealed_line::Seal("miracle\tpath=C:\\x") + whole, 2, 0, 0, false},
      {"an empty record", lines, "", 2, 0, 0, false}};
  m_manager.reset();
  ASSERT_EQ(RunProcess({"/bin/cp", "-a", m_pc.GetRoot() / ".", m_saved}).exit, 0);
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    putBack();
    m_pc.Write(log, one.log);
    m_pc.Write(record, one.record);
    const History history = manager().GetHistory();
    EXPECT_TRUE(history.isComplete);
    EXPECT_EQ(history.entries.size(), one.told);
    EXPECT_EQ(history.unreadable, one.unreadable);
    EXPECT_EQ(history.lost, one.lost);
    const MachineSnapshot before = m_pc.Snapshot();
    const long last = history.entries.empty() ? 0 : history.entries.back().number;
    EXPECT_EQ(manager().UndoOperation(0) == 0, one.undone) << lastReason();
    EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot(), isHistoryAlone) != "", one.undone);
    ASSERT_NE(tryInstall(pack(package("Next").file("next.htm", kToCommands))), nullptr) << lastReason();
    const History after = manager().GetHistory();
    const bool isFull = last == 999999999;
    EXPECT_EQ(report().problems.size(), isFull ? 1u : 0u) << lastReason();
    EXPECT_EQ(after.entries.back().extension, isFull ? "" : "Next");
    EXPECT_TRUE(isFull || after.entries.back().number > std::max(last, 2L));
    EXPECT_EQ(uninstall(find("Next")), 0) << lastReason();
  }
}

TEST_F(HistoryTest, TheTrashEndsByAgeAndSize) {
  installed(package("Big").file("big.htm", kToCommands, std::string(3u << 20, 'x')));
  ASSERT_EQ(uninstall(find("Big")), 0);
  installed(package("Small").file("small.htm", kToCommands));
  ASSERT_EQ(manager().GetTrash().size(), 3u);
  // older than the machine's settings allow
  const std::filesystem::path trash = m_pc.HostPath(std::string(kState) + "trash");
  std::filesystem::rename(trash / manager().GetTrash()[0].folder.substr(manager().GetTrash()[0].folder.rfind('\\') + 1),
                          trash / "1-1700000000-0");
  std::vector<TrashEntry> dropped;
  EXPECT_EQ(manager().EmptyTrash({1000000, 4}, dropped), 0);
  EXPECT_EQ(dropped.size(), 0u);
  ASSERT_EQ(uninstall(find("Small")), 0);
  EXPECT_EQ(report().trashDropped, 1u) << "30 days are over";
  EXPECT_EQ(manager().GetTrash().front().number, 2);
  m_pc.Write(std::string(kState) + "settings.txt", "trash-days = 5\r\ntrash-megabytes = 2\r\nelse = x\r\n");
  installed(package("Next").file("next.htm", kToCommands));
  EXPECT_GE(report().trashDroppedBytes, 3u << 20);
  EXPECT_EQ(manager().GetTrash().front().number, 3) << "the oldest goes first";
  EXPECT_EQ(manager().GetHistory().entries.size(), 5u);
  EXPECT_EQ(manager().UndoOperation(2), -1);
  EXPECT_EQ(report().failure, Failure::kNotFound);
  EXPECT_EQ(manager().EmptyTrash({0, 0}, dropped), 0);
  EXPECT_TRUE(manager().GetTrash().empty());
}

} // namespace
} // namespace kest::test
