#pragma once

#include "desktop/facts.h"

#include <QDialog>

class QTreeWidget;
class QVBoxLayout;

namespace kest::desktop {

/// What an install would do, warnings first, with its agreement: accepted() is the user's word to go on.
class PreviewDialog : public QDialog {
  Q_OBJECT

public:
  explicit PreviewDialog(const PreviewFacts& preview, QWidget* parent = nullptr);
  [[nodiscard]] const PreviewFacts& GetPreview() const { return m_preview; }

private:
  [[nodiscard]] QTreeWidget* MakeTree();
  void AddAgreement(QVBoxLayout* column);

  PreviewFacts m_preview;
};

/// What a removal would take away, what stays and why.
class RemovalDialog : public QDialog {
  Q_OBJECT

public:
  explicit RemovalDialog(const RemovalFacts& removal, QWidget* parent = nullptr);
};

} // namespace kest::desktop
