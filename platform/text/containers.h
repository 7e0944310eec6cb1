#pragma once

#include "platform/text/text.h"

#include <list>
#include <map>
#include <memory>
#include <vector>

namespace kest {

/// Walks a container of the library once, in either direction. Made on the heap by the container's owner, freed by
/// the caller. The container must not change during the walk.
template <class T> class CKestTypedIterator {
public:
  /// Over a copy of the items; pointers among them stay borrowed.
  CKestTypedIterator(std::vector<T> items, bool reverse) : m_items(std::move(items)), m_reverse(reverse) {}
  /// Whether another item follows.
  [[nodiscard]] bool HasNext() const { return m_next < m_items.size(); }
  /// The next item; call only after HasNext() said true.
  T Next() {
    const std::size_t at = m_reverse ? m_items.size() - 1 - m_next : m_next;
    ++m_next;
    return m_items[at];
  }

private:
  std::vector<T> m_items;
  bool m_reverse;
  std::size_t m_next = 0;
};

/// List of values; pointers in it are borrowed.
template <class T> class CKestTypedList {
public:
  void Append(T value) { m_items.push_back(std::move(value)); } ///< at the end
  /// Removes every item equal to `value`; returns how many went.
  std::size_t RemoveEvery(const T& value) { return static_cast<std::size_t>(std::erase(m_items, value)); }
  void Clear() { m_items.clear(); } ///< removes every item; frees nothing that pointers lead to
  [[nodiscard]] std::size_t GetCount() const { return m_items.size(); }         ///< how many items there are
  [[nodiscard]] bool IsEmpty() const { return m_items.empty(); }                ///< whether there is none
  [[nodiscard]] const T& operator[](std::size_t i) const { return m_items[i]; } ///< `i` must be less than GetCount()
  [[nodiscard]] T& operator[](std::size_t i) { return m_items[i]; }             ///< `i` must be less than GetCount()
  /// From first to last; the iterator is the caller's.
  [[nodiscard]] CKestTypedIterator<T>* CreateIterator() const { return new CKestTypedIterator<T>(m_items, false); }
  /// From last to first; the iterator is the caller's.
  [[nodiscard]] CKestTypedIterator<T>* CreateReverseIterator() const {
    return new CKestTypedIterator<T>(m_items, true);
  }
  auto begin() { return m_items.begin(); }       ///< for range loops
  auto end() { return m_items.end(); }           ///< for range loops
  auto begin() const { return m_items.begin(); } ///< for range loops
  auto end() const { return m_items.end(); }     ///< for range loops

protected:
  /// Takes the last item off; there must be one.
  T PopLast() {
    T last = std::move(m_items.back());
    m_items.pop_back();
    return last;
  }

private:
  std::vector<T> m_items;
};

/// The same with an end to take from.
template <class T> class CKestTypedVector : public CKestTypedList<T> {
public:
  virtual ~CKestTypedVector() = default;
  /// Takes the last item off; call only when there is one.
  T TakeLast() { return this->PopLast(); }
};

/// Ordered map.
template <class K, class V, class Less> using CKestTypedMap = std::map<K, V, Less>;

/// Text to text, as tokens are kept.
using CKestTokenMap = CKestTypedMap<CString, CString, CKestMapStringLessThan>;

} // namespace kest
