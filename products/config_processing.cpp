#include "products/config_processing.h"

#include "description/extension.h"
#include "journal/install_steps.h"
#include "journal/journal.h"
#include "platform/machine/os.h"
#include "platform/machine/timer.h"
#include "platform/machine/user_help.h"
#include "products/config_errors.h"

#include <algorithm>

namespace kest {

namespace {

constexpr int kSharedConfigurationUser = 2;
constexpr std::int64_t kWaitMilliseconds = 5000;
constexpr std::size_t kDriveRootLength = 3;

using ConfigCode = CKestConfigChange::ErrorCode;
using HelpCode = CKestHelpChange::ErrorCode;

/// Whether the backup of `path` would lie on a file that the operation has backed up, or on the backup of one, or
/// `path` is such a backup itself.
bool CollidesWithBackup(const CString& path, const CString& backup, const CKestTypedList<CString>& backedUp) {
  if (text::EqualNoCase(path, backup)) {
    return true;
  }
  return std::any_of(backedUp.begin(), backedUp.end(), [&](const CString& other) {
    const CString otherBackup = BackupNameOf(other);
    return text::EqualNoCase(backup, otherBackup) || text::EqualNoCase(backup, other) ||
           text::EqualNoCase(path, otherBackup);
  });
}

} // namespace

CString BackupNameOf(const CString& path) {
  CKestPath backup(path);
  const CString extension = backup.GetExtension();
  const std::size_t first = extension.empty() ? 0 : (text::IsLeadByte(extension.front()) ? 2 : 1);
  backup.SetExtension(extension.substr(0, first) + "bk");
  return backup.GetText();
}

ConfigRun::ConfigRun(const CKestTidemark& product, Steps* steps, CKestExtensionManagerUI* ui, Operation operation,
                     const Tally& tally)
    : m_product(product), m_steps(steps), m_ui(ui), m_operation(operation), m_tally(tally) {}

// ---- one set --------------------------------------------------------------------------------------------------------

bool ConfigRun::Run(const CKestConfigChanges* set) {
  CKestOS::GetMachine().ClearLastError();
  if (m_steps == nullptr || !m_ui.IsThere() || set == nullptr) {
    return Stop(ConfigCode::kFailed, Counting::kUncounted);
  }
  if (!set->HasChildren()) {
    return false;
  }
  if (!set->HasSafePath()) {
    set->GetPath(m_path);
    return Stop(ConfigCode::kFileMissing);
  }
  std::vector<CString> folders;
  if (LearnOfUsers() || ChooseFolders(folders)) {
    return true;
  }
  return std::any_of(folders.begin(), folders.end(), [&](const CString& folder) { return RunInFolder(*set, folder); });
}

bool ConfigRun::Run(const CKestHelpChanges* set) {
  CKestOS::GetMachine().ClearLastError();
  if (m_steps == nullptr || !m_ui.IsThere() || set == nullptr) {
    return Stop(HelpCode::kFailed, Counting::kUncounted);
  }
  if (!set->HasChildren()) {
    return false;
  }
  if (LearnOfUsers()) {
    return true;
  }
  CString relativePath;
  set->GetPath(relativePath);
  m_path = CKestOS::GetMachine().GetStoredPath(JoinPath({m_product.m_helpFolder.GetText(), relativePath}));
  // a set that names no file of its own leads to the help folder itself
  if (m_path.empty() || CKestOS::DirectoryExists(m_path)) {
    m_path.clear();
    m_change = "<" + set->GetChildren().front()->GetTag() + ">";
    m_isNoChange = true;
    return Stop(HelpCode::kFailed);
  }
  if (MakeUpdatable()) {
    return true;
  }
  if (BackUp()) {
    return Stop(HelpCode::kFailed);
  }
  const std::unique_ptr<CKestXmlFile> file = set->CreateHelpFile();
  if (file == nullptr || file->Load(m_path.c_str(), nullptr) != 0) {
    return Stop(HelpCode::kFailed);
  }
  if (MakeChanges(*set, *file)) {
    return true;
  }
  CKestOS::GetMachine().ClearLastError();
  // as with a configuration file, a save that failed fails the operation: a success would be one that did not happen
  if (WaitUntilUpdatable() || file->Save(m_path.c_str()) != 0) {
    return Stop(HelpCode::kNotUpdatable);
  }
  return false;
}

/// Reads what the machine says of its users. A machine that cannot say would lead the changes to other files than it
/// otherwise does, so that stops.
bool ConfigRun::LearnOfUsers() {
  Machine& machine = CKestOS::GetMachine();
  const auto failed = [&] {
    const MachineError::Kind kind = machine.GetLastError().kind;
    return kind != MachineError::Kind::kNone && kind != MachineError::Kind::kNotFound;
  };
  m_multiUserMachine = CKestOS::IsSupportedMultiUserSystem();
  if (!m_multiUserMachine) {
    return failed() && Stop(ConfigCode::kFileNotUpdatable, Counting::kUncounted);
  }
  m_perUser = m_product.SupportsMultiUser();
  if (!m_perUser) {
    return false;
  }
  CKestPath shared;
  if (!m_product.GetSharedBinPath(shared)) {
    return Stop(ConfigCode::kFileNotUpdatable, Counting::kUncounted);
  }
  m_sharedBinPath = shared.GetText();
  int type = 0;
  if (!CKestOS::GetCurrentUserType(type) && failed()) {
    return Stop(ConfigCode::kFileNotUpdatable, Counting::kUncounted);
  }
  m_allUsers =
      m_product.SupportsMultiUserAdmin() && !m_product.m_userConfigurationSelected && type == kSharedConfigurationUser;
  return false;
}

/// The shared folder comes first, so that a user who lacks a file gets a copy of the changed one.
bool ConfigRun::ChooseFolders(std::vector<CString>& folders) {
  if (!m_allUsers) {
    folders = {m_product.m_userFolder.GetText()};
    return false;
  }
  CKestTypedList<CKestString> binPaths;
  if (!m_product.GetAllUserBinPaths(binPaths)) {
    return Stop(ConfigCode::kFileNotUpdatable, Counting::kUncounted);
  }
  folders = {m_sharedBinPath};
  std::copy_if(binPaths.begin(), binPaths.end(), std::back_inserter(folders),
               [&](const CString& path) { return path != m_sharedBinPath; });
  return false;
}

bool ConfigRun::RunInFolder(const CKestConfigChanges& set, const CString& folder) {
  CKestOS::GetMachine().ClearLastError();
  const Next next = Locate(set, folder);
  if (next != Next::kEdit) {
    return next == Next::kStop;
  }
  if (m_existing && PrepareExisting()) {
    return true;
  }
  const std::unique_ptr<CKestXmlFile> file = set.CreateConfigFile(m_existing);
  if (file == nullptr || (m_existing && file->Load(m_path.c_str(), nullptr) != 0)) {
    return Stop(ConfigCode::kFailed);
  }
  CKestOS::GetMachine().ClearLastError();
  return MakeChanges(set, *file) || Save(*file);
}

ConfigRun::Next ConfigRun::Locate(const CKestConfigChanges& set, const CString& folder) {
  const auto stop = [this](ConfigCode code) {
    (void)Stop(code);
    return Next::kStop;
  };
  CString relativePath;
  set.GetPath(relativePath);
  m_existing = false;
  const CString wanted = JoinPath({folder, m_product.GetConfigurationFolderName(), relativePath});
  m_path = CKestOS::GetMachine().GetStoredPath(wanted);
  if (m_path.empty()) {
    m_path = wanted;
    return stop(ConfigCode::kFileMissing);
  }
  const Answer found = CKestOS::GetMachine().FileExists(m_path);
  if (found == Answer::kCannotTell) {
    return stop(ConfigCode::kFileMissing);
  }
  m_existing = found == Answer::kYes;
  if (m_existing) {
    return Next::kEdit;
  }
  if (!IsApplying()) {
    return Next::kNextFolder;
  }
  if (set.AllowNewFile()) {
    return Next::kEdit;
  }
  return m_perUser ? CopyFreshFile(relativePath, folder) : stop(ConfigCode::kFileMissing);
}

/// Gives the folder a file from the shared configuration, or else from the one that the product was installed with.
ConfigRun::Next ConfigRun::CopyFreshFile(const CString& relativePath, const CString& folder) {
  const auto stop = [this] {
    (void)Stop(ConfigCode::kFileMissing);
    return Next::kStop;
  };
  if (!CreateMissingFolders(CKestPath(m_path).GetFolder())) {
    return stop();
  }
  const auto copyFrom = [this](const CString& source) {
    return AppendAndDo(m_steps, std::make_unique<CInstallCopyFile>(source, m_path, false, false)) == 0;
  };
  bool fromShared = false;
  if (folder != m_sharedBinPath) {
    const CString source = JoinPath({m_sharedBinPath, m_product.GetConfigurationFolderName(), relativePath});
    const Answer found = CKestOS::GetMachine().FileExists(source);
    if (found == Answer::kCannotTell) {
      return stop();
    }
    fromShared = IsYes(found) && copyFrom(source);
  }
  if ((!fromShared && !copyFrom(JoinPath({m_product.m_sharedConfigurationFolder.GetText(), relativePath}))) ||
      AppendMakeWritable(m_steps, m_path) != 0) {
    return stop();
  }
  if (m_allUsers && fromShared) {
    return Next::kNextFolder; // the shared file was changed already
  }
  m_existing = true;
  return Next::kEdit;
}

bool ConfigRun::PrepareExisting() { return MakeUpdatable() || (BackUp() && Stop(ConfigCode::kFailed)); }

bool ConfigRun::MakeChanges(const CKestConfigChanges& set, CKestXmlFile& file) {
  for (const std::unique_ptr<CKestXmlObject>& child : set.GetChildren()) {
    auto* const change = dynamic_cast<CKestConfigChange*>(child.get());
    if (change == nullptr) {
      m_change = "<" + child->GetTag() + ">";
      m_isNoChange = true;
    }
    const bool stopped = change != nullptr ? MakeOneChange(set, *change, file) : Stop(ConfigCode::kFailed);
    m_change.clear();
    if (stopped) {
      return true;
    }
  }
  return false;
}

bool ConfigRun::MakeOneChange(const CKestConfigChanges& set, CKestConfigChange& change, CKestXmlFile& file) {
  ConfigCode result = ConfigCode::kSuccess;
  if (IsApplying()) {
    result = change.MakeChange(&set, &file, nullptr);
    if (!CKestConfigChange::IsCriticalError(result)) {
      result = change.PostMakeChange(result, &m_product, m_steps);
    }
  } else {
    result = change.UndoChange(&set, &file, nullptr);
  }
  if (!CKestConfigChange::IsCriticalError(result) && !CKestConfigChange::IsNonCriticalError(result)) {
    return false;
  }
  m_change = change.DescribeInWords();
  if (CKestConfigChange::IsCriticalError(result)) {
    return Stop(result);
  }
  ++m_tally.nonCritical;
  Record(result);
  return false;
}

/// A file that could not be saved fails the operation: anything else would tell a success that did not happen.
bool ConfigRun::Save(CKestXmlFile& file) {
  if (m_existing) {
    if (WaitUntilUpdatable()) {
      return Stop(ConfigCode::kFileMissing);
    }
  } else if (!CreateMissingFolders(CKestPath(m_path).GetFolder()) || AppendNewFile(m_steps, m_path) != 0) {
    return Stop(ConfigCode::kFileNotUpdatable);
  }
  return file.Save(m_path.c_str()) != 0 && Stop(ConfigCode::kFileNotUpdatable);
}

bool ConfigRun::MakeChanges(const CKestHelpChanges& set, CKestXmlFile& file) {
  CKestOS::GetMachine().ClearLastError();
  for (const std::unique_ptr<CKestXmlObject>& child : set.GetChildren()) {
    auto* const change = dynamic_cast<CKestHelpChange*>(child.get());
    HelpCode result = HelpCode::kFailed;
    if (change != nullptr) {
      result = IsApplying() ? change->MakeChange(&set, &file, nullptr) : change->UndoChange(&set, &file, nullptr);
    }
    if (CKestHelpChange::IsCriticalError(result)) {
      m_isNoChange = change == nullptr;
      m_change = change != nullptr ? change->DescribeInWords() : "<" + child->GetTag() + ">";
      return Stop(result);
    }
  }
  return false;
}

// ---- the file at hand -----------------------------------------------------------------------------------------------

/// Where several users share a machine, a file that cannot be changed belongs to somebody else: no use in waiting for
/// it. Nor is there in waiting for a right.
bool ConfigRun::MakeUpdatable() {
  Machine& machine = CKestOS::GetMachine();
  bool updatable = AppendMakeWritable(m_steps, m_path) == 0;
  machine.ClearLastError();
  if (updatable && !machine.CanUpdateFile(m_path)) {
    updatable = !m_multiUserMachine && machine.GetLastError().kind != MachineError::Kind::kAccess;
  }
  return !updatable && Stop(ConfigCode::kFileNotUpdatable);
}

/// Once for each file and operation. True when it cannot be; the caller says so.
bool ConfigRun::BackUp() {
  if (CKestTidemark::BackUpFileExists(m_path)) {
    return false;
  }
  const CString backup = BackupNameOf(m_path);
  if (CollidesWithBackup(m_path, backup, CKestProduct::GetBackedUpFiles()) ||
      AppendAndDo(m_steps, std::make_unique<CInstallBackupFile>(m_path, backup)) != 0) {
    return true;
  }
  CKestTidemark::AddBackUpFile(m_path);
  return false;
}

/// True when the user gave up, or cannot help.
bool ConfigRun::WaitUntilUpdatable() {
  while (!CKestOS::CanUpdateFile(m_path)) {
    if (!CanUserHelp(CKestOS::GetMachine().GetLastError())) {
      return true;
    }
    if (m_ui.Ask(Message::kFileInUse, {m_path}, kRetryCancel) != kRetry) {
      m_declined = true;
      return true;
    }
    m_ui.BeginWait();
    CKestTimer timer(kWaitMilliseconds);
    timer.Start();
    while (!timer.IsDone() && !CKestOS::CanUpdateFile(m_path)) {
      CKestOS::AllowBackgroundProcessing();
    }
    m_ui.EndWait();
  }
  return false;
}

/// One step for each folder, so that undo removes each.
bool ConfigRun::CreateMissingFolders(const CString& folder) {
  std::vector<CString> missing;
  for (CString at = WithoutBackslash(folder); at.size() > kDriveRootLength; at = CKestPath(at).GetParent()) {
    const Answer exists = CKestOS::GetMachine().DirectoryExists(at);
    if (exists == Answer::kCannotTell) {
      return false;
    }
    if (IsYes(exists)) {
      break;
    }
    missing.push_back(at);
  }
  return std::all_of(missing.rbegin(), missing.rend(), [this](const CString& path) {
    return AppendAndDo(m_steps, std::make_unique<CInstallCreateFolder>(path)) == 0;
  });
}

// ---- errors ---------------------------------------------------------------------------------------------------------

bool ConfigRun::Stop(ConfigCode code, Counting counting) {
  m_tally.critical += counting == Counting::kCounted ? 1 : 0;
  Record(code);
  m_product.m_configProblems.back().critical = true;
  return true;
}

bool ConfigRun::Stop(HelpCode code, Counting counting) {
  m_tally.critical += counting == Counting::kCounted ? 1 : 0;
  Record(code);
  m_product.m_configProblems.back().critical = true;
  return true;
}

void ConfigRun::Record(ConfigCode code) {
  m_product.AddConfigError(m_tally.errorText, code, m_path.c_str());
  AddProblem(code, false);
}

void ConfigRun::Record(HelpCode code) {
  m_product.AddHelpError(m_tally.errorText, code, m_path.c_str());
  AddProblem(code, true);
}

void ConfigRun::AddProblem(int code, bool help) {
  const ConfigErrorMessage told =
      help ? GetHelpErrorMessage(static_cast<HelpCode>(code)) : GetConfigErrorMessage(static_cast<ConfigCode>(code));
  ConfigProblem problem;
  problem.code = code;
  problem.help = help;
  problem.declined = m_declined;
  problem.path = m_path;
  problem.change = m_change;
  problem.noChange = m_isNoChange;
  problem.message = told.message;
  problem.arguments = told.arguments;
  problem.error = CKestOS::GetMachine().GetLastError();
  m_product.m_configProblems.push_back(std::move(problem));
}

// ---- the products' operations --------------------------------------------------------------------------------------

namespace {

/// Closing sentences; kNoHeader stands for none.
struct Headers {
  Message aborted;
  Message finished;
};
constexpr Message kNoHeader{0};
constexpr Headers kConfigHeaders[] = {
    {Message::kNotInstalled, Message::kInstalledWithProblems},
    {Message::kUninstallFailed, kNoHeader},
    {Message::kEnableFailed, Message::kEnabledWithProblems},
    {Message::kDisableFailed, kNoHeader},
};
constexpr Headers kHelpHeaders = {Message::kNotInstalled, Message::kInstalledWithProblems};

void ShowErrors(CKestExtensionManagerUI* ui, const CString& errorText, const Headers& headers, bool aborted, int count,
                const std::vector<ConfigProblem>& problems) {
  if (errorText.empty()) {
    return;
  }
  const Message number = aborted ? headers.aborted : headers.finished;
  const CString header = number == kNoHeader ? CString() : LoadMessage(number);
  ConfigErrorMessage first;
  first.message = problems.front().message;
  first.arguments = problems.front().arguments;
  const ConfigOutcome outcome = JoinConfigErrors(errorText, header, first, count);
  HostUi(ui).NoticeText(outcome.number, outcome.text, outcome.arguments);
}

} // namespace

int CKestTidemark::ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                        CKestExtensionManagerUI* ui, const CKestExtension* extension,
                                        OperationType operation) const {
  m_configProblems.clear();
  if (extension == nullptr) {
    return -1;
  }
  CString errorText;
  int critical = 0;
  int nonCritical = 0;
  const auto& sets = extension->GetConfigChanges();
  const bool aborted = std::any_of(sets.begin(), sets.end(), [&](const auto& set) {
    return set != nullptr && ProcessConfigChanges(steps, ui, set.get(), operation, errorText, critical, nonCritical);
  });
  ShowErrors(ui, errorText, kConfigHeaders[operation], aborted, critical + nonCritical, m_configProblems);
  return aborted ? -1 : 0;
}

int CKestTidemark::ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps, CKestExtensionManagerUI* ui,
                                      const CKestExtension* extension, OperationType operation) const {
  m_configProblems.clear();
  if (extension == nullptr) {
    return -1;
  }
  CString errorText;
  int critical = 0;
  int nonCritical = 0;
  const auto& sets = extension->GetHelpChanges();
  const bool aborted = std::any_of(sets.begin(), sets.end(), [&](const auto& set) {
    return set != nullptr && ProcessHelpChanges(steps, ui, set.get(), operation, errorText, critical, nonCritical);
  });
  ShowErrors(ui, errorText, kHelpHeaders, aborted, critical + nonCritical, m_configProblems);
  return aborted ? -1 : 0;
}

bool CKestTidemark::ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                         CKestExtensionManagerUI* ui, const CKestConfigChanges* changes,
                                         OperationType operation, CString& errorText, int& criticalCount,
                                         int& nonCriticalCount) const {
  return ConfigRun(*this, steps, ui, operation, {errorText, criticalCount, nonCriticalCount}).Run(changes);
}

bool CKestTidemark::ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps, CKestExtensionManagerUI* ui,
                                       const CKestHelpChanges* changes, OperationType operation, CString& errorText,
                                       int& criticalCount, int& nonCriticalCount) const {
  return ConfigRun(*this, steps, ui, operation, {errorText, criticalCount, nonCriticalCount}).Run(changes);
}

void CKestTidemark::AddConfigError(CString& errorText, CKestConfigChange::ErrorCode code, const char*) const {
  AddErrorLine(errorText, GetConfigErrorMessage(code).text);
}

void CKestTidemark::AddHelpError(CString& errorText, CKestHelpChange::ErrorCode code, const char*) const {
  AddErrorLine(errorText, GetHelpErrorMessage(code).text);
}

} // namespace kest
