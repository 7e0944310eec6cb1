#pragma once

#include <QFrame>

#include <functional>

class QLabel;
class QPushButton;
class QToolButton;

namespace kest::desktop {

/// A sentence above the list that stays until it is closed or replaced: what was done, or why not. Takes no focus away.
class NoticeBar : public QFrame {
  Q_OBJECT

public:
  enum class Tone { kGood, kPlain, kBad };
  explicit NoticeBar(QWidget* parent = nullptr);

  void Tell(Tone tone, const QString& text, const QString& details = {});
  /// A button beside the text; to be set after Tell.
  void OfferAction(const QString& label, std::function<void()> action);
  [[nodiscard]] QString GetText() const;
  [[nodiscard]] const QString& GetDetails() const { return m_details; }

signals:
  void DetailsWanted(const QString& text, const QString& details);

private:
  QLabel* m_icon;
  QLabel* m_label;
  QPushButton* m_more;
  QPushButton* m_act;
  QToolButton* m_close;
  QString m_details;
  std::function<void()> m_action;
};

} // namespace kest::desktop
