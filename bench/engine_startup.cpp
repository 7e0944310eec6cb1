// engine_startup MACHINE: starts the manager on a machine folder and loads its catalogue; prints how many extensions.
#include "manager/extension_manager.h"
#include "platform/machine/os.h"
#include "platform/machine_folder/machine_folder.h"

#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
  if (argc < 2) {
    return 2;
  }
  kest::MachineFolder machine(argv[1]);
  if (!machine.IsUsable()) {
    return 1;
  }
  kest::CKestOS::SetMachine(&machine);
  std::size_t count = 0;
  {
    kest::CKestExtensionManager manager(nullptr);
    manager.Init();
    manager.Load();
    const std::unique_ptr<kest::CKestTypedIterator<kest::CKestProduct*>> products(manager.CreateProductIterator());
    while (products->HasNext()) {
      kest::CKestTypedList<kest::CKestExtension*> extensions;
      manager.GetExtensions(products->Next(), extensions);
      count += extensions.GetCount();
    }
  }
  kest::CKestOS::SetMachine(nullptr);
  std::printf("%zu\n", count);
  return count > 0 ? 0 : 1;
}
