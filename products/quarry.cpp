#include "products/quarry.h"

namespace kest {

namespace {

constexpr ProductConstants kQuarry2 = {"Quarry 2",
                                       2.0,
                                       SignatureOf("QRY2"),
                                       "Quarry",
                                       "quarry",
                                       "",
                                       "Software\\Kestrel\\Quarry\\2\\Installation",
                                       false,
                                       Restart::kNever};

} // namespace

void CKestQuarry::Initialize() {
  CString key;
  CString valueName;
  GetAppRegKey(key);
  GetAppRegValName(valueName);
  CString folder;
  if (ReadMachineValue(key, valueName, folder)) {
    m_version = CKestVersionNumber("2.0");
    SetPaths(folder, CString());
  }
}

bool CKestQuarry::IsRunning() const { return false; }
bool CKestQuarry::IsFolderPartOfInstall(const CString&, CString&) const { return false; }

CKestQuarry2::CKestQuarry2() : CKestQuarry(kQuarry2) {}

} // namespace kest
