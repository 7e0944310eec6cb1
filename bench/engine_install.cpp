// engine_install MACHINE PACKAGE durable|plain: installs a package with the journal on the disk, or in memory alone.
#include "journal/journal.h"
#include "manager/extension_manager.h"
#include "platform/machine/os.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/text/path.h"

#include <cstdio>
#include <memory>
#include <string>

namespace {

/// Says yes to everything.
class YesHost : public kest::CKestExtensionManagerUI {
public:
  int ShowMessage(const char*, int) override { return kest::kYes; }
  bool ConfirmAgreement(const char*, const char*) override { return true; }
  bool ChooseFolder(const kest::CString&, const kest::CString&, int, kest::CString&) override { return false; }
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char*, const char*, int) override {}
  void SetProgressRange(int) override {}
  void SetProgressPosition(int) override {}
  void EndProgress() override {}
};

bool Install(const std::string& path) {
  YesHost host;
  kest::CKestExtensionManager manager(&host);
  manager.Init();
  manager.Load();
  const kest::CKestProduct* product = nullptr;
  kest::CKestExtension* replaced = nullptr;
  int restart = 0;
  return manager.InstallExtension(&product, path.c_str(), &replaced, true, true, true, restart, false, false, false) !=
         nullptr;
}

} // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 3 ? argv[3] : "";
  if (mode != "durable" && mode != "plain") {
    return 2;
  }
  kest::MachineFolder machine(argv[1]);
  if (!machine.IsUsable()) {
    return 1;
  }
  const std::string package = argv[2];
  const std::size_t slash = package.rfind('/');
  const kest::CString folder = machine.AddHostFolder(package.substr(0, slash), false);
  kest::CKestOS::SetMachine(&machine);
  kest::CKestInstallJournal::SetDurable(mode == "durable");
  const bool done = Install(kest::JoinPath({folder, package.substr(slash + 1)}));
  kest::CKestOS::SetMachine(nullptr);
  return done ? 0 : 1;
}
