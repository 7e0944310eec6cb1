// engine_menu MACHINE WINDOWS_PATH COUNT: loads a menu file of the machine, makes COUNT insertions, each after an item
// found by its id, through the engine's own change, and saves the file.
#include "menus/menu_changes.h"
#include "menus/menu_sets.h"
#include "platform/machine/os.h"
#include "platform/machine_folder/machine_folder.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

int main(int argc, char** argv) {
  if (argc < 4) {
    return 2;
  }
  kest::MachineFolder machine(argv[1]);
  kest::CKestOS::SetMachine(&machine);
  const kest::CKestMasterConfigChanges set;
  kest::CKestMenusXmlFile file;
  int status = file.Load(argv[2], nullptr);
  const int count = std::atoi(argv[3]);
  for (int i = 0; status == 0 && i < count; ++i) {
    kest::CKestMenuChangeInsert insert;
    insert.SetInsertAfter("Bench_Item_" + std::to_string(i * 7 % 1000));
    auto item = std::make_unique<kest::CKestExtensionMenuItem>();
    item->SetName("New " + std::to_string(i));
    item->SetID("Bench_New_" + std::to_string(i));
    insert.AppendChild(std::move(item));
    status = insert.MakeChange(&set, &file, nullptr);
  }
  if (status == 0) {
    status = file.Save(argv[2]);
  }
  kest::CKestOS::SetMachine(nullptr);
  if (status != 0) {
    std::fprintf(stderr, "engine_menu: result %d\n", status);
  }
  return status == 0 ? 0 : 1;
}
