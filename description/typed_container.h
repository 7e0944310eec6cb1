#pragma once

#include "platform/xml/xml_object.h"

#include <typeinfo>

namespace kest {

/// An element whose children are records of one class. Walking it meets these alone: a child of any other class stays
/// in the tree, is written with it, and is passed over.
template <class T> class CKestTypedContainer : public CKestXmlObject {
  template <class Item> class Walk {
  public:
    using value_type = T;
    using reference = Item&;
    using pointer = Item*;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::forward_iterator_tag;
    Walk() = default;
    Walk(Children::const_iterator at, Children::const_iterator end) : m_at(at), m_end(end) { Settle(); }
    reference operator*() const { return static_cast<reference>(**m_at); }
    pointer operator->() const { return &**this; }
    Walk& operator++() {
      ++m_at;
      Settle();
      return *this;
    }
    Walk operator++(int) {
      Walk before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Walk& other) const { return m_at == other.m_at; }

  private:
    void Settle() {
      while (m_at != m_end && !IsItem(**m_at)) {
        ++m_at;
      }
    }
    Children::const_iterator m_at;
    Children::const_iterator m_end;
  };

public:
  using Iterator = Walk<T>;            ///< over records that may change
  using ConstIterator = Walk<const T>; ///< over records

  /// The records in order. The container must not change during a walk.
  [[nodiscard]] Iterator begin() { return Iterator(GetChildren().begin(), GetChildren().end()); }
  /// The end of the records.
  [[nodiscard]] Iterator end() { return Iterator(GetChildren().end(), GetChildren().end()); }
  /// The records in order.
  [[nodiscard]] ConstIterator begin() const { return ConstIterator(GetChildren().begin(), GetChildren().end()); }
  /// The end of the records.
  [[nodiscard]] ConstIterator end() const { return ConstIterator(GetChildren().end(), GetChildren().end()); }
  /// Number of records; children of other classes do not count.
  [[nodiscard]] std::size_t GetCount() const { return static_cast<std::size_t>(std::distance(begin(), end())); }
  /// Appends a new, empty record and returns it, borrowed.
  T& Add() { return static_cast<T&>(*AppendChild(std::make_unique<T>())); }

private:
  static bool IsItem(const CKestXmlObject& child) { return typeid(child) == typeid(T); }
};

} // namespace kest
