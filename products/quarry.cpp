#include "products/quarry.h"

namespace kest {

namespace {

constexpr ProductConstants kQuarry2 = {
    "Quarry 2", 2.0, SignatureOf("QRY2"), "Quarry", "quarry", "", "Software\\Kestrel\\Quarry\\2\\Installation", false};

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

void CKestQuarry::SetPaths(const CString& installFolder, const CString&) {
  m_installFolder = CKestPath(WithBackslash(installFolder));
  GetExtensionsFolderFor(m_installFolder, m_extensionsFolder);
}

bool CKestQuarry::IsRunning() const { return false; }
bool CKestQuarry::RequiresRestart(const char*, bool) const { return false; }
bool CKestQuarry::RequiresRestart(CKestExtension*, bool) const { return false; }
bool CKestQuarry::IsFolderPartOfInstall(const CString&, CString&) const { return false; }

CKestQuarry2::CKestQuarry2() : CKestQuarry(kQuarry2) {}

} // namespace kest
