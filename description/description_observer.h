#pragma once

#include "platform/text/text.h"

namespace kest {

/// Hears where a description says something that has no effect, while it is read. Lines are 1-based. Every operation
/// has an empty body; an observer overrides what it wants to hear.
class KEST_API DescriptionObserver {
public:
  virtual ~DescriptionObserver() = default;
  /// The element does not know the attribute; it is skipped.
  virtual void OnUnknownAttribute(int line, std::string_view element, std::string_view attribute);
  /// The element has no effect where it stands. `belongsIn` names the element that it belongs in; empty when no
  /// element of that name means anything.
  virtual void OnDropped(int line, std::string_view element, std::string_view belongsIn);
  /// The element became part of a change set without being a change: such a set cannot be applied.
  virtual void OnForeignChange(int line, std::string_view element, std::string_view set);
  /// Reading ended before the end of the document, for this reason.
  virtual void OnFailure(int line, std::string_view reason);
};

} // namespace kest
