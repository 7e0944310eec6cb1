#include "support/failing_machine.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

class ForwardingMachineTest : public test::TempMachineTest {
protected:
  const CString m_path = R"(C:\a.txt)";
  test::FailingMachine m_failing{m_pc.Get()};
};

TEST_F(ForwardingMachineTest, WhicheverCallOfAFileIsRefusedTheOldOneStays) {
  m_pc.Write(m_path, "old");
  const auto write = [this] {
    const auto file = m_failing.Open(m_path, OpenMode::kReplace);
    return file && file->Write("ab", 2) && file->WriteAt(0, "x", 1) && file->SetDate(CKestDateTime(1000000000)) &&
           file->Sync() && file->Close();
  };
  const auto before = m_pc.Snapshot();
  int n = 1;
  for (const char* name : {"Open", "Write", "WriteAt", "SetDate", "Sync", "Close"}) {
    m_failing.arm(n++, false);
    EXPECT_FALSE(write());
    EXPECT_EQ(m_failing.name(), name + (" " + m_path));
    EXPECT_EQ(m_failing.GetLastError().path, m_path);
    EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "") << name;
  }
  EXPECT_TRUE(write());
  EXPECT_EQ(m_pc.Read(m_path), "xb");
}

TEST_F(ForwardingMachineTest, TheLastErrorIsThatOfTheLastFailure) {
  m_failing.arm(1, false);
  EXPECT_FALSE(m_failing.DeleteFile(R"(C:\refused)"));
  EXPECT_TRUE(m_failing.CreateDirectory(R"(C:\b)"));
  EXPECT_EQ(m_failing.GetLastError().path, R"(C:\refused)"); // success leaves it
  EXPECT_FALSE(m_failing.DeleteFile(R"(C:\missing)"));
  EXPECT_EQ(m_failing.GetLastError().path, R"(C:\missing)");
}

} // namespace
} // namespace kest
