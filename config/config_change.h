#pragma once

#include "config/named.h"

#include <memory>

namespace kest {

class CKestConfigChange;
class CKestExtensionInstallStep;
class CKestProduct;

/// The changes that a description makes to one configuration file of a product: knows the element under which they
/// stand in a description, where the file lies below the configuration folder, and which class reads it. Its children
/// are the changes, in description order. Made on the heap; records share it.
class KEST_API CKestConfigChanges : public CKestXmlObject, public std::enable_shared_from_this<CKestConfigChanges> {
public:
  CKestConfigChanges();
  ~CKestConfigChanges() override;
  CKestConfigChanges(const CKestConfigChanges& other);            ///< copies the set with its changes
  CKestConfigChanges& operator=(const CKestConfigChanges& other); ///< the same, in place of what was there

  /// A new, empty file object, the caller's. `existing` tells that the caller is about to Load it; otherwise it holds
  /// what a new file begins with.
  [[nodiscard]] virtual std::unique_ptr<CKestXmlFile> CreateConfigFile(bool existing) const = 0;
  /// Folder below the configuration folder; empty for the configuration folder itself.
  virtual void GetFolder(CString& folder) const = 0;
  virtual void GetFileName(CString& name) const = 0; ///< of the file that the set changes, without folder
  /// Where content goes when there is no last-resort menu; empty for none.
  virtual void GetLastResortAppendToID(CString& id) const;
  /// Whether the product's original of the file is wanted beside it.
  [[nodiscard]] virtual bool UseReferenceFile() const;
  /// Folder, backslash, file name; the backslash stands even when the folder is empty.
  virtual void GetPath(CString& path) const;
  /// Whether the file may be made when it is missing.
  [[nodiscard]] virtual bool AllowNewFile() const;
  /// Whether menu content whose location is missing goes to the first bar.
  [[nodiscard]] virtual bool AppendIfLocationNotFound() const;
  /// True with the id of the menu that takes content whose location is missing.
  virtual bool GetLastResortId(CString& id) const;
  /// Makes that menu in the file; null when it cannot. Borrowed from the file.
  virtual CKestXmlObject* CreateLastResortObject(CKestXmlFile* file) const;

  /// Whether the path stays below the configuration folder: no "..", no colon, and no separator where a description
  /// names a file. A set that says false must not be applied.
  [[nodiscard]] virtual bool HasSafePath() const;

protected:
  /// Start tag with one optional attribute, children, end tag.
  void BuildSetXml(int level, std::string_view attribute, std::string_view value, CString& text) const;
};

/// One edit of a configuration file. Its children are what it inserts.
class KEST_API CKestConfigChange : public CKestXmlObject {
public:
  using Changes = CKestConfigChanges; ///< the set that holds such changes

  /// Above 9 critical: the operation stops. 3 to 8 non-critical: reported, the file is saved all the same.
  enum ErrorCode : int {
    kSuccess = 0,
    kShortcutListMissing = 4,
    kPlacedInLastResortMenu = 6,
    kPlacedInDefaultToolbar = 7,
    kPlacedInDefaultCategory = 8,
    kMenuNotChanged = 10,
    kSourceFormatNotText = 11,
    kFileMissing = 12,
    kNameMissing = 13, ///< inside the source-format changes only
    kElementInsertWithoutName = 14,
    kElementRemoveWithoutName = 15,
    kAttributeInsertWithoutName = 16,
    kAttributeRemoveWithoutName = 17,
    kSectionMissing = 18, ///< inside the source-format changes only
    kElementsSectionMissing = 19,
    kAttributesSectionMissing = 20,
    kEntryUnclosed = 21,
    kFtpInsertWithoutExtension = 22,
    kFtpRemoveWithoutExtension = 23,
    kExtensionsInsertWithoutList = 24,
    kExtensionsInsertWithoutDescription = 25,
    kExtensionsRemoveWithoutList = 26,
    kExtensionsNotText = 27,
    kFtpMapNotText = 28,
    kDocumentTypeFailed = 29,
    kTagLibraryFailed = 30,
    kToolbarFailed = 31,
    kInsertBarFailed = 32,
    kFileNotUpdatable = 33,
    kFailed = 34,
  };
  /// What to do at a location.
  enum Action : int { kNoAction = 0, kInsertBefore = 1, kInsertAfter = 2, kPrependTo = 3, kAppendTo = 4 };

  CKestConfigChange();
  ~CKestConfigChange() override;
  CKestConfigChange(const CKestConfigChange& other);            ///< copies the change with its content
  CKestConfigChange& operator=(const CKestConfigChange& other); ///< the same, in place of what was there

  [[nodiscard]] static bool IsCriticalError(ErrorCode code) { return code > 9; } ///< whether the operation has to stop
  /// Whether the user is told and the operation goes on.
  [[nodiscard]] static bool IsNonCriticalError(ErrorCode code) { return code >= 3 && code <= 8; }
  /// The attribute name of an action, "appendTo" for none.
  [[nodiscard]] static std::string_view ActionName(int action);

  /// Edits the loaded file in memory; never saves. A critical result leaves what this change did before it failed; the
  /// caller throws the file away. `referenceFile` is null.
  [[nodiscard]] virtual ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                                             const CKestXmlFile* referenceFile) = 0;
  /// Takes back what MakeChange did, as far as it is still there.
  [[nodiscard]] virtual ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                                             const CKestXmlFile* referenceFile) = 0;
  /// After a MakeChange that was not critical: may append steps to the journal (owned by it) and change the result.
  [[nodiscard]] virtual ErrorCode PostMakeChange(ErrorCode result, const CKestProduct* product,
                                                 CKestTypedVector<CKestExtensionInstallStep*>* steps);
  /// What the change does, for a user to read: one line for each object, joined by LF, no LF at the end.
  [[nodiscard]] virtual CString DescribeInWords() const;
};

} // namespace kest
