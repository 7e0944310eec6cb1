#pragma once

#include "description/extension.h"
#include "journal/file_digest.h"
#include "manager/operation_scope.h"
#include "manager/originals.h"
#include "manager/placement.h"
#include "platform/package/package.h"

#include <map>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace kest::install {

/// What an install was asked, and what its phases find out for each other.
struct Context {
  using State = CKestExtensionManager::State;
  State& state;
  StepScope& steps;

  // ---- asked
  const CKestProduct*& product;
  CString path;
  CKestExtension*& replaced;
  bool quiet = false;
  bool enroll = false;
  bool resolveTokens = false;
  int& restart;
  bool keepProduct = false;
  bool acceptEqual = false;
  bool progress = false;

  // ---- found
  bool fromPackage = false;
  std::vector<PackageEntry> entries{};                 ///< of the package; empty for a bare description
  std::vector<CString> hashes{};                       ///< of what was unpacked of each
  std::unordered_map<CString, std::size_t> unpacked{}; ///< number of each by its lower-case path in the private folder
  std::vector<FilePlace> places{}; ///< of each of the extension's files, once their copying is planned
  CString descriptionPath{};       ///< the one that is read
  CString destination{};           ///< where it is going to lie
  CKestDateTime date{};            ///< of the package or description
  std::unique_ptr<CKestExtension> extension{};
  int userType = 0;
  bool overwriteAll = false;
  std::unordered_set<CString> keep{};           ///< destinations that the user wants left alone
  std::unordered_set<CString> existing{};       ///< destinations that hold a file
  std::unordered_set<CString> readOnly{};       ///< those of them that had the mark
  std::vector<Originals::Replaced> originals{}; ///< those of them of which a copy is kept for the uninstall
  /// What stood where the version that is replaced had its files, by lower-case path: the user agreed to it then.
  std::unordered_map<CString, FileDigest> agreed{};
  std::unordered_map<CString, int> sourceUses{}; ///< steps that use a source, by lower-case path
  std::unordered_set<CString> writableFolders{}; ///< folders in which a new file may be made
  std::map<CString, CString> configuration{};    ///< configuration files to be changed, with what they held before
  std::vector<Clash> dropped{};                  ///< what the reader of the description passed over
  int position = 0;
  bool waiting = false; ///< the busy display is on

  void Advance();
  void BeginWait();
  void EndWait();
  /// Shows a notice that ends with "not installed", and notes the failure.
  bool Refuse(OperationReport::Failure kind, Message message, const std::vector<text::Argument>& arguments,
              const CString& path, const CString& reason, const CString& next = CString());
  /// Notes that the user said no. Always false.
  bool Declined(Message question, const CString& path = CString());
};

/// A part of the install; false ends it.
using Phase = bool (*)(Context&);

// reading: neither changes the machine outside the private folder
bool OpenFile(Context&);        ///< the file is there; its folder and name
bool UnpackPackage(Context&);   ///< a package: listed, weighed, unpacked
bool ReadDescription(Context&); ///< into a new record; the file's date
bool ChooseProduct(Context&);
bool CheckFreeSpace(Context&);
bool AskAgreement(Context&);
bool CheckConfiguration(Context&); ///< what is to be changed there may be
// the first steps: what stands in the way goes
bool ReplaceExisting(Context&);
bool RemoveUserCopies(Context&);
bool ResolveTokens(Context&);
bool CheckFiles(Context&); ///< every destination is judged, questions are asked, read-only marks go
bool ConvertExtension(Context&);
bool NoteClashes(Context&); ///< for the report
bool CopyFiles(Context&);   ///< and plans the step that places the description
bool ApplyChanges(Context&);
bool PlaceDescription(Context&);
/// The step of PlaceDescription, planned with those of the files, so that one wait for the disk does for all.
[[nodiscard]] std::unique_ptr<CKestExtensionInstallStep> MakeDescriptionStep(const Context&);
/// After the last step was committed.
void TellRestart(Context&);

} // namespace kest::install
