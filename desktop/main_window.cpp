#include "desktop/main_window.h"

#include "desktop/details_pane.h"
#include "desktop/notice_bar.h"
#include "desktop/progress_panel.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QSettings>
#include <QSplitter>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

namespace kest::desktop {
namespace {

QStringList PackagesOf(const QMimeData* data) {
  QStringList files;
  for (const QUrl& url : data->urls()) {
    const QString file = url.toLocalFile();
    if (file.endsWith(".kep", Qt::CaseInsensitive) || file.endsWith(".kei", Qt::CaseInsensitive)) {
      files += file;
    }
  }
  return files;
}

} // namespace

MainWindow::MainWindow() : m_filter(m_model) {
  setWindowTitle(tr("Kest"));
  setAcceptDrops(true);
  auto* middle = new QWidget(this);
  auto* column = new QVBoxLayout(middle);
  auto* top = new QWidget(middle);
  MakeTop(top);
  m_notice = new NoticeBar(middle);
  MakeList();
  m_details = new DetailsPane(this);
  auto* splitter = new QSplitter(middle);
  splitter->setObjectName("splitter");
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(m_list);
  splitter->addWidget(m_details);
  splitter->setStretchFactor(0, 3);
  splitter->setStretchFactor(1, 2);
  m_progress = new ProgressPanel(middle);
  column->addWidget(top);
  column->addWidget(m_notice);
  column->addWidget(splitter, 1);
  column->addWidget(m_progress);
  setCentralWidget(middle);
  MakeActions();
  ConnectEngine();
  ReadSettings();
  UpdateActions();
  m_list->setFocus();
}

void MainWindow::MakeTop(QWidget* top) {
  m_products = new QComboBox(top);
  m_products->setObjectName("products");
  m_products->setAccessibleName(tr("Product"));
  m_products->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  m_users = new QComboBox(top);
  m_users->setObjectName("users");
  m_users->setAccessibleName(tr("User of the machine"));
  m_words = new QLineEdit(top);
  m_words->setObjectName("filter");
  m_words->setAccessibleName(tr("Filter"));
  m_words->setPlaceholderText(tr("Filter by name, author or type"));
  m_words->setClearButtonEnabled(true);
  auto* label = new QLabel(tr("&Product:"), top);
  label->setBuddy(m_products);
  auto* row = new QHBoxLayout(top);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(label);
  row->addWidget(m_products);
  row->addWidget(m_users);
  row->addWidget(m_words, 1);
  connect(m_words, &QLineEdit::textChanged, this, [this](const QString& typed) { m_filter.SetWords(typed); });
  connect(m_products, &QComboBox::currentIndexChanged, this, &MainWindow::ShowProduct);
  connect(m_users, &QComboBox::textActivated, &m_engine, &EngineRoom::SelectUser);
}

void MainWindow::MakeList() {
  m_list = new QTreeView(this);
  m_list->setObjectName("list");
  m_list->setAccessibleName(tr("Installed extensions"));
  m_list->setRootIsDecorated(false);
  m_list->setUniformRowHeights(true);
  m_list->setAllColumnsShowFocus(true);
  m_list->setContextMenuPolicy(Qt::CustomContextMenu);
  m_list->setModel(&m_filter);
  m_list->setSortingEnabled(true);
  m_list->sortByColumn(ExtensionModel::kName, Qt::AscendingOrder);
  m_list->header()->resizeSection(ExtensionModel::kName, fontMetrics().averageCharWidth() * 32);
  connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &MainWindow::ShowSelected);
  connect(&m_model, &ExtensionModel::ToggleWanted, this, [this](const QByteArray& path, bool enabled) {
    if (m_isIdle) {
      BeginOperation(enabled ? tr("Switching on…") : tr("Switching off…"));
      m_engine.SetEnabled(GetProduct(), path, enabled);
    }
  });
}

void MainWindow::ReadSettings() {
  const QSettings settings;
  resize(fontMetrics().averageCharWidth() * 130, fontMetrics().height() * 36);
  restoreGeometry(settings.value("geometry").toByteArray());
  restoreState(settings.value("state").toByteArray());
  findChild<QSplitter*>("splitter")->restoreState(settings.value("splitter").toByteArray());
  m_list->header()->restoreState(settings.value("columns").toByteArray());
  m_recent = settings.value("recent").toStringList();
}

void MainWindow::WriteSettings() const {
  QSettings settings;
  settings.setValue("geometry", saveGeometry());
  settings.setValue("state", saveState());
  settings.setValue("splitter", findChild<QSplitter*>("splitter")->saveState());
  settings.setValue("columns", m_list->header()->saveState());
  settings.setValue("recent", m_recent);
  settings.setValue("product", GetProduct());
}

QString MainWindow::GetNotice() const { return m_notice->GetText(); }

void MainWindow::closeEvent(QCloseEvent* event) {
  WriteSettings();
  if (m_engine.IsBusy()) { // it closes once everything was taken back
    m_isClosing = true;
    Cancel();
    event->ignore();
    return;
  }
  event->accept();
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::ActivationChange && isActiveWindow() && m_isIdle) {
    m_engine.ListIfChanged(GetProduct());
  }
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!PackagesOf(event->mimeData()).isEmpty()) {
    event->acceptProposedAction();
  }
}

void MainWindow::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  InstallFiles(PackagesOf(event->mimeData()));
}

} // namespace kest::desktop
