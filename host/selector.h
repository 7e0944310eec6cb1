#pragma once

#include <string>
#include <vector>

namespace kest {
class CKestExtension;
class CKestProduct;
} // namespace kest

namespace kest::host {

class Session;

/// An installed extension and the product that it is in; both borrowed.
struct Installed {
  const CKestProduct* product = nullptr;
  CKestExtension* extension = nullptr;
};

/// Everything installed, in all products or in the one given, in catalogue order.
[[nodiscard]] std::vector<Installed> CollectInstalled(Session& session, const CKestProduct* only);
/// What a word names: an extension's name, name@version, author/name, or the file name of its description, letter case
/// aside. Exact names come first: a description file name counts only when nothing else fits.
[[nodiscard]] std::vector<Installed> Match(const std::vector<Installed>& all, const std::string& word);
/// The one extension that a word names; extension is null after an error, which was reported with `exit` set. When the
/// word fits an enabled and a disabled one, `preferEnabled` settles it: 1 takes the enabled, 0 the disabled, -1
/// neither.
[[nodiscard]] Installed Select(Session& session, const std::vector<Installed>& all, const std::string& word, int& exit,
                               int preferEnabled = -1);

/// "Name" 1.2, for a user to read.
[[nodiscard]] std::string Quote(const CKestExtension& extension);

} // namespace kest::host
