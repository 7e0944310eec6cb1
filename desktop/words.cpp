#include "desktop/words.h"

#include "manager/operation_report.h"

#include <QCoreApplication>

namespace kest::desktop::words {
namespace {

using Operation = OperationReport::Operation;
using Failure = OperationReport::Failure;

struct OperationRow {
  Operation operation;
  const char* done;
  const char* notDone;
};

constexpr OperationRow kOperations[] = {
    {Operation::kInstall, QT_TRANSLATE_NOOP("Words", "%1 was installed."),
     QT_TRANSLATE_NOOP("Words", "%1 was not installed")},
    {Operation::kUninstall, QT_TRANSLATE_NOOP("Words", "%1 was removed."),
     QT_TRANSLATE_NOOP("Words", "%1 was not removed")},
    {Operation::kDisable, QT_TRANSLATE_NOOP("Words", "%1 is switched off."),
     QT_TRANSLATE_NOOP("Words", "%1 was not switched off")},
    {Operation::kEnable, QT_TRANSLATE_NOOP("Words", "%1 is switched on."),
     QT_TRANSLATE_NOOP("Words", "%1 was not switched on")},
    {Operation::kPackage, QT_TRANSLATE_NOOP("Words", "The package is made."),
     QT_TRANSLATE_NOOP("Words", "The package was not made")},
    {Operation::kImport, QT_TRANSLATE_NOOP("Words", "The extensions were imported."),
     QT_TRANSLATE_NOOP("Words", "Not all extensions were imported")},
    {Operation::kUndo, QT_TRANSLATE_NOOP("Words", "The operation was undone."),
     QT_TRANSLATE_NOOP("Words", "The operation was not undone")},
    {Operation::kRepair, QT_TRANSLATE_NOOP("Words", "%1 was repaired."),
     QT_TRANSLATE_NOOP("Words", "%1 was not repaired")},
};

struct FailureRow {
  Failure failure;
  const char* why;
  const char* next;
};

constexpr FailureRow kFailures[] = {
    {Failure::kDeclined, QT_TRANSLATE_NOOP("Words", "it was cancelled"), ""},
    {Failure::kNotFound, QT_TRANSLATE_NOOP("Words", "a file, product or extension is not there"),
     QT_TRANSLATE_NOOP("Words", "Read the machine again (F5).")},
    {Failure::kUnsupportedProduct, QT_TRANSLATE_NOOP("Words", "no product on this machine supports it"),
     QT_TRANSLATE_NOOP("Words", "Ask its author which products it is made for.")},
    {Failure::kBadPackage, QT_TRANSLATE_NOOP("Words", "the package is damaged or incomplete"),
     QT_TRANSLATE_NOOP("Words", "Get the package again.")},
    {Failure::kBadDescription, QT_TRANSLATE_NOOP("Words", "its description cannot be used"),
     QT_TRANSLATE_NOOP("Words", "File > Check a Package tells what is wrong with it.")},
    {Failure::kInUse, QT_TRANSLATE_NOOP("Words", "a file is in use"),
     QT_TRANSLATE_NOOP("Words", "Close the program that uses it, and try again.")},
    {Failure::kNoPermission, QT_TRANSLATE_NOOP("Words", "you have no right to write there"),
     QT_TRANSLATE_NOOP("Words", "Ask the owner of the machine folder.")},
    {Failure::kLocked, QT_TRANSLATE_NOOP("Words", "another program is changing the machine"),
     QT_TRANSLATE_NOOP("Words", "Try again when it is done.")},
    {Failure::kDiskFull, QT_TRANSLATE_NOOP("Words", "the disk is full"),
     QT_TRANSLATE_NOOP("Words", "Make room and try again.")},
    {Failure::kAlreadyThere, QT_TRANSLATE_NOOP("Words", "the same extension is there and switched on"), ""},
    {Failure::kNoMemory, QT_TRANSLATE_NOOP("Words", "there is not enough memory"),
     QT_TRANSLATE_NOOP("Words", "Close other programs and try again.")},
    {Failure::kOther, QT_TRANSLATE_NOOP("Words", "the engine gives no reason"), ""},
};

constexpr struct {
  const char* word;
  const char* shown;
} kHistoryWords[] = {
    {"install", QT_TRANSLATE_NOOP("Words", "installed")},    {"uninstall", QT_TRANSLATE_NOOP("Words", "removed")},
    {"disable", QT_TRANSLATE_NOOP("Words", "switched off")}, {"enable", QT_TRANSLATE_NOOP("Words", "switched on")},
    {"import", QT_TRANSLATE_NOOP("Words", "imported")},      {"undo", QT_TRANSLATE_NOOP("Words", "undone")},
    {"repair", QT_TRANSLATE_NOOP("Words", "repaired")},
};

QString Say(const char* text) { return QCoreApplication::translate("Words", text); }

QString Subject(const ResultFacts& result) {
  if (result.extension.isEmpty()) {
    return Say(QT_TRANSLATE_NOOP("Words", "The extension"));
  }
  return result.product.isEmpty() ? Say(QT_TRANSLATE_NOOP("Words", "“%1”")).arg(result.extension)
                                  : Say(QT_TRANSLATE_NOOP("Words", "“%1” in %2")).arg(result.extension, result.product);
}

const FailureRow& RowOf(const ResultFacts& result) {
  for (const FailureRow& row : kFailures) {
    if (static_cast<int>(row.failure) == result.failure) {
      return row;
    }
  }
  return kFailures[std::size(kFailures) - 1];
}

void AddList(QString& text, const QString& head, const QStringList& lines) {
  if (!lines.isEmpty()) {
    text += head + QStringLiteral("\n    ") + lines.join(QStringLiteral("\n    ")) + QChar('\n');
  }
}

} // namespace

QString ReasonOf(const ResultFacts& result) {
  const bool isOwn = result.reason.isEmpty() || result.failure == static_cast<int>(Failure::kDeclined);
  return isOwn ? Say(RowOf(result).why) : result.reason;
}

QString OfResult(const ResultFacts& result) {
  QString done;
  QString notDone;
  for (const OperationRow& row : kOperations) {
    if (static_cast<int>(row.operation) == result.operation) {
      done = Say(row.done);
      notDone = Say(row.notDone);
    }
  }
  const auto filled = [&](const QString& text) { return text.contains("%1") ? text.arg(Subject(result)) : text; };
  if (result.failure == 0) {
    return filled(done);
  }
  const QString taken =
      !result.rolledBack       ? Say(QT_TRANSLATE_NOOP("Words", "Not all could be taken back, see the details."))
      : result.undoneSteps > 0 ? Say(QT_TRANSLATE_NOOP("Words", "Everything was taken back: all is as before."))
                               : Say(QT_TRANSLATE_NOOP("Words", "Nothing was changed."));
  return Say(QT_TRANSLATE_NOOP("Words", "%1: %2. %3")).arg(filled(notDone), ReasonOf(result), taken);
}

QString NextAfter(const ResultFacts& result) {
  if (result.failure == 0) {
    return result.restartMachine
               ? Say(QT_TRANSLATE_NOOP("Words", "The computer has to be restarted before it can be used."))
           : result.restartProduct
               ? Say(QT_TRANSLATE_NOOP("Words", "Close %1 and start it again to use the change.")).arg(result.product)
               : QString();
  }
  if (!result.rolledBack) {
    return Say(QT_TRANSLATE_NOOP("Words", "Read the machine again (F5): the rest is taken back then."));
  }
  // what the engine advises may name flags of the command line
  return Say(RowOf(result).next);
}

QString DetailsOf(const ResultFacts& result) {
  QString text;
  AddList(text, Say(QT_TRANSLATE_NOOP("Words", "These files stayed:")), result.kept);
  AddList(text, Say(QT_TRANSLATE_NOOP("Words", "Also to be known:")), result.warnings);
  AddList(text, Say(QT_TRANSLATE_NOOP("Words", "What lies there beyond what was asked for:")), result.left);
  if (result.failure != 0) {
    AddList(text, Say(QT_TRANSLATE_NOOP("Words", "What the engine said:")), result.notices);
    AddList(text, Say(QT_TRANSLATE_NOOP("Words", "What it advises:")),
            result.next.isEmpty() ? QStringList() : QStringList(result.next));
  }
  return text;
}

QString OfOperation(const QString& engineWord) {
  for (const auto& row : kHistoryWords) {
    if (engineWord == QLatin1String(row.word)) {
      return Say(row.shown);
    }
  }
  return engineWord;
}

} // namespace kest::desktop::words
