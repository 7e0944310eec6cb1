// Menus, keys and what they begin.
#include "desktop/main_window.h"

#include "desktop/list_dialogs.h"
#include "desktop/notice_bar.h"
#include "kest/version.h"

#include <QAction>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QStyle>
#include <QToolBar>
#include <QTreeView>

namespace kest::desktop {

QAction* MainWindow::AddAction(QMenu* menu, const QString& name, const QString& text, const QKeySequence& keys,
                               void (MainWindow::*action)()) {
  QAction* const added = menu->addAction(text);
  added->setObjectName(name);
  added->setShortcut(keys);
  connect(added, &QAction::triggered, this, action);
  return added;
}

void MainWindow::MakeActions() {
  MakeFileMenu();
  MakeExtensionMenu();
  QMenu* const help = menuBar()->addMenu(tr("&Help"));
  AddAction(help, "about", tr("&About Kest"), {}, &MainWindow::ShowAbout);
  auto* find = new QAction(this);
  find->setShortcut(QKeySequence::Find);
  connect(find, &QAction::triggered, m_words, [this] {
    m_words->setFocus();
    m_words->selectAll();
  });
  addAction(find);
}

void MainWindow::MakeFileMenu() {
  QMenu* const menu = menuBar()->addMenu(tr("&File"));
  QAction* const install =
      AddAction(menu, "install", tr("&Install…"), QKeySequence(Qt::CTRL | Qt::Key_I), &MainWindow::AskForPackages);
  AddAction(menu, "import", tr("I&mport from Another Product…"), {}, &MainWindow::AskForImport);
  menu->addSeparator();
  AddAction(menu, "pack", tr("&Make a Package…"), {}, &MainWindow::AskForPacking);
  AddAction(menu, "check", tr("&Check a Package…"), {}, &MainWindow::AskForCheck);
  menu->addSeparator();
  AddAction(menu, "open", tr("&Open a Machine Folder…"), QKeySequence::Open, &MainWindow::AskForMachine);
  m_recentMenu = menu->addMenu(tr("&Recent Machine Folders"));
  connect(m_recentMenu, &QMenu::aboutToShow, this, &MainWindow::ShowRecent);
  AddAction(menu, "again", tr("Read the Machine &Again"), QKeySequence::Refresh, &MainWindow::ReadAgain);
  menu->addSeparator();
  QAction* const quit = menu->addAction(tr("&Quit"));
  quit->setShortcut(QKeySequence::Quit);
  connect(quit, &QAction::triggered, this, &QWidget::close);
  QToolBar* const bar = addToolBar(tr("Tools"));
  bar->setObjectName("tools");
  bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  install->setIcon(style()->standardIcon(QStyle::SP_ArrowDown));
  bar->addAction(install);
}

void MainWindow::MakeExtensionMenu() {
  QMenu* const menu = menuBar()->addMenu(tr("&Extension"));
  QAction* const toggle = AddAction(menu, "toggle", tr("&Switch On or Off"), QKeySequence(Qt::CTRL | Qt::Key_D),
                                    &MainWindow::ToggleSelected);
  QAction* const remove = AddAction(menu, "remove", tr("&Remove…"), QKeySequence::Delete, &MainWindow::RemoveSelected);
  AddAction(menu, "repair", tr("Re&pair"), {}, &MainWindow::RepairSelected);
  menu->addSeparator();
  QAction* const undo =
      AddAction(menu, "undoLast", tr("&Undo the Last Operation"), QKeySequence::Undo, &MainWindow::UndoLast);
  QAction* const history = menu->addAction(tr("&History…"));
  history->setObjectName("history");
  history->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_H));
  connect(history, &QAction::triggered, &m_engine, &EngineRoom::ReadHistory);
  remove->setIcon(style()->standardIcon(QStyle::SP_TrashIcon));
  undo->setIcon(style()->standardIcon(QStyle::SP_ArrowBack));
  auto* const bar = findChild<QToolBar*>("tools");
  bar->addActions({remove, undo, history});
  m_contextMenu = new QMenu(this);
  m_contextMenu->addActions({toggle, remove, findChild<QAction*>("repair")});
  connect(m_list, &QWidget::customContextMenuRequested, this,
          [this](const QPoint& at) { m_contextMenu->popup(m_list->viewport()->mapToGlobal(at)); });
}

void MainWindow::UpdateActions() {
  const bool canChange = m_isIdle && m_machine.trouble.isEmpty() && !m_machine.folder.isEmpty();
  const bool isSelected = canChange && GetSelected() != nullptr;
  for (const char* name : {"remove", "toggle", "repair"}) {
    findChild<QAction*>(name)->setEnabled(isSelected);
  }
  for (const char* name : {"install", "pack", "check", "again", "undoLast", "history"}) {
    findChild<QAction*>(name)->setEnabled(canChange);
  }
  findChild<QAction*>("import")->setEnabled(canChange && m_machine.products.size() > 1);
  findChild<QAction*>("open")->setEnabled(m_isIdle);
  m_products->setEnabled(m_isIdle);
  m_users->setEnabled(m_isIdle);
}

void MainWindow::ShowRecent() {
  m_recentMenu->clear();
  for (const QString& folder : std::as_const(m_recent)) {
    connect(m_recentMenu->addAction(folder), &QAction::triggered, this, [this, folder] { OpenMachine(folder); });
  }
  m_recentMenu->setEnabled(true);
  if (m_recent.isEmpty()) {
    m_recentMenu->addAction(tr("None yet"))->setEnabled(false);
  }
}

void MainWindow::AskForMachine() {
  auto* dialog = new QFileDialog(this, tr("Open a machine folder"), m_machine.folder);
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  connect(dialog, &QFileDialog::fileSelected, this, &MainWindow::OpenMachine);
  ShowDialog(dialog);
}

void MainWindow::AskForPackages() {
  auto* dialog = new QFileDialog(this, tr("Install"), {}, tr("Extensions (*.kep *.kei)"));
  dialog->setFileMode(QFileDialog::ExistingFiles);
  connect(dialog, &QFileDialog::filesSelected, this, &MainWindow::InstallFiles, Qt::QueuedConnection);
  ShowDialog(dialog);
}

void MainWindow::AskForPacking() {
  auto* dialog = new QFileDialog(this, tr("Make a package of this description"), {}, tr("Descriptions (*.kei)"));
  dialog->setFileMode(QFileDialog::ExistingFile);
  connect(
      dialog, &QFileDialog::fileSelected, this,
      [this](const QString& description) {
        const QFileInfo info(description);
        auto* save =
            new QFileDialog(this, tr("Save the package as"),
                            info.path() + QChar('/') + info.completeBaseName() + ".kep", tr("Packages (*.kep)"));
        save->setAcceptMode(QFileDialog::AcceptSave);
        save->setDefaultSuffix("kep");
        connect(save, &QFileDialog::fileSelected, this, [this, description](const QString& package) {
          BeginOperation(tr("Making the package…"));
          m_engine.Pack(description, package);
        });
        ShowDialog(save);
      },
      Qt::QueuedConnection);
  ShowDialog(dialog);
}

void MainWindow::AskForCheck() {
  auto* dialog = new QFileDialog(this, tr("Check"), {}, tr("Extensions (*.kep *.kei)"));
  dialog->setFileMode(QFileDialog::ExistingFile);
  connect(dialog, &QFileDialog::fileSelected, this,
          [this](const QString& file) { m_engine.Check(file, GetProduct()); });
  ShowDialog(dialog);
}

void MainWindow::AskForImport() {
  QStringList sources;
  for (const ProductFacts& product : std::as_const(m_machine.products)) {
    if (product.name != GetProduct()) {
      sources += product.name;
    }
  }
  auto* dialog = new ImportDialog(sources, GetProduct(), this);
  connect(&m_engine, &EngineRoom::Listed, dialog, &ImportDialog::ShowRows);
  connect(dialog, &ImportDialog::SourceChosen, &m_engine, &EngineRoom::List);
  connect(dialog, &QDialog::accepted, this, [this, dialog] {
    BeginOperation(tr("Importing…"));
    m_engine.Import(dialog->GetSource(), GetProduct(), dialog->GetChosen());
  });
  m_engine.List(dialog->GetSource());
  ShowDialog(dialog);
}

void MainWindow::ReadAgain() { OpenMachine(m_machine.folder); }

void MainWindow::RemoveSelected() {
  if (const ExtensionFacts* row = GetSelected()) {
    m_engine.PreviewRemoval(GetProduct(), row->path);
  }
}

void MainWindow::ToggleSelected() {
  if (const ExtensionFacts* row = GetSelected()) {
    emit m_model.ToggleWanted(row->path, !row->enabled);
  }
}

void MainWindow::RepairSelected() {
  if (const ExtensionFacts* row = GetSelected()) {
    BeginOperation(tr("Repairing…"));
    m_engine.Repair(GetProduct(), row->path);
  }
}

void MainWindow::UndoLast() {
  BeginOperation(tr("Undoing…"));
  m_engine.Undo(0);
}

void MainWindow::ShowAbout() {
  auto* box = new QMessageBox(QMessageBox::Information, tr("About Kest"),
                              tr("Kest %1 manages the extensions of Tidemark, Tidemark Vantage, Prism, Marlin and "
                                 "Quarry. Whatever fails or is cancelled is taken back.")
                                  .arg(QStringLiteral(KEST_VERSION_TEXT)),
                              QMessageBox::Close, this);
  ShowDialog(box);
}

} // namespace kest::desktop
