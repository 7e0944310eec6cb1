#include "support/kest_fixture.h"

#include "description/extension.h"
#include "platform/machine/os.h"
#include "platform/machine/version_resource.h"

#include <algorithm>

namespace kest::test {

namespace fs = std::filesystem;

std::string ExtensionBuilder::text() const {
  std::string out = "<kestrel-extension name=\"" + m_name + "\" version=\"" + m_version + "\" type=\"" + m_type + "\"" +
                    m_attributes + ">\n  <author name=\"" + m_author + "\" />\n  <products>\n";
  out += m_products.empty() ? "    <product name=\"Tidemark\" version=\"4\" primary=\"true\" />\n" : m_products;
  out += "  </products>\n  <description><![CDATA[Does something.]]></description>\n"
         "  <ui-access><![CDATA[Look into the menu.]]></ui-access>\n";
  if (!m_tokens.empty()) {
    out += "  <file-tokens>\n" + m_tokens + "  </file-tokens>\n";
  }
  out += "  <files>\n";
  for (const BuiltFile& file : m_files) {
    out += "    <file source=\"" + file.source + "\" destination=\"" + file.destination + "\" " + file.attributes +
           " />\n";
  }
  out += "  </files>\n";
  if (!m_changes.empty()) {
    out += "  <configuration-changes>\n" + m_changes + "  </configuration-changes>\n";
  }
  return out + "</kestrel-extension>\n";
}

KestFixture::KestFixture() {
  if (!m_pc.Get().SetMultiUser(false)) {
    throw std::runtime_error("a test cannot write machine.ini");
  }
  putProgram(std::string(kNova) + "Tidemark.exe", CKestVersionNumber(6, 0, 700),
             "Software\\Kestrel\\Tidemark\\6\\Installation");
  putProgram(std::string(kFour) + "Tidemark.exe", CKestVersionNumber(4, 0, 2),
             "Software\\Kestrel\\Tidemark\\4\\Installation");
  for (const char* folder : {kNova, kFour}) {
    m_pc.Write(std::string(folder) + "Configuration\\Extensions.txt", "HTM,HTML:HTML Documents\r\nTXT:Text Files\r\n");
    m_pc.Write(std::string(folder) + "Configuration\\Commands\\Own.htm", "the product's own command");
    m_pc.Write(std::string(folder) + "Configuration\\Extensions\\Disabled\\.keep", "");
    m_pc.Write(std::string(folder) + "Configuration\\Extensions\\.keep", "");
  }
  CKestProduct::ResetBinPaths();
  start();
}

KestFixture::~KestFixture() { m_manager.reset(); }

void KestFixture::putProgram(const std::string& executable, const CKestVersionNumber& version,
                             const std::string& registryKey) const {
  m_pc.Write(executable, MakeVersionedExecutable(version));
  const CString folder = CKestPath(executable).GetFolder();
  if (!CKestOS::WriteRegistryString(RegistryRoot::kLocalMachine, registryKey, "InstallPath", folder)) {
    throw std::runtime_error("a test cannot write the registry");
  }
}

void ManagerRun::start() {
  m_manager.reset();
  m_manager = std::make_unique<CKestExtensionManager>(&m_host);
  m_manager->SetFileWait(0);
  (void)m_manager->Init();
  (void)m_manager->Load();
}

const CKestProduct* ManagerRun::product(const char* name) const {
  const std::unique_ptr<CKestTypedIterator<CKestProduct*>> products(manager().CreateProductIterator());
  while (products->HasNext()) {
    const CKestProduct* one = products->Next();
    CString own;
    one->GetName(own);
    if (text::EqualNoCase(own, name)) {
      return one;
    }
  }
  return nullptr;
}

std::vector<std::pair<std::string, BuiltFile>> ExtensionBuilder::laid() const {
  const std::string folder = "C:\\Work\\" + m_name + "\\";
  std::vector<std::pair<std::string, BuiltFile>> files;
  for (const BuiltFile& file : m_files) {
    std::string source = file.source;
    std::replace(source.begin(), source.end(), '/', '\\');
    files.emplace_back(folder + source, file);
  }
  files.emplace_back(folder + m_descriptionName, BuiltFile{{}, {}, text(), {}});
  return files;
}

CString KestFixture::lay(const ExtensionBuilder& extension) const {
  const auto files = extension.laid();
  for (const auto& [path, file] : files) {
    m_pc.Write(path, file.content, file.date);
  }
  return files.back().first;
}

CString KestFixture::pack(const ExtensionBuilder& extension) {
  const CString description = lay(extension);
  CKestPath target(description);
  target.SetExtension("kep");
  if (manager().CreatePackage(description.c_str(), target.c_str(), nullptr, false, false, false) != 0) {
    ADD_FAILURE() << "the package of " << extension.name() << " cannot be made";
  }
  for (const auto& [path, file] : extension.laid()) {
    fs::remove_all(m_pc.HostPath(path));
  }
  return target;
}

CKestExtension* ManagerRun::tryInstall(const CString& path, const CKestProduct* into) {
  const CKestProduct* wanted = into != nullptr ? into : nova();
  CKestExtension* replaced = nullptr;
  int restart = 0;
  return manager().InstallExtension(&wanted, path.c_str(), &replaced, true, true, true, restart, true, false, false);
}

CKestExtension* KestFixture::installed(const ExtensionBuilder& extension, const CKestProduct* into) {
  CKestExtension* record = tryInstall(pack(extension), into);
  if (record == nullptr) {
    throw std::runtime_error(extension.name() + " cannot be installed: " +
                             (report().problems.empty() ? "" : report().problems.front().reason));
  }
  return record;
}

std::vector<CKestExtension*> ManagerRun::records(const CKestProduct* in) const {
  CKestTypedList<CKestExtension*> found;
  manager().GetExtensions(in, found);
  return {found.begin(), found.end()};
}

int ManagerRun::uninstall(CKestExtension* extension) {
  int restart = 0;
  const int result = manager().UninstallExtension(nova(), extension, false, true, true, true, true, restart, false);
  if (result == 0) {
    std::unique_ptr<CKestExtension>{extension}.reset();
  }
  return result;
}

CKestExtension* ManagerRun::find(const std::string& name, const CKestProduct* in) const {
  std::vector<CKestExtension*> found = records(in != nullptr ? in : nova());
  std::erase_if(found, [&](const CKestExtension* record) { return record->GetName() != name; });
  return found.size() == 1 ? found[0] : nullptr;
}

std::vector<std::string> ManagerRun::catalogue() const {
  std::vector<std::string> lines;
  for (const CKestProduct* in : {nova(), four()}) {
    for (const CKestExtension* record : records(in)) {
      lines.push_back(record->GetName() + " " + record->GetVersion().ToText() +
                      (record->IsEnabled() ? " enabled " : " disabled ") + record->GetPath());
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string KestFixture::difference(MachineSnapshot before, const MachineSnapshot& after) {
  // the registry is one file: a value that came and went leaves it as it was, but for its date
  before.entries.at("user.reg").date = after.entries.at("user.reg").date;
  return DescribeDifference(before, after, [](const std::string& path) {
    const bool backup = path.size() > 4 && path.ends_with("bk") && path[path.size() - 4] == '.';
    return backup || IsOfThePast(path);
  });
}

bool KestFixture::isTempEmpty() const { return fs::is_empty(m_pc.HostPath("C:\\windows\\temp")); }

} // namespace kest::test
