#include "window_fixture.h"

#include "host/sample/sample_machine.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>

namespace kest::test {

WindowFixture::WindowFixture() {
  QStandardPaths::setTestModeEnabled(false);
  qputenv("XDG_DATA_HOME", In("data").toUtf8());
  qputenv("XDG_CONFIG_HOME", In("config").toUtf8());
  qputenv("KEST_MACHINE", In("pc").toUtf8());
  std::string why;
  host::SampleMachine machine;
  machine.folder = In("pc").toStdString();
  machine.products = {"Tidemark Nova", "Prism 4"};
  if (!host::MakeSampleMachine(machine, why)) {
    qFatal("no sample machine: %s", why.c_str());
  }
  Kest({"pack", QStringLiteral(KEST_SOURCE_DIR "/examples/table-tools/table-tools.kei"), "-o", In("table-tools.kep")});
}

QByteArray WindowFixture::Kest(const QStringList& words, int exit) {
  QProcess process;
  process.start(QStringLiteral(KEST_PROGRAM), words);
  process.waitForFinished();
  if (process.exitCode() != exit) {
    qWarning("kest %s: %d\n%s", qPrintable(words.join(' ')), process.exitCode(),
             process.readAllStandardError().constData());
    return {};
  }
  return process.readAllStandardOutput();
}

QString WindowFixture::MakeBigPackage(int files) {
  QDir(In({})).mkpath("big");
  QByteArray list;
  for (int file = 0; file < files; ++file) {
    const QByteArray name = QByteArray("f") + QByteArray::number(file) + ".htm";
    QFile made(In("big/" + name));
    if (made.open(QIODevice::WriteOnly)) {
      made.write(QByteArray(1000, static_cast<char>('a' + file % 26)));
    }
    list += "<file name=\"" + name + "\" destination=\"$tidemark/Configuration/Objects/Big\" />";
  }
  QFile description(In("big/big.kei"));
  if (description.open(QIODevice::WriteOnly)) {
    description.write("<kestrel-extension name=\"Big One\" version=\"1.0\" type=\"Object\"><author name=\"Tester\" />"
                      "<products><product name=\"Tidemark\" version=\"6\" primary=\"true\" /></products>"
                      "<description><![CDATA[Many files.]]></description><ui-access><![CDATA[Nowhere.]]></ui-access>"
                      "<files>" +
                      list + "</files></kestrel-extension>");
  }
  description.close();
  Kest({"pack", In("big/big.kei"), "-o", In("big.kep")});
  return In("big.kep");
}

desktop::MainWindow& WindowFixture::Open(const QString& folder) {
  m_window = std::make_unique<desktop::MainWindow>();
  QSignalSpy shown(m_window.get(), &desktop::MainWindow::ListShown);
  m_window->OpenMachine(folder.isEmpty() ? In("pc") : folder);
  m_window->show();
  static_cast<void>(shown.wait(20000));
  return *m_window;
}

QAbstractButton* WindowFixture::FindShown(const QString& button) {
  QAbstractButton* found = nullptr;
  for (QDialog* dialog : m_window->findChildren<QDialog*>()) {
    auto* one = dialog->findChild<QAbstractButton*>(button);
    found = one != nullptr && dialog->isVisible() ? one : found;
  }
  return found;
}

bool WindowFixture::Click(const QString& button) {
  QAbstractButton* found = nullptr;
  const bool isThere = QTest::qWaitFor([&] { return (found = FindShown(button)) != nullptr; }, 20000);
  if (isThere) {
    QTest::mouseClick(found, Qt::LeftButton, {},
                      found->layoutDirection() == Qt::LeftToRight ? QPoint(8, found->height() / 2)
                                                                  : QPoint(found->width() - 8, found->height() / 2));
  }
  return isThere;
}

bool WindowFixture::WaitIdle(int milliseconds) {
  return QTest::qWaitFor([this] { return m_window->IsIdle(); }, milliseconds);
}

bool WindowFixture::WaitForNotice(const QString& part) {
  return QTest::qWaitFor([&] { return m_window->GetNotice().contains(part); }, 20000);
}

bool WindowFixture::Install(const QString& package) {
  m_window->InstallFiles({package});
  return Click("accept") && Click("go") && WaitForNotice("was installed");
}

} // namespace kest::test
