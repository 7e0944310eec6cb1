#include "desktop/question_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace kest::desktop {

QuestionDialog::QuestionDialog(const Question& question, QWidget* parent)
    : QDialog(parent), m_buttons(new QDialogButtonBox(this)) {
  using Kind = Question::Kind;
  setWindowTitle(tr("A question"));
  setWindowModality(Qt::WindowModal);
  auto* column = new QVBoxLayout(this);
  auto* text = new QLabel(question.text, this);
  text->setTextFormat(Qt::PlainText);
  text->setWordWrap(true);
  text->setMinimumWidth(fontMetrics().averageCharWidth() * 60);
  column->addWidget(text);
  switch (question.kind) {
  case Kind::kAgreement:
    AddAgreement(question.agreement, column);
    break;
  case Kind::kFolder:
    m_folder = new QLineEdit(question.folder, this);
    m_folder->setObjectName("folder");
    m_folder->setAccessibleName(tr("Folder on the machine"));
    m_folder->setPlaceholderText(QStringLiteral("C:\\"));
    column->addWidget(m_folder);
    AddButton(kOk, tr("&Take this folder"), true);
    break;
  case Kind::kYesNo:
    AddButton(kYes, tr("&Yes"));
    AddButton(kNo, tr("&No"), true);
    break;
  case Kind::kRetryCancel:
    AddButton(kRetry, tr("&Try again"), true);
    break;
  case Kind::kOverwrite:
    AddButton(kYes, tr("&Replace"));
    AddButton(kAll, tr("Replace &all"));
    AddButton(kNo, tr("&Keep"), true);
    break;
  }
  if (question.kind == Kind::kYesNo || question.kind == Kind::kOverwrite) {
    m_forAll = new QCheckBox(tr("&Do the same for all"), this);
    m_forAll->setObjectName("forAll");
    column->addWidget(m_forAll);
  }
  auto* cancel = m_buttons->addButton(tr("&Cancel"), QDialogButtonBox::RejectRole);
  cancel->setObjectName("cancelAll");
  cancel->setAccessibleDescription(tr("Ends the operation and takes everything back"));
  column->addWidget(m_buttons);
  connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(this, &QDialog::finished, this, [this] {
    if (!m_answered) {
      emit CancelWanted();
    }
  });
}

void QuestionDialog::AddAgreement(const QString& text, QVBoxLayout* column) {
  auto* agreement = new QPlainTextEdit(text, this);
  agreement->setReadOnly(true);
  agreement->setTabChangesFocus(true);
  agreement->setAccessibleName(tr("Agreement"));
  column->addWidget(agreement, 1);
  auto* accept = new QCheckBox(tr("I &accept"), this);
  accept->setObjectName("accept");
  column->addWidget(accept);
  AddButton(kYes, tr("&Go on"));
  QPushButton* go = m_buttons->findChild<QPushButton*>(QStringLiteral("button%1").arg(kYes));
  go->setEnabled(false);
  connect(accept, &QCheckBox::toggled, go, &QPushButton::setEnabled);
}

void QuestionDialog::AddButton(int button, const QString& label, bool isDefault) {
  QPushButton* const made = m_buttons->addButton(label, QDialogButtonBox::ActionRole);
  made->setObjectName(QStringLiteral("button%1").arg(button));
  made->setAutoDefault(isDefault);
  made->setDefault(isDefault);
  connect(made, &QPushButton::clicked, this, [this, button] { Finish(button); });
}

void QuestionDialog::Finish(int button) {
  m_answered = true;
  emit Answered({button, m_folder ? m_folder->text().trimmed() : QString(), m_forAll && m_forAll->isChecked()});
  accept();
}

} // namespace kest::desktop
