#include "desktop/engine_room.h"

#include "desktop/engine_facts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

#include <utility>

namespace kest::desktop {
namespace {

// What a folder lacks to be a machine, or what keeps us from it.
QString WhyNotUsable(MachineFolder& machine, const QString& folder) {
  if (folder.isEmpty()) {
    return EngineRoom::tr("No machine folder has been chosen yet.");
  }
  if (!QFileInfo::exists(folder)) {
    return EngineRoom::tr("The folder %1 does not exist.").arg(folder);
  }
  const MachineError error = machine.GetLastError();
  if (error.kind != MachineError::Kind::kNone && error.kind != MachineError::Kind::kNotFound) {
    return EngineRoom::tr("The folder %1 cannot be opened: %2.").arg(folder, Shown(error.reason));
  }
  return EngineRoom::tr("The folder %1 is no machine: there is no drive_c in it.").arg(folder);
}

} // namespace

EngineRoom::EngineRoom() : m_ui(std::make_unique<BridgeUi>()) {
  qRegisterMetaType<Question>();
  m_inside = new QObject;
  m_inside->moveToThread(&m_thread);
  m_ui->moveToThread(&m_thread);
  m_ui->SetCancelHook([this] { RequestCancel(); });
  connect(&m_thread, &QThread::finished, m_inside, &QObject::deleteLater);
  m_thread.start();
}

EngineRoom::~EngineRoom() {
  Cancel();
  Post([this] {
    Close();
    m_thread.quit();
  });
  m_thread.wait();
}

void EngineRoom::Post(std::function<void()> work) {
  QMetaObject::invokeMethod(m_inside, std::move(work), Qt::QueuedConnection);
}

void EngineRoom::Cancel() {
  m_cancelledTicket = m_lastTicket.load();
  RequestCancel();
  m_ui->Cancel();
}

void EngineRoom::RequestCancel() {
  const QMutexLocker lock(&m_managerMutex);
  if (m_manager) {
    m_manager->RequestCancel();
  }
}

void EngineRoom::Open(const QString& folder) {
  Post([=, this] { OpenHere(folder, {}); });
}

void EngineRoom::SelectUser(const QString& user) {
  Post([=, this] {
    if (m_machine) {
      OpenHere(Shown(m_machine->GetHostFolder()), user);
    }
  });
}

void EngineRoom::RecoverTrusting() {
  Post([this] {
    if (m_manager) {
      static_cast<void>(m_manager->RecoverTrusting()); // what is shown tells
      m_manager->Load();
      emit Opened(DescribeMachine(Shown(m_machine->GetHostFolder())));
    }
  });
}

void EngineRoom::Close() {
  const QMutexLocker lock(&m_managerMutex);
  m_manager.reset();
  CKestOS::SetMachine(nullptr);
  m_machine.reset();
}

void EngineRoom::OpenHere(const QString& folder, const QString& user) {
  Close();
  const QString absolute = folder.isEmpty() ? folder : QDir(folder).absolutePath();
  auto machine = std::make_unique<MachineFolder>(QFile::encodeName(absolute).toStdString());
  if (absolute.isEmpty() || !machine->IsUsable()) {
    MachineFacts facts;
    facts.folder = absolute;
    facts.trouble = WhyNotUsable(*machine, absolute);
    emit Opened(facts);
    return;
  }
  m_machine = std::move(machine);
  CKestOS::SetMachine(m_machine.get());
  if (!user.isEmpty()) {
    static_cast<void>(m_machine->SetCurrentUser(text::FromUtf8(user.toStdString()))); // what is shown tells whether
  }
  auto manager = std::make_unique<CKestExtensionManager>(m_ui.get());
  manager->Init();
  m_readState = m_machine->GetChangeMark().state;
  manager->Load();
  {
    const QMutexLocker lock(&m_managerMutex);
    m_manager = std::move(manager);
  }
  emit Opened(DescribeMachine(absolute));
}

MachineFacts EngineRoom::DescribeMachine(const QString& folder) {
  MachineFacts facts;
  facts.folder = folder;
  facts.user = Shown(m_machine->GetCurrentUser());
  for (const MachineFolder::User& user : m_machine->GetUsers()) {
    facts.users += Shown(user.name);
  }
  for (const CKestProduct* product : GetProducts(*m_manager)) {
    if (product->IsInstalled()) {
      CKestVersionNumber version;
      product->GetVersion(version);
      facts.products += ProductFacts{Shown(product->GetName()), Shown(version.ToText()), product->IsRunning()};
    }
  }
  if (const MachineError& unread = m_manager->GetUnread(); unread.kind != MachineError::Kind::kNone) {
    facts.unread = Shown(unread.path) + QStringLiteral(": ") + Shown(unread.reason);
  }
  const RecoveryReport& recovery = m_manager->GetRecoveryReport();
  facts.recovered = SentencesOf(recovery);
  facts.mayRecover = recovery.isForeign && !recovery.entries.empty();
  return facts;
}

std::vector<CKestProduct*> EngineRoom::GetProducts(const CKestExtensionManager& manager) const {
  std::vector<CKestProduct*> products;
  const std::unique_ptr<CKestTypedIterator<CKestProduct*>> walk(manager.CreateProductIterator());
  while (walk->HasNext()) {
    products.push_back(walk->Next());
  }
  return products;
}

const CKestProduct* EngineRoom::FindProduct(const CKestExtensionManager& manager, const QString& name) const {
  for (const CKestProduct* product : GetProducts(manager)) {
    if (product->IsInstalled() && Shown(product->GetName()) == name) {
      return product;
    }
  }
  return nullptr;
}

EngineRoom::Found EngineRoom::Find(const QString& product, const QByteArray& path) const {
  if (!m_manager) {
    return {};
  }
  const Found found{FindProduct(*m_manager, product), m_manager->FindByPath(path.constData())};
  return found.product != nullptr && found.extension != nullptr ? found : Found();
}

CString EngineRoom::ReachFile(const QString& file, bool writable) {
  const QFileInfo info(file);
  const CString folder = m_machine->AddHostFolder(QFile::encodeName(info.absolutePath()).toStdString(), writable);
  if (folder.empty() || info.fileName().isEmpty()) {
    return {};
  }
  CKestPath path(folder);
  path.Append(text::FromUtf8(info.fileName().toStdString()));
  return path;
}

void EngineRoom::List(const QString& product) {
  Post([=, this] {
    QList<ExtensionFacts> rows;
    CKestTypedList<CKestExtension*> extensions;
    if (const CKestProduct* found = m_manager ? FindProduct(*m_manager, product) : nullptr) {
      m_manager->GetExtensions(found, extensions);
    }
    rows.reserve(static_cast<qsizetype>(extensions.GetCount()));
    for (const CKestExtension* extension : extensions) {
      rows += FactsOf(*m_manager, *extension);
    }
    RankRows(rows);
    emit Listed(product, rows);
  });
}

void EngineRoom::ListIfChanged(const QString& product) {
  Post([=, this] {
    const ChangeMark mark = m_machine ? m_machine->GetChangeMark() : ChangeMark();
    if (m_manager && !IsBusy() && !mark.isChanging && mark.state != m_readState) {
      m_readState = mark.state;
      m_machine->ForgetFolders();
      m_manager->Load();
      List(product);
    }
  });
}

void EngineRoom::ReadDetails(const QString& product, const QByteArray& path) {
  const int wanted = ++m_detailsWanted;
  Post([=, this] {
    const Found found = wanted == m_detailsWanted ? Find(product, path) : Found();
    if (!found.extension) {
      return;
    }
    DetailFacts details;
    details.path = path;
    CString text;
    m_manager->GetExtensionDetail(found.extension, text);
    text::ReplaceAll(text, "\r\n", "<br>");
    details.text = Shown(text);
    for (const CString& file : m_manager->GetInstalledFiles(found.product, found.extension)) {
      details.files += Shown(file);
    }
    details.changes = ChangesOf(*found.extension);
    emit DetailsRead(details);
    Post([=, this] {
      DetailFacts compared = details;
      const Found again = wanted == m_detailsWanted ? Find(product, path) : Found();
      if (again.extension) {
        AddProblems(m_manager->VerifyExtension(again.product, again.extension), compared);
        emit DetailsRead(compared);
      }
    });
  });
}

void EngineRoom::ReadHistory() {
  Post([this] {
    QList<HistoryFacts> operations;
    if (m_manager) {
      for (const HistoryEntry& entry : m_manager->GetHistory().entries) {
        operations += FactsOf(entry);
      }
    }
    emit HistoryRead(operations);
  });
}

void EngineRoom::PreviewRemoval(const QString& product, const QByteArray& path) {
  Post([=, this] {
    if (const Found found = Find(product, path); found.extension) {
      RemovalFacts removal = FactsOf(m_manager->PreviewUninstall(found.product, found.extension));
      removal.path = path;
      removal.name = Plain(found.extension->GetName());
      emit RemovalPreviewed(removal);
    }
  });
}

} // namespace kest::desktop
