#pragma once

#include "platform/xml/xml_object.h"

namespace kest {

/// Gives the class `Derived`, based on `Base`, its fixed element name (`Derived::kTag`) and its clone.
template <class Derived, class Base> class Named : public Base {
public:
  using Base::Base;
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override { tag = Derived::kTag; } ///< the fixed name
  /// Whether it equals the fixed name.
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override {
    return caseSensitive ? tag == Derived::kTag : text::EqualNoCase(tag, Derived::kTag);
  }
  /// A copy of the derived class.
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override {
    return std::make_unique<Derived>(static_cast<const Derived&>(*this));
  }
};

} // namespace kest
