#pragma once

#include "products/discovery.h"
#include "products/product.h"

#include <span>

namespace kest {

/// When a running product has to restart to see an extension come or go.
enum class Restart {
  kNever,
  kButForCommands, ///< commands are read again; a file only when it comes into a folder of compiled scripts
  kAlways,
};

/// What tells one product from another. One row a class, in the source of its family.
struct ProductConstants {
  const char* name; ///< as shown to users
  double signatureVersion;
  int signature; ///< four characters
  const char* family;
  const char* token;       ///< its name on the Bazaar and in "Supports", and of its folder in destinations
  const char* executable;  ///< the first choice where there are several
  const char* registryKey; ///< of the value "InstallPath"; empty for a product that looks for itself
  bool supported;          ///< whether extensions can be installed into it
  Restart restart;
};

/// What the products that we serve have in common: a row of constants, the folders and the version that were found, and
/// the search for the program. As it stands it is a product that keeps everything below its install folder.
class KEST_API CKestShippedProduct : public CKestProduct {
public:
  /// Looks for the program; found: its version and folders are set.
  void Initialize() override;
  /// The user name is not used.
  void SetPaths(const CString& installFolder, const CString& userName) override;
  void GetName(CString& name) const override;
  void GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const override;
  [[nodiscard]] bool IsInstalled() const override;
  [[nodiscard]] bool IsRunning() const override;
  void GetInstallFolder(CString& folder) const override;
  void GetExtensionsFolder(CString& folder) const override;
  [[nodiscard]] bool BelongsTo(const char* path) const override;
  [[nodiscard]] bool CanDelete(const char* path) const override; ///< always
  void Refresh() const override;
  [[nodiscard]] bool RequiresRestart(const char* path, bool installing) const override;
  [[nodiscard]] bool RequiresRestart(CKestExtension* extension, bool installing) const override;
  void GetBazaarName(CString& name) const override;
  [[nodiscard]] bool IsSupported() const override;
  void GetVersion(CKestVersionNumber& version) const override;
  /// Any name that begins with the token, a version not above its own.
  [[nodiscard]] bool Supports(const char* productName, const char* version) const override;
  void GetProductFamily(CString& family) const override;
  [[nodiscard]] int GetAppSignature() const override;
  [[nodiscard]] double GetAppSignatureVersion() const override;
  void GetAppRegKey(CString& key) const override;
  void GetAppRegValName(CString& name) const override;
  void GetExecutableFileName(CString& name) const override;
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
  using CKestProduct::GetExecutableFileName;
  using CKestProduct::GetExtensionsFolder;
  using CKestProduct::GetInstallFolder;
  using CKestProduct::GetName;

protected:
  /// The row must outlive the product.
  explicit CKestShippedProduct(const ProductConstants& constants);

  /// Among the running programs, then by the registry. False: it is not on the machine.
  [[nodiscard]] bool FindProgram(FoundProgram& found);
  void TakeFound(const FoundProgram& found); ///< its version, and the folders that follow from its own
  /// Takes the first of the names that exists in the folder; none: the choice stays.
  void ChooseExecutable(std::span<const char* const> names, const CString& installFolder);

  CKestPath m_installFolder;
  CKestPath m_extensionsFolder;
  CKestVersionNumber m_version;

private:
  const ProductConstants& m_constants;
  CString m_name;
  CString m_executable;
};

} // namespace kest
