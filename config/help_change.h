#pragma once

#include "config/named.h"

#include <memory>

namespace kest {

/// The changes that a description makes to one file of a product's help folder. As CKestConfigChanges.
class KEST_API CKestHelpChanges : public CKestXmlObject, public std::enable_shared_from_this<CKestHelpChanges> {
public:
  CKestHelpChanges();
  ~CKestHelpChanges() override;
  CKestHelpChanges(const CKestHelpChanges& other);            ///< copies the set with its changes
  CKestHelpChanges& operator=(const CKestHelpChanges& other); ///< the same, in place of what was there

  /// A new, empty file object, the caller's.
  [[nodiscard]] virtual std::unique_ptr<CKestXmlFile> CreateHelpFile() const;
  virtual void GetFolder(CString& folder) const;     ///< below the help folder; empty for the folder itself
  virtual void GetFileName(CString& name) const = 0; ///< of the file that the set changes, without folder
  /// Whether the product's original of the file is wanted beside it.
  [[nodiscard]] virtual bool UseReferenceFile() const;
  /// Folder, a backslash only when there is a folder, file name.
  virtual void GetPath(CString& path) const;
};

/// "help-changes": names no file of its own.
class KEST_API CKestStandardHelpChanges : public Named<CKestStandardHelpChanges, CKestHelpChanges> {
public:
  static constexpr std::string_view kTag = "help-changes"; ///< element name
  void GetFileName(CString& name) const override;
};

/// "helpbook-changes": the list of help books in "help.xml".
class KEST_API CKestHelpBookChanges : public Named<CKestHelpBookChanges, CKestHelpChanges> {
public:
  static constexpr std::string_view kTag = "helpbook-changes"; ///< element name
  void GetFileName(CString& name) const override;
};

/// One edit of a help file.
class KEST_API CKestHelpChange : public CKestXmlObject {
public:
  using Changes = CKestHelpChanges; ///< the set that holds such changes
  /// What changes answer.
  enum ErrorCode : int { kSuccess = 0, kNotUpdatable = 4, kHelpBookFailed = 5, kFailed = 6 };

  CKestHelpChange();
  ~CKestHelpChange() override;
  CKestHelpChange(const CKestHelpChange& other);            ///< copies the change with its content
  CKestHelpChange& operator=(const CKestHelpChange& other); ///< the same, in place of what was there

  [[nodiscard]] static bool IsCriticalError(ErrorCode code) { return code > 3; } ///< whether the operation has to stop
  /// Whether the user is told and the operation goes on.
  [[nodiscard]] static bool IsNonCriticalError(ErrorCode) { return false; }

  /// As in CKestConfigChange.
  [[nodiscard]] virtual ErrorCode MakeChange(const CKestHelpChanges* changes, CKestXmlFile* file,
                                             const CKestXmlFile* referenceFile) = 0;
  /// Takes back what MakeChange did, as far as it is still there.
  [[nodiscard]] virtual ErrorCode UndoChange(const CKestHelpChanges* changes, CKestXmlFile* file,
                                             const CKestXmlFile* referenceFile) = 0;
  /// For messages to users: what the change does, a line for each object.
  [[nodiscard]] virtual CString DescribeInWords() const;
};

} // namespace kest
