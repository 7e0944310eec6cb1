// Writes pictures of the window's main states into a folder; ends with 1 when one of them is not reached.
// Usage: desktop_pictures FOLDER
#include "window_fixture.h"

#include <QDir>
#include <QPainter>
#include <QPushButton>
#include <QTextBrowser>

#include <cstdio>

using kest::test::WindowFixture;

namespace {

// The window with the dialog that is open before it, in few colours so that the file is small.
bool Save(WindowFixture& on, const QString& file) {
  QTest::qWait(200); // until everything is painted
  QPixmap picture = on.Window().grab();
  for (QDialog* dialog : on.Window().findChildren<QDialog*>()) {
    if (dialog->isVisible()) {
      const QPixmap front = dialog->grab();
      QPainter painter(&picture);
      painter.fillRect(picture.rect(), QColor(0, 0, 0, 60));
      const QPoint at((picture.width() - front.width()) / 2, (picture.height() - front.height()) / 2);
      painter.drawPixmap(at, front);
      painter.setPen(Qt::darkGray);
      painter.drawRect(QRect(at, front.size()).adjusted(-1, -1, 0, 0));
    }
  }
  return picture.toImage().convertToFormat(QImage::Format_Indexed8, Qt::ThresholdDither).save(file, "PNG", 0);
}

bool Run(const QDir& folder) {
  WindowFixture on;
  for (const char* name : {"breadcrumbs", "house-style", "page-furniture", "woven-patterns"}) {
    on.Kest(
        {"pack", QStringLiteral(KEST_SOURCE_DIR "/examples/%1/%1.kei").arg(name), "-o", on.In("one.kep"), "--force"});
    on.Kest({"install", on.In("one.kep"), "-y", "--accept-agreement"});
  }
  on.Kest({"disable", "House Style", "-y"});
  on.Open().resize(900, 560);
  on.Window().InstallFiles({on.In("table-tools.kep")});
  if (!QTest::qWaitFor([&] { return on.Find<QPushButton>("go") != nullptr; }, 20000) ||
      !Save(on, folder.filePath("window-preview.png"))) {
    return false;
  }
  if (!on.Click("accept") || !on.Click("go") || !on.WaitForNotice("was installed") || !on.WaitIdle()) {
    return false;
  }
  const auto about = [&] { return on.Find<QTextBrowser>("details")->toPlainText(); };
  if (!QTest::qWaitFor([&] { return about().contains("as its install left it"); }, 20000) ||
      !Save(on, folder.filePath("window.png"))) {
    return false;
  }
  on.Find<QAction>("remove")->trigger();
  if (!QTest::qWaitFor([&] { return on.Find<QPushButton>("go") != nullptr; }, 20000) ||
      !Save(on, folder.filePath("window-remove.png")) || !on.Click("cancelDialog") || !on.WaitIdle()) {
    return false;
  }
  on.Find<QAction>("history")->trigger();
  return QTest::qWaitFor([&] { return on.Find<QPushButton>("undo") != nullptr; }, 20000) &&
         Save(on, folder.filePath("window-history.png"));
}

} // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc != 2 || !QDir().mkpath(argv[1])) {
    std::fputs("usage: desktop_pictures FOLDER\n", stderr);
    return 2;
  }
  QApplication::setStyle("fusion");
  if (!Run(QDir(argv[1]))) {
    std::fputs("a state of the window was not reached\n", stderr);
    return 1;
  }
  return 0;
}
