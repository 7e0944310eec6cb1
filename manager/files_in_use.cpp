#include "manager/manager_state.h"
#include "platform/machine/os.h"
#include "platform/machine/timer.h"

namespace kest {

using State = CKestExtensionManager::State;

const CKestProduct* State::FindOwner(const CString& path) const {
  for (const auto& product : products) {
    if (product->BelongsTo(path.c_str())) {
      return product.get();
    }
  }
  return nullptr;
}

bool State::CanDeleteFile(const CString& path) const {
  const CKestProduct* product = FindOwner(CKestPath(path).GetFolder());
  if (product == nullptr) {
    return true;
  }
  if (text::ContainsNoCase(path, "jsextensions") && product->IsRunning()) {
    return false;
  }
  return product->CanDelete(path.c_str());
}

int State::HelpUserFreeFile(const CString& path, bool anonymous) {
  if (IsCancelled()) {
    return kCancel;
  }
  CString name;
  if (!anonymous) {
    if (const CKestProduct* product = FindOwner(path)) {
      product->GetName(name);
    }
  }
  if (name.empty()) {
    return Ui().Ask(Message::kFileInUse, {path}, kRetryCancel);
  }
  return Ui().Ask(Message::kFileInUseBy, {path, name, name}, kRetryCancel);
}

void State::WaitUntil(const std::function<bool()>& ready) const {
  Ui().BeginWait();
  CKestTimer timer(fileWait);
  timer.Start();
  while (!ready() && !timer.IsDone() && !WantsCancel()) {
    CKestOS::AllowBackgroundProcessing();
  }
  Ui().EndWait();
}

} // namespace kest
