#pragma once

#include "platform/text/containers.h"

#include <list>
#include <utility>
#include <vector>

namespace kest {

class CKestExtension;
class CKestProduct;

/// The installed extensions by product: the one owner of their records. A record may be listed twice and is freed once.
class Catalogue {
public:
  using List = std::vector<CKestExtension*>;
  /// Products are few. A list stays where it is when another product gets one.
  using Lists = std::list<std::pair<const CKestProduct*, List>>;

  Catalogue() = default;
  ~Catalogue();
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;

  /// Appends; takes ownership; null is ignored.
  void Add(const CKestProduct* product, CKestExtension* extension);
  /// Takes the record back that Remove gave out: to where it stood when nothing else came or went since, else at the
  /// end.
  void Restore(const CKestProduct* product, CKestExtension* extension);
  /// Takes every entry of the record out of the product's list; the caller owns it then.
  void Remove(const CKestProduct* product, const CKestExtension* extension);
  void Swap(Catalogue& other) noexcept;
  /// Frees all records: the products that they belong to go.
  void Clear();
  /// Frees the product's records and takes over those of the list.
  void Replace(const CKestProduct* product, const CKestTypedList<CKestExtension*>& records);
  /// Null for a product that was never given a list.
  [[nodiscard]] const List* Find(const CKestProduct* product) const;
  /// In the order in which the products got their first lists, so that the first that fits is the same at each start.
  [[nodiscard]] const Lists& All() const { return m_lists; }

private:
  void ClearSlowly();
  [[nodiscard]] List& ListOf(const CKestProduct* product); ///< an empty one when it had none

  struct Gap {
    const CKestProduct* product = nullptr;
    const CKestExtension* extension = nullptr;
    std::size_t at = 0;
    std::size_t count = 0;
  };
  Lists m_lists;
  Gap m_gap; ///< where the record removed last had stood
};

} // namespace kest
