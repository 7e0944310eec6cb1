#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>

#include <array>

namespace kest::desktop {

// What the window knows of the engine's records. Plain values: records never leave the engine's thread.

struct ProductFacts {
  QString name;
  QString version;
  bool running = false;
};

/// A row of the list. The path of its description stands for the extension.
struct ExtensionFacts {
  QByteArray path; ///< windows path of the description, in the engine's own bytes
  QString name;
  QString version;
  quint64 versionNumber = 0; ///< compares as the versions do
  QString type;
  QString author;
  bool enabled = true;
  bool shared = false;
  std::array<int, 3> order{}; ///< place in the list sorted by name, type, author
};

/// What the details pane shows of one extension.
struct DetailFacts {
  QByteArray path;
  QString text;         ///< HTML as the author wrote it
  QStringList files;    ///< where they are
  QStringList changes;  ///< in words, one a line
  bool checked = false; ///< whether `problems` and `problemNote` are known yet
  QStringList problems; ///< what is not as its install left it
  QString problemNote;  ///< why nothing can be told; empty when it can
};

/// A machine that was opened, or why it was not.
struct MachineFacts {
  QString folder;
  QString trouble; ///< why the folder cannot be used; empty when it can
  QString unread;  ///< why not all that is installed could be read: then nothing can be changed
  QStringList users;
  QString user;
  QList<ProductFacts> products; ///< those found
  QStringList recovered;        ///< a sentence for each interrupted operation
  bool mayRecover = false;      ///< interrupted operations wait for the user's word
};

/// What became of an operation.
struct ResultFacts {
  int operation = 0; ///< OperationReport::Operation
  int failure = 0;   ///< OperationReport::Failure
  QString extension;
  QString product;
  QString replaced;
  QString reason; ///< the engine's, of the problem that it failed by; empty when it gives none
  QString next;
  int undoneSteps = 0;
  bool rolledBack = true;
  bool restartProduct = false;
  bool restartMachine = false;
  QStringList kept;     ///< files that stayed
  QStringList left;     ///< what lies there that was not asked for
  QStringList warnings; ///< what was noted and did not stop it
  QStringList notices;  ///< what the engine said meanwhile
};

/// One line of a preview.
struct PreviewLine {
  enum class Group { kWarnings, kMenus, kShortcuts, kBars, kLists, kFiles, kRegistry };
  Group group = Group::kFiles;
  QString change; ///< one word; empty when it is told alone
  QString text;
  QString place;
};

/// What an install would do.
struct PreviewFacts {
  QString file; ///< on this system
  ResultFacts result;
  QString version;
  QString author;
  QList<PreviewLine> lines;
  QString agreement; ///< empty: none was asked for
};

/// What a removal would do.
struct RemovalFacts {
  QByteArray path;
  QString name;
  QStringList goes;
  QStringList stays; ///< each with its reason
  QStringList missing;
  bool restartProduct = false;
};

/// One operation of the machine's history.
struct HistoryFacts {
  int number = 0;
  qint64 seconds = 0; ///< since 1970, UTC
  QString user;
  QString operation; ///< the engine's word
  QString extension;
  QString version;
  QString product;
  int undoes = 0;
  bool canUndo = false;
};

/// What is wrong with a package or description.
struct CheckFacts {
  QString file;
  QString trouble; ///< why it could not be looked at; empty when it was
  QStringList errors;
  QStringList warnings;
};

} // namespace kest::desktop

Q_DECLARE_METATYPE(kest::desktop::MachineFacts)
Q_DECLARE_METATYPE(kest::desktop::DetailFacts)
Q_DECLARE_METATYPE(kest::desktop::ResultFacts)
Q_DECLARE_METATYPE(kest::desktop::PreviewFacts)
Q_DECLARE_METATYPE(kest::desktop::RemovalFacts)
Q_DECLARE_METATYPE(kest::desktop::CheckFacts)
