#include "config/ids.h"

#include "config/text_level.h"

namespace kest {
namespace {
constexpr std::size_t kFew = 8;

/// The id of a file's object for comparing: a number above 127 that the file keeps as a reference is the byte that it
/// is in a payload's id.
CString ComparedId(const CString& id) {
  CString compared = id;
  if (id.find('\1') != CString::npos) {
    text::ReplaceAll(compared, "\1", "&");
    DecodeReferences(compared);
  }
  return compared;
}

} // namespace

CString PayloadId(const CKestXmlObject& payload) {
  CString id;
  payload.GetAttribute("id", id);
  DecodeReferences(id);
  return id;
}

bool HasId(const CKestXmlObject& object, std::string_view id) {
  const CString* value = object.FindAttribute("id");
  return value && text::EqualNoCase(ComparedId(*value), id);
}

IdIndex::IdIndex(std::size_t questions) : m_hashed(questions > kFew) {}

void IdIndex::Add(CKestXmlObject* object) {
  if (!m_hashed) {
    m_objects.push_back(object);
  } else if (const CString* id = object->FindAttribute("id")) {
    m_byId.emplace(text::Lower(ComparedId(*id)), object);
  }
}

CKestXmlObject* IdIndex::Find(std::string_view id) const {
  if (id.empty()) {
    return nullptr;
  }
  if (m_hashed) {
    const auto found = m_byId.find(text::Lower(id));
    return found == m_byId.end() ? nullptr : found->second;
  }
  for (CKestXmlObject* object : m_objects) {
    if (HasId(*object, id)) {
      return object;
    }
  }
  return nullptr;
}

} // namespace kest
