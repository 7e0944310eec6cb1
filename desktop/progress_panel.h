#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

namespace kest::desktop {

/// How far the operation in progress is, with the button that ends it. Shown while there is one.
class ProgressPanel : public QWidget {
  Q_OBJECT

public:
  explicit ProgressPanel(QWidget* parent = nullptr);

  void Begin(const QString& what);
  void SetCaption(const QString& caption);
  void SetProgress(int position, int range);
  void SayWaiting(const QString& holder);
  void SayCancelled();
  void End();

signals:
  void CancelWanted();

private:
  QLabel* m_label;
  QProgressBar* m_bar;
  QPushButton* m_cancel;
};

} // namespace kest::desktop
