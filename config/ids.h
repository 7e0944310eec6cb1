#pragma once

#include "platform/xml/xml_object.h"

#include <unordered_map>

namespace kest {

/// The id of a payload object, as a generic file would hold it; empty without one.
[[nodiscard]] CString PayloadId(const CKestXmlObject& payload);
/// Whether the object has the id, in any case.
[[nodiscard]] bool HasId(const CKestXmlObject& object, std::string_view id);

/// Finds objects by id, in any case; of several with one id the first added. Borrows them.
class IdIndex {
public:
  /// `questions`: how many are to come; few are answered by a walk.
  explicit IdIndex(std::size_t questions);
  void Add(CKestXmlObject* object);
  /// Null for an empty id.
  [[nodiscard]] CKestXmlObject* Find(std::string_view id) const;

private:
  const bool m_hashed;
  std::vector<CKestXmlObject*> m_objects;
  std::unordered_map<CString, CKestXmlObject*> m_byId;
};

} // namespace kest
