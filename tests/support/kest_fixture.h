#pragma once

#include "manager/extension_manager.h"
#include "products/product.h"
#include "support/scripted_host.h"
#include "support/temp_machine.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace kest::test {

/// One file of an extension under construction.
struct BuiltFile {
  std::string source;
  std::string destination;
  std::string content;
  std::string attributes; ///< further ones, as written
  std::int64_t date = TempMachine::kDate;
};

/// An extension as an author writes it: a description with its files.
class ExtensionBuilder {
public:
  explicit ExtensionBuilder(std::string name) : m_name(std::move(name)), m_descriptionName(text::Lower(m_name)) {
    std::replace(m_descriptionName.begin(), m_descriptionName.end(), ' ', '_');
    m_descriptionName += ".kei";
  }
  ExtensionBuilder& author(std::string name) { return set(m_author, std::move(name)); }
  ExtensionBuilder& version(std::string dotted) { return set(m_version, std::move(dotted)); }
  ExtensionBuilder& type(std::string keyword) { return set(m_type, std::move(keyword)); }
  /// "word_count.kei" for "Word Count" unless given.
  ExtensionBuilder& descriptionNamed(std::string fileName) { return set(m_descriptionName, std::move(fileName)); }
  ExtensionBuilder& requiresRestart() { return set(m_attributes, " requires-restart=\"true\""); }
  /// Instead of Tidemark; the first one is primary.
  ExtensionBuilder& product(const std::string& name, const std::string& version) {
    return set(m_products, m_products + "    <product name=\"" + name + "\" version=\"" + version + "\"" +
                               (m_products.empty() ? " primary=\"true\"" : " required=\"true\"") + " />\n");
  }
  /// `attributes`: further ones, e.g. `shared="true"`.
  ExtensionBuilder& file(std::string source, std::string destination, std::string content = "content",
                         std::string attributes = {}) {
    m_files.push_back({std::move(source), std::move(destination), std::move(content), std::move(attributes)});
    return *this;
  }
  ExtensionBuilder& token(const std::string& attributes) {
    return set(m_tokens, m_tokens + "    <token " + attributes + " />\n");
  }
  /// Change elements, as written.
  ExtensionBuilder& changes(const std::string& elements) { return set(m_changes, m_changes + elements); }
  /// One more extension of HTML pages in the list of the files that the editor opens.
  ExtensionBuilder& changesTheList() {
    return changes("<extensions-changes><extension-insert extension=\"SHTML\" description=\"HTML Documents\" />"
                   "</extensions-changes>\n");
  }

  [[nodiscard]] const std::string& name() const { return m_name; }
  [[nodiscard]] const std::string& descriptionName() const { return m_descriptionName; }
  [[nodiscard]] std::string text() const;
  /// Files and then the description, by their paths in the folder where they are laid.
  [[nodiscard]] std::vector<std::pair<std::string, BuiltFile>> laid() const;

private:
  ExtensionBuilder& set(std::string& field, std::string value) {
    field = std::move(value);
    return *this;
  }

  std::string m_name;
  std::string m_author = "Jane Doe";
  std::string m_version = "1.0";
  std::string m_type = "command";
  std::string m_descriptionName;
  std::string m_attributes;
  std::string m_products;
  std::string m_tokens;
  std::string m_changes;
  std::vector<BuiltFile> m_files;
};

/// A manager over the machine in force, which has Tidemark Nova and Tidemark 4, and its host.
class ManagerRun {
public:
  /// A new manager; the old one goes.
  void start();
  [[nodiscard]] CKestExtensionManager& manager() const { return *m_manager; }
  [[nodiscard]] const OperationReport& report() const { return manager().GetLastReport(); }
  [[nodiscard]] const CKestProduct* product(const char* name) const;
  [[nodiscard]] const CKestProduct* nova() const { return product("Tidemark Nova"); }
  [[nodiscard]] const CKestProduct* four() const { return product("Tidemark 4"); }
  [[nodiscard]] std::vector<CKestExtension*> records(const CKestProduct* in) const;
  /// The catalogued record of that name; null when there is none, or several.
  [[nodiscard]] CKestExtension* find(const std::string& name, const CKestProduct* in = nullptr) const;
  /// "name version state path" of every record, sorted.
  [[nodiscard]] std::vector<std::string> catalogue() const;
  /// Quiet, enrolled, into the product given.
  [[nodiscard]] CKestExtension* tryInstall(const CString& path, const CKestProduct* into = nullptr);
  /// From Tidemark Nova.
  [[nodiscard]] int uninstall(CKestExtension* extension);
  [[nodiscard]] int disable(CKestExtension* record, const CKestProduct* in = nullptr) const {
    return manager().DisableExtension(in != nullptr ? in : nova(), record, false);
  }
  [[nodiscard]] int enable(CKestExtension* record) const { return manager().EnableExtension(nova(), record); }

protected:
  ScriptedHost m_host;
  std::unique_ptr<CKestExtensionManager> m_manager;
};

/// A machine with both products on it and a host that answers as scripted. One user, so that the products keep their
/// configuration in their own folders.
class KestFixture : public ::testing::Test, protected ManagerRun {
protected:
  KestFixture();
  ~KestFixture() override;

  static constexpr const char* kNova = "C:\\Program Files\\Kestrel\\Tidemark 6\\";
  static inline const std::string kConfiguration = std::string(kNova) + "Configuration\\";
  static inline const std::string kCommands = kConfiguration + "Commands\\";
  static inline const std::string kDescriptions = kConfiguration + "Extensions\\";
  static inline const std::string kDisabled = kDescriptions + "Disabled\\";
  /// Where most of the files of these tests go.
  static constexpr const char* kToCommands = "$tidemark/Configuration/Commands";
  static constexpr const char* kFour = "C:\\Program Files\\Kestrel\\Tidemark 4\\";

  /// Puts a program on the machine and into the registry.
  void putProgram(const std::string& executable, const CKestVersionNumber& version,
                  const std::string& registryKey) const;
  /// The same on the machine as it is now, whatever was done to it behind the manager's back.
  void restart() {
    m_pc.Reopen();
    start();
  }
  void runNova(bool running = true) {
    ASSERT_TRUE(m_pc.Get().SetProcessRunning(std::string(kNova) + "Tidemark.exe", running));
  }
  /// What an operation must leave alone: the machine, and nothing in its temporary folder.
  void expectUntouched(const MachineSnapshot& before) const {
    EXPECT_EQ(difference(before, m_pc.Snapshot()), "");
    EXPECT_TRUE(isTempEmpty());
  }

  [[nodiscard]] static ExtensionBuilder package(const std::string& name) { return ExtensionBuilder(name); }
  /// Writes description and files into a folder of the machine; returns the description's path.
  [[nodiscard]] CString lay(const ExtensionBuilder& extension) const;
  /// Packs it with the engine; returns the package's path.
  [[nodiscard]] CString pack(const ExtensionBuilder& extension);

  /// Packed and installed, which has to work.
  CKestExtension* installed(const ExtensionBuilder& extension, const CKestProduct* into = nullptr);
  using Failure = OperationReport::Failure;

  /// What differs between two snapshots, but for what is left on purpose: backup copies beside configuration files.
  [[nodiscard]] static std::string difference(MachineSnapshot before, const MachineSnapshot& after);
  /// Nothing lies in the machine's temporary folder.
  [[nodiscard]] bool isTempEmpty() const;

  TempMachine m_pc;
};

} // namespace kest::test
