#include "description/extension.h"
#include "manager/manager_state.h"
#include "manager/reach.h"
#include "platform/machine/os.h"
#include "platform/machine/timer.h"
#include "products/product_table.h"

namespace kest {
namespace {

struct TypeLabel {
  int type;
  Message message;
};

constexpr TypeLabel kTypeLabels[] = {
    {0, Message{4015}},  {1, Message{4002}},  {2, Message{4000}},  {3, Message{4003}},  {4, Message{4007}},
    {5, Message{4008}},  {6, Message{4006}},  {7, Message{4005}},  {8, Message{4009}},  {9, Message{4010}},
    {10, Message{4004}}, {11, Message{4011}}, {12, Message{4001}}, {13, Message{4012}}, {14, Message{4013}},
    {15, Message{4091}}, {16, Message{4092}}, {17, Message{4090}}, {18, Message{4089}}, {19, Message{4014}},
    {20, Message{4094}}, {21, Message{4095}}, {22, Message{4103}}, {23, Message{4104}}, {24, Message{4105}},
    {25, Message{4106}}, {26, Message{4107}}, {27, Message{4111}}, {28, Message{4112}}, {29, Message{4113}},
    {30, Message{4114}}, {31, Message{4115}}, {32, Message{4128}}, {33, Message{4129}}, {34, Message{4130}},
    {35, Message{4140}}, {36, Message{4142}}, {37, Message{4141}}, {38, Message{4143}}, {39, Message{4139}},
    {40, Message{4144}}, {41, Message{4145}}, {42, Message{4146}}, {43, Message{4148}}, {44, Message{4147}},
    {45, Message{4149}}, {46, Message{4150}}, {47, Message{4151}}, {48, Message{4152}}, {49, Message{4158}},
    {50, Message{4159}},
};

} // namespace

using State = CKestExtensionManager::State;

CKestExtensionManager::CKestExtensionManager(CKestExtensionManagerUI* ui)
    : m_state(std::make_unique<State>(*this, ui)) {}

CKestExtensionManager::~CKestExtensionManager() = default;

void CKestExtensionManager::SetUI(CKestExtensionManagerUI* ui) { m_state->ui = ui; }

CKestExtensionManagerUI* CKestExtensionManager::GetUI() const { return m_state->ui; }

void State::Start() {
  recovery = RecoverInterruptedOperations({.findReach = FindReachOfMachine});
  CKestOS::GetMachine().ForgetUnanswered();
  CKestOS::InitMultiUserMembers();
  catalogue.Clear(); // keyed by the products that go now
  placement.Forget();
  products = MakeServedProducts();
  for (const auto& product : products) {
    product->Initialize();
    if (product->IsInstalled()) {
      CString folder;
      product->GetExtensionsFolder(folder);
      (void)CKestOS::CreateDirectory(folder, true);
      (void)CKestOS::CreateDirectory(GetDisabledFolder(*product), true);
    }
  }
  reach = FindReach(products);
  Machine& machine = CKestOS::GetMachine();
  MachineError noFolder;
  const auto addKeyword = [&](const char* keyword, bool (*getFolder)(CString&)) {
    CString folder;
    machine.ClearLastError();
    if (getFolder(folder)) {
      folderKeywords[keyword] = WithBackslash(folder);
    } else if (machine.GetLastError().kind != MachineError::Kind::kNotFound) {
      noFolder = machine.GetLastError();
    }
  };
  addKeyword("system", CKestOS::GetSystemFolder);
  addKeyword("fonts", CKestOS::GetFontsFolder);
  for (const TypeLabel& label : kTypeLabels) {
    typeLabels[label.type] = LoadMessage(label.message);
  }
  unread = machine.GetUnanswered();
  if (unread.kind == MachineError::Kind::kAccess) {
    unread = MachineError{}; // what is closed to this user, another user's folder say, is not ours to change
  }
  if (noFolder.kind != MachineError::Kind::kNone) {
    unread = noFolder;
  }
}

void State::ReadCatalogueOnce(Catalogue& into) const {
  for (const auto& product : products) {
    const std::unique_ptr<CKestTypedList<CKestExtension*>> found(product->GetExtensions());
    if (found != nullptr) {
      into.Replace(product.get(), *found);
    } else if (into.Find(product.get()) != nullptr) {
      into.Replace(product.get(), {}); // its last description went since
    }
  }
}

void State::ReadCatalogue() {
  constexpr std::int64_t kLongestWait = 2000;
  constexpr int kMostReads = 400; // whatever the clock says
  Machine& machine = CKestOS::GetMachine();
  CKestTimer timer(kLongestWait);
  timer.Start();
  isSettled = false;
  for (int reads = 0; !isSettled && reads < kMostReads; ++reads) {
    const ChangeMark before = machine.GetChangeMark();
    machine.ForgetUnanswered();
    ReadCatalogueOnce(catalogue);
    const ChangeMark after = machine.GetChangeMark();
    // somebody who changes the machine meanwhile may have taken away what is about to come back
    isSettled = !before.isChanging && !after.isChanging && before.state == after.state;
    if (timer.IsDone() || WantsCancel()) {
      break;
    }
    if (!isSettled) {
      machine.ForgetFolders();
      machine.AllowBackgroundProcessing();
    }
  }
  unreadCatalogue = machine.GetUnanswered();
}

int CKestExtensionManager::Init() {
  try {
    m_state->Start();
  } catch (const std::exception& thrown) {
    m_state->unread = {MachineError::Kind::kOther, CString(), thrown.what()};
  }
  return 0;
}

int CKestExtensionManager::Load() {
  try {
    m_state->ReadCatalogue();
  } catch (const std::exception& thrown) {
    m_state->unreadCatalogue = {MachineError::Kind::kOther, CString(), thrown.what()};
  }
  return 0;
}

bool CKestExtensionManager::IsSettled() const { return m_state->isSettled; }

const RecoveryReport& CKestExtensionManager::RecoverTrusting() {
  m_state->recovery = RecoverInterruptedOperations({.findReach = FindReachOfMachine, .trustMachine = true});
  return m_state->recovery;
}

const MachineError& CKestExtensionManager::GetUnread() const {
  return m_state->unread.kind != MachineError::Kind::kNone ? m_state->unread : m_state->unreadCatalogue;
}

const RecoveryReport& CKestExtensionManager::GetRecoveryReport() const { return m_state->recovery; }

void CKestExtensionManager::SetLockWait(std::int64_t milliseconds) { m_state->lockWait = milliseconds; }

void CKestExtensionManager::RequestCancel() noexcept {
  m_state->cancelRequested.store(true, std::memory_order_relaxed);
}
void CKestExtensionManager::SetFileWait(std::int64_t milliseconds) { m_state->fileWait = milliseconds; }

const OperationReport& CKestExtensionManager::GetLastReport() const { return m_state->report; }

CKestProduct* CKestExtensionManager::CreateProduct(const CString& name, const CString& installFolder) {
  return kest::CreateProduct(name, installFolder).release();
}

void State::LoginAs(const CString& user) {
  for (const auto& product : products) {
    if (product->IsInstalled()) {
      CString folder;
      product->GetProgramFolder(folder);
      product->SetPaths(folder, user);
    }
  }
  placement.Forget();
}

} // namespace kest
