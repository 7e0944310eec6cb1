#pragma once

#include "desktop/bridge_ui.h"

#include <QDialog>

class QCheckBox;
class QDialogButtonBox;
class QLineEdit;
class QVBoxLayout;

namespace kest::desktop {

/// A question of the engine with its real buttons. Closing it without an answer asks for the end of the operation.
class QuestionDialog : public QDialog {
  Q_OBJECT

public:
  explicit QuestionDialog(const Question& question, QWidget* parent = nullptr);

signals:
  void Answered(const kest::desktop::Reply& reply);
  void CancelWanted();

private:
  void AddAgreement(const QString& text, QVBoxLayout* column);
  void AddButton(int button, const QString& label, bool isDefault = false);
  void Finish(int button);

  QDialogButtonBox* m_buttons;
  QCheckBox* m_forAll = nullptr;
  QLineEdit* m_folder = nullptr;
  bool m_answered = false;
};

} // namespace kest::desktop
