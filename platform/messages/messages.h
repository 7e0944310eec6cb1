#pragma once

#include "platform/text/text.h"
#include "platform/text/windows_names.h"

#include <span>

namespace kest {

/// Numbers of the host's texts. Behind each: its arguments (s text, d whole number) and where it is shown.
enum class Message : int {
  // labels of the extension types stand where they belong by number; none has arguments
  kTypeObject = 4000,
  kTypeTemplate = 4001,
  kTypeCommand = 4002,
  kTypeBehavior = 4003,
  kTypeJsExtension = 4004,
  kTypeEncoding = 4005,
  kTypeDictionary = 4006,
  kTypeBrowserProfile = 4007,
  kTypeTranslator = 4008,
  kTypeFloater = 4009,
  kTypeInspector = 4010,
  kTypeQuery = 4011,
  kTypeThirdPartyTags = 4012,
  kTypePlugin = 4013,
  kTypeSuite = 4014,
  kTypeUnknown = 4015,

  kAgreementPrompt = 4016,      ///< s extension
  kDescriptionNameTaken = 4017, ///< s new extension, s installed extension, s description file name; joined with 4018
  kDescriptionNameTakenAsk = 4018, ///< continues 4017, same arguments, named by position in both
  kOlderVersion = 4019,            ///< s extension; yes/no
  kNewerVersion = 4020,            ///< s extension; yes/no
  kEqualVersion = 4021,            ///< s extension; yes/no
  kExistingNewer = 4022,           ///< s path; overwrite question
  kFileInUseBy = 4023,             ///< s path, s product, s product; retry/cancel
  kFileMissing = 4024,             ///< s path
  kInstalled = 4025,               ///< no arguments
  kInstalledRestartProduct = 4026, ///< s product
  kFolderNotCreated = 4027,        ///< s path
  kDescriptionNotCopied = 4028,    ///< s from, s to
  kMenuLocationMissing = 4029,     ///< error 10
  kPackageMissing = 4030,          ///< s path
  kDescriptionUnreadable = 4031,   ///< no arguments
  kNameMissing = 4032,             ///< no arguments
  kUninstalledRestart = 4034,      ///< s extension, s product
  kUninstalled = 4035,             ///< s extension
  kPackageNotCreated = 4036,       ///< s temporary package
  kDestinationWithoutToken = 4038, ///< s source
  kNotPackaged = 4039,             ///< closing sentence of packaging failures
  kExistingOlder = 4040,           ///< s path; overwrite question
  kPackageUnreadable = 4041,       ///< no arguments
  kNotInstalled = 4043,            ///< closing sentence of install failures
  kAgreementFirst = 4045,          ///< 4045 to 4065: the agreement, in order
  kAgreementLast = 4065,
  kParentInPath = 4066,       ///< s source
  kFileInUse = 4067,          ///< s path; retry/cancel
  kTokenUnresolved = 4068,    ///< s destination
  kPackageNotReadable = 4069, ///< no arguments
  kProductsMissing = 4070,    ///< heading of a list
  kVersionOrLater = 4071,     ///< s version; follows a product's name in that list
  kItemsMissing = 4072,       ///< heading of a list
  kItemName = 4073,
  kItemVersion = 4074,
  kItemType = 4075,
  kItemDescription = 4076,
  kItemUiAccess = 4077,
  kItemProducts = 4078,
  kItemAuthor = 4079,
  kExistingEqual = 4083,       ///< s path; overwrite question
  kStraySlash = 4084,          ///< the description holds "/ >"
  kMisplaced = 4086,           ///< error 3, first half
  kMisplacedWhere = 4087,      ///< error 3, second half
  kShortcutListMissing = 4088, ///< error 4
  kTypeServerModel = 4089,
  kTypeDataSource = 4090,
  kTypeServerBehavior = 4091,
  kTypeServerFormat = 4092,
  kRestartMachine = 4093, ///< no arguments
  kTypeReport = 4094,
  kTypeMarlinButtonTemplate = 4095,
  kSeveralProblems = 4096,          ///< heads several configuration errors
  kInstalledWithProblems = 4097,    ///< header, install with non-critical errors
  kConfigurationFailed = 4098,      ///< any other configuration error
  kConfigurationFileMissing = 4099, ///< error 12
  kSourceFormatBad = 4100,          ///< error 11
  kProblem5 = 4101,                 ///< error 5
  kAttributeMissing = 4102,         ///< s element, s attribute
  kTypeSnapReel = 4103,
  kTypeMarlinScript = 4104,
  kTypeLesson = 4105,
  kTypeSample = 4106,
  kTypeUtility = 4107,
  kElementsSectionMissing = 4108, ///< error 19
  kEntryUnclosed = 4110,          ///< error 21
  kTypeLibrary = 4111,
  kTypeStyle = 4112,
  kTypeTexture = 4113,
  kTypeModlet = 4114,
  kTypePattern = 4115,
  kFtpMapBad = 4117,              ///< error 28
  kExtensionsBad = 4118,          ///< error 27
  kPackaging = 4119,              ///< progress caption
  kCancelInstall = 4120,          ///< yes/no after a folder question was given up (no cancels)
  kImporting = 4121,              ///< progress caption
  kEnabledRestartMachine = 4122,  ///< no arguments
  kEnabledRestartProduct = 4123,  ///< s product
  kDisabledRestartProduct = 4124, ///< s product
  kImportRestartMachine = 4125,   ///< no arguments
  kImportRestartProduct = 4126,   ///< s product
  kChooseFolder = 4127,           ///< s prompt of the token
  kTypeKeyboardShortcuts = 4128,
  kTypeQuarryObject = 4129,
  kTypePublishTemplate = 4130,
  kNameTooLong = 4131,      ///< s name, d most characters
  kSeveralPrimaries = 4132, ///< no arguments
  kEqualEnabled = 4133,     ///< no arguments
  kImportAgreement = 4134,  ///< prompt
  kNoFileExtension = 4135,  ///< shown alone
  kInstalling = 4136,       ///< progress caption
  kUninstalling = 4138,     ///< progress caption
  kTypeMarlinTemplate = 4139,
  kTypeMarlinComponent = 4140,
  kTypeMarlinPanel = 4141,
  kTypeMarlinCustomAction = 4142,
  kTypeMarlinImporter = 4143,
  kTypeTagLibrary = 4144,
  kTypeTagImporter = 4145,
  kTypeColoringScheme = 4146,
  kTypeCodeHint = 4147,
  kTypeDocumentType = 4148,
  kTypeCodeSnippet = 4149,
  kTypeSite = 4150,
  kTypeToolbar = 4151,
  kTypeHelpBook = 4152,
  kDocumentTypeFailed = 4153, ///< error 29
  kTagLibraryFailed = 4154,   ///< error 30
  kHelpBookFailed = 4155,     ///< help error 5
  kToolbarFailed = 4156,      ///< error 31
  kInsertBarFailed = 4157,    ///< error 32
  kTypeConnection = 4158,
  kTypeSampleContent = 4159,
  kFileNotUpdatable = 4160,         ///< s path; error 33 gives it without one
  kCommandsMenu = 4161,             ///< name of a menu made in the host
  kMiscellaneous = 4162,            ///< name of a menu and label of a toolbar made in the host
  kMenuPlacedElsewhere = 4163,      ///< error 6
  kToolbarPlacedElsewhere = 4164,   ///< error 7
  kInsertBarPlacedElsewhere = 4165, ///< error 8
  kDisableFailed = 4166,            ///< header
  kEnableFailed = 4167,             ///< header
  kUninstallFailed = 4168,          ///< header
  kEnabledWithProblems = 4169,      ///< header
  kScopeMismatch = 4170,            ///< no arguments
  kRemoveUserCopies = 4171,         ///< yes/no
  kParentInDescription = 4172,      ///< a file path of the description holds ".."
};

/// What stands for each number when no host says otherwise.
struct MessageText {
  int number;            ///< as a host is told
  const char* arguments; ///< one letter each: s text, d whole number
  const char* english;   ///< the built-in text, with its format specifiers
};

/// All texts of the table, by number.
[[nodiscard]] KEST_API std::span<const MessageText> GetMessageTable();
/// The row of a number, or null.
[[nodiscard]] KEST_API const MessageText* FindMessage(int number);

/// Where texts come from instead of the table, for another language. Not owned.
class KEST_API MessageSource {
public:
  virtual ~MessageSource() = default;
  /// False for a number that the source lacks: the table's text is used.
  virtual bool Load(int number, CString& text) = 0;
};
KEST_API void SetMessageSource(MessageSource* source);

/// The text of a number; false and an empty text for a number that nobody has.
KEST_API bool LoadMessage(int number, CString& text);
[[nodiscard]] KEST_API CString LoadMessage(Message number);
/// The text formatted with its arguments.
[[nodiscard]] KEST_API CString FormatMessage(Message number, std::initializer_list<text::Argument> arguments);

} // namespace kest
