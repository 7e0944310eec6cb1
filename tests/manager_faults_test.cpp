#include "description/extension.h"
#include "platform/machine/os.h"
#include "support/config_on_machine.h"
#include "support/failing_machine.h"
#include "support/fake_windows_machine.h"
#include "support/kest_fixture.h"
#include "support/process.h"

#include <cstdio>

namespace kest::test {
namespace {

/// What happens at the n-th machine call: it fails, it and all after it fail, or the host asks the operation to end.
/// Or it fails already among the calls of the start before.
enum class Fault { kOnce, kForGood, kCancel, kAtStart };

/// A state to start from, again and again, and packages to make it of.
class PreparedMachine : public KestFixture {
protected:
  static ExtensionBuilder tool(const char* version) {
    return package("Tool")
        .version(version)
        .file("tool.htm", kToCommands, std::string("tool ") + version)
        .file("new/deep.js", "$tidemark/Configuration/Shared/new/deep", "code")
        .file("Over.htm", kToCommands, "over", "shared=\"true\"")
        .file("fancy.ttf", "$fonts", "glyphs")
        .file("part.dll", "$system", "new")
        .changesTheList();
  }
  static ExtensionBuilder plain() { return package("Plain").file("p.htm", "$tidemark/Configuration/Plain"); }
  void scriptHost() {
    m_host.clear();
    m_host.otherwise(kYes).always(Message::kFileInUse, kCancel).always(Message::kFileInUseBy, kCancel);
  }

  void savePrepared() {
    m_manager.reset();
    m_prepared = m_pc.GetRoot().parent_path() / "prepared";
    copyMachine(m_pc.GetRoot(), m_prepared);
  }

  void putPreparedBack() {
    m_manager.reset();
    for (const auto& entry : std::filesystem::directory_iterator(m_pc.GetRoot())) {
      std::filesystem::remove_all(entry);
    }
    copyMachine(m_prepared, m_pc.GetRoot());
    m_pc.Reopen();
  }

  /// All but what tells of the operation's moment.
  [[nodiscard]] MachineSnapshot contents() {
    MachineSnapshot all = m_pc.Snapshot();
    std::erase_if(all.entries, [](const auto& entry) {
      return IsOfThePast(entry.first) || entry.first.find("/rpl") != std::string::npos || entry.first == "user.reg";
    });
    for (auto& [name, entry] : all.entries) {
      entry.date = 0;
    }
    return all;
  }

  /// With dates, which the engine goes by.
  static void copyMachine(const std::filesystem::path& from, const std::filesystem::path& to) {
    ASSERT_EQ(RunProcess({"/bin/cp", "-a", from / ".", to}).exit, 0);
  }

  std::filesystem::path m_prepared;
  CString m_kep;
};

/// A fault, and whether the machine refuses what a PC refuses.
using FaultOnMachine = std::pair<Fault, bool>;

/// Runs an operation with a fault at its n-th machine call, n = 1, 2, ... until that call is never reached.
class Faults : public PreparedMachine, public ::testing::WithParamInterface<FaultOnMachine> {
protected:
  /// `prepare` makes the state to start from, once: a run that failed has to give it back, and after one that did not
  /// it is copied back. `run` is true when it succeeded.
  void loop(const std::function<void()>& prepare, const std::function<bool()>& run) {
    const auto [fault, isWindows] = GetParam();
    const bool persistent = fault == Fault::kForGood;
    scriptHost();
    prepare();
    savePrepared();
    scriptHost();
    start();
    EXPECT_TRUE(run());
    const MachineSnapshot wanted = contents();
    m_manager.reset();
    putPreparedBack();
    for (int n = 1; n < 5000; ++n) {
      FakeWindowsMachine windows(m_pc.Get());
      Machine& below = isWindows ? static_cast<Machine&>(windows) : m_pc.Get();
      FailingMachine failing(below);
      CKestOS::SetMachine(&failing);
      scriptHost();
      failing.arm(fault == Fault::kAtStart ? n : 0, false);
      start();
      if (fault == Fault::kAtStart && n > 1 && !failing.fired()) {
        return;
      }
      const MachineSnapshot before = m_pc.Snapshot();
      const std::vector<std::string> records = catalogue();
      if (fault == Fault::kCancel) {
        failing.instead([this] { manager().RequestCancel(); });
      }
      if (fault != Fault::kAtStart) {
        failing.arm(n, persistent);
      }
      bool done = run();
      failing.disarm();
      SCOPED_TRACE("call " + std::to_string(n) + (persistent ? " and all after it: " : ": ") + failing.name());
      if (fault == Fault::kCancel && !done && report().parts.empty()) {
        EXPECT_EQ(report().failure, Failure::kDeclined);
      }
      if (persistent) {
        // undo and clean-up need a machine that works: what could not be done then is done at the next start
        m_manager.reset();
        CKestOS::SetMachine(&below);
        start();
        // the machine died between the mark "done" and the word that it is on the disk: then the next start finds the
        // operation finished, and it has to be finished altogether
        const auto& entries = manager().GetRecoveryReport().entries;
        done = done || (entries.size() == 1 && entries[0].finished && entries[0].leftovers.empty());
      }
      if (!done) {
        expectUntouched(before);
        EXPECT_EQ(catalogue(), records);
      } else {
        EXPECT_EQ(DescribeDifference(wanted, contents()), "") << "told as done, and is not";
      }
      m_manager.reset();
      CKestOS::SetMachine(&m_pc.Get());
      if (!failing.fired()) {
        EXPECT_TRUE(done);
        std::printf("%d calls\n", n - 1);
        return;
      }
      if (HasFailure()) {
        return; // the first one tells enough
      }
      if (done) {
        putPreparedBack();
      }
    }
    ADD_FAILURE() << "the loop did not end";
  }
  /// Installs the package that `prepare` left in m_kep.
  void loopInstall(const std::function<void()>& prepare) {
    loop(prepare, [this] { return tryInstall(m_kep) != nullptr; });
  }
};

TEST_P(Faults, Install) {
  loopInstall([this] {
    m_pc.Write(kCommands + "over.htm", "the user's own");
    m_pc.SetReadOnly(kCommands + "over.htm", true);
    m_kep = pack(tool("1.0"));
  });
}

TEST_P(Faults, InstallOverAnOlderOne) {
  loopInstall([this] {
    installed(tool("1.0").descriptionNamed("elsewhere.kei"));
    m_kep = pack(tool("2.0"));
  });
}

TEST_P(Faults, InstallThatDisablesAnother) {
  loopInstall([this] {
    installed(package("Other").descriptionNamed("tool.kei").file("other.htm", "$tidemark/Configuration/Other"));
    m_kep = pack(tool("1.0"));
  });
}

TEST_P(Faults, InstallThatEditsTenConfigurationFiles) {
  loopInstall([this] {
    PutConfigFiles(m_pc, kNova);
    m_pc.SetReadOnly(kConfiguration + "Extensions.txt", true);
    m_kep = pack(package("Ten").changes(kChangesOfTenFiles));
  });
}

TEST_P(Faults, Uninstall) {
  loop([this] { installed(tool("1.0")); }, [this] { return uninstall(find("Tool")) == 0; });
}

TEST_P(Faults, Disable) {
  loop([this] { installed(plain()); }, [this] { return disable(find("Plain")) == 0; });
}

TEST_P(Faults, Enable) {
  loop([this] { EXPECT_EQ(disable(installed(plain())), 0); }, [this] { return enable(find("Plain")) == 0; });
}

TEST_P(Faults, Undo) {
  const auto prepare = [this] {
    installed(plain().changesTheList());
    installed(plain().version("2.0").descriptionNamed("plain2.kei").file("new.htm", "$tidemark/Configuration/Plain"));
  };
  loop(prepare, [this] { return manager().UndoOperation(0) == 0; });
}

TEST_P(Faults, Pack) {
  loop([this] { m_kep = lay(plain()); },
       [this] { return manager().CreatePackage(m_kep.c_str(), "C:\\p.kep", nullptr, false, false, false) == 0; });
}

TEST_P(Faults, Import) {
  const auto import = [this] {
    CKestTypedList<CKestExtension*> all;
    manager().GetExtensions(four(), all);
    (void)manager().Import(four(), nova(), all);
    return report().parts.size() == 1 && report().parts[0].Succeeded();
  };
  loop([this] { installed(plain(), four()); }, import);
}

const auto kNameOfFault = [](const auto& row) {
  return row.param.first == Fault::kOnce      ? "Once"
         : row.param.first == Fault::kForGood ? "ForGood"
         : row.param.first == Fault::kCancel  ? "Cancelled"
                                              : "AtStart";
};
INSTANTIATE_TEST_SUITE_P(Machine, Faults,
                         ::testing::Values(FaultOnMachine{Fault::kOnce, false}, FaultOnMachine{Fault::kForGood, false},
                                           FaultOnMachine{Fault::kCancel, false},
                                           FaultOnMachine{Fault::kAtStart, false}),
                         kNameOfFault);
INSTANTIATE_TEST_SUITE_P(Windows, Faults,
                         ::testing::Values(FaultOnMachine{Fault::kOnce, true}, FaultOnMachine{Fault::kForGood, true}),
                         kNameOfFault);

/// Another program has something of what an operation changes open. The operation is over before anything is changed,
/// or the program does not hinder it.
class Holders : public PreparedMachine {
protected:
  /// Windows paths of files and folders that are there before and change or go.
  [[nodiscard]] static std::vector<CString> touched(const MachineSnapshot& before, const MachineSnapshot& after) {
    std::vector<CString> paths;
    for (const auto& [path, entry] : before.entries) {
      const auto now = after.entries.find(path);
      const bool isSame = now != after.entries.end() && now->second == entry;
      if (!isSame && path.starts_with("drive_c/") && !IsOfThePast(path)) {
        paths.push_back("C:" + path.substr(sizeof("drive_c") - 1));
        std::replace(paths.back().begin(), paths.back().end(), '/', '\\');
      }
    }
    return paths;
  }

  void tryAll(const std::function<void()>& prepare, const std::function<bool()>& run) {
    scriptHost();
    prepare();
    savePrepared();
    const MachineSnapshot before = m_pc.Snapshot();
    start();
    ASSERT_TRUE(run());
    m_manager.reset();
    const MachineSnapshot after = contents();
    const std::vector<CString> held = touched(before, m_pc.Snapshot());
    ASSERT_FALSE(held.empty());
    int refused = 0;
    for (const CString& path : held) {
      for (const Sharing sharing : {Sharing::kNothing, Sharing::kReadAndWrite, Sharing::kAll}) {
        SCOPED_TRACE(path + " held, sharing " + std::to_string(static_cast<int>(sharing)));
        putPreparedBack();
        refused += runWhileHeld(path, sharing, before, after, run) ? 0 : 1;
        if (HasFailure()) {
          return;
        }
      }
    }
    std::printf("%zu files and folders held in three ways, refused %d times\n", held.size(), refused);
    EXPECT_GT(refused, 0);
  }

  bool runWhileHeld(const CString& path, Sharing sharing, const MachineSnapshot& before, const MachineSnapshot& after,
                    const std::function<bool()>& run) {
    FakeWindowsMachine windows(m_pc.Get());
    CKestOS::SetMachine(&windows);
    scriptHost();
    start();
    windows.Hold(path, sharing);
    const bool done = run();
    if (!done) {
      EXPECT_TRUE(report().failure == Failure::kInUse || report().failure == Failure::kNoPermission)
          << static_cast<int>(report().failure);
      for (const OperationReport::Leftover& left : report().leftovers) {
        EXPECT_EQ(left.why, "backup copy") << "counted as left undone: " << left.path;
      }
      EXPECT_TRUE(report().rolledBack);
    }
    windows.LetGo();
    // what was out of reach of the clean-up goes with the next start, which has nothing to undo
    m_manager.reset();
    CKestOS::SetMachine(nullptr);
    CKestOS::SetMachine(&m_pc.Get());
    start();
    EXPECT_TRUE(manager().GetRecoveryReport().entries.empty());
    EXPECT_TRUE(isTempEmpty());
    EXPECT_EQ(done ? DescribeDifference(after, contents()) : difference(before, m_pc.Snapshot()), "");
    return done;
  }
};

TEST_F(Holders, OfFilesThatAnInstallReplaces) {
  const auto prepare = [this] {
    m_pc.Write(kCommands + "over.htm", "the user's own");
    installed(tool("1.0"));
    m_kep = pack(tool("2.0"));
  };
  tryAll(prepare, [this] { return tryInstall(m_kep) != nullptr; });
}

TEST_F(Holders, OfFilesThatAnUninstallTakes) {
  tryAll([this] { installed(tool("1.0")); }, [this] { return uninstall(find("Tool")) == 0; });
}

TEST_F(Holders, OfFilesThatAreDisabled) {
  tryAll([this] { installed(plain().changesTheList()); }, [this] { return disable(find("Plain")) == 0; });
}

TEST_F(Holders, OfFilesThatAreEnabled) {
  tryAll([this] { EXPECT_EQ(disable(installed(plain().changesTheList())), 0); },
         [this] { return enable(find("Plain")) == 0; });
}

TEST_F(Holders, OfFilesThatAreTakenBack) {
  tryAll([this] { installed(plain().changesTheList()); }, [this] { return manager().UndoOperation(0) == 0; });
}

/// Lets somebody else act right before a folder is moved.
class MachineWithANeighbour : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  [[nodiscard]] bool MoveFolder(const CString& from, const CString& to) override {
    if (act) {
      std::exchange(act, nullptr)();
    }
    return ForwardingMachine::MoveFolder(from, to);
  }
  std::function<void()> act;
};

using NeighbourTest = KestFixture;

// A folder that is moved with all its files is no reason to take, to overwrite or to lose what somebody puts there
// meanwhile, or to give up.
TEST_F(NeighbourTest, AFolderThatSomebodyUsesMeanwhileStaysTheirs) {
  MachineWithANeighbour machine(m_pc.Get());
  CKestOS::SetMachine(&machine);
  start();
  const std::string folder = kConfiguration + "Shared\\pages\\";
  ExtensionBuilder pages("Pages");
  for (int i = 0; i < 12; ++i) {
    pages.file("pages/page" + std::to_string(i) + ".htm", "$tidemark/Configuration/Shared/pages", "a page");
  }
  const CString path = pack(pages);
  const auto countFiles = [&] {
    std::vector<FolderEntry> entries;
    return IsYes(m_pc.Get().ListFolder(folder, entries)) ? static_cast<int>(entries.size()) : -1;
  };
  const auto neighbour = [&] { m_pc.Write(folder + "theirs.htm", "theirs"); };

  machine.act = neighbour;
  CKestExtension* record = tryInstall(path);
  ASSERT_NE(record, nullptr);
  EXPECT_FALSE(machine.act);
  EXPECT_EQ(countFiles(), 13);
  EXPECT_EQ(uninstall(record), 0);
  EXPECT_EQ(countFiles(), 1);

  ASSERT_TRUE(m_pc.Get().RemoveTree(folder));
  record = tryInstall(path);
  ASSERT_NE(record, nullptr);
  machine.act = neighbour;
  EXPECT_EQ(uninstall(record), 0);
  EXPECT_FALSE(machine.act);
  EXPECT_EQ(countFiles(), 1);
  EXPECT_EQ(m_pc.Read(folder + "theirs.htm"), "theirs");
  m_manager.reset();
  CKestOS::SetMachine(&m_pc.Get());
}

} // namespace
} // namespace kest::test
