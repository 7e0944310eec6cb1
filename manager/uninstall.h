#pragma once

#include "description/extension.h"
#include "manager/operation_scope.h"
#include "manager/originals.h"
#include "manager/references.h"

namespace kest::uninstall {

/// Why a file of an extension is never deleted with it; nothing: it may go.
[[nodiscard]] std::optional<OperationReport::Why> WhyKept(const CKestExtensionFile& file, const CString& destination,
                                                          References& references);

/// What an uninstall was asked, and what its phases find out for each other.
struct Context {
  using State = CKestExtensionManager::State;
  State& state;

  // ---- asked
  const CKestProduct& product;
  CKestExtension& extension;
  bool refresh = false;
  bool quiet = false;
  bool ownJournal = true;
  bool remove = false;
  bool deleteDisabled = false;
  int& restart;
  bool progress = false;
  JournalScope::Kind kind = JournalScope::Kind::kOrdinary;

  // ---- found
  std::vector<CString> folders{};            ///< of the files that went, each once, in order
  std::unordered_set<CString> goneFolders{}; ///< those of them that went as a whole, in lower case
  Originals originals{};                     ///< what stood there before its files
  int position = 0;
  bool waiting = true; ///< the busy display is on

  void Advance();
  void EndWait();
};

using Phase = bool (*)(Context&);

/// What is to come back is there and as it was; else the user is told before anything is changed.
bool CheckOriginals(Context&);
bool CheckConfiguration(Context&); ///< what is to be changed back may be
bool DropOriginals(Context&);      ///< of a disabled one, whose files are not there: the copies
bool CheckFiles(Context&);         ///< every file that is to go can go
bool ConvertExtension(Context&);
bool DeleteFiles(Context&);        ///< or puts back what stood there; notes their folders
bool CleanUpFolders(Context&);     ///< those that are empty now
bool DeleteDescriptions(Context&); ///< with the record of its install, and the copies set aside when asked
bool TakeBackChanges(Context&);
/// After the last step was committed.
void TellRestart(Context&);

/// The whole of it: 0, or -1.
[[nodiscard]] int Run(Context& context);

} // namespace kest::uninstall
