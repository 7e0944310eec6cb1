// The smallest host that is of use: lists the installed extensions of a machine folder, or installs a package first.
// With --preview it tells what the install would do, and does nothing.
// Usage: list_and_install MACHINE [PACKAGE [--preview]]
#include "kest/kest.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <string_view>

namespace {

/// Shows every text, says yes to every question, and takes the folders that the engine proposes.
class Host : public kest::CKestExtensionManagerUI {
public:
  int ShowMessage(const char* text, int style) override {
    std::cout << text << '\n';
    return style == kest::kRetryCancel ? kest::kCancel : style == kest::kNotice ? kest::kOk : kest::kYes;
  }
  bool ConfirmAgreement(const char* prompt, const char* agreement) override {
    std::cout << prompt << '\n' << agreement << '\n';
    return true;
  }
  bool ChooseFolder(const kest::CString&, const kest::CString& initialFolder, int, kest::CString& folder) override {
    folder = initialFolder;
    return !folder.empty();
  }
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char* caption, const char*, int) override { std::cout << caption << '\n'; }
  void SetProgressRange(int) override {}
  void SetProgressPosition(int) override {}
  void EndProgress() override {}
};

bool Install(kest::CKestExtensionManager& manager, kest::MachineFolder& machine, const std::filesystem::path& file) {
  kest::CKestPath path(machine.AddHostFolder(std::filesystem::absolute(file).parent_path().string(), false));
  path.Append(kest::text::FromUtf8(file.filename().string()));
  return static_cast<bool>(manager.Install(path)); // the engine chooses the product
}

void List(const kest::CKestExtensionManager& manager) {
  const std::unique_ptr<kest::CKestTypedIterator<kest::CKestProduct*>> products(manager.CreateProductIterator());
  while (products->HasNext()) {
    const kest::CKestProduct* product = products->Next();
    kest::CKestTypedList<kest::CKestExtension*> extensions;
    manager.GetExtensions(product, extensions);
    for (const kest::CKestExtension* extension : extensions) {
      std::cout << kest::text::ToUtf8(product->GetName() + ": " + extension->GetName())
                << (extension->IsEnabled() ? "" : " (disabled)") << '\n';
    }
  }
}

/// The same install on an overlay of the machine, which forgets it.
bool Preview(kest::MachineFolder& machine, const char* package) {
  kest::OverlayMachine overlay(machine);
  kest::CKestOS::SetMachine(&overlay);
  bool done = false;
  {
    Host host;
    kest::CKestExtensionManager manager(&host);
    manager.Init();
    manager.Load();
    done = Install(manager, machine, package);
    for (const kest::PreviewEntry& entry : kest::PreviewMaker(overlay).Make(manager.GetLastReport()).entries) {
      const bool isGone = entry.change == kest::PreviewEntry::Change::kRemoved;
      std::cout << (isGone ? "- " : "+ ")
                << kest::text::ToUtf8(entry.name + (entry.parent.empty() ? "" : " in ")) +
                       kest::text::ToUtf8(entry.parent)
                << '\n';
    }
  }
  kest::CKestOS::SetMachine(&machine);
  return done;
}

} // namespace

int main(int argc, char** argv) {
  const bool isPreview = argc == 4 && std::string_view(argv[3]) == "--preview";
  if (argc != 2 && argc != 3 && !isPreview) {
    std::cerr << "usage: list_and_install MACHINE [PACKAGE [--preview]]\n";
    return 2;
  }
  kest::MachineFolder machine(argv[1]);
  kest::CKestOS::SetMachine(&machine);
  bool done = machine.IsUsable();
  if (done && isPreview) {
    done = Preview(machine, argv[2]);
  } else if (done) {
    Host host;
    kest::CKestExtensionManager manager(&host);
    manager.Init();
    manager.Load();
    done = argc == 2 || Install(manager, machine, argv[2]);
    List(manager);
  }
  kest::CKestOS::SetMachine(nullptr);
  return done ? 0 : 1;
}
