#include "desktop/engine_facts.h"
#include "desktop/main_window.h"
#include "kest/version.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QLibraryInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTranslator>

namespace {

// As for kest: the environment, else the user's data folder; the folder opened last stands before that.
QString FindMachine(const QCommandLineParser& arguments) {
  if (arguments.isSet("machine")) {
    return arguments.value("machine");
  }
  if (const QString named = qEnvironmentVariable("KEST_MACHINE"); !named.isEmpty()) {
    return named;
  }
  const QStringList recent = QSettings().value("recent").toStringList();
  return !recent.isEmpty() ? recent.first()
                           : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/kest/pc";
}

// The engine's texts in the user's language, where there are some.
void LoadMessages(kest::MessageFile& messages) {
  const QString language = QLocale().name().section('_', 0, 0);
  QFile file(QStandardPaths::locate(QStandardPaths::GenericDataLocation, "kest/messages/" + language + ".txt"));
  if (!file.fileName().isEmpty() && file.open(QIODevice::ReadOnly)) {
    messages.SetText(file.readAll().toStdString());
    kest::SetMessageSource(&messages);
  }
}

} // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setOrganizationName("Kest");
  QApplication::setApplicationName("kest-window");
  QApplication::setApplicationVersion(KEST_VERSION_TEXT);
  QApplication::setDesktopFileName("kest-window");
  QApplication::setWindowIcon(QIcon(":/kest/kest-window.svg"));
  QTranslator own;
  QTranslator toolkit;
  if (own.load(QLocale(), "kest-window", "_", ":/kest")) {
    QApplication::installTranslator(&own);
  }
  if (toolkit.load(QLocale(), "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QApplication::installTranslator(&toolkit);
  }
  QCommandLineParser arguments;
  arguments.setApplicationDescription(QApplication::translate("main", "Manages extensions of authoring applications."));
  arguments.addHelpOption();
  arguments.addVersionOption();
  arguments.addOption({"machine", QApplication::translate("main", "The machine folder to open."),
                       QApplication::translate("main", "folder")});
  arguments.addPositionalArgument("file", QApplication::translate("main", "Packages and descriptions to install."),
                                  "[file...]");
  arguments.process(application);

  kest::MessageFile messages;
  LoadMessages(messages);
  int status = 0;
  {
    kest::desktop::MainWindow window;
    window.OpenMachine(FindMachine(arguments));
    window.show();
    window.InstallFiles(arguments.positionalArguments());
    status = QApplication::exec();
  }
  kest::SetMessageSource(nullptr);
  return status;
}
