#include "config/list_changes.h"

#include "config/generic_xml_file.h"
#include "config/ids.h"
#include "config/text_level.h"

namespace kest {
namespace {

CKestXmlObject* FindContainer(const RecordFamily& family, CKestXmlFile* file) {
  return dynamic_cast<CKestGenericXmlFile*>(file) ? file->FindTag(family.container) : nullptr;
}

bool InsertRecords(const RecordFamily& family, const CKestXmlObject& payload, CKestXmlFile* file) {
  CKestXmlObject* container = FindContainer(family, file);
  if (!container) {
    return false;
  }
  const bool singleByte = dynamic_cast<const CKestGenericXmlFile&>(*file).IsSingleByte();
  IdIndex records(payload.GetChildren().size());
  for (const auto& child : container->GetChildren()) {
    if (child->HasTag(family.record)) {
      records.Add(child.get());
    }
  }
  bool met = false;
  for (const auto& child : payload.GetChildren()) {
    if (!child->HasTag(family.record)) {
      continue;
    }
    met = true;
    if (CKestXmlObject* existing = records.Find(PayloadId(*child))) {
      AssignPayload(*existing, *child, singleByte);
    } else {
      records.Add(container->AppendChild(CopyPayload(*child, singleByte)));
    }
  }
  return met;
}

void RemoveFirstRecord(const RecordFamily& family, const CKestXmlObject& payload, CKestXmlFile* file) {
  CKestXmlObject* container = FindContainer(family, file);
  for (const auto& child : payload.GetChildren()) {
    if (child->HasTag(family.record) && RemoveRecordById(family, container, PayloadId(*child))) {
      return;
    }
  }
}

} // namespace

CKestXmlObject* FindRecordById(const RecordFamily& family, CKestXmlObject* container, std::string_view id) {
  if (!container || id.empty()) {
    return nullptr;
  }
  for (const auto& child : container->GetChildren()) {
    if (child->HasTag(family.record) && HasId(*child, id)) {
      return child.get();
    }
  }
  return nullptr;
}

bool RemoveRecordById(const RecordFamily& family, CKestXmlObject* container, std::string_view id) {
  const CKestXmlObject* record = FindRecordById(family, container, id);
  return record && container->RemoveChild(record) != nullptr;
}

template <class Base> void RecordInsert<Base>::BuildXml(int level, CString& text) const {
  const CString indent(static_cast<std::size_t>(level), '\t');
  text.append(indent).append("<").append(kTag).append(">\r\n");
  CString payload;
  this->BuildInnerXml(level + 1, payload);
  // of help changes nobody else takes the escapes back, and with each reading there would be more of them
  if constexpr (std::is_base_of_v<CKestHelpChange, Base>) {
    RevertEscapes(payload);
  }
  text.append(payload);
  text.append(indent).append("</").append(kTag).append(">\r\n");
}

template <class Base>
auto RecordInsert<Base>::MakeChange(const Changes* /*changes*/, CKestXmlFile* file,
                                    const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  return InsertRecords(Base::kFamily, *this, file) ? Base::kSuccess : static_cast<ErrorCode>(Base::kFamily.failure);
}

template <class Base>
auto RecordInsert<Base>::UndoChange(const Changes* /*changes*/, CKestXmlFile* file,
                                    const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  RemoveFirstRecord(Base::kFamily, *this, file);
  return Base::kSuccess;
}

template <class Base> CString RecordInsert<Base>::DescribeInWords() const {
  CString words;
  for (const auto& child : this->GetChildren()) {
    if (!child->HasTag(Base::kFamily.record)) {
      continue;
    }
    words.append(words.empty() ? "" : "\n").append(Base::kFamily.words);
    words.append(" \"").append(PayloadId(*child)).append("\"");
  }
  return words;
}

template <class Base> void RecordRemove<Base>::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag);
  text.append(" id=\"").append(m_id).append("\" />\r\n");
}

template <class Base>
auto RecordRemove<Base>::MakeChange(const Changes* /*changes*/, CKestXmlFile* file,
                                    const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  CString id = m_id;
  DecodeReferences(id);
  return RemoveRecordById(Base::kFamily, FindContainer(Base::kFamily, file), id)
             ? Base::kSuccess
             : static_cast<ErrorCode>(Base::kFamily.failure);
}

template <class Base>
auto RecordRemove<Base>::UndoChange(const Changes* /*changes*/, CKestXmlFile* /*file*/,
                                    const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  return Base::kSuccess;
}

template <class Base> CString RecordRemove<Base>::DescribeInWords() const {
  return CString("remove ").append(Base::kFamily.words).append(" \"").append(m_id).append("\"");
}

template class RecordInsert<CKestDocumentTypeChange>;
template class RecordRemove<CKestDocumentTypeChange>;
template class RecordInsert<CKestTagLibraryChange>;
template class RecordRemove<CKestTagLibraryChange>;
template class RecordInsert<CKestHelpBookChange>;
template class RecordRemove<CKestHelpBookChange>;

} // namespace kest
