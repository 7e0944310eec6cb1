#include "desktop/extension_model.h"

#include <algorithm>

namespace kest::desktop {

void ExtensionModel::SetRows(QList<ExtensionFacts> rows) {
  beginResetModel();
  m_rows = std::move(rows);
  m_filterTexts.clear();
  m_filterTexts.reserve(m_rows.size());
  for (const ExtensionFacts& row : m_rows) {
    m_filterTexts += (row.name + QChar('\n') + row.author + QChar('\n') + row.type).toCaseFolded();
  }
  endResetModel();
}

const ExtensionFacts* ExtensionModel::FindRow(const QModelIndex& index) const {
  return index.isValid() && index.row() < m_rows.size() ? &m_rows[index.row()] : nullptr;
}

int ExtensionModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int ExtensionModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kColumns; }

QVariant ExtensionModel::data(const QModelIndex& index, int role) const {
  const ExtensionFacts* row = FindRow(index);
  if (row == nullptr) {
    return {};
  }
  switch (role) {
  case Qt::CheckStateRole:
    return index.column() == kName ? QVariant(row->enabled ? Qt::Checked : Qt::Unchecked) : QVariant();
  case Qt::AccessibleTextRole:
    if (index.column() == kName) {
      return row->enabled ? tr("%1, on").arg(row->name) : tr("%1, off").arg(row->name);
    }
    [[fallthrough]];
  case Qt::DisplayRole:
  case Qt::ToolTipRole:
    break;
  default:
    return {};
  }
  const QString* const texts[] = {&row->name, &row->version, &row->type, &row->author};
  return *texts[index.column()];
}

QVariant ExtensionModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
    return {};
  }
  const QString names[] = {tr("Name"), tr("Version"), tr("Type"), tr("Author")};
  return section >= 0 && section < kColumns ? QVariant(names[section]) : QVariant();
}

Qt::ItemFlags ExtensionModel::flags(const QModelIndex& index) const {
  const Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
  return index.column() == kName ? flags | Qt::ItemIsUserCheckable : flags;
}

bool ExtensionModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const ExtensionFacts* row = FindRow(index);
  if (row == nullptr || role != Qt::CheckStateRole) {
    return false;
  }
  const bool enabled = value.toInt() == Qt::Checked;
  if (enabled != row->enabled) {
    emit ToggleWanted(row->path, enabled);
  }
  return false; // it is as it was until the engine says otherwise
}

ExtensionFilter::ExtensionFilter(ExtensionModel& model, QObject* parent)
    : QSortFilterProxyModel(parent), m_model(model) {
  setSourceModel(&model);
}

void ExtensionFilter::SetWords(const QString& typed) {
  m_words = typed.toCaseFolded().split(QChar(' '), Qt::SkipEmptyParts);
  invalidateFilter();
}

bool ExtensionFilter::filterAcceptsRow(int row, const QModelIndex&) const {
  const QString& text = m_model.GetFilterText(row);
  return std::all_of(m_words.begin(), m_words.end(), [&](const QString& word) { return text.contains(word); });
}

bool ExtensionFilter::lessThan(const QModelIndex& left, const QModelIndex& right) const {
  const ExtensionFacts& a = m_model.GetRows()[left.row()];
  const ExtensionFacts& b = m_model.GetRows()[right.row()];
  switch (left.column()) {
  case ExtensionModel::kName:
    return a.order[0] < b.order[0];
  case ExtensionModel::kVersion:
    return a.versionNumber < b.versionNumber;
  case ExtensionModel::kType:
    return a.order[1] < b.order[1];
  default:
    return a.order[2] < b.order[2];
  }
}

} // namespace kest::desktop
