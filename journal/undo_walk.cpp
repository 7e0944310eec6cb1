#include "journal/undo_walk.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <algorithm>
#include <set>

namespace kest {

namespace {

/// The path in lower case, then each folder above it, until `visit` says true.
template <class Visit> bool AnyAbove(const CString& path, const Visit& visit) {
  CString key = text::Lower(WithoutBackslash(path));
  while (!key.empty()) {
    if (visit(key)) {
      return true;
    }
    CString above = WithoutBackslash(CKestPath(key).GetFolder());
    if (above.size() >= key.size()) {
      break;
    }
    key = std::move(above);
  }
  return false;
}

} // namespace

bool UndoWalk::IsHeldBack(const CString& path) const {
  return !m_held.empty() && !path.empty() &&
         (m_above.contains(text::Lower(WithoutBackslash(path))) ||
          AnyAbove(path, [this](const CString& key) { return m_held.contains(key); }));
}

void UndoWalk::HoldBack(const CString& path) {
  if (!path.empty()) {
    m_held.insert(text::Lower(WithoutBackslash(path)));
    AnyAbove(path, [this](const CString& key) { return !m_above.insert(key).second; });
  }
}

bool UndoWalk::Undo(std::unique_ptr<CKestExtensionInstallStep>& step, long number) {
  const bool isHeld = IsHeldBack(step->GetTarget()) || IsHeldBack(step->GetKept());
  // a second try, since what failed may have been a passing thing and the way back is worth it
  const bool undone = !isHeld && (step->Undo() == 0 || !step->IsUndoOpen() || step->Undo() == 0);
  if (step->DidRestore()) {
    m_restored.push_back(step->GetTarget());
    step->CollectTouched(m_touched);
  }
  if (!undone) {
    if (isHeld || !step->IsUndoInTheWayOfOthers()) { // in a folder that somebody uses our files still have their place
      HoldBack(step->GetTarget());
      HoldBack(step->GetKept());
    }
    m_failed.emplace_back(std::move(step), number);
    return false;
  }
  Note(*step, number);
  return true;
}

void UndoWalk::Note(const CKestExtensionInstallStep& step, long number) {
  if (m_file == nullptr || !m_file->IsOpen() || number < 0) {
    return;
  }
  m_file->AddUndone(number);
  // A mark that is lost costs a second undo of the step, which does nothing; but for the steps of which the disk does
  // not tell, and then only once the steps before it were undone too.
  static_cast<void>(step.NeedsUndoneMark() ? m_file->WriteAndSync() : m_file->Write());
}

// The old state has to be on the disk before what it came from is removed. A failure is passed over: the machine is as
// it was, and nothing better can be done.
void UndoWalk::SyncRestored() {
  std::set<CString> paths;
  for (CString& path : m_touched) {
    paths.insert(path);
  }
  m_touched.Clear();
  if (m_file != nullptr && m_file->IsOpen() && !paths.empty()) {
    static_cast<void>(CKestOS::GetMachine().SyncPaths({paths.begin(), paths.end()}));
  }
}

void UndoWalk::Finish(std::vector<CKestInstallJournal::Leftover>& leftovers) {
  SyncRestored();
  const bool allInTheWay = std::all_of(m_failed.begin(), m_failed.end(),
                                       [](const auto& failed) { return failed.first->IsUndoInTheWayOfOthers(); });
  for (const auto& [step, number] : m_failed) {
    if (allInTheWay) {
      Note(*step, number); // a folder that somebody else uses by now stays
    } else {
      leftovers.push_back({step->GetTarget(), step->GetKept()});
    }
  }
  m_failed.clear();
}

} // namespace kest
