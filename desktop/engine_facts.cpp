#include "desktop/engine_facts.h"

#include "config/config_change.h"
#include "config/help_change.h"

#include <QCollator>
#include <QCoreApplication>
#include <QTextDocumentFragment>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace kest::desktop {
namespace {

QString Say(const char* text) { return QCoreApplication::translate("Facts", text); }

QString WhyItStays(OperationReport::Why why, const CString& holder) {
  switch (why) {
  case OperationReport::Why::kShared:
    return holder.empty() ? Say(QT_TRANSLATE_NOOP("Facts", "another extension uses it"))
                          : Say(QT_TRANSLATE_NOOP("Facts", "“%1” uses it")).arg(Plain(holder));
  case OperationReport::Why::kFont:
    return Say(QT_TRANSLATE_NOOP("Facts", "a font"));
  case OperationReport::Why::kSystemFile:
    return Say(QT_TRANSLATE_NOOP("Facts", "a system file"));
  case OperationReport::Why::kUserAnswer:
    break;
  }
  return Say(QT_TRANSLATE_NOOP("Facts", "kept as you answered"));
}

QString WithNote(const QString& text, const QString& note) { return note.isEmpty() ? text : text + " (" + note + ")"; }

template <class Change, class Set> void AddChanges(QStringList& words, const Set& set) {
  for (const auto& child : set.GetChildren()) {
    if (const auto* change = dynamic_cast<const Change*>(child.get())) {
      words += Plain(change->DescribeInWords());
    }
  }
}

// Places of the rows when sorted by a text of theirs, `which` being the member of `order`: the same for equal ones.
void RankByText(QList<ExtensionFacts>& rows, std::size_t which, QString ExtensionFacts::*text) {
  QCollator collator;
  collator.setCaseSensitivity(Qt::CaseInsensitive);
  std::vector<std::pair<QCollatorSortKey, qsizetype>> keys;
  keys.reserve(static_cast<std::size_t>(rows.size()));
  for (qsizetype row = 0; row < rows.size(); ++row) {
    keys.emplace_back(collator.sortKey(rows[row].*text), row);
  }
  std::stable_sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  int place = 0;
  for (std::size_t at = 0; at < keys.size(); ++at) {
    place = at > 0 && keys[at - 1].first.compare(keys[at].first) == 0 ? place : static_cast<int>(at);
    rows[keys[at].second].order[which] = place;
  }
}

PreviewLine::Group GroupOf(PreviewEntry::Kind kind) {
  using Kind = PreviewEntry::Kind;
  using Group = PreviewLine::Group;
  switch (kind) {
  case Kind::kMenu:
  case Kind::kMenuItem:
    return Group::kMenus;
  case Kind::kShortcut:
    return Group::kShortcuts;
  case Kind::kButton:
  case Kind::kCategory:
    return Group::kBars;
  case Kind::kListEntry:
  case Kind::kFormat:
  case Kind::kTag:
    return Group::kLists;
  case Kind::kFile:
    return Group::kFiles;
  case Kind::kRegistry:
    return Group::kRegistry;
  default:
    return Group::kWarnings;
  }
}

QString WordOf(PreviewEntry::Change change) {
  using Change = PreviewEntry::Change;
  switch (change) {
  case Change::kAdded:
    return Say(QT_TRANSLATE_NOOP("Facts", "new"));
  case Change::kRemoved:
    return Say(QT_TRANSLATE_NOOP("Facts", "gone"));
  case Change::kMoved:
    return Say(QT_TRANSLATE_NOOP("Facts", "moved"));
  case Change::kChanged:
    return Say(QT_TRANSLATE_NOOP("Facts", "changed"));
  case Change::kKept:
    return Say(QT_TRANSLATE_NOOP("Facts", "kept"));
  case Change::kNone:
    break;
  }
  return {};
}

QString WordOf(VerifyReport::State state) {
  switch (state) {
  case VerifyReport::State::kChanged:
    return Say(QT_TRANSLATE_NOOP("Facts", "changed"));
  case VerifyReport::State::kMoved:
    return Say(QT_TRANSLATE_NOOP("Facts", "moved"));
  case VerifyReport::State::kMissing:
    return Say(QT_TRANSLATE_NOOP("Facts", "missing"));
  default:
    return Say(QT_TRANSLATE_NOOP("Facts", "cannot be told"));
  }
}

} // namespace

QString Shown(const CString& text) { return QString::fromStdString(text::ToUtf8(text)); }

QString Plain(const CString& text) {
  const QString shown = Shown(text);
  return shown.contains('&') || shown.contains('<') ? QTextDocumentFragment::fromHtml(shown).toPlainText() : shown;
}

ExtensionFacts FactsOf(const CKestExtensionManager& manager, const CKestExtension& extension) {
  ExtensionFacts facts;
  CString label;
  static_cast<void>(manager.GetTypeLabel(extension.GetType(), label));
  facts.path = QByteArray(extension.GetPath().data(), static_cast<qsizetype>(extension.GetPath().size()));
  facts.name = Plain(extension.GetName());
  const CKestVersionNumber& version = extension.GetVersion();
  facts.version = Shown(version.ToText());
  facts.versionNumber = quint64{version.GetMajor()} << 32 | quint64{version.GetMinor()} << 16 | version.GetBuild();
  facts.type = Shown(label);
  facts.author = Plain(extension.GetAuthorName());
  facts.enabled = extension.IsEnabled();
  facts.shared = extension.IsShared();
  return facts;
}

void RankRows(QList<ExtensionFacts>& rows) {
  RankByText(rows, 0, &ExtensionFacts::name);
  RankByText(rows, 1, &ExtensionFacts::type);
  RankByText(rows, 2, &ExtensionFacts::author);
}

ResultFacts FactsOf(const OperationReport& report) {
  ResultFacts facts;
  facts.operation = static_cast<int>(report.operation);
  facts.failure = static_cast<int>(report.failure);
  facts.extension = Plain(report.extension);
  facts.product = Shown(report.product);
  facts.replaced = Plain(report.replaced);
  facts.undoneSteps = report.undoneSteps;
  facts.rolledBack = report.rolledBack;
  facts.restartProduct = report.restartProduct;
  facts.restartMachine = report.restartMachine;
  for (const OperationReport::Problem& problem : report.problems) {
    const QString reason = problem.path.empty() || problem.reason.find(problem.path) != CString::npos
                               ? Shown(problem.reason)
                               : Shown(problem.path) + QStringLiteral(": ") + Shown(problem.reason);
    if (!problem.fatal) {
      facts.warnings += reason;
    } else if (facts.reason.isEmpty()) {
      facts.reason = reason;
      facts.next = Shown(problem.next);
    }
  }
  for (const OperationReport::Kept& kept : report.kept) {
    facts.kept += WithNote(Shown(kept.path), WhyItStays(kept.why, kept.holder));
  }
  for (const OperationReport::Leftover& left : report.leftovers) {
    facts.left += WithNote(Shown(left.path), Shown(left.why));
  }
  for (const OperationReport& part : report.parts) {
    if (!part.Succeeded()) {
      const ResultFacts own = FactsOf(part);
      facts.warnings += own.reason.isEmpty() ? own.extension : own.extension + QStringLiteral(": ") + own.reason;
    }
  }
  return facts;
}

HistoryFacts FactsOf(const HistoryEntry& entry) {
  HistoryFacts facts;
  facts.number = static_cast<int>(entry.number);
  facts.seconds = entry.time.GetSeconds();
  facts.user = Shown(entry.user);
  facts.operation = Shown(entry.operation);
  facts.extension = Plain(entry.extension);
  facts.version = Shown(entry.version);
  facts.product = Shown(entry.product);
  facts.undoes = static_cast<int>(entry.undoes);
  facts.canUndo = !entry.kept.empty();
  return facts;
}

RemovalFacts FactsOf(const UninstallPreview& preview) {
  RemovalFacts facts;
  facts.restartProduct = preview.restartProduct;
  for (const UninstallPreview::Entry& file : preview.files) {
    if (file.stays) {
      facts.stays += WithNote(Shown(file.path), WhyItStays(file.why, file.holder));
    } else {
      facts.goes += file.returns ? WithNote(Shown(file.path), QStringLiteral("what stood there before comes back"))
                    : file.lostOriginal ? WithNote(Shown(file.path), QStringLiteral("what stood there before is lost"))
                                        : Shown(file.path);
    }
  }
  for (const CString& path : preview.missing) {
    facts.missing += Shown(path);
  }
  return facts;
}

QList<PreviewLine> FactsOf(const Preview& preview) {
  QList<PreviewLine> lines;
  for (const PreviewEntry& entry : preview.entries) {
    const QString note = Shown(entry.note);
    PreviewLine line;
    line.group = GroupOf(entry.kind);
    line.change = WordOf(entry.change);
    line.text = Plain(entry.name);
    if (line.group == PreviewLine::Group::kWarnings) {
      line.text += line.text.isEmpty() || note.isEmpty() ? note : QStringLiteral(": ") + note;
    } else {
      line.text = WithNote(line.text, note);
    }
    line.place = Plain(entry.parent);
    if (entry.kind == PreviewEntry::Kind::kFile) {
      const CKestPath path(entry.name);
      line.text = WithNote(Shown(path.GetFileName()), note);
      line.place = Shown(path.GetFolder());
    }
    if (!entry.after.empty()) {
      line.place = Say(QT_TRANSLATE_NOOP("Facts", "%1, after “%2”")).arg(line.place, Plain(entry.after));
    }
    lines += line;
  }
  std::stable_sort(lines.begin(), lines.end(),
                   [](const PreviewLine& a, const PreviewLine& b) { return a.group < b.group; });
  return lines;
}

QStringList ChangesOf(const CKestExtension& extension) {
  QStringList words;
  for (const auto& set : extension.GetConfigChanges()) {
    AddChanges<CKestConfigChange>(words, *set);
  }
  for (const auto& set : extension.GetHelpChanges()) {
    AddChanges<CKestHelpChange>(words, *set);
  }
  return words;
}

void AddProblems(const VerifyReport& report, DetailFacts& details) {
  details.checked = true;
  if (!report.recorded) {
    details.problemNote = Say(QT_TRANSLATE_NOOP("Facts", "There is no record of its install to compare with."));
    return;
  }
  for (const VerifyReport::Entry& entry : report.entries) {
    if (entry.state != VerifyReport::State::kForeign) {
      const QString line = entry.line.empty() ? QString() : QStringLiteral(": ") + Shown(entry.line).trimmed();
      details.problems += WithNote(Shown(entry.path) + line, WordOf(entry.state));
    }
  }
}

QStringList SentencesOf(const RecoveryReport& report) {
  QStringList sentences;
  for (const RecoveryReport::Entry& entry : report.entries) {
    const QString what = Plain(entry.operation);
    if (!entry.refused.empty()) {
      sentences +=
          Say(QT_TRANSLATE_NOOP("Facts", "An interrupted operation was left alone: %1.")).arg(Shown(entry.refused));
    } else if (report.isForeign) {
      sentences +=
          Say(QT_TRANSLATE_NOOP("Facts", "An operation had been interrupted (%1). It was not taken back, since "
                                         "you never changed anything on this machine before."))
              .arg(what);
    } else if (!entry.leftovers.empty()) {
      sentences += Say(QT_TRANSLATE_NOOP("Facts", "An operation had been interrupted (%1). It could not all be taken "
                                                  "back; what is needed for it is kept, open the machine again."))
                       .arg(what);
    } else if (entry.finished) {
      sentences += Say(QT_TRANSLATE_NOOP("Facts", "An operation had been interrupted at its end (%1). It is done, and "
                                                  "its clean-up was completed."))
                       .arg(what);
    } else {
      sentences +=
          Say(QT_TRANSLATE_NOOP("Facts", "An operation had been interrupted (%1). It was taken back.")).arg(what);
    }
  }
  return sentences;
}

} // namespace kest::desktop
