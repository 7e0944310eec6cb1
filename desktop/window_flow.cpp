// What follows on what the user wants and the engine says.
#include "desktop/main_window.h"

#include "desktop/details_pane.h"
#include "desktop/list_dialogs.h"
#include "desktop/notice_bar.h"
#include "desktop/preview_dialog.h"
#include "desktop/progress_panel.h"
#include "desktop/question_dialog.h"
#include "desktop/words.h"

#include <QComboBox>
#include <QFileInfo>
#include <QSettings>
#include <QSignalBlocker>
#include <QTreeView>

namespace kest::desktop {
namespace {

constexpr qsizetype kMostRecent = 8;

} // namespace

void MainWindow::ConnectEngine() {
  BridgeUi& ui = m_engine.GetUi();
  connect(&m_engine, &EngineRoom::Opened, this, &MainWindow::OnOpened);
  connect(&m_engine, &EngineRoom::Listed, this, &MainWindow::OnListed);
  connect(&m_engine, &EngineRoom::DetailsRead, this, &MainWindow::OnDetails);
  connect(&m_engine, &EngineRoom::InstallPreviewed, this, &MainWindow::OnPreview);
  connect(&m_engine, &EngineRoom::Finished, this, &MainWindow::OnFinished);
  connect(&m_engine, &EngineRoom::Checked, this, &MainWindow::ShowCheck);
  connect(&m_engine, &EngineRoom::RemovalPreviewed, this, [this](const RemovalFacts& removal) {
    auto* dialog = new RemovalDialog(removal, this);
    connect(dialog, &QDialog::accepted, this, [this, removal] {
      BeginOperation(tr("Removing “%1”…").arg(removal.name));
      m_engine.Remove(GetProduct(), removal.path);
    });
    ShowDialog(dialog);
  });
  connect(&m_engine, &EngineRoom::HistoryRead, this, [this](const QList<HistoryFacts>& operations) {
    auto* dialog = new HistoryDialog(operations, this);
    connect(dialog, &HistoryDialog::UndoWanted, this, [this](int number) {
      BeginOperation(tr("Undoing…"));
      m_engine.Undo(number);
    });
    ShowDialog(dialog);
  });
  connect(&ui, &BridgeUi::Asked, this, &MainWindow::OnQuestion);
  connect(&ui, &BridgeUi::Withdrawn, this, [this] {
    if (auto* question = qobject_cast<QuestionDialog*>(m_dialog.data())) {
      question->close();
    }
  });
  connect(&ui, &BridgeUi::ProgressBegan, m_progress, &ProgressPanel::SetCaption);
  connect(&ui, &BridgeUi::Progressed, m_progress, &ProgressPanel::SetProgress);
  connect(&ui, &BridgeUi::LockWaited, m_progress, &ProgressPanel::SayWaiting);
  connect(m_progress, &ProgressPanel::CancelWanted, this, &MainWindow::Cancel);
  connect(m_notice, &NoticeBar::DetailsWanted, this,
          [this](const QString& head, const QString& text) { ShowText(tr("Details"), head, text); });
}

void MainWindow::OpenMachine(const QString& folder) { m_engine.Open(folder); }

void MainWindow::OnOpened(const MachineFacts& machine) {
  m_machine = machine;
  setWindowTitle(machine.trouble.isEmpty() ? tr("%1 – Kest").arg(QFileInfo(machine.folder).fileName()) : tr("Kest"));
  const QString before = GetProduct().isEmpty() ? QSettings().value("product").toString() : GetProduct();
  {
    const QSignalBlocker quiet(m_products);
    m_products->clear();
    for (const ProductFacts& product : machine.products) {
      m_products->addItem(product.version.isEmpty() ? product.name : tr("%1 (%2)").arg(product.name, product.version),
                          product.name);
    }
    m_products->setCurrentIndex(qMax(0, m_products->findData(before)));
    m_users->clear();
    m_users->addItems(machine.users);
    m_users->setCurrentText(machine.user);
    m_users->setVisible(machine.users.size() > 1);
  }
  if (!machine.trouble.isEmpty()) {
    m_notice->Tell(NoticeBar::Tone::kBad, machine.trouble);
    m_notice->OfferAction(tr("&Open a machine folder…"), [this] { AskForMachine(); });
  } else {
    m_recent.removeAll(machine.folder);
    m_recent.prepend(machine.folder);
    m_recent = m_recent.first(qMin(m_recent.size(), kMostRecent));
    if (!machine.recovered.isEmpty()) {
      m_notice->Tell(machine.mayRecover ? NoticeBar::Tone::kBad : NoticeBar::Tone::kPlain,
                     machine.recovered.join(QChar('\n')));
      if (machine.mayRecover) {
        m_notice->OfferAction(tr("&Take it back"), [this] { m_engine.RecoverTrusting(); });
      }
    } else if (!machine.unread.isEmpty()) {
      m_notice->Tell(
          NoticeBar::Tone::kBad,
          tr("Not all that is installed could be read, so that nothing can be changed. %1").arg(machine.unread));
      m_notice->OfferAction(tr("&Try again"), [this] { ReadAgain(); });
    } else if (machine.products.isEmpty()) {
      m_notice->Tell(NoticeBar::Tone::kPlain, tr("No product was found on this machine. Install one, then read the "
                                                 "machine again (F5), or open another machine folder."));
    }
  }
  ShowProduct();
  PreviewNext();
}

void MainWindow::ShowProduct() { m_engine.List(GetProduct()); }

QString MainWindow::GetProduct() const { return m_products->currentData().toString(); }

const ExtensionFacts* MainWindow::GetSelected() const {
  return m_model.FindRow(m_filter.mapToSource(m_list->currentIndex()));
}

void MainWindow::OnListed(const QString& product, const QList<ExtensionFacts>& rows) {
  if (product != GetProduct()) {
    return;
  }
  m_model.SetRows(rows);
  QModelIndex select = m_filter.index(0, 0);
  for (int row = 0; row < rows.size(); ++row) {
    const bool isNew = rows[row].name == m_installedName && rows[row].enabled;
    if (isNew || (m_installedName.isEmpty() && rows[row].path == m_selectedPath)) {
      select = m_filter.mapFromSource(m_model.index(row, 0));
    }
  }
  m_installedName.clear();
  m_list->setCurrentIndex(select);
  ShowSelected();
  emit ListShown();
}

void MainWindow::ShowSelected() {
  UpdateActions();
  if (const ExtensionFacts* row = GetSelected()) {
    m_selectedPath = row->path;
    m_engine.ReadDetails(GetProduct(), row->path);
  } else {
    m_details->ShowHint(tr("<p>No extension is installed here yet.</p><p>Drop a package (.kep) on this window, or "
                           "choose File &gt; Install.</p>"));
  }
}

void MainWindow::OnDetails(const DetailFacts& details) {
  if (const ExtensionFacts* row = GetSelected(); row != nullptr && row->path == details.path) {
    m_details->Show(*row, details);
  }
}

void MainWindow::InstallFiles(const QStringList& files) {
  m_toInstall += files;
  PreviewNext();
}

void MainWindow::PreviewNext() {
  if (m_isIdle && !m_dialog && !m_toInstall.isEmpty() && m_products->count() > 0) {
    m_isIdle = false;
    UpdateActions();
    m_engine.PreviewInstall(m_toInstall.takeFirst(), GetProduct());
  }
}

void MainWindow::OnPreview(const PreviewFacts& preview) {
  m_isIdle = true;
  UpdateActions();
  if (preview.result.failure != 0) {
    const QString name = QFileInfo(preview.file).fileName();
    m_notice->Tell(NoticeBar::Tone::kBad,
                   tr("%1 cannot be installed: %2. Nothing was changed. %3")
                       .arg(name,
                            preview.result.reason.isEmpty() ? words::ReasonOf(preview.result) : preview.result.reason,
                            words::NextAfter(preview.result)),
                   words::DetailsOf(preview.result));
    PreviewNext();
    return;
  }
  auto* dialog = new PreviewDialog(preview, this);
  connect(dialog, &QDialog::accepted, this, [this, preview] {
    BeginOperation(tr("Installing “%1”…").arg(preview.result.extension));
    m_engine.Install(preview.file, preview.result.product, preview.agreement);
  });
  connect(dialog, &QDialog::rejected, this, &MainWindow::PreviewNext, Qt::QueuedConnection);
  ShowDialog(dialog);
}

void MainWindow::BeginOperation(const QString& what) {
  m_isIdle = false;
  m_notice->hide();
  m_progress->Begin(what);
  UpdateActions();
}

void MainWindow::Cancel() {
  m_progress->SayCancelled();
  m_toInstall.clear();
  m_engine.Cancel();
}

void MainWindow::OnQuestion(const Question& question) {
  auto* dialog = new QuestionDialog(question, this);
  connect(dialog, &QuestionDialog::Answered, this, [this](const Reply& reply) { m_engine.GetUi().GiveReply(reply); });
  connect(dialog, &QuestionDialog::CancelWanted, this, &MainWindow::Cancel);
  ShowDialog(dialog);
}

void MainWindow::OnFinished(const ResultFacts& result) {
  m_isIdle = !m_engine.IsBusy();
  if (m_isIdle) {
    m_progress->End();
  }
  const bool isGood = result.failure == 0;
  const QString next = words::NextAfter(result);
  m_notice->Tell(isGood                                                                    ? NoticeBar::Tone::kGood
                 : result.failure == static_cast<int>(OperationReport::Failure::kDeclined) ? NoticeBar::Tone::kPlain
                                                                                           : NoticeBar::Tone::kBad,
                 words::OfResult(result) + (next.isEmpty() ? QString() : QChar('\n') + next), words::DetailsOf(result));
  const auto operation = static_cast<OperationReport::Operation>(result.operation);
  if (isGood && operation != OperationReport::Operation::kPackage && operation != OperationReport::Operation::kUndo) {
    m_notice->OfferAction(tr("&Undo"), [this] { UndoLast(); });
  }
  if (isGood && operation == OperationReport::Operation::kInstall) {
    m_installedName = result.extension;
    // it may have gone to another product than the one shown
    if (const int other = m_products->findData(result.product); other >= 0) {
      m_products->setCurrentIndex(other);
    }
  }
  UpdateActions();
  ShowProduct();
  if (m_isClosing) {
    close();
    return;
  }
  PreviewNext();
}

void MainWindow::ShowText(const QString& title, const QString& head, const QString& text) {
  ShowDialog(new TextDialog(title, head, text, this));
}

void MainWindow::ShowCheck(const CheckFacts& facts) {
  const QString name = QFileInfo(facts.file).fileName();
  if (!facts.trouble.isEmpty()) {
    m_notice->Tell(NoticeBar::Tone::kBad, tr("%1 cannot be used: %2.").arg(name, facts.trouble));
  } else if (facts.errors.isEmpty() && facts.warnings.isEmpty()) {
    m_notice->Tell(NoticeBar::Tone::kGood, tr("Nothing is wrong with %1.").arg(name));
  } else {
    QString text;
    for (const QString& line : facts.errors) {
      text += tr("Error: %1").arg(line) + QChar('\n');
    }
    for (const QString& line : facts.warnings) {
      text += tr("Warning: %1").arg(line) + QChar('\n');
    }
    ShowText(tr("Check of %1").arg(name),
             tr("%1: %n error(s)", nullptr, static_cast<int>(facts.errors.size())).arg(name), text);
  }
}

void MainWindow::ShowDialog(QDialog* dialog) {
  if (m_dialog) {
    m_dialog->close();
  }
  m_dialog = dialog;
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &QObject::destroyed, this, &MainWindow::PreviewNext, Qt::QueuedConnection);
  dialog->open();
}

} // namespace kest::desktop
