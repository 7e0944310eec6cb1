// Uses libkest as a host outside its tree does: derives from its interfaces, asks for dynamic types, walks its
// containers, loads a description, works on a machine folder. Usage: consumer MACHINE DESCRIPTION_ON_ITS_C_DRIVE
#include "description/extension.h"
#include "manager/extension_manager.h"
#include "platform/machine/forwarding_machine.h"
#include "platform/machine/os.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/messages/messages.h"
#include "products/product.h"

#include <cstdio>
#include <memory>
#include <typeinfo>

namespace {

class Host : public kest::CKestExtensionManagerUI {
public:
  int ShowMessage(const char*, int) override { return kest::kCancel; }
  bool ConfirmAgreement(const char*, const char*) override { return false; }
  bool ChooseFolder(const kest::CString&, const kest::CString&, int, kest::CString&) override { return false; }
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char*, const char*, int) override {}
  void SetProgressRange(int) override {}
  void SetProgressPosition(int) override {}
  void EndProgress() override {}
};

// A machine of the consumer's own: virtual calls go from the library into this program and back.
class CountingMachine : public kest::ForwardingMachine {
public:
  using kest::ForwardingMachine::ForwardingMachine;
  [[nodiscard]] kest::Answer ListFolder(const kest::CString& path, std::vector<kest::FolderEntry>& entries) override {
    ++listed;
    return ForwardingMachine::ListFolder(path, entries);
  }
  int listed = 0;
};

int Fail(const char* what) {
  std::printf("failed: %s\n", what);
  return 1;
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    return Fail("usage: consumer MACHINE DESCRIPTION");
  }
  kest::MachineFolder folder(argv[1]);
  if (!folder.IsUsable()) {
    return Fail("the machine folder is not usable");
  }
  CountingMachine machine(folder);
  kest::CKestOS::SetMachine(&machine);
  int status = 0;
  {
    Host host;
    kest::CKestExtensionManager manager(&host);
    manager.Init();
    manager.Load();
    const auto* operations = static_cast<const kest::CatalogueOperations*>(&manager);
    if (dynamic_cast<const kest::CKestExtensionManager*>(operations) == nullptr) {
      status = Fail("the manager's type is not known here");
    }
    std::unique_ptr<kest::CKestTypedIterator<kest::CKestProduct*>> products(manager.CreateProductIterator());
    int count = 0;
    while (products->HasNext()) {
      const kest::CKestProduct* product = products->Next();
      kest::CKestTypedList<kest::CKestExtension*> extensions;
      manager.GetExtensions(product, extensions);
      std::printf("%s: %zu, %s\n", product->GetName().c_str(), extensions.GetCount(), typeid(*product).name());
      ++count;
    }
    kest::CKestExtension extension;
    kest::CKestTypedList<kest::CKestString> errors;
    if (extension.Load(argv[2], &errors) != 0 || extension.GetName() != "Consumed" || errors.GetCount() != 1) {
      status = Fail("the description was not read as it stands");
    }
    const std::unique_ptr<kest::CKestXmlObject> copy = extension.Clone();
    if (dynamic_cast<kest::CKestExtension*>(copy.get()) == nullptr) {
      status = Fail("the record's type is not known here");
    }
    if (count == 0 || machine.listed == 0) {
      status = Fail("no product, or the machine of the consumer was not called");
    }
  }
  kest::CKestOS::SetMachine(nullptr);
  return status;
}
