#include "products/vantage.h"

#include "description/extension.h"

#include <array>

namespace kest {

namespace {

constexpr const char* kTidemarkName = "tidemark";
constexpr const char* kVantageName = "vantage";
constexpr const char* kFirstOfItsOwn = "4";
constexpr int kCommandType = 1;
constexpr int kObjectType = 2;

constexpr const char* kVantage1Paths[] = {"Software\\Kestrel\\Tidemark Vantage\\1\\Installation\\InstallPath",
                                          "Software\\Kestrel\\Tidemark Vantage\\1\\Registration\\Location"};
constexpr const char* kVantage4Paths[] = {"Software\\Kestrel\\Tidemark Vantage\\4\\Installation\\InstallPath",
                                          "Software\\Kestrel\\Tidemark Vantage\\4\\Registration\\Location"};
constexpr std::array kVantage4Executables = {"Vantage.exe", "VantageStudio.exe"};

constexpr WebEditorConstants kVantage1 = {{"Tidemark Vantage 1", 1.0, SignatureOf("VTG1"), "Tidemark", kVantageName,
                                           "Vantage.exe", "", true, Restart::kButForCommands},
                                          "",
                                          kVantage1Paths,
                                          false};
constexpr WebEditorConstants kVantage4 = {{"Tidemark Vantage 4", 4.0, SignatureOf("VTG4"), "Tidemark", kVantageName,
                                           kVantage4Executables[0], "", true, Restart::kButForCommands},
                                          "",
                                          kVantage4Paths,
                                          false};

} // namespace

CKestVantage::CKestVantage(const WebEditorConstants& constants) : CKestTidemark(constants) {}

bool CKestVantage::RequiresRestart(CKestExtension* extension, bool installing) const {
  if (extension == nullptr) {
    return false;
  }
  return !installing || (extension->GetType() != kCommandType && extension->GetType() != kObjectType);
}

bool CKestVantage::Supports(const char* productName, const char* version) const {
  const std::string_view name = productName != nullptr ? productName : "";
  const CKestVersionNumber wanted(version != nullptr ? version : "");
  CKestVersionNumber own;
  GetVersion(own);
  if (text::StartsWithNoCase(name, kVantageName)) {
    return own.Compare(wanted) >= 0;
  }
  return text::StartsWithNoCase(name, kTidemarkName) &&
         (wanted.Compare(kFirstOfItsOwn) < 0 || own.Compare(wanted) >= 0);
}

void CKestVantage::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[kVantageName] = GetInstallFolder();
  tokens[kTidemarkName] = GetInstallFolder();
}

CKestVantage1::CKestVantage1() : CKestVantage(kVantage1) {}

CKestVantage4::CKestVantage4() : CKestVantage(kVantage4) {}

void CKestVantage4::DetermineExecutableFileName(const CString& installFolder) {
  ChooseExecutable(kVantage4Executables, installFolder);
}

} // namespace kest
