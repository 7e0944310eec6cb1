// The index of descriptions: a start that need not read them, and what makes it read them all the same.

#include "description/description_index.h"
#include "platform/machine/forwarding_machine.h"
#include "platform/machine/os.h"
#include "support/config_on_machine.h"
#include "support/kest_fixture.h"

#include <chrono>
#include <thread>

namespace kest::test {
namespace {

namespace fs = std::filesystem;

/// Counts the descriptions that are opened.
class ReadingMachine : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  int opened = 0;

protected:
  bool Allow(const Call& call) override {
    opened += std::string_view(call.name) == "Open" && call.path->ends_with(".kei") ? 1 : 0;
    return true;
  }
};

class IndexTest : public KestFixture {
protected:
  static constexpr int kMany = static_cast<int>(DescriptionIndex::kWorthwhile) + 3;
  static inline const std::string kIndex = kDescriptions + "descriptions.index";

  static ExtensionBuilder one(int number) {
    ExtensionBuilder made = package("One " + std::to_string(number));
    made.version("1." + std::to_string(number))
        .author(number % 2 == 0 ? "Jane % Doe" : "")
        .file("own.htm", kToCommands, "own", "shared=\"true\"")
        .file("f" + std::to_string(number) + ".htm", kToCommands);
    if (number == 7 || number == 11) {
      made.file("pair.htm", kToCommands, "pair", "shared=\"true\"");
    }
    return made;
  }
  static std::string pathOf(int number) { return kDescriptions + one(number).descriptionName(); }
  /// Nobody can tell a change from the one before when both fall into one tick of the file system's clock.
  static void settle() { std::this_thread::sleep_for(std::chrono::milliseconds(150)); }

  /// Many descriptions, and an index of them: any operation that succeeds makes it.
  void SetUp() override {
    for (int i = 0; i < kMany; ++i) {
      m_pc.Write(pathOf(i), one(i).text());
    }
    m_pc.Write(kCommands + "own.htm", "own");
    m_pc.Write(kCommands + "pair.htm", "pair");
    m_pc.Write(kCommands + "f7.htm", "seven");
    m_pc.Write(kCommands + "f8.htm", "eight");
    settle();
    restart();
    ASSERT_EQ(uninstall(find("One 0")), 0);
    ASSERT_TRUE(m_pc.Exists(kIndex));
  }
  /// How many descriptions a start reads.
  int startAndCount() {
    m_manager.reset();
    m_pc.Reopen();
    ReadingMachine machine(m_pc.Get());
    CKestOS::SetMachine(&machine);
    start();
    const int opened = machine.opened;
    const std::vector<std::string> known = catalogue();
    m_manager.reset();
    CKestOS::SetMachine(&m_pc.Get());
    start();
    EXPECT_EQ(catalogue(), known);
    return opened;
  }
};

TEST_F(IndexTest, SavesAStartTheReadingAndTellsTheSame) {
  const std::vector<std::string> indexed = (restart(), catalogue());
  EXPECT_EQ(startAndCount(), 0);
  const CKestExtension* record = find("One 8");
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->GetFileCount(), 2);
  EXPECT_EQ(record->GetAuthorName(), "Jane % Doe");
  EXPECT_EQ(record->GetTypeLabel(), "command");
  // what the index does not hold comes from the description
  EXPECT_EQ(record->GetDesc(), "Does something.");
  EXPECT_EQ(record->GetFiles().begin()->GetSource(), "own.htm");
  EXPECT_TRUE(record->GetPrimaryProduct() != nullptr && record->GetPrimaryProduct()->GetName() == "Tidemark");
  fs::remove(m_pc.HostPath(kIndex));
  EXPECT_EQ(startAndCount(), kMany - 1);
  EXPECT_EQ(catalogue(), indexed);
}

TEST_F(IndexTest, HoldsOnlyAsLongAsTheDescriptionIsWhatItWas) {
  const fs::path changed = m_pc.HostPath(pathOf(3));
  const auto date = fs::last_write_time(changed);
  m_pc.Write(pathOf(3), one(3).version("9.3").text()); // as long as it was
  fs::last_write_time(changed, date);
  fs::remove(m_pc.HostPath(pathOf(4)));
  fs::rename(m_pc.HostPath(pathOf(5)), m_pc.HostPath(pathOf(6)));
  m_pc.Write(pathOf(7), "<kestrel-extension");
  EXPECT_EQ(startAndCount(), 3);
  EXPECT_EQ(find("One 3")->GetVersion().ToText(), "9.3");
  for (const char* gone : {"One 4", "One 6", "One 7"}) {
    EXPECT_EQ(find(gone), nullptr) << gone;
  }
  EXPECT_EQ(find("One 5")->GetPath(), pathOf(6));
}

TEST_F(IndexTest, DamageCostsNoMoreThanReading) {
  const std::vector<std::string> known = (restart(), catalogue());
  const std::string whole = m_pc.Read(kIndex);
  for (std::size_t at = 0; at < whole.size(); at += whole.size() / 40) {
    m_pc.Write(kIndex, whole.substr(0, at));
    restart();
    EXPECT_EQ(catalogue(), known) << "cut at " << at;
    std::string damaged = whole;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x15);
    m_pc.Write(kIndex, damaged);
    const int opened = startAndCount(); // every one, when the first line is damaged; where two lines became one, both
    EXPECT_TRUE(at == 0 ? opened == kMany - 1 : opened == 1 || opened == 2) << opened << ", changed at " << at;
    EXPECT_EQ(catalogue(), known) << "changed at " << at;
  }
}

TEST_F(IndexTest, OperationsReadWhatTheyNeed) {
  m_manager.reset();
  m_pc.Reopen();
  ReadingMachine machine(m_pc.Get());
  CKestOS::SetMachine(&machine);
  start();
  EXPECT_EQ(uninstall(find("One 7")), 0);
  EXPECT_LE(machine.opened, 4) << "its own, one that has own.htm, one that has pair.htm";
  m_manager.reset();
  CKestOS::SetMachine(&m_pc.Get());
  restart();
  EXPECT_FALSE(m_pc.Exists(kCommands + "f7.htm"));
  for (const char* name : {"own.htm", "pair.htm"}) {
    EXPECT_TRUE(m_pc.Exists(kCommands + name)) << name << " is used by others";
  }
  EXPECT_FALSE(m_pc.Exists(pathOf(7)));
  ASSERT_EQ(disable(find("One 8")), 0);
  restart();
  ASSERT_NE(find("One 8"), nullptr);
  EXPECT_EQ(find("One 8")->GetFiles().GetCount(), 2u);
}

TEST_F(IndexTest, WhatCannotBeReadAnyMoreFailsTheOperation) {
  restart();
  CKestExtension* gone = find("One 9");
  CKestExtension* changed = find("One 11");
  fs::remove(m_pc.HostPath(pathOf(9)));
  m_pc.Write(pathOf(11), one(12).text());
  const MachineSnapshot before = m_pc.Snapshot();
  EXPECT_NE(uninstall(gone), 0);
  EXPECT_EQ(report().failure, Failure::kBadDescription);
  EXPECT_NE(disable(changed), 0);
  EXPECT_EQ(report().failure, Failure::kBadDescription);
  // whether the changed one still shares pair.htm cannot be told; the one that is gone shares nothing
  EXPECT_NE(uninstall(find("One 7")), 0);
  EXPECT_EQ(report().failure, Failure::kBadDescription);
  EXPECT_EQ(report().problems.front().path, pathOf(11));
  expectUntouched(before);
  m_pc.Write(pathOf(11), one(11).text());
  EXPECT_EQ(uninstall(find("One 7")), 0);
}

TEST_F(IndexTest, ARecordThatIsChangedIsReadAndIndexedNoMore) {
  restart();
  CKestExtension* record = find("One 8");
  record->SetName("Another");
  EXPECT_EQ(record->GetFiles().GetCount(), 2u);
  EXPECT_EQ(record->Save(nullptr), 0);
  fs::remove(m_pc.HostPath(kIndex));
  restart();
  find("Another")->SetVersion("7.7");
  ASSERT_EQ(uninstall(find("One 3")), 0);
  ASSERT_TRUE(m_pc.Exists(kIndex));
  restart();
  EXPECT_EQ(find("Another")->GetVersion().ToText(), "1.8") << "what the file says";
  const std::string index = m_pc.Read(kIndex);
  ASSERT_EQ(uninstall(find("One 4")), 0);
  EXPECT_EQ(m_pc.Read(kIndex), index) << "one line that does not hold is no reason to write it anew";
}

TEST_F(IndexTest, AFailedOperationMakesNone) {
  fs::remove(m_pc.HostPath(kIndex));
  restart();
  EXPECT_EQ(tryInstall("C:\\nothing.kep"), nullptr);
  EXPECT_FALSE(m_pc.Exists(kIndex));
}

TEST_F(IndexTest, TheOwnerOfAFileIsFoundByReadingItsDescriptionAlone) {
  ASSERT_EQ(startAndCount(), 0);
  ReadingMachine machine(m_pc.Get());
  CKestOS::SetMachine(&machine);
  const std::vector<Owner> owners = manager().FindOwners(OwnedThing::kFile, text::Lower(kCommands + "F7.htm"));
  ASSERT_EQ(owners.size(), 1u);
  EXPECT_EQ(owners[0].extension->GetName(), "One 7");
  EXPECT_NE(owners[0].element.find("f7.htm"), std::string::npos) << owners[0].element;
  EXPECT_TRUE(manager().FindOwners(OwnedThing::kFile, kCommands + "f70.htm").empty());
  EXPECT_EQ(manager().FindOwners(OwnedThing::kFile, pathOf(9)).size(), 1u);
  EXPECT_LE(machine.opened, 2);
  m_manager.reset();
  CKestOS::SetMachine(&m_pc.Get());
}

using OwnersTest = KestFixture;

TEST_F(OwnersTest, WhatADescriptionPutsIntoConfigurationFilesIsFoundByItsName) {
  PutConfigFiles(m_pc, kNova);
  start();
  installed(package("Tool")
                .changes(kChangesOfTenFiles)
                .changes("<menu-remove id=\"TMMenu_Help\" /><shortcut-insert listId=\"TMMainWindow\">"
                         "<shortcut key=\"Cmd+Shift+9\" id=\"Ten_Key\" /></shortcut-insert>\n"));
  const auto find = [this](OwnedThing thing, const char* name) {
    const std::vector<Owner> owners = manager().FindOwners(thing, name);
    return owners.empty() ? CString() : owners[0].extension->GetName() + ": " + owners[0].element;
  };
  EXPECT_EQ(find(OwnedThing::kMenu, "ten_item"), "Tool: <menuitem name=\"Ten\" id=\"Ten_Item\" />");
  EXPECT_EQ(find(OwnedThing::kKey, "Shift+Ctrl+9"), "Tool: <shortcut key=\"Cmd+Shift+9\" id=\"Ten_Key\" />");
  EXPECT_EQ(find(OwnedThing::kButton, "Ten_Insert"), "Tool: <button id=\"Ten_Insert\" />");
  EXPECT_NE(find(OwnedThing::kTag, "ten"), "");
  for (const OwnedThing thing : {OwnedThing::kMenu, OwnedThing::kButton, OwnedThing::kKey, OwnedThing::kTag}) {
    EXPECT_EQ(find(thing, "TMMenu_Help"), "");
    EXPECT_EQ(find(thing, ""), "");
  }
}

} // namespace
} // namespace kest::test
