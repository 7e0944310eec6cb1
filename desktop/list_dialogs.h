#pragma once

#include "desktop/facts.h"

#include <QDialog>

class QComboBox;
class QListWidget;
class QTreeWidget;

namespace kest::desktop {

/// A text with all that is known, to be read and copied.
class TextDialog : public QDialog {
  Q_OBJECT

public:
  TextDialog(const QString& title, const QString& head, const QString& text, QWidget* parent = nullptr);
};

/// What was done on the machine, newest first, with undo.
class HistoryDialog : public QDialog {
  Q_OBJECT

public:
  explicit HistoryDialog(const QList<HistoryFacts>& operations, QWidget* parent = nullptr);

signals:
  void UndoWanted(int number);

private:
  QTreeWidget* m_list;
};

/// Chooses which extensions of another product are to be imported.
class ImportDialog : public QDialog {
  Q_OBJECT

public:
  ImportDialog(const QStringList& sources, const QString& target, QWidget* parent = nullptr);
  void ShowRows(const QString& product, const QList<ExtensionFacts>& rows);
  [[nodiscard]] QString GetSource() const;
  [[nodiscard]] QList<QByteArray> GetChosen() const;

signals:
  void SourceChosen(const QString& product);

private:
  QComboBox* m_sources;
  QListWidget* m_list;
};

} // namespace kest::desktop
