#pragma once

#include "desktop/engine_room.h"
#include "desktop/extension_model.h"

#include <QDialog>
#include <QMainWindow>
#include <QPointer>

class QComboBox;
class QLineEdit;
class QMenu;
class QTreeView;

namespace kest::desktop {

class DetailsPane;
class NoticeBar;
class PreviewDialog;
class ProgressPanel;

/// The window: its parts and their layout (main_window.cpp), menus and keys (window_actions.cpp), and what follows on
/// what the user wants and the engine says (window_flow.cpp).
class MainWindow : public QMainWindow {
  Q_OBJECT

public:
  MainWindow();

  /// Opens a machine folder of this system; what was opened stays when it is none.
  void OpenMachine(const QString& folder);
  /// Packages and descriptions, installed one after the other, each after its preview.
  void InstallFiles(const QStringList& files);

  // for tests and pictures
  [[nodiscard]] EngineRoom& GetEngine() { return m_engine; }
  [[nodiscard]] QString GetNotice() const;
  [[nodiscard]] const ExtensionModel& GetModel() const { return m_model; }
  [[nodiscard]] bool IsIdle() const { return m_isIdle && !m_dialog; }

signals:
  void ListShown();

protected:
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

private:
  // main_window.cpp
  void MakeTop(QWidget* top);
  void MakeList();
  void ReadSettings();
  void WriteSettings() const;

  // window_actions.cpp
  void MakeActions();
  void MakeFileMenu();
  void MakeExtensionMenu();
  QAction* AddAction(QMenu* menu, const QString& name, const QString& text, const QKeySequence& keys,
                     void (MainWindow::*action)());
  void ShowRecent();
  void UpdateActions();
  void AskForMachine();
  void AskForPackages();
  void AskForPacking();
  void AskForCheck();
  void AskForImport();
  void ReadAgain();
  void RemoveSelected();
  void ToggleSelected();
  void RepairSelected();
  void UndoLast();
  void ShowAbout();

  // window_flow.cpp
  void ConnectEngine();
  void OnOpened(const MachineFacts& machine);
  void OnListed(const QString& product, const QList<ExtensionFacts>& rows);
  void OnDetails(const DetailFacts& details);
  void OnPreview(const PreviewFacts& preview);
  void OnFinished(const ResultFacts& result);
  void OnQuestion(const Question& question);
  void ShowProduct();
  void ShowSelected();
  void PreviewNext();
  void BeginOperation(const QString& what);
  void Cancel();
  void ShowText(const QString& title, const QString& head, const QString& text);
  void ShowCheck(const CheckFacts& facts);
  /// One dialog at a time.
  void ShowDialog(QDialog* dialog);
  [[nodiscard]] const ExtensionFacts* GetSelected() const;
  [[nodiscard]] QString GetProduct() const;

  EngineRoom m_engine;
  ExtensionModel m_model;
  ExtensionFilter m_filter;
  QComboBox* m_products = nullptr;
  QComboBox* m_users = nullptr;
  QLineEdit* m_words = nullptr;
  QTreeView* m_list = nullptr;
  QMenu* m_recentMenu = nullptr;
  QMenu* m_contextMenu = nullptr;
  DetailsPane* m_details = nullptr;
  NoticeBar* m_notice = nullptr;
  ProgressPanel* m_progress = nullptr;
  QPointer<QDialog> m_dialog;
  MachineFacts m_machine;
  QStringList m_recent;
  QStringList m_toInstall;
  QByteArray m_selectedPath; ///< to be selected again when the list comes anew
  QString m_installedName;   ///< to be selected when the list comes anew
  bool m_isIdle = true;      ///< no operation, and no preview, is in progress
  bool m_isClosing = false;
};

} // namespace kest::desktop
