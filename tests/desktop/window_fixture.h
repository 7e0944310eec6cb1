#pragma once

#include "desktop/main_window.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class QAbstractButton;

namespace kest::test {

/// A sample machine with Tidemark Nova and Prism 4, packages to install, and a window on it.
class WindowFixture {
public:
  WindowFixture();

  [[nodiscard]] QString In(const QString& name) const { return m_folder.filePath(name); }
  /// Runs the command-line host on the machine; its standard output.
  QByteArray Kest(const QStringList& words, int exit = 0);
  /// A package with many files, which takes a moment to install.
  QString MakeBigPackage(int files);
  /// Opens the window on the machine, or on another folder, and waits until its list is shown.
  desktop::MainWindow& Open(const QString& folder = {});
  void Close() { m_window.reset(); }
  [[nodiscard]] desktop::MainWindow& Window() { return *m_window; }

  template <class Widget> [[nodiscard]] Widget* Find(const QString& name) { return m_window->findChild<Widget*>(name); }
  /// The button of that name in a dialog that is shown; null when there is none.
  [[nodiscard]] QAbstractButton* FindShown(const QString& button);
  /// Waits for a dialog that has the button, and clicks it.
  bool Click(const QString& button);
  /// Waits until no operation is in progress and no dialog is open.
  bool WaitIdle(int milliseconds = 20000);
  /// A sentence that the window tells, once it has one with this in it.
  bool WaitForNotice(const QString& part);
  /// Installs a package through the window: preview, agreement, end.
  bool Install(const QString& package);

private:
  QTemporaryDir m_folder;
  std::unique_ptr<desktop::MainWindow> m_window;
};

} // namespace kest::test
