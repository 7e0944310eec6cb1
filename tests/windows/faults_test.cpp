#include "description/extension.h"
#include "manager/extension_manager.h"
#include "manager/install_options.h"
#include "manager/operation_report.h"
#include "platform/messages/extension_manager_ui.h"
#include "platform/windows/windows_text.h"
#include "products/product.h"
#include "support/failing_machine.h"
#include "support/machine_test.h"

#include <cstdio>
#include <cstdlib>

// Calls of the PC's machine that fail once, on a prefix with products in it; KEST_PACKAGES is a folder with Umlauts 1.0
// and 2.0. KEST_FAULT_EVERY: every how manieth call; 1 tries all.

namespace kest::test {
namespace {

class Host : public CKestExtensionManagerUI {
public:
  int ShowMessage(const char*, int style) override {
    return style == kRetryCancel ? kCancel : style == kNotice ? kOk : kYes;
  }
  bool ConfirmAgreement(const char*, const char*) override { return true; }
  bool ChooseFolder(const CString&, const CString& initialFolder, int, CString& folder) override {
    folder = initialFolder;
    return !folder.empty();
  }
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char*, const char*, int) override {}
  void SetProgressRange(int) override {}
  void SetProgressPosition(int) override {}
  void EndProgress() override {}
};

/// An engine on a machine, and the extension that all is about.
class Engine {
public:
  explicit Engine(Machine& machine) : m_manager((CKestOS::SetMachine(&machine), &m_host)) {
    m_manager.Init();
    m_manager.Load();
    const std::unique_ptr<CKestTypedIterator<CKestProduct*>> products(m_manager.CreateProductIterator());
    while (products->HasNext()) {
      const CKestProduct* const product = products->Next();
      CKestTypedList<CKestExtension*> extensions;
      m_manager.GetExtensions(product, extensions);
      for (CKestExtension* extension : extensions) {
        if (extension->GetName() == "Umlauts") {
          m_product = product;
          m_extension = extension;
        }
      }
    }
  }
  bool Install(const CString& package) {
    InstallOptions options;
    options.quiet = true;
    options.showProgress = false;
    return static_cast<bool>(m_manager.Install(package, options));
  }
  bool Uninstall() {
    int restart = 0;
    const bool isDone = m_extension != nullptr && m_manager.UninstallExtension(m_product, m_extension, false, true,
                                                                               true, true, true, restart, false) == 0;
    const std::unique_ptr<CKestExtension> gone(isDone ? m_extension : nullptr); // ours then
    return isDone;
  }
  bool Disable() { return m_extension != nullptr && m_manager.DisableExtension(m_product, m_extension, false) == 0; }
  bool Enable() { return m_extension != nullptr && m_manager.EnableExtension(m_product, m_extension) == 0; }

  [[nodiscard]] const OperationReport& GetReport() const { return m_manager.GetLastReport(); }

private:
  Host m_host;
  CKestExtensionManager m_manager;
  const CKestProduct* m_product = nullptr;
  CKestExtension* m_extension = nullptr;
};

using Act = std::function<bool(Engine&)>;
using Facts = std::map<std::string, std::string>;

struct Operation {
  const char* name;
  std::vector<Act> before;
  Act run;
};

class WindowsFaults : public TempMachineTest {
protected:
  /// What lies in the products' folders and in the temporary one. What an operation wrote itself is of now; a package
  /// holds the time of its making.
  [[nodiscard]] Facts Look() {
    Facts facts;
    std::vector<CString> folders(4);
    EXPECT_TRUE(m_pc.Get().GetTempRoot(folders[0]) && m_pc.Get().GetSharedAppDataPath(folders[1]) &&
                m_pc.Get().GetCurrentUserAppDataPath(folders[2]));
    folders[1] += R"(\Kestrel)";
    folders[2] += R"(\Kestrel)";
    folders[3] = R"(C:\Program Files\Kestrel)";
    for (const CString& folder : folders) {
      facts.merge(FactsOf(m_pc.Get(), folder, m_begun));
    }
    for (auto& [path, fact] : facts) {
      fact = path.ends_with(".kep") ? "package" : fact;
    }
    return facts;
  }

  void SetUp() override {
    if (std::getenv("KEST_PACKAGES") == nullptr) {
      GTEST_SKIP() << "KEST_PACKAGES names no folder with packages";
    }
    const CString packages = std::getenv("KEST_PACKAGES");
    const auto uninstall = [](Engine& engine) { return engine.Uninstall(); };
    const auto disable = [](Engine& engine) { return engine.Disable(); };
    const auto install = [=](Engine& engine) { return engine.Install(packages + R"(\umlauts-1.0.kep)"); };
    m_operations = {
        {"install", {}, install},
        {"replace", {install}, [=](Engine& engine) { return engine.Install(packages + R"(\umlauts-2.0.kep)"); }},
        {"uninstall", {install}, uninstall},
        {"disable", {install}, disable},
        {"enable", {install, disable}, [](Engine& engine) { return engine.Enable(); }}};
  }
  void TearDown() override { (void)Engine(m_pc.Get()).Uninstall(); }
  void Prepare(const Operation& operation) {
    (void)Engine(m_pc.Get()).Uninstall(); // there or not
    for (const Act& act : operation.before) {
      Engine engine(m_pc.Get());
      ASSERT_TRUE(act(engine)) << operation.name;
    }
  }
  /// What it makes of what Prepare left, which is left again.
  void Try(const Operation& operation, Facts& before, Facts& after) {
    Prepare(operation);
    before = Look();
    {
      Engine engine(m_pc.Get());
      ASSERT_TRUE(operation.run(engine)) << operation.name;
    }
    after = Look();
    ASSERT_NE(before, after) << operation.name;
    Prepare(operation);
    ASSERT_EQ(Look(), before) << operation.name;
  }

  std::vector<Operation> m_operations;
  const std::int64_t m_begun = WindowsMachine().Now().GetSeconds();
};

TEST_F(WindowsFaults, EveryCallThatFailsOnceLeavesTheMachineAsBeforeOrDone) {
  const char* const wanted = std::getenv("KEST_FAULT_EVERY");
  const int every = std::max(wanted == nullptr ? 41 : std::atoi(wanted), 1);
  int total = 0;
  int failed = 0;
  for (const Operation& operation : m_operations) {
    Facts before;
    Facts after;
    ASSERT_NO_FATAL_FAILURE(Try(operation, before, after));
    for (int n = 1;; n += every) {
      FailingMachine failing(m_pc.Get());
      bool done = false;
      {
        Engine engine(failing);
        failing.arm(n, false);
        done = operation.run(engine);
      }
      CKestOS::SetMachine(&m_pc.Get());
      if (!failing.fired()) {
        break;
      }
      SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(n) + ": " + failing.name());
      ++total;
      failed += done ? 0 : 1;
      const Facts now = Look();
      ASSERT_EQ(now, done ? after : before) << (done ? "told as done" : "told as failed");
      if (done) {
        ASSERT_NO_FATAL_FAILURE(Prepare(operation));
      }
    }
  }
  EXPECT_GT(failed, 0);
  std::printf("%d calls failed once, and %d operations with them: 0 mixed, 0 false successes\n", total, failed);
}

TEST_F(WindowsFaults, WhoHoldsAFileThatChangesTurnsTheOperationAway) {
  int tried = 0;
  int refused = 0;
  for (const Operation& operation : m_operations) {
    Facts before;
    Facts after;
    ASSERT_NO_FATAL_FAILURE(Try(operation, before, after));
    for (const auto& [path, fact] : before) {
      const auto then = after.find(path);
      if (!fact.starts_with("file") || (then != after.end() && then->second == fact)) {
        continue;
      }
      for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE}}) {
        SCOPED_TRACE(std::string(operation.name) + ", " + path + " held with sharing " + std::to_string(share));
        Engine engine(m_pc.Get());
        const WindowsHandle held(
            CreateFileW(ToWide(path).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(held.IsOpen());
        const bool done = operation.run(engine);
        EXPECT_FALSE(done);
        EXPECT_EQ(engine.GetReport().failure, OperationReport::Failure::kInUse);
        EXPECT_TRUE(engine.GetReport().leftovers.empty());
        ++tried;
        refused += done ? 0 : 1;
        if (share != 0) {
          EXPECT_EQ(Look(), before);
        }
      }
      EXPECT_EQ(Look(), before);
    }
  }
  EXPECT_GT(tried, 0);
  std::printf("%d times somebody held a file, %d operations refused, nothing changed\n", tried, refused);
}

} // namespace
} // namespace kest::test
