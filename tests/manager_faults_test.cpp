#include "description/extension.h"
#include "platform/os.h"
#include "support/config_on_machine.h"
#include "support/failing_machine.h"
#include "support/kest_fixture.h"

#include <cstdio>

namespace kest::test {
namespace {

const std::string kConfiguration = std::string("C:\\Program Files\\Kestrel\\Tidemark 6\\") + "Configuration\\";

/// What happens at the n-th machine call: it fails, it and all after it fail, or the host asks the operation to end.
enum class Fault { kOnce, kForGood, kCancel };

/// Runs an operation with a fault at its n-th machine call, n = 1, 2, ... until that call is never reached.
class FaultsTest : public KestFixture {
protected:
  static ExtensionBuilder tool(const char* version) {
    return package("Tool")
        .version(version)
        .file("tool.htm", "$tidemark/Configuration/Commands", std::string("tool ") + version)
        .file("new/deep.js", "$tidemark/Configuration/Shared/new/deep", "code")
        .file("Over.htm", "$tidemark/Configuration/Commands", "over", "shared=\"true\"")
        .file("fancy.ttf", "$fonts", "glyphs")
        .file("part.dll", "$system", "new")
        .changes("<extensions-changes><extension-insert extension=\"SHTML\" description=\"HTML Documents\" />"
                 "</extensions-changes>\n");
  }

  /// What an operation that failed must leave: the machine and the catalogue as they were.
  void expectAsBefore(const MachineSnapshot& before, const std::vector<std::string>& records) {
    EXPECT_EQ(difference(before, m_pc.Snapshot()), "");
    EXPECT_EQ(catalogue(), records);
    EXPECT_TRUE(isTempEmpty());
  }

  /// `prepare` makes the state to start from, once: a run that failed has to give it back, and after one that did not
  /// it is copied back. `run` is true when it succeeded.
  void loop(Fault fault, const std::function<void()>& prepare, const std::function<bool()>& run) {
    const bool persistent = fault == Fault::kForGood;
    scriptHost();
    prepare();
    savePrepared();
    for (int n = 1; n < 5000; ++n) {
      FailingMachine failing(m_pc.Get());
      CKestOS::SetMachine(&failing);
      scriptHost();
      start();
      const MachineSnapshot before = m_pc.Snapshot();
      const std::vector<std::string> records = catalogue();
      if (fault == Fault::kCancel) {
        failing.instead([this] { manager().RequestCancel(); });
      }
      failing.arm(n, persistent);
      bool done = run();
      failing.disarm();
      SCOPED_TRACE("call " + std::to_string(n) + (persistent ? " and all after it: " : ": ") + failing.name());
      if (fault == Fault::kCancel && !done && report().parts.empty()) {
        EXPECT_EQ(report().failure, OperationReport::Failure::kDeclined);
      }
      if (!done && persistent) {
        // undo and clean-up need a machine that works: what could not be done then is done at the next start
        m_manager.reset();
        CKestOS::SetMachine(&m_pc.Get());
        start();
        // the machine died between the mark "done" and the word that it is on the disk: then the next start finds the
        // operation finished, and it has to be finished altogether
        done = hasFinishedAtStart();
      }
      if (!done) {
        expectAsBefore(before, records);
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

  [[nodiscard]] bool hasFinishedAtStart() const {
    const auto& entries = manager().GetRecoveryReport().entries;
    return entries.size() == 1 && entries[0].finished && entries[0].leftovers.empty();
  }

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
    for (const auto& entry : std::filesystem::directory_iterator(m_pc.GetRoot())) {
      std::filesystem::remove_all(entry);
    }
    copyMachine(m_prepared, m_pc.GetRoot());
    m_pc.Reopen();
  }

  /// With dates, which the engine goes by.
  static void copyMachine(const std::filesystem::path& from, const std::filesystem::path& to) {
    namespace fs = std::filesystem;
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
      if (entry.is_regular_file() && !entry.is_symlink()) {
        fs::last_write_time(to / fs::relative(entry.path(), from), entry.last_write_time());
      }
    }
  }

  std::filesystem::path m_prepared;
  CString m_kep;
};

class Faults : public FaultsTest, public ::testing::WithParamInterface<Fault> {};

TEST_P(Faults, Install) {
  loop(
      GetParam(),
      [this] {
        m_pc.Write(kConfiguration + "Commands\\over.htm", "the user's own");
        m_pc.SetReadOnly(kConfiguration + "Commands\\over.htm", true);
        m_kep = pack(tool("1.0"));
      },
      [this] { return tryInstall(m_kep) != nullptr; });
}

TEST_P(Faults, InstallOverAnOlderOneAndADisabledNamesake) {
  loop(
      GetParam(),
      [this] {
        installed(tool("1.0").descriptionNamed("elsewhere.kei"));
        m_kep = pack(tool("2.0"));
      },
      [this] { return tryInstall(m_kep) != nullptr; });
}

TEST_P(Faults, InstallThatDisablesAnother) {
  loop(
      GetParam(),
      [this] {
        installed(package("Other").descriptionNamed("tool.kei").file("other.htm", "$tidemark/Configuration/Other"));
        m_kep = pack(tool("1.0"));
      },
      [this] { return tryInstall(m_kep) != nullptr; });
}

TEST_P(Faults, InstallThatEditsTenConfigurationFiles) {
  loop(
      GetParam(),
      [this] {
        PutConfigFiles(m_pc, kNova);
        m_pc.SetReadOnly(kConfiguration + "Extensions.txt", true);
        m_kep = pack(package("Ten").changes(kChangesOfTenFiles));
      },
      [this] { return tryInstall(m_kep) != nullptr; });
}

TEST_P(Faults, Uninstall) {
  loop(
      GetParam(), [this] { installed(tool("1.0")); }, [this] { return uninstall(find("Tool")) == 0; });
}

TEST_P(Faults, Disable) {
  loop(
      GetParam(), [this] { installed(package("Plain").file("p.htm", "$tidemark/Configuration/Plain")); },
      [this] { return manager().DisableExtension(nova(), find("Plain"), false) == 0; });
}

TEST_P(Faults, Enable) {
  loop(
      GetParam(),
      [this] {
        CKestExtension* record = installed(package("Plain").file("p.htm", "$tidemark/Configuration/Plain"));
        EXPECT_EQ(manager().DisableExtension(nova(), record, false), 0);
      },
      [this] { return manager().EnableExtension(nova(), find("Plain")) == 0; });
}

TEST_P(Faults, Pack) {
  loop(
      GetParam(), [this] { m_kep = lay(package("Plain").file("p.htm", "$tidemark")); },
      [this] { return manager().CreatePackage(m_kep.c_str(), "C:\\Work\\p.kep", nullptr, false, false, false) == 0; });
}

TEST_P(Faults, Import) {
  loop(
      GetParam(), [this] { installed(package("Plain").file("p.htm", "$tidemark/Configuration/Plain"), four()); },
      [this] {
        CKestTypedList<CKestExtension*> records;
        manager().GetExtensions(four(), records);
        (void)manager().Import(four(), nova(), records);
        return report().parts.size() == 1 && report().parts[0].Succeeded();
      });
}

INSTANTIATE_TEST_SUITE_P(Machine, Faults, ::testing::Values(Fault::kOnce, Fault::kForGood, Fault::kCancel),
                         [](const auto& row) {
                           return row.param == Fault::kOnce      ? "Once"
                                  : row.param == Fault::kForGood ? "ForGood"
                                                                 : "Cancelled";
                         });

} // namespace
} // namespace kest::test
