#pragma once

#include "config/config_change.h"
#include "config/help_change.h"

namespace kest {

/// A file that is a list of records keyed by an id.
struct RecordFamily {
  std::string_view container;
  std::string_view record;
  std::string_view words; ///< what a user calls a record
  int failure;            ///< error code of the family
};

/// First direct child of the container that is a record with this id; both names in any case. Null for an empty id.
[[nodiscard]] CKestXmlObject* FindRecordById(const RecordFamily& family, CKestXmlObject* container,
                                             std::string_view id);
bool RemoveRecordById(const RecordFamily& family, CKestXmlObject* container, std::string_view id);

class KEST_API CKestDocumentTypeChange : public CKestConfigChange {
public:
  static constexpr RecordFamily kFamily{"documenttypes", "documenttype", "document type", kDocumentTypeFailed};
  static constexpr std::string_view kInsertTag = "documenttype-insert";
  static constexpr std::string_view kRemoveTag = "documenttype-remove";

protected:
  static CKestXmlObject* FindDocumentTypeById(CKestXmlObject* container, std::string_view id) {
    return FindRecordById(kFamily, container, id);
  }
  static bool RemoveDocumentTypeById(CKestXmlObject* container, std::string_view id) {
    return RemoveRecordById(kFamily, container, id);
  }
};

class KEST_API CKestTagLibraryChange : public CKestConfigChange {
public:
  static constexpr RecordFamily kFamily{"taglibraries", "taglibrary", "tag library", kTagLibraryFailed};
  static constexpr std::string_view kInsertTag = "taglibrary-insert";
  static constexpr std::string_view kRemoveTag = "taglibrary-remove";

protected:
  static CKestXmlObject* FindTagLibraryById(CKestXmlObject* container, std::string_view id) {
    return FindRecordById(kFamily, container, id);
  }
  static bool RemoveTagLibraryById(CKestXmlObject* container, std::string_view id) {
    return RemoveRecordById(kFamily, container, id);
  }
};

class KEST_API CKestHelpBookChange : public CKestHelpChange {
public:
  static constexpr RecordFamily kFamily{"help-books", "book-id", "help book", kHelpBookFailed};
  static constexpr std::string_view kInsertTag = "helpbook-insert";
  static constexpr std::string_view kRemoveTag = "helpbook-remove";

protected:
  static CKestXmlObject* FindHelpBookById(CKestXmlObject* container, std::string_view id) {
    return FindRecordById(kFamily, container, id);
  }
  static bool RemoveHelpBookById(CKestXmlObject* container, std::string_view id) {
    return RemoveRecordById(kFamily, container, id);
  }
};

/// Inserts the payload's records; one that the file has is overwritten in place. The undo removes the first of them
/// that the file has, and no more.
template <class Base> class KEST_API RecordInsert : public Named<RecordInsert<Base>, Base> {
public:
  static constexpr std::string_view kTag = Base::kInsertTag;
  using typename Base::Changes;
  using typename Base::ErrorCode;
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const Changes* changes, CKestXmlFile* file, const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const Changes* changes, CKestXmlFile* file, const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;
};

/// Removes one record; a file that lacks it is an error. No undo.
template <class Base> class KEST_API RecordRemove : public Named<RecordRemove<Base>, Base> {
public:
  static constexpr std::string_view kTag = Base::kRemoveTag;
  using typename Base::Changes;
  using typename Base::ErrorCode;
  void SetID(std::string_view id) { m_id = id; }
  void GetID(CString& id) const { id = m_id; }
  [[nodiscard]] const CString& GetID() const { return m_id; }
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const Changes* changes, CKestXmlFile* file, const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const Changes* changes, CKestXmlFile* file, const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  CString m_id;
};

extern template class RecordInsert<CKestDocumentTypeChange>;
extern template class RecordRemove<CKestDocumentTypeChange>;
extern template class RecordInsert<CKestTagLibraryChange>;
extern template class RecordRemove<CKestTagLibraryChange>;
extern template class RecordInsert<CKestHelpBookChange>;
extern template class RecordRemove<CKestHelpBookChange>;

using CKestDocumentTypeChangeInsert = RecordInsert<CKestDocumentTypeChange>;
using CKestDocumentTypeChangeRemove = RecordRemove<CKestDocumentTypeChange>;
using CKestTagLibraryChangeInsert = RecordInsert<CKestTagLibraryChange>;
using CKestTagLibraryChangeRemove = RecordRemove<CKestTagLibraryChange>;
using CKestHelpBookChangeInsert = RecordInsert<CKestHelpBookChange>;
using CKestHelpBookChangeRemove = RecordRemove<CKestHelpBookChange>;

} // namespace kest
