#include "products/prism.h"

#include "platform/machine/os.h"

namespace kest {

namespace {

constexpr const char* kPrism3Executables[] = {"Prism 3.exe", "Prism 3J.exe"};
constexpr const char* kPrism4Executables[] = {"Prism 4.exe", "Prism 4J.exe"};
constexpr const char* kPrism6Executables[] = {"Prism.exe"};

constexpr GraphicsEditorConstants kPrism3 = {{"Prism 3", 3.0, SignatureOf("PRM3"), "Prism", "prism",
                                              kPrism3Executables[0], "Software\\Kestrel\\Prism\\3\\Installation", false,
                                              Restart::kButForCommands},
                                             kPrism3Executables,
                                             "Settings",
                                             "Configuration"};
constexpr GraphicsEditorConstants kPrism4 = {{"Prism 4", 4.0, SignatureOf("PRM4"), "Prism", "prism",
                                              kPrism4Executables[0], "Software\\Kestrel\\Prism\\4\\Installation", true,
                                              Restart::kButForCommands},
                                             kPrism4Executables,
                                             "Configuration",
                                             "Settings"};
constexpr GraphicsEditorConstants kPrism6 = {{"Prism Nova", 6.0, SignatureOf("PRM6"), "Prism", "prism",
                                              kPrism6Executables[0], "Software\\Kestrel\\Prism\\6\\Installation", true,
                                              Restart::kButForCommands},
                                             kPrism6Executables,
                                             "Configuration",
                                             "Settings"};

} // namespace

CKestPrism::CKestPrism(const GraphicsEditorConstants& constants)
    : CKestShippedProduct(constants.product), m_constants(constants) {}

void CKestPrism::GetConfigurationFolderName(CString& name) const { name = m_constants.configurationFolder; }

void CKestPrism::SetVersion(CKestVersionNumber& version) { m_version = version; }

void CKestPrism::MassageDestination(CString& destination) const {
  const auto asFolder = [](const char* name) { return CString("\\") + name + "\\"; };
  const CString own = asFolder(m_constants.configurationFolder);
  const CString foreign = asFolder(m_constants.foreignConfigurationFolder);
  // twice: of two such folders one in the other, both share the backslash between them
  text::ReplaceAllNoCase(destination, foreign, own);
  text::ReplaceAllNoCase(destination, foreign, own);
}

void CKestPrism::DetermineExecutableFileName(const CString& installFolder) {
  ChooseExecutable(m_constants.executables, installFolder);
}

CKestPrism3::CKestPrism3() : CKestPrism(kPrism3) {}
CKestPrism4::CKestPrism4() : CKestPrism(kPrism4) {}
CKestPrism6::CKestPrism6() : CKestPrism(kPrism6) {}

} // namespace kest
