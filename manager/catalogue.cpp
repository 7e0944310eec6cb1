#include "manager/catalogue.h"

#include "description/extension.h"

#include <algorithm>
#include <memory>
#include <unordered_set>

namespace kest {
namespace {

void FreeDistinct(const std::unordered_set<CKestExtension*>& records) {
  for (CKestExtension* record : records) {
    std::unique_ptr<CKestExtension>{record}.reset();
  }
}

template <typename Lists> auto FindIn(Lists& lists, const CKestProduct* product) {
  return std::find_if(lists.begin(), lists.end(), [product](const auto& one) { return one.first == product; });
}

} // namespace

Catalogue::~Catalogue() {
  try {
    Clear();
  } catch (const std::bad_alloc&) {
    ClearSlowly();
  }
}

// Without memory for a set of them.
void Catalogue::ClearSlowly() {
  for (auto at = m_lists.begin(); at != m_lists.end(); ++at) {
    for (CKestExtension*& record : at->second) {
      const std::unique_ptr<CKestExtension> freed(record);
      for (auto later = at; freed != nullptr && later != m_lists.end(); ++later) {
        std::replace(later->second.begin(), later->second.end(), freed.get(), static_cast<CKestExtension*>(nullptr));
      }
    }
  }
  m_lists.clear();
}

void Catalogue::Clear() {
  std::unordered_set<CKestExtension*> records;
  for (const auto& [product, list] : m_lists) {
    records.insert(list.begin(), list.end());
  }
  m_lists.clear();
  m_gap = Gap{};
  FreeDistinct(records);
}

Catalogue::List& Catalogue::ListOf(const CKestProduct* product) {
  const auto found = FindIn(m_lists, product);
  return found != m_lists.end() ? found->second : m_lists.emplace_back(product, List()).second;
}

void Catalogue::Swap(Catalogue& other) noexcept {
  m_lists.swap(other.m_lists);
  std::swap(m_gap, other.m_gap);
}

void Catalogue::Add(const CKestProduct* product, CKestExtension* extension) {
  if (extension == nullptr) {
    return;
  }
  ListOf(product).push_back(extension);
  m_gap = Gap{};
}

void Catalogue::Restore(const CKestProduct* product, CKestExtension* extension) {
  if (extension == nullptr) {
    return;
  }
  List& list = ListOf(product);
  const bool fitsGap = m_gap.extension == extension && m_gap.product == product && m_gap.count == list.size();
  list.insert(fitsGap ? list.begin() + static_cast<std::ptrdiff_t>(m_gap.at) : list.end(), extension);
  m_gap = Gap{};
}

void Catalogue::Remove(const CKestProduct* product, const CKestExtension* extension) {
  const auto found = FindIn(m_lists, product);
  if (found == m_lists.end()) {
    return;
  }
  List& list = found->second;
  const auto first = std::find(list.begin(), list.end(), extension);
  if (first == list.end()) {
    return;
  }
  m_gap = Gap{product, extension, static_cast<std::size_t>(first - list.begin()), 0};
  std::erase(list, extension);
  m_gap.count = list.size();
}

void Catalogue::Replace(const CKestProduct* product, const CKestTypedList<CKestExtension*>& records) {
  List& list = ListOf(product);
  const std::unordered_set<CKestExtension*> old(list.begin(), list.end());
  list.assign(records.begin(), records.end());
  m_gap = Gap{};
  FreeDistinct(old);
}

const Catalogue::List* Catalogue::Find(const CKestProduct* product) const {
  const auto found = FindIn(m_lists, product);
  return found == m_lists.end() ? nullptr : &found->second;
}

} // namespace kest
