#pragma once

#include "platform/text/containers.h"
#include "platform/text/path.h"

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace kest {

class CKestExtension;
class CKestExtensionFile;
class CKestProduct;

/// Where one file of an extension comes from and goes to.
struct FilePlace {
  enum Result : int { kResolved = 0, kNoToken = -1, kUnresolved = -2 };
  CKestPath source;
  CKestPath destination;
  int result = kUnresolved;
  /// A path leads upwards, is not absolute or is one of the engine's own, or the file extension is none: never touch
  /// such a file.
  bool unsafe = false;
  CString why; ///< of an unsafe place, when it is not that it leads elsewhere: "its name "nul" is that of a device"
  /// The same as a sentence about the file, with a blank behind it.
  [[nodiscard]] CString DescribeUnsafe(const CKestExtensionFile& file) const;
};

/// Turns the sources and destinations of descriptions into absolute paths. Remembers the products' token maps until
/// Forget, because a product's folders change only when it is given new paths.
class FilePlacement {
public:
  using Products = std::vector<std::unique_ptr<CKestProduct>>;
  static constexpr std::size_t kMostTokens = 2000; ///< of an extension's own: each may lead on to others
  /// All borrowed, for the life of the object.
  FilePlacement(const Products& products, const CKestTokenMap& folderKeywords, const CString& unpackFolder);

  void Forget();

  /// Below the unpack folder, native separators. Always 0.
  int LocalizeSource(CKestPath& source) const;
  /// FilePlace::Result. A null product: the installed products are asked, the youngest first.
  int LocalizeDestination(CKestPath& destination, const CKestProduct* product, const CKestPath& source,
                          const CKestPath& reference, const CKestExtension* extension,
                          const CString& winExtension) const;
  int LocalizeFiles(CKestPath& source, CKestPath& destination, const CKestProduct* product, const CKestPath& reference,
                    const CKestExtension* extension, const CString& winExtension) const;
  /// Whether a path is one of the engine's own, where no extension puts anything: the temporary folder, the folder of
  /// the history, descriptions and their index, packages set aside. `own`: file name of the description that is asked
  /// for, which may stand among the others.
  [[nodiscard]] bool IsReserved(const CString& path, const CString& own) const;
  /// A folder given with tokens, as an absolute folder with trailing backslash; a text without a token comes back with
  /// native separators.
  [[nodiscard]] CString LocalizeFolder(const CString& folder, const CKestProduct* product,
                                       const CKestExtension* extension) const;

  /// The name that a file has where it is placed, whatever its folder.
  [[nodiscard]] static CString GetPlacedName(const CKestExtensionFile& file);

  /// The same for many files of one extension: its own tokens are gathered once.
  class Resolver {
  public:
    Resolver(const FilePlacement& placement, const CKestProduct* product, const CKestExtension* extension);
    [[nodiscard]] FilePlace Locate(const CKestExtensionFile& file) const;
    [[nodiscard]] int Resolve(CKestPath& destination, const CKestPath& source, const CKestPath& reference,
                              const CString& winExtension) const;
    /// As LocalizeFolder.
    [[nodiscard]] CString ResolveFolder(const CString& folder) const;
    /// The extension's own token leads here from now on.
    void SetOwnToken(const CString& name, const CString& definition);
    /// The extension's own tokens lead where an install takes them when nobody chooses other folders.
    void ResolveOwnTokens();

  private:
    [[nodiscard]] const CString* FindValue(const CString& token, const CString& destination, const CKestPath& reference,
                                           const CKestProduct*& placing) const;
    [[nodiscard]] const CString* FindOwnToken(const CString& token) const;
    const FilePlacement& m_placement;
    const CKestProduct* m_product;
    const CKestExtension* m_extension;
    CString m_descriptionName;
    void GatherOwnTokens() const;
    mutable std::optional<std::unordered_map<CString, CString>> m_ownTokens;
    /// First tokens that lead nowhere: from how long a destination on.
    mutable std::unordered_map<CString, std::size_t> m_hopeless;
    mutable CKestTokenMap m_referenceTokens;
  };

private:
  struct ProductTokens {
    CString configurationMark; ///< what a destination holds that lies in the configuration folder
    std::optional<CKestTokenMap> inside;
    std::optional<CKestTokenMap> outside;
  };
  [[nodiscard]] const CKestTokenMap& GetTokens(const CKestProduct& product, const CString& destination) const;

  /// Lower case, with trailing backslashes.
  struct Reserved {
    std::vector<CString> whole;        ///< with all they hold
    std::vector<CString> descriptions; ///< folders of descriptions
  };
  [[nodiscard]] const Reserved& GetReserved() const;

  const Products& m_products;
  const CKestTokenMap& m_folderKeywords;
  const CString& m_unpackFolder;
  mutable std::optional<Reserved> m_reserved;
  mutable std::unordered_map<const CKestProduct*, ProductTokens> m_tokens;
};

/// The name that a source has in a package: separators as for the look-up of the file, one between two folders, no
/// folder ".".
[[nodiscard]] CString PackageEntryName(const CString& source);
/// Whether the entry is placed on this platform.
[[nodiscard]] bool IsPlaced(const CKestExtensionFile& file);
/// The first component of the path that leads upwards, vanishes (only dots or blanks), or names something else on a PC
/// than a plain file or folder: a device, a stream of a file, a name that loses its last dot. Empty when there is none.
[[nodiscard]] std::string_view FindUnsafeComponent(const CString& path);

} // namespace kest
