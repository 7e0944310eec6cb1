#include "journal/file_state.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

namespace kest {

static Presence Ask(Answer (Machine::*question)(const CString&), const CString& path) {
  switch ((CKestOS::GetMachine().*question)(path)) {
  case Answer::kYes:
    return Presence::kPresent;
  case Answer::kNo:
    return Presence::kAbsent;
  case Answer::kCannotTell:
    break;
  }
  return Presence::kUnknown;
}

Presence ProbeFolder(const CString& path) {
  const Presence first = Ask(&Machine::DirectoryExists, path);
  if (first != Presence::kAbsent) {
    return first;
  }
  const CString parent = CKestPath(path).GetParent();
  if (parent.empty()) {
    return Presence::kUnknown; // a drive that is not there tells nothing
  }
  const Presence above = ProbeFolder(WithBackslash(parent));
  if (above != Presence::kPresent) {
    return above;
  }
  return Ask(&Machine::DirectoryExists, path);
}

Presence ProbeFile(const CString& path) {
  const Presence first = Ask(&Machine::FileExists, path);
  if (first != Presence::kAbsent) {
    return first;
  }
  const Presence folder = ProbeFolder(CKestPath(path).GetFolder());
  if (folder != Presence::kPresent) {
    return folder;
  }
  // asked once more after the folder has answered: one call that failed in passing does not decide
  return Ask(&Machine::FileExists, path);
}

bool KeepFile(const CString& path, const CString& name, bool& isCopy) {
  Machine& machine = CKestOS::GetMachine();
  isCopy = false;
  if (machine.LinkFile(path, name)) {
    return true;
  }
  // under another name until it is complete: half a copy must never pass for the old state
  const CString part = name + ".part";
  if (!machine.CopyFile(path, part) || !machine.ReplaceFile(part, name)) {
    return false;
  }
  isCopy = true;
  return true;
}

Presence PutBack(const CString& kept, const CString& place) {
  Machine& machine = CKestOS::GetMachine();
  if (machine.IsSameFile(kept, place) == Answer::kYes) {
    // Never replaced. The kept name has to go, or a second undo would act on it again; while a program holds the file
    // it cannot, but neither can the undo of a step before this one change the place.
    const bool isOut = machine.MoveFile(kept, kept + ".done");
    return isOut || machine.GetLastError().kind == MachineError::Kind::kInUse ? Presence::kPresent : Presence::kUnknown;
  }
  if (machine.ReplaceFile(kept, place)) {
    return Presence::kPresent;
  }
  return ProbeFile(kept) == Presence::kAbsent ? Presence::kAbsent : Presence::kUnknown;
}

void AppendFolderOf(CKestTypedList<CKestString>& paths, const CString& path) {
  CString folder = CKestPath(path).GetFolder();
  if (!folder.empty()) {
    paths.Append(std::move(folder));
  }
}

} // namespace kest
