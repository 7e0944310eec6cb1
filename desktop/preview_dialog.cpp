#include "desktop/preview_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace kest::desktop {
namespace {

QTreeWidget* NewTree(const QString& name, QWidget* parent) {
  auto* tree = new QTreeWidget(parent);
  tree->setObjectName("tree");
  tree->setAccessibleName(name);
  tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
  tree->setUniformRowHeights(true);
  return tree;
}

QLabel* NewLabel(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  return label;
}

// Going on is never the default button: Enter alone must not change the machine.
QDialogButtonBox* NewButtons(const QString& go, QDialog* dialog) {
  auto* buttons = new QDialogButtonBox(dialog);
  QPushButton* const accept = buttons->addButton(go, QDialogButtonBox::AcceptRole);
  accept->setObjectName("go");
  accept->setAutoDefault(false);
  QPushButton* const cancel = buttons->addButton(PreviewDialog::tr("&Cancel"), QDialogButtonBox::RejectRole);
  cancel->setObjectName("cancelDialog");
  cancel->setDefault(true);
  QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  return buttons;
}

void SizeFor(QDialog* dialog) {
  const QFontMetrics metrics = dialog->fontMetrics();
  dialog->resize(metrics.averageCharWidth() * 90, metrics.height() * 32);
  dialog->setWindowModality(Qt::WindowModal);
}

} // namespace

PreviewDialog::PreviewDialog(const PreviewFacts& preview, QWidget* parent) : QDialog(parent), m_preview(preview) {
  const ResultFacts& result = preview.result;
  setWindowTitle(tr("Install %1").arg(result.extension));
  auto* column = new QVBoxLayout(this);
  QString head = tr("“%1” %2 will be installed in %3.").arg(result.extension, preview.version, result.product);
  if (!preview.author.isEmpty()) {
    head += QChar(' ') + tr("Its author is %1.").arg(preview.author);
  }
  if (!result.replaced.isEmpty()) {
    head += QChar(' ') + tr("It takes the place of “%1”.").arg(result.replaced);
  }
  column->addWidget(NewLabel(head, this));
  column->addWidget(MakeTree(), 3);
  QDialogButtonBox* const buttons = NewButtons(tr("&Install"), this);
  if (!preview.agreement.isEmpty()) {
    AddAgreement(column);
    auto* accept = new QCheckBox(tr("I &accept the agreement"), this);
    accept->setObjectName("accept");
    column->addWidget(accept);
    auto* go = buttons->findChild<QPushButton*>("go");
    go->setEnabled(false);
    connect(accept, &QCheckBox::toggled, go, &QPushButton::setEnabled);
  }
  column->addWidget(buttons);
  SizeFor(this);
}

QTreeWidget* PreviewDialog::MakeTree() {
  const QString heads[] = {tr("To be known"),    tr("Menus"), tr("Shortcuts"), tr("Toolbars and insert bar"),
                           tr("Lists and tags"), tr("Files"), tr("Registry")};
  QTreeWidget* const tree = NewTree(tr("What will be done"), this);
  tree->setHeaderLabels({tr("What"), tr("Change"), tr("Where")});
  QTreeWidgetItem* group = nullptr;
  auto shown = static_cast<PreviewLine::Group>(-1);
  for (const PreviewLine& line : std::as_const(m_preview.lines)) {
    if (group == nullptr || line.group != shown) {
      shown = line.group;
      group = new QTreeWidgetItem(tree, {heads[static_cast<int>(shown)]});
      group->setFirstColumnSpanned(true);
      group->setExpanded(true);
      if (shown == PreviewLine::Group::kWarnings) {
        group->setIcon(0, style()->standardIcon(QStyle::SP_MessageBoxWarning));
      }
    }
    auto* item = new QTreeWidgetItem(group, {line.text, line.change, line.place});
    item->setToolTip(0, line.text);
    item->setToolTip(2, line.place);
  }
  tree->resizeColumnToContents(0);
  tree->resizeColumnToContents(1);
  return tree;
}

void PreviewDialog::AddAgreement(QVBoxLayout* column) {
  auto* agreement = new QPlainTextEdit(m_preview.agreement, this);
  agreement->setReadOnly(true);
  agreement->setTabChangesFocus(true);
  agreement->setAccessibleName(tr("Agreement"));
  column->addWidget(agreement, 1);
}

RemovalDialog::RemovalDialog(const RemovalFacts& removal, QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Remove %1").arg(removal.name));
  auto* column = new QVBoxLayout(this);
  QString head = tr("“%1” will be removed. This can be undone.").arg(removal.name);
  head += removal.restartProduct ? QChar(' ') + tr("The product has to be started again afterwards.") : QString();
  column->addWidget(NewLabel(head, this));
  QTreeWidget* const tree = NewTree(tr("What becomes of its files"), this);
  tree->setHeaderHidden(true);
  const std::pair<QString, const QStringList*> groups[] = {{tr("These files stay"), &removal.stays},
                                                           {tr("These files are not there any more"), &removal.missing},
                                                           {tr("These files go"), &removal.goes}};
  for (const auto& [text, files] : groups) {
    if (!files->isEmpty()) {
      auto* group = new QTreeWidgetItem(tree, {text});
      group->setExpanded(true);
      for (const QString& file : *files) {
        new QTreeWidgetItem(group, {file});
      }
    }
  }
  column->addWidget(tree, 1);
  column->addWidget(NewButtons(tr("&Remove"), this));
  SizeFor(this);
}

} // namespace kest::desktop
