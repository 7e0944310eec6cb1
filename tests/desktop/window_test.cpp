#include "desktop/details_pane.h"
#include "desktop/engine_facts.h"
#include "window_fixture.h"

#include <QAccessible>
#include <QComboBox>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QProcess>
#include <QPushButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>

#include <csignal>
#include <sys/resource.h>

using namespace kest;
using test::WindowFixture;

class WindowTest : public QObject {
  Q_OBJECT

private:
  std::unique_ptr<WindowFixture> m_on;
  [[nodiscard]] QTreeView& List() { return *m_on->Find<QTreeView>("list"); }
  [[nodiscard]] bool IsOn(int row = 0) { return m_on->Window().GetModel().GetRows().at(row).enabled; }
  void Trigger(const char* name) {
    auto* action = m_on->Find<QAction>(name);
    QTRY_VERIFY(action->isEnabled());
    action->trigger();
  }

private slots:
  void init() { m_on = std::make_unique<WindowFixture>(); }
  void cleanup() { m_on.reset(); }

  void installs_switches_removes_and_takes_back() {
    desktop::MainWindow& window = m_on->Open();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(m_on->In("table-tools.kep"))});
    QDropEvent drop(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, {});
    QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(&window, &enter);
    QCoreApplication::sendEvent(&window, &drop);

    QTRY_VERIFY(m_on->Find<QPushButton>("go") != nullptr);
    auto* go = m_on->Find<QPushButton>("go");
    QVERIFY2(!go->isEnabled(), "an agreement is accepted by nobody but the user");
    QStringList groups;
    const auto* tree = m_on->Find<QTreeWidget>("tree");
    for (int at = 0; at < tree->topLevelItemCount(); ++at) {
      groups += tree->topLevelItem(at)->text(0);
    }
    QVERIFY2(groups.contains("Menus") && groups.contains("Shortcuts") && groups.contains("Files"),
             qPrintable(groups.join(',')));
    QVERIFY(m_on->Click("accept") && m_on->Click("go"));
    QVERIFY2(m_on->WaitForNotice("“Table Tools” in Tidemark Nova was installed"), qPrintable(window.GetNotice()));
    QTRY_COMPARE(window.GetModel().rowCount(), 1);
    QVERIFY(m_on->WaitIdle());
    QVERIFY(m_on->Kest({"list"}).contains("Table Tools"));
    QTRY_VERIFY(m_on->Find<QTextBrowser>("details")->toPlainText().contains("as its install left it"));

    Trigger("toggle");
    QVERIFY(m_on->WaitForNotice("switched off"));
    QTRY_VERIFY(!IsOn());
    QVERIFY(m_on->WaitIdle());
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Space); // the check box
    QVERIFY(m_on->WaitForNotice("switched on"));
    QTRY_VERIFY(IsOn());
    QVERIFY(m_on->WaitIdle());

    Trigger("remove");
    QVERIFY(m_on->Click("go") && m_on->WaitForNotice("was removed"));
    QTRY_COMPARE(window.GetModel().rowCount(), 0);
    QVERIFY(m_on->WaitIdle());
    Trigger("history");
    QVERIFY(m_on->Click("undo") && m_on->WaitForNotice("was undone"));
    QTRY_COMPARE(window.GetModel().rowCount(), 1);
  }

  void cancels_in_the_middle() {
    const QString package = m_on->MakeBigPackage(3000);
    desktop::MainWindow& window = m_on->Open();
    const QByteArray before = m_on->Kest({"list", "--json"});
    bool seen = false;
    connect(&window.GetEngine().GetUi(), &desktop::BridgeUi::Progressed, &window, [&](int position, int range) {
      if (!seen && position > range / 2) {
        seen = true;
        m_on->Find<QPushButton>("cancel")->click();
      }
    });
    window.InstallFiles({package});
    QVERIFY(m_on->Click("accept") && m_on->Click("go"));
    QVERIFY2(m_on->WaitForNotice("it was cancelled"), qPrintable(window.GetNotice()));
    QVERIFY(seen);
    QVERIFY(m_on->WaitIdle());
    QCOMPARE(m_on->Kest({"list", "--json"}), before);
    QVERIFY(!QFile::exists(m_on->In("pc/drive_c/Program Files/Kestrel/Tidemark 6/Configuration/Objects/Big")));
  }

  void tells_what_was_interrupted() {
    const QString package = m_on->MakeBigPackage(3000);
    const QString placed = m_on->In("pc/drive_c/Program Files/Kestrel/Tidemark 6/Configuration/Objects/Big");
    QProcess other;
    other.start(QStringLiteral(KEST_PROGRAM), {"install", package, "-y", "--accept-agreement"});
    QElapsedTimer timer;
    for (timer.start(); !QFile::exists(placed) && timer.elapsed() < 20000;) {
    }
    other.kill();
    QVERIFY(other.waitForFinished());
    desktop::MainWindow& window = m_on->Open();
    QVERIFY2(m_on->WaitForNotice("had been interrupted"), qPrintable(window.GetNotice()));
    QCOMPARE(QFile::exists(placed), window.GetModel().rowCount() == 1); // all of it, or nothing
  }

  void says_what_is_wrong_data() {
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QString>("told");
    QTest::newRow("no folder") << "none" << QByteArray() << "does not exist";
    QTest::newRow("no machine") << "data" << QByteArray() << "no drive_c";
    QTest::newRow("no product") << "empty" << QByteArray() << "No product was found";
    QTest::newRow("cut in half") << "pc" << QByteArray("half") << "half.kep cannot be installed";
    QTest::newRow("no package") << "pc" << QByteArray("hello") << "Nothing was changed";
  }
  void says_what_is_wrong() {
    QFETCH(QString, folder);
    QFETCH(QByteArray, package);
    QFETCH(QString, told);
    QDir().mkpath(m_on->In("empty/drive_c"));
    QDir().mkpath(m_on->In("data"));
    m_on->Open(m_on->In(folder));
    if (!package.isEmpty()) {
      QFile whole(m_on->In("table-tools.kep"));
      QFile half(m_on->In("half.kep"));
      QVERIFY(whole.open(QIODevice::ReadOnly) && half.open(QIODevice::WriteOnly));
      half.write(package == "half" ? whole.read(whole.size() / 2) : package);
      half.close();
      m_on->Window().InstallFiles({m_on->In("half.kep")});
    }
    QVERIFY2(m_on->WaitForNotice(told), qPrintable(m_on->Window().GetNotice()));
  }

  void waits_for_another_program() {
    m_on->Open();
    QVERIFY(m_on->Install(m_on->In("table-tools.kep")));
    QVERIFY(m_on->WaitIdle());
    MachineFolder other(m_on->In("pc").toStdString());
    for (const bool isCancelled : {true, false}) {
      QVERIFY(other.LockWriter(0).held);
      Trigger("toggle");
      QTRY_VERIFY(m_on->Find<QLabel>("progressText")->text().startsWith("Waiting"));
      if (isCancelled) {
        m_on->Find<QPushButton>("cancel")->click();
        QVERIFY2(m_on->WaitForNotice("not switched off"), qPrintable(m_on->Window().GetNotice()));
        other.UnlockWriter();
        QVERIFY(IsOn());
      } else {
        other.UnlockWriter();
        QVERIFY2(m_on->WaitForNotice("is switched off"), qPrintable(m_on->Window().GetNotice()));
      }
      QVERIFY(m_on->WaitIdle());
    }
  }

  void sorts_and_filters() {
    desktop::ExtensionModel model;
    desktop::ExtensionFilter filter(model);
    QList<desktop::ExtensionFacts> rows;
    for (const auto& [name, version] : {std::pair("beta", 10U), {"Alpha", 9U}, {"gamma ray", 2U}}) {
      desktop::ExtensionFacts row;
      row.name = name;
      row.versionNumber = version;
      row.author = "Ann";
      rows += row;
    }
    desktop::RankRows(rows);
    model.SetRows(rows);
    const auto names = [&] {
      QStringList shown;
      for (int row = 0; row < filter.rowCount(); ++row) {
        shown += filter.index(row, 0).data().toString();
      }
      return shown.join(',');
    };
    filter.sort(desktop::ExtensionModel::kName);
    QCOMPARE(names(), "Alpha,beta,gamma ray");
    filter.sort(desktop::ExtensionModel::kVersion);
    QCOMPARE(names(), "gamma ray,Alpha,beta");
    filter.SetWords("RAY ann");
    QCOMPARE(names(), "gamma ray");
    filter.SetWords("ray bob");
    QCOMPARE(names(), "");
  }

  void names_every_control() {
    m_on->Open();
    const auto check = [this](const char* where, const char* close) {
      QTRY_VERIFY2(close == nullptr || m_on->FindShown(close) != nullptr, where);
      int controls = 0;
      for (QWidget* widget : m_on->Window().findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisible()) {
          continue;
        }
        QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
        ++controls;
        const QString name = QString("%1: %2 %3").arg(where, widget->metaObject()->className(), widget->objectName());
        QVERIFY2(face != nullptr && !face->text(QAccessible::Name).isEmpty(), qPrintable(name));
        if (auto* button = qobject_cast<QPushButton*>(widget)) {
          QVERIFY2(button->width() >= button->minimumSizeHint().width() &&
                       button->window()->rect().contains(button->mapTo(button->window(), button->rect().center())),
                   qPrintable(name + " is cut off"));
        }
      }
      QVERIFY(controls >= 4);
      QVERIFY(close == nullptr || m_on->Click(close));
    };
    m_on->Window().InstallFiles({m_on->In("table-tools.kep")});
    check("preview", "cancelDialog");
    QVERIFY(m_on->WaitIdle() && m_on->Install(m_on->In("table-tools.kep")) && m_on->WaitIdle());
    check("list", nullptr);
    for (const char* dialog : {"remove", "history", "import"}) {
      Trigger(dialog);
      check(dialog, "cancelDialog");
      QVERIFY(m_on->WaitIdle());
    }
  }

  void leaves_nothing_where_there_is_no_room() {
    const QByteArray before = m_on->Kest({"list", "--json"});
    m_on->Open();
    m_on->Window().InstallFiles({m_on->In("table-tools.kep")});
    QTRY_VERIFY(m_on->FindShown("accept") != nullptr);
    rlimit room{};
    getrlimit(RLIMIT_FSIZE, &room);
    const rlimit none{100, room.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &none), 0);
    const bool isTold = m_on->Click("accept") && m_on->Click("go") && m_on->WaitForNotice("Nothing was changed");
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &room), 0);
    QVERIFY2(isTold, qPrintable(m_on->Window().GetNotice()));
    QVERIFY(m_on->WaitIdle());
    QCOMPARE(m_on->Kest({"list", "--json"}), before);
    QVERIFY(
        !QFile::exists(m_on->In("pc/drive_c/Program Files/Kestrel/Tidemark 6/Configuration/Commands/table-tools.htm")));
    QVERIFY2(m_on->Install(m_on->In("table-tools.kep")), qPrintable(m_on->Window().GetNotice()));
  }

  void fetches_nothing() {
    desktop::DetailsPane pane;
    desktop::DetailFacts details;
    details.text = "<img src='file:///etc/hostname'><script>x</script><a href='file:///etc/passwd'>here</a>";
    pane.Show({}, details);
    QVERIFY(!pane.toPlainText().contains('x'));
    QCOMPARE(pane.source(), QUrl());
  }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
