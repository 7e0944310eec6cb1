#pragma once

#include "platform/machine/os.h"
#include "platform/windows/windows_machine.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace kest::test {

/// This PC, best one of Wine, where other systems have a folder: what a test puts on drive C or into C:\\windows\\temp
/// is taken away with it.
class TempMachine {
public:
  TempMachine() : m_before(List()) { CKestOS::SetMachine(&m_machine); }
  ~TempMachine();
  TempMachine(const TempMachine&) = delete;
  TempMachine& operator=(const TempMachine&) = delete;

  [[nodiscard]] WindowsMachine& Get() { return m_machine; }
  [[nodiscard]] CString GetRoot() const { return "C:\\"; }
  void Write(const CString& path, std::string_view content, std::int64_t date = kDate);
  static constexpr std::int64_t kDate = 1083827289;

private:
  [[nodiscard]] std::set<CString> List();

  WindowsMachine m_machine;
  std::set<CString> m_before;
};

class TempMachineTest : public ::testing::Test {
protected:
  TempMachine m_pc;
};

} // namespace kest::test
