#pragma once

#include "config/named.h"

#include <memory>

namespace kest {

/// The changes that a description makes to one file of a product's help folder. As CKestConfigChanges.
class KEST_API CKestHelpChanges : public CKestXmlObject, public std::enable_shared_from_this<CKestHelpChanges> {
public:
  CKestHelpChanges();
  ~CKestHelpChanges() override;
  CKestHelpChanges(const CKestHelpChanges& other);
  CKestHelpChanges& operator=(const CKestHelpChanges& other);

  /// A new, empty file object, the caller's.
  [[nodiscard]] virtual std::unique_ptr<CKestXmlFile> CreateHelpFile() const;
  virtual void GetFolder(CString& folder) const;
  virtual void GetFileName(CString& name) const = 0;
  [[nodiscard]] virtual bool UseReferenceFile() const;
  /// Folder, a backslash only when there is a folder, file name.
  virtual void GetPath(CString& path) const;
};

/// "help-changes": names no file of its own.
class KEST_API CKestStandardHelpChanges : public Named<CKestStandardHelpChanges, CKestHelpChanges> {
public:
  static constexpr std::string_view kTag = "help-changes";
  void GetFileName(CString& name) const override;
};

/// "helpbook-changes": the list of help books in "help.xml".
class KEST_API CKestHelpBookChanges : public Named<CKestHelpBookChanges, CKestHelpChanges> {
public:
  static constexpr std::string_view kTag = "helpbook-changes";
  void GetFileName(CString& name) const override;
};

/// One edit of a help file.
class KEST_API CKestHelpChange : public CKestXmlObject {
public:
  using Changes = CKestHelpChanges;
  enum ErrorCode : int { kSuccess = 0, kNotUpdatable = 4, kHelpBookFailed = 5, kFailed = 6 };

  CKestHelpChange();
  ~CKestHelpChange() override;
  CKestHelpChange(const CKestHelpChange& other);
  CKestHelpChange& operator=(const CKestHelpChange& other);

  [[nodiscard]] static bool IsCriticalError(ErrorCode code) { return code > 3; }
  [[nodiscard]] static bool IsNonCriticalError(ErrorCode) { return false; }

  /// As in CKestConfigChange.
  [[nodiscard]] virtual ErrorCode MakeChange(const CKestHelpChanges* changes, CKestXmlFile* file,
                                             const CKestXmlFile* referenceFile) = 0;
  [[nodiscard]] virtual ErrorCode UndoChange(const CKestHelpChanges* changes, CKestXmlFile* file,
                                             const CKestXmlFile* referenceFile) = 0;
  [[nodiscard]] virtual CString DescribeInWords() const;
};

} // namespace kest
