#include "desktop/list_dialogs.h"

#include "desktop/words.h"

#include <QClipboard>
#include <QComboBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace kest::desktop {
namespace {

void SizeFor(QDialog* dialog) {
  dialog->resize(dialog->fontMetrics().averageCharWidth() * 90, dialog->fontMetrics().height() * 24);
  dialog->setWindowModality(Qt::WindowModal);
}

/// Buttons with the one that leaves the dialog.
QDialogButtonBox* MakeButtons(QDialogButtonBox::StandardButton leave, QDialog* dialog) {
  auto* buttons = new QDialogButtonBox(leave, dialog);
  buttons->button(leave)->setObjectName("cancelDialog");
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  return buttons;
}

} // namespace

TextDialog::TextDialog(const QString& title, const QString& head, const QString& text, QWidget* parent)
    : QDialog(parent) {
  setWindowTitle(title);
  auto* column = new QVBoxLayout(this);
  auto* label = new QLabel(head, this);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  column->addWidget(label);
  auto* body = new QPlainTextEdit(text, this);
  body->setReadOnly(true);
  body->setTabChangesFocus(true);
  body->setAccessibleName(title);
  column->addWidget(body, 1);
  auto* buttons = MakeButtons(QDialogButtonBox::Close, this);
  QPushButton* const copy = buttons->addButton(tr("C&opy"), QDialogButtonBox::ActionRole);
  copy->setObjectName("copy");
  connect(copy, &QPushButton::clicked, this,
          [=] { QGuiApplication::clipboard()->setText(head + QStringLiteral("\n\n") + text); });
  column->addWidget(buttons);
  SizeFor(this);
}

HistoryDialog::HistoryDialog(const QList<HistoryFacts>& operations, QWidget* parent)
    : QDialog(parent), m_list(new QTreeWidget(this)) {
  setWindowTitle(tr("History"));
  auto* column = new QVBoxLayout(this);
  m_list->setObjectName("history");
  m_list->setAccessibleName(tr("What was done on this machine"));
  m_list->setRootIsDecorated(false);
  m_list->setUniformRowHeights(true);
  m_list->setHeaderLabels({tr("When"), tr("What"), tr("Extension"), tr("Version"), tr("Product"), tr("User")});
  for (auto one = operations.crbegin(); one != operations.crend(); ++one) {
    const QString when = QLocale().toString(QDateTime::fromSecsSinceEpoch(one->seconds), QLocale::ShortFormat);
    const QString what =
        one->undoes != 0 ? tr("undone: operation %1").arg(one->undoes) : words::OfOperation(one->operation);
    auto* item = new QTreeWidgetItem(m_list, {when, what, one->extension, one->version, one->product, one->user});
    item->setData(0, Qt::UserRole, one->number);
    item->setData(0, Qt::UserRole + 1, one->canUndo);
  }
  for (int which = 0; which < m_list->columnCount(); ++which) {
    m_list->resizeColumnToContents(which);
  }
  column->addWidget(m_list, 1);
  auto* buttons = MakeButtons(QDialogButtonBox::Close, this);
  QPushButton* const undo = buttons->addButton(tr("&Undo this"), QDialogButtonBox::ActionRole);
  undo->setObjectName("undo");
  undo->setAutoDefault(false);
  undo->setEnabled(false);
  connect(m_list, &QTreeWidget::currentItemChanged, undo, [undo](QTreeWidgetItem* item) {
    undo->setEnabled(item != nullptr && item->data(0, Qt::UserRole + 1).toBool());
  });
  connect(undo, &QPushButton::clicked, this, [this] {
    emit UndoWanted(m_list->currentItem()->data(0, Qt::UserRole).toInt());
    accept();
  });
  column->addWidget(buttons);
  m_list->setCurrentItem(m_list->topLevelItem(0));
  SizeFor(this);
}

ImportDialog::ImportDialog(const QStringList& sources, const QString& target, QWidget* parent)
    : QDialog(parent), m_sources(new QComboBox(this)), m_list(new QListWidget(this)) {
  setWindowTitle(tr("Import into %1").arg(target));
  auto* column = new QVBoxLayout(this);
  auto* label = new QLabel(tr("&From:"), this);
  label->setBuddy(m_sources);
  m_sources->setAccessibleName(tr("Product to import from"));
  m_sources->addItems(sources);
  m_list->setAccessibleName(tr("Extensions to import"));
  m_list->setObjectName("imports");
  column->addWidget(label);
  column->addWidget(m_sources);
  column->addWidget(m_list, 1);
  auto* buttons = MakeButtons(QDialogButtonBox::Cancel, this);
  QPushButton* const go = buttons->addButton(tr("&Import"), QDialogButtonBox::AcceptRole);
  go->setObjectName("go");
  go->setEnabled(false);
  connect(m_list, &QListWidget::itemChanged, go, [this, go] { go->setEnabled(!GetChosen().isEmpty()); });
  connect(m_sources, &QComboBox::currentTextChanged, this, &ImportDialog::SourceChosen);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  column->addWidget(buttons);
  SizeFor(this);
}

void ImportDialog::ShowRows(const QString& product, const QList<ExtensionFacts>& rows) {
  if (product != GetSource()) {
    return;
  }
  m_list->clear();
  for (const ExtensionFacts& row : rows) {
    auto* item = new QListWidgetItem(tr("%1 %2").arg(row.name, row.version), m_list);
    item->setData(Qt::UserRole, row.path);
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(Qt::Unchecked);
  }
}

QString ImportDialog::GetSource() const { return m_sources->currentText(); }

QList<QByteArray> ImportDialog::GetChosen() const {
  QList<QByteArray> chosen;
  for (int row = 0; row < m_list->count(); ++row) {
    if (m_list->item(row)->checkState() == Qt::Checked) {
      chosen += m_list->item(row)->data(Qt::UserRole).toByteArray();
    }
  }
  return chosen;
}

} // namespace kest::desktop
