#pragma once

#include "platform/machine/os.h"
#include "platform/machine/version_resource.h"
#include "products/product.h"
#include "support/temp_machine.h"

namespace kest::test {

/// A machine with programs on it, for tests of the products alone.
class ProductTest : public ::testing::Test {
protected:
  ProductTest() { CKestProduct::ResetBinPaths(); }

  static constexpr const char* kNovaFolder = "C:\\Program Files\\Kestrel\\Tidemark 6\\";
  static constexpr const char* kNovaKey = "Software\\Kestrel\\Tidemark\\6\\Installation";

  void putProgram(const std::string& executable, const char* version) const {
    m_pc.Write(executable, MakeVersionedExecutable(CKestVersionNumber(version)));
  }
  static void putValue(const CString& key, const CString& name, const CString& data) {
    ASSERT_TRUE(CKestOS::WriteRegistryString(RegistryRoot::kLocalMachine, key, name, data));
  }
  void run(const CString& executable, bool running = true) {
    ASSERT_TRUE(m_pc.Get().SetProcessRunning(executable, running));
  }
  void putNova() const {
    putProgram(std::string(kNovaFolder) + "Tidemark.exe", "6.0.700");
    putValue(kNovaKey, "InstallPath", kNovaFolder);
  }

  TempMachine m_pc;
};

} // namespace kest::test
