#pragma once

#include "desktop/facts.h"

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>

namespace kest::desktop {

/// The extensions of one product. A click on a check box asks for a change; the box follows when the engine has made
/// it.
class ExtensionModel : public QAbstractTableModel {
  Q_OBJECT

public:
  enum Column { kName, kVersion, kType, kAuthor, kColumns };
  using QAbstractTableModel::QAbstractTableModel;

  void SetRows(QList<ExtensionFacts> rows);
  [[nodiscard]] const QList<ExtensionFacts>& GetRows() const { return m_rows; }
  [[nodiscard]] const ExtensionFacts* FindRow(const QModelIndex& index) const;
  /// What the filter looks in, in folded case.
  [[nodiscard]] const QString& GetFilterText(int row) const { return m_filterTexts[row]; }

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

signals:
  void ToggleWanted(const QByteArray& path, bool enabled);

private:
  QList<ExtensionFacts> m_rows;
  QStringList m_filterTexts; ///< folded once, since each letter typed looks at every row
};

/// Sorted by any column; filtered by words that all have to be in a row's name, author or type.
class ExtensionFilter : public QSortFilterProxyModel {
  Q_OBJECT

public:
  explicit ExtensionFilter(ExtensionModel& model, QObject* parent = nullptr);
  void SetWords(const QString& typed);

protected:
  [[nodiscard]] bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
  [[nodiscard]] bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
  const ExtensionModel& m_model;
  QStringList m_words;
};

} // namespace kest::desktop
