// How long the window takes until its list can be used, beside a bare window of the same toolkit, and how long a filter
// of its rows takes. Usage: bench_window KEST COUNT; the median of seven starts each.
#include "desktop/main_window.h"
#include "host/sample/sample_machine.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

using kest::desktop::MainWindow;

namespace {

constexpr int kStarts = 7;

void SayReady() {
  std::puts("ready");
  std::fflush(stdout);
}

int ShowBare(QApplication& application) {
  QMainWindow window;
  window.resize(900, 600);
  window.show();
  QCoreApplication::processEvents();
  SayReady();
  static_cast<void>(application);
  return 0;
}

int ShowList(QApplication& application, const QString& machine) {
  MainWindow window;
  double longest = 0;
  QObject::connect(&window, &MainWindow::ListShown, &application, [&] {
    QCoreApplication::processEvents(); // painted
    SayReady();
    auto* filter = window.findChild<QLineEdit*>("filter");
    for (const char* words : {"e", "ex", "ext", "extension 9", "extension 99", "none of them", ""}) {
      QElapsedTimer timer;
      timer.start();
      filter->setText(words);
      window.repaint();
      longest = std::max(longest, static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("%.1f\n", longest);
    QApplication::quit();
  });
  window.show();
  window.OpenMachine(machine);
  return QApplication::exec();
}

// Milliseconds from the start of a process until it says that it is ready; `rest` gets what it says then.
double MedianStart(const QStringList& words, QByteArray& rest) {
  std::vector<double> times;
  for (int start = 0; start < kStarts; ++start) {
    QProcess process;
    QElapsedTimer timer;
    timer.start();
    process.start(QCoreApplication::applicationFilePath(), words);
    while (!process.canReadLine() && process.waitForReadyRead(60000)) {
    }
    times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    process.readLine();
    process.waitForFinished(60000);
    rest = process.readAll().trimmed();
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

bool MakeMachine(const QString& folder, const QString& kest, int count) {
  kest::host::SampleMachine machine;
  machine.folder = folder.toStdString();
  machine.products = {"Tidemark Nova"};
  std::string why;
  if (!kest::host::MakeSampleMachine(machine, why)) {
    return false;
  }
  const QString extensions = folder + "/drive_c/Program Files/Kestrel/Tidemark 6/Configuration/Extensions/";
  QDir().mkpath(extensions);
  for (int at = 0; at < count; ++at) {
    QFile file(extensions + QString("e%1.kei").arg(at));
    const QString text = QString("<kestrel-extension name=\"Extension %1\" version=\"1.%1\" type=\"Object\"><author "
                                 "name=\"Author %2\" /><products><product name=\"Tidemark\" version=\"6\" "
                                 "primary=\"true\" /></products><description><![CDATA[%3]]></description></"
                                 "kestrel-extension>")
                             .arg(at)
                             .arg(at % 50)
                             .arg(QString(1000, QChar('a')));
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0) {
      return false;
    }
  }
  // an operation leaves the index that a start reads
  return QProcess::execute(kest, {"install", KEST_SOURCE_DIR "/examples/table-tools/table-tools.kei", "-m", folder,
                                  "-y", "--accept-agreement", "-q"}) == 0;
}

} // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const QStringList words = QCoreApplication::arguments();
  if (words.value(1) == "--bare") {
    return ShowBare(application);
  }
  if (words.value(1) == "--list") {
    return ShowList(application, words.value(2));
  }
  const QTemporaryDir folder;
  qputenv("XDG_DATA_HOME", folder.filePath("data").toUtf8());
  qputenv("XDG_CONFIG_HOME", folder.filePath("config").toUtf8());
  const int count = words.value(2).toInt();
  if (count < 1 || !MakeMachine(folder.filePath("pc"), words.value(1), count)) {
    std::fputs("usage: bench_window KEST COUNT\n", stderr);
    return 2;
  }
  QByteArray filter;
  const double bare = MedianStart({"--bare"}, filter);
  const double list = MedianStart({"--list", folder.filePath("pc")}, filter);
  std::printf(
      "%d extensions: bare window %.0f ms, usable list %.0f ms (%.0f ms more, %.2f times); longest filter %s ms\n",
      count, bare, list, list - bare, list / bare, filter.constData());
  return 0;
}
