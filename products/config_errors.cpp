#include "products/config_errors.h"

#include <algorithm>

namespace kest {

namespace {

struct ErrorRow {
  int code;
  Message message;
  const char* element = nullptr; ///< arguments of kAttributeMissing
  const char* attribute = nullptr;
};

constexpr int kMisplacedCode = 3;

constexpr ErrorRow kConfigErrors[] = {
    {kMisplacedCode, Message::kMisplaced},
    {4, Message::kShortcutListMissing},
    {5, Message::kProblem5},
    {6, Message::kMenuPlacedElsewhere},
    {7, Message::kToolbarPlacedElsewhere},
    {8, Message::kInsertBarPlacedElsewhere},
    {10, Message::kMenuLocationMissing},
    {11, Message::kSourceFormatBad},
    {12, Message::kConfigurationFileMissing},
    {14, Message::kAttributeMissing, "element-insert", "name"},
    {15, Message::kAttributeMissing, "element-remove", "name"},
    {16, Message::kAttributeMissing, "attribute-insert", "name"},
    {17, Message::kAttributeMissing, "attribute-remove", "name"},
    {19, Message::kElementsSectionMissing},
    {21, Message::kEntryUnclosed},
    {22, Message::kAttributeMissing, "ftp-extension-insert", "extension"},
    {23, Message::kAttributeMissing, "ftp-extension-remove", "extension"},
    {24, Message::kAttributeMissing, "extension-insert", "extension"},
    {25, Message::kAttributeMissing, "extension-insert", "description"},
    {26, Message::kAttributeMissing, "extension-remove", "extension"},
    {27, Message::kExtensionsBad},
    {28, Message::kFtpMapBad},
    {29, Message::kDocumentTypeFailed},
    {30, Message::kTagLibraryFailed},
    {31, Message::kToolbarFailed},
    {32, Message::kInsertBarFailed},
    {33, Message::kFileNotUpdatable},
};

ConfigErrorMessage MessageOf(const ErrorRow& row) {
  ConfigErrorMessage result;
  result.message = row.message;
  if (row.element != nullptr) {
    result.arguments = {CString(row.element), CString(row.attribute)};
    result.text = FormatMessage(row.message, {CString(row.element), CString(row.attribute)});
  } else {
    result.text = FormatMessage(row.message, {});
  }
  return result;
}

} // namespace

ConfigErrorMessage GetConfigErrorMessage(CKestConfigChange::ErrorCode code) {
  const auto* const row = std::find_if(std::begin(kConfigErrors), std::end(kConfigErrors),
                                       [code](const ErrorRow& candidate) { return candidate.code == code; });
  if (row == std::end(kConfigErrors)) {
    return MessageOf({code, Message::kConfigurationFailed});
  }
  ConfigErrorMessage result = MessageOf(*row);
  if (code == kMisplacedCode) {
    result.text += " " + LoadMessage(Message::kMisplacedWhere);
  }
  return result;
}

ConfigErrorMessage GetHelpErrorMessage(CKestHelpChange::ErrorCode code) {
  return MessageOf(
      {code, code == CKestHelpChange::kHelpBookFailed ? Message::kHelpBookFailed : Message::kConfigurationFailed});
}

void AddErrorLine(CString& errorText, const CString& line) {
  if (errorText.find(line) != CString::npos) {
    return;
  }
  if (!errorText.empty()) {
    errorText += '\n';
  }
  errorText += line;
}

ConfigOutcome JoinConfigErrors(const CString& errorText, const CString& header, const ConfigErrorMessage& first,
                               int errorCount) {
  if (errorCount > 1) {
    return {Message::kSeveralProblems, {}, LoadMessage(Message::kSeveralProblems) + " " + header + "\n" + errorText};
  }
  return {first.message, first.arguments, errorText + " " + header};
}

} // namespace kest
