#include "support/kest_fixture.h"

#include "description/extension.h"
#include "platform/os.h"
#include "platform/version_resource.h"

#include <algorithm>
#include <sstream>

namespace kest::test {

namespace fs = std::filesystem;

ExtensionBuilder::ExtensionBuilder(std::string name) : m_name(std::move(name)) {
  for (const char c : m_name) {
    m_descriptionName += c == ' ' ? '_' : text::ToLower(c);
  }
  m_descriptionName += ".kei";
}

ExtensionBuilder& ExtensionBuilder::author(std::string name) {
  m_author = std::move(name);
  return *this;
}

ExtensionBuilder& ExtensionBuilder::version(std::string dotted) {
  m_version = std::move(dotted);
  return *this;
}

ExtensionBuilder& ExtensionBuilder::type(std::string keyword) {
  m_type = std::move(keyword);
  return *this;
}

ExtensionBuilder& ExtensionBuilder::product(std::string name, std::string version) {
  m_products += "    <product name=\"" + name + "\" version=\"" + version + "\"" +
                (m_products.empty() ? " primary=\"true\"" : " required=\"true\"") + " />\n";
  return *this;
}

ExtensionBuilder& ExtensionBuilder::requiresRestart() {
  m_attributes += " requires-restart=\"true\"";
  return *this;
}

ExtensionBuilder& ExtensionBuilder::file(std::string source, std::string destination, std::string content,
                                         std::string attributes) {
  m_files.push_back({std::move(source), std::move(destination), std::move(content), std::move(attributes)});
  return *this;
}

ExtensionBuilder& ExtensionBuilder::token(std::string attributes) {
  m_tokens += "    <token " + attributes + " />\n";
  return *this;
}

ExtensionBuilder& ExtensionBuilder::changes(std::string elements) {
  m_changes += elements;
  return *this;
}

ExtensionBuilder& ExtensionBuilder::descriptionNamed(std::string fileName) {
  m_descriptionName = std::move(fileName);
  return *this;
}

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

void KestFixture::start() {
  m_manager.reset();
  m_manager = std::make_unique<CKestExtensionManager>(&m_host);
  m_manager->SetFileWait(0);
  (void)m_manager->Init();
  (void)m_manager->Load();
}

const CKestProduct* KestFixture::product(const char* name) const {
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

CString KestFixture::lay(const ExtensionBuilder& extension) const {
  const std::string folder = "C:\\Work\\" + extension.name() + "\\";
  for (const BuiltFile& file : extension.files()) {
    std::string source = file.source;
    std::replace(source.begin(), source.end(), '/', '\\');
    m_pc.Write(folder + source, file.content, file.date);
  }
  m_pc.Write(folder + extension.descriptionName(), extension.text());
  return folder + extension.descriptionName();
}

CString KestFixture::pack(const ExtensionBuilder& extension) {
  const CString description = lay(extension);
  CKestPath target(description);
  target.SetExtension("kep");
  if (manager().CreatePackage(description.c_str(), target.c_str(), nullptr, false, false, false) != 0) {
    ADD_FAILURE() << "the package of " << extension.name() << " cannot be made";
  }
  fs::remove_all(m_pc.HostPath("C:\\Work\\" + extension.name() + "\\" + extension.descriptionName()));
  for (const BuiltFile& file : extension.files()) {
    std::string source = file.source;
    std::replace(source.begin(), source.end(), '/', '\\');
    fs::remove_all(m_pc.HostPath("C:\\Work\\" + extension.name() + "\\" + source));
  }
  return target;
}

CKestExtension* KestFixture::tryInstall(const CString& path, const CKestProduct* into) {
  const CKestProduct* wanted = into != nullptr ? into : nova();
  CKestExtension* replaced = nullptr;
  int restart = 0;
  return manager().InstallExtension(&wanted, path.c_str(), &replaced, true, true, true, restart, true, false, false);
}

CKestExtension* KestFixture::installed(const ExtensionBuilder& extension, const CKestProduct* into) {
  CKestExtension* record = tryInstall(pack(extension), into);
  EXPECT_NE(record, nullptr) << extension.name() << " cannot be installed: "
                             << (report().problems.empty() ? "" : report().problems.front().reason);
  return record;
}

int KestFixture::uninstall(CKestExtension* extension, bool deleteDisabled) {
  for (const CKestProduct* in : {nova(), four()}) {
    CKestTypedList<CKestExtension*> records;
    manager().GetExtensions(in, records);
    if (std::find(records.begin(), records.end(), extension) != records.end()) {
      int restart = 0;
      const int result =
          manager().UninstallExtension(in, extension, false, true, true, true, deleteDisabled, restart, false);
      if (result == 0) {
        std::unique_ptr<CKestExtension>{extension}.reset();
      }
      return result;
    }
  }
  ADD_FAILURE() << "the extension is in no catalogue";
  return -1;
}

CKestExtension* KestFixture::find(const std::string& name, const CKestProduct* in) const {
  CKestTypedList<CKestExtension*> records;
  manager().GetExtensions(in != nullptr ? in : nova(), records);
  CKestExtension* found = nullptr;
  for (CKestExtension* record : records) {
    if (record->GetName() == name) {
      if (found != nullptr) {
        return nullptr;
      }
      found = record;
    }
  }
  return found;
}

std::vector<std::string> KestFixture::catalogue() const {
  std::vector<std::string> lines;
  for (const CKestProduct* in : {nova(), four()}) {
    CKestTypedList<CKestExtension*> records;
    manager().GetExtensions(in, records);
    for (const CKestExtension* record : records) {
      lines.push_back(record->GetName() + " " + record->GetVersion().ToText() +
                      (record->IsEnabled() ? " enabled " : " disabled ") + record->GetPath());
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string KestFixture::difference(const MachineSnapshot& before, const MachineSnapshot& after) {
  const std::string text = DescribeDifference(before, after, [](const std::string& path) {
    const bool backup = path.size() > 4 && path.ends_with("bk") && path[path.size() - 4] == '.';
    return backup || path.starts_with("trash");
  });
  std::string told;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    // the registry is one file: a value that came and went leaves it as it was, but for its date
    if (!line.starts_with("changed user.reg: other date")) {
      told += line + "\n";
    }
  }
  return told;
}

bool KestFixture::isTempEmpty() const { return fs::is_empty(m_pc.HostPath("C:\\windows\\temp")); }

} // namespace kest::test
