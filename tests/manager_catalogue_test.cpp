#include "description/extension.h"
#include "manager/manager_state.h"
#include "platform/machine/forwarding_machine.h"
#include "platform/machine/os.h"
#include "support/kest_fixture.h"

namespace kest::test {
namespace {

using CatalogueTest = KestFixture;

std::unique_ptr<CKestExtension> Record(const char* name, const char* version, const char* author, int type,
                                       bool enabled) {
  auto record = std::make_unique<CKestExtension>();
  record->SetName(name);
  record->SetVersion(version);
  record->SetAuthorName(author);
  record->SetType(type);
  record->SetEnabled(enabled);
  return record;
}

/// Between its first two moments the descriptions are gone; from then on they are back.
class ReplacingMachine : public ForwardingMachine {
public:
  explicit ReplacingMachine(Machine& next, bool forEver) : ForwardingMachine(next), m_forEver(forEver) {}
  ChangeMark GetChangeMark() override { return {m_forEver, std::to_string(std::min(++m_asked, 2))}; }
  Answer ListFolder(const CString& path, std::vector<FolderEntry>& entries) override {
    const Answer answer = ForwardingMachine::ListFolder(path, entries);
    if (m_asked < 2) {
      entries.clear();
    }
    return answer;
  }

private:
  bool m_forEver;
  int m_asked = 0;
};

TEST_F(CatalogueTest, ALookAtAMachineThatSomebodyChangesIsTakenAgain) {
  m_pc.Write(kDescriptions + "b.kei", package("Beta").text());
  for (const bool forEver : {false, true}) {
    ReplacingMachine machine(m_pc.Get(), forEver);
    CKestOS::SetMachine(&machine);
    start();
    EXPECT_NE(find("Beta"), nullptr);
    EXPECT_EQ(manager().IsSettled(), !forEver);
    CKestOS::SetMachine(&m_pc.Get());
  }
}

TEST_F(CatalogueTest, InitMakesTheExtensionsFoldersOfTheProductsFoundAlone) {
  std::filesystem::remove_all(m_pc.HostPath(kConfiguration + "Extensions"));
  restart();
  EXPECT_TRUE(m_pc.Exists(kDescriptions + "Disabled"));
  EXPECT_FALSE(m_pc.Exists("C:\\Program Files\\Kestrel\\Prism 4"));
  EXPECT_TRUE(manager().IsProductInstalled("tidemark nova"));
  EXPECT_FALSE(manager().IsProductInstalled("Prism 4"));
  EXPECT_FALSE(manager().IsProductInstalled(nullptr));
  const std::unique_ptr<CKestTypedIterator<CKestProduct*>> backward(manager().CreateProductReverseIterator());
  EXPECT_EQ(backward->Next()->GetName(), "Quarry 2");
}

TEST_F(CatalogueTest, LoadReadsEnabledAndDisabledDescriptionsAndReplacesTheOldRecords) {
  const std::string folder = kDescriptions;
  m_pc.Write(folder + "b.kei", package("Beta").text());
  m_pc.Write(folder + "Disabled\\a.kei", package("Alpha").text());
  m_pc.Write(folder + "broken.kei", "<kestrel-extension name=");
  restart();
  ASSERT_NE(find("Beta"), nullptr);
  EXPECT_TRUE(find("Beta")->IsEnabled());
  ASSERT_NE(find("Alpha"), nullptr);
  EXPECT_FALSE(find("Alpha")->IsEnabled());
  EXPECT_EQ(manager().Load(), 0);
  EXPECT_EQ(catalogue().size(), 2u);
  EXPECT_EQ(manager().FindByPath((text::Lower(folder) + "B.KEI").c_str()), find("Beta"));
  EXPECT_EQ(manager().FindByPath("C:\\nowhere.kei"), nullptr);
  EXPECT_EQ(manager().FindEnabledByNameAndAuthor(nova(), "BETA", "jane doe"), find("Beta"));
  EXPECT_EQ(manager().FindEnabledByNameAndAuthor(nova(), "Alpha", "Jane Doe"), nullptr) << "it is disabled";
  EXPECT_EQ(manager().FindEnabledByNameAndAuthor(four(), "Beta", "Jane Doe"), nullptr);
}

TEST_F(CatalogueTest, WhatIsAddedComesLastAndTheListGoesWithTheLastDescription) {
  const std::string folder = kDescriptions;
  m_pc.Write(folder + "a.kei", package("Alpha").text());
  m_pc.Write(folder + "b.kei", package("Beta").text());
  restart();
  const auto last = [this] {
    CKestTypedList<CKestExtension*> list;
    manager().GetExtensions(nova(), list);
    return list[list.GetCount() - 1]->GetName();
  };
  const auto removed = [this](const std::string& name) {
    CKestExtension* record = find(name);
    manager().RemoveExtension(nova(), record);
    return std::unique_ptr<CKestExtension>(record);
  };
  removed("Alpha").reset(); // an allocator likes to hand out the address that was freed last
  manager().AddExtension(nova(), Record("New", "1", "x", 1, true).release());
  EXPECT_EQ(last(), "New");
  manager().AddExtension(nova(), removed("Beta").release());
  EXPECT_EQ(last(), "Beta") << "only the undo of an uninstall puts a record back where it stood";
  std::filesystem::remove(m_pc.HostPath(folder + "a.kei"));
  std::filesystem::remove(m_pc.HostPath(folder + "b.kei"));
  EXPECT_EQ(manager().Load(), 0);
  EXPECT_TRUE(catalogue().empty());
}

TEST_F(CatalogueTest, ARunningProductWinsAndAmongEqualsTheOneMadeLater) {
  const auto found = [this](const char* name, const char* version) {
    return manager().GetState().FindProduct(name, version);
  };
  EXPECT_EQ(found("Tidemark", "4"), nova());
  ASSERT_TRUE(m_pc.Get().SetProcessRunning(std::string(kFour) + "Tidemark.exe", true));
  EXPECT_EQ(found("Tidemark", "4"), four());
  EXPECT_EQ(found("Tidemark", "6"), nova());
  EXPECT_EQ(found("Prism", "4"), nullptr);
}

TEST_F(CatalogueTest, ComparisonsOrderByTheirColumnAndTakeNull) {
  const auto a = Record("alpha", "1.9", "Zoe", 1, false);
  const auto b = Record("Beta", "1.10", "adam", 2, true);
  EXPECT_LT(manager().CompareName(a.get(), b.get()), 0);
  EXPECT_LT(manager().CompareVersion(a.get(), b.get()), 0) << "numbers, not digits";
  EXPECT_GT(manager().CompareAuthor(a.get(), b.get()), 0);
  EXPECT_LT(manager().CompareType(a.get(), b.get()), 0);
  EXPECT_EQ(manager().CompareEnabled(a.get(), b.get()), 1);
  const auto unknown = Record("x", "1", "x", 99, true);
  EXPECT_LT(manager().CompareType(unknown.get(), a.get()), 0) << "an unknown type counts as an empty label";
  EXPECT_EQ(manager().CompareName(nullptr, a.get()), 0);
}

TEST_F(CatalogueTest, TheDetailJoinsDescriptionAndAccessAndDecodesBreaksAndBlanks) {
  CKestExtension record;
  record.SetUIAccess("See the<br>menu&amp;nbsp;bar");
  CString detail = "old";
  manager().GetExtensionDetail(&record, detail);
  EXPECT_EQ(detail, "See the\r\nmenu bar");
  record.SetDesc("Counts<BR>words&nbsp;fast");
  manager().GetExtensionDetail(&record, detail);
  EXPECT_EQ(detail, "Counts\r\nwords fast\r\n\r\nSee the\r\nmenu bar");
}

TEST_F(CatalogueTest, WithoutAHostOrARecordOperationsFailAndDoNothing) {
  const CString kep = pack(package("Word Count").file("wc.htm", kToCommands));
  CKestExtension* record = tryInstall(kep);
  ASSERT_NE(record, nullptr);
  const MachineSnapshot before = m_pc.Snapshot();
  int restart = 7;
  EXPECT_EQ(disable(nullptr), -1);
  EXPECT_EQ(enable(nullptr), -1);
  EXPECT_EQ(manager().UninstallExtension(nullptr, nullptr, true, true, true, true, true, restart, false), -1);
  EXPECT_TRUE(m_host.notices().empty());
  manager().SetUI(nullptr);
  EXPECT_EQ(tryInstall(kep), nullptr);
  EXPECT_EQ(manager().UninstallExtension(nova(), record, true, true, true, true, true, restart, false), -1);
  EXPECT_NE(disable(record), 0);
  EXPECT_EQ(enable(record), -1);
  EXPECT_EQ(manager().CreatePackage(record->GetPath().c_str(), "C:\\x.kep", nova(), true, false, false), -1);
  expectUntouched(before);
  EXPECT_TRUE(record->IsEnabled());
}

} // namespace
} // namespace kest::test
