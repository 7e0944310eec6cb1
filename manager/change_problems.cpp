#include "manager/change_problems.h"

#include "config/config_change.h"
#include "config/help_change.h"
#include "description/extension.h"
#include "manager/manager_state.h"

#include <algorithm>
#include <iterator>

namespace kest {
namespace {

using Config = CKestConfigChange;
using Help = CKestHelpChange;

constexpr const char* kForeignFile = "put back the file that came with the product, or its backup copy";
constexpr const char* kFaultyDescription = "ask the extension's author for a corrected one";
constexpr const char* kOtherVersion = ""; ///< it may have been written for another version of the product
constexpr const char* kBusyFile = "close the program that uses the file and try again";

/// What a code says of the file, and what can be done.
struct ReasonRow {
  int code;
  const char* reason;
  const char* next;
};

constexpr ReasonRow kConfigReasons[] = {
    {Config::kShortcutListMissing, "has no list for its shortcut", kOtherVersion},
    {Config::kPlacedInLastResortMenu, "has no place for its menu, which went to another one", ""},
    {Config::kPlacedInDefaultToolbar, "has no place for its button, which went to a toolbar of its own", ""},
    {Config::kPlacedInDefaultCategory, "has no place for its button, which went to a category of its own", ""},
    {Config::kMenuNotChanged, "has no place for its menu", kOtherVersion},
    {Config::kSourceFormatNotText, "is no source-format profile", kFaultyDescription},
    {Config::kFileMissing, "is missing", kForeignFile},
    {Config::kElementInsertWithoutName, "cannot take an element without a name", kFaultyDescription},
    {Config::kElementRemoveWithoutName, "cannot lose an element without a name", kFaultyDescription},
    {Config::kAttributeInsertWithoutName, "cannot take an attribute without a name", kFaultyDescription},
    {Config::kAttributeRemoveWithoutName, "cannot lose an attribute without a name", kFaultyDescription},
    {Config::kElementsSectionMissing, "has no section for elements", kForeignFile},
    {Config::kAttributesSectionMissing, "has no section for attributes", kForeignFile},
    {Config::kEntryUnclosed, "has an entry that does not end", kForeignFile},
    {Config::kFtpInsertWithoutExtension, "cannot take an entry without a file extension", kFaultyDescription},
    {Config::kFtpRemoveWithoutExtension, "cannot lose an entry without a file extension", kFaultyDescription},
    {Config::kExtensionsInsertWithoutList, "cannot take an entry without file extensions", kFaultyDescription},
    {Config::kExtensionsInsertWithoutDescription, "cannot take an entry without a description", kFaultyDescription},
    {Config::kExtensionsRemoveWithoutList, "cannot lose an entry without file extensions", kFaultyDescription},
    {Config::kExtensionsNotText, "is no list of file extensions", kFaultyDescription},
    {Config::kFtpMapNotText, "is no FTP map", kFaultyDescription},
    {Config::kDocumentTypeFailed, "has no such document type, or no list for it", kOtherVersion},
    {Config::kTagLibraryFailed, "has no such tag library, or no list for it", kOtherVersion},
    {Config::kToolbarFailed, "has no such toolbar or button, or no place for it", kOtherVersion},
    {Config::kInsertBarFailed, "has no such category or button, or no place for it", kOtherVersion},
    {Config::kFileNotUpdatable, "cannot be written", "make the file writable and try again"},
    {Config::kFailed, "cannot be read or backed up", kForeignFile},
};

constexpr ReasonRow kHelpReasons[] = {
    {Help::kNotUpdatable, "cannot be written", "make the file writable and try again"},
    {Help::kHelpBookFailed, "has no such help book, or no list for it", kOtherVersion},
    {Help::kFailed, "is missing or cannot be read", kForeignFile},
};

const ReasonRow* FindReason(const ConfigProblem& problem) {
  const auto find = [&](const auto& rows) {
    const auto* const row = std::find_if(std::begin(rows), std::end(rows),
                                         [&](const ReasonRow& candidate) { return candidate.code == problem.code; });
    return row == std::end(rows) ? nullptr : row;
  };
  return problem.help ? find(kHelpReasons) : find(kConfigReasons);
}

/// "ServerFormats\Formats.xml": as an author names the file.
CString ShortName(const CString& path) {
  for (const std::string_view folder : {"\\configuration\\", "\\help\\"}) {
    const std::size_t at = text::Lower(path).rfind(folder);
    if (at != CString::npos) {
      return path.substr(at + folder.size());
    }
  }
  return path;
}

CString OnOneLine(CString words) {
  for (std::size_t at = 0; (at = words.find('\n', at)) != CString::npos;) {
    words.replace(at, 1, "; ");
  }
  return words;
}

/// What an extension for another version of the product suggests; empty when it was written for this one.
CString OtherVersion(const CKestProduct& product, const CKestExtension& extension) {
  const CKestExtensionProduct* primary = extension.GetPrimaryProduct();
  if (primary == nullptr) {
    return {};
  }
  CKestVersionNumber installed;
  product.GetVersion(installed);
  const CKestVersionNumber written(primary->GetVersion());
  return written.GetMajor() == installed.GetMajor()
             ? CString()
             : "it was written for " + primary->GetName() + " " + primary->GetVersion();
}

} // namespace

OperationReport::Problem DescribeChangeProblem(const ConfigProblem& problem, const CKestProduct& product,
                                               const CKestExtension& extension) {
  const ReasonRow* const row = FindReason(problem);
  const CString name = problem.path.empty() ? CString("the product's configuration") : ShortName(problem.path);
  OperationReport::Problem told;
  told.kind = problem.declined ? OperationReport::Failure::kInUse : FailureOf(problem.error);
  told.path = problem.path;
  told.change = OnOneLine(problem.change);
  if (problem.noChange) {
    told.reason = told.change + " is no change that could be made in " +
                  (problem.help && problem.path.empty() ? CString("the product's help") : name);
    told.message = static_cast<int>(problem.message);
    told.fatal = problem.critical;
    told.next = kFaultyDescription;
    return told;
  }
  told.reason = name + " " + (row != nullptr ? row->reason : "could not be changed");
  told.reason += told.change.empty() ? CString() : ": " + told.change;
  told.message = static_cast<int>(problem.message);
  told.fatal = problem.critical;
  const bool byMachine =
      problem.error.kind != MachineError::Kind::kNone && problem.error.kind != MachineError::Kind::kNotFound;
  if (byMachine && !problem.error.reason.empty()) {
    told.reason += " (" + problem.error.reason + ")";
  }
  if (told.kind == OperationReport::Failure::kInUse) {
    told.next = kBusyFile;
  } else if (!byMachine && row != nullptr) {
    told.next = row->next[0] != '\0' ? CString(row->next) : OtherVersion(product, extension);
  }
  return told;
}

} // namespace kest
