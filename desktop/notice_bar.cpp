#include "desktop/notice_bar.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

#include <utility>

namespace kest::desktop {

NoticeBar::NoticeBar(QWidget* parent)
    : QFrame(parent), m_icon(new QLabel(this)), m_label(new QLabel(this)),
      m_more(new QPushButton(tr("&Details…"), this)), m_act(new QPushButton(this)), m_close(new QToolButton(this)) {
  setFrameShape(QFrame::StyledPanel);
  m_label->setWordWrap(true);
  m_label->setTextFormat(Qt::PlainText);
  m_label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  m_label->setAccessibleName(tr("What was done"));
  m_label->setObjectName("notice");
  m_more->setObjectName("noticeDetails");
  m_act->setObjectName("noticeAction");
  m_close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
  m_close->setToolTip(tr("Close this message"));
  m_close->setAccessibleName(tr("Close this message"));
  m_close->setAutoRaise(true);
  m_close->setFocusPolicy(Qt::StrongFocus);
  auto* row = new QHBoxLayout(this);
  row->addWidget(m_icon);
  row->addWidget(m_label, 1);
  row->addWidget(m_act);
  row->addWidget(m_more);
  row->addWidget(m_close);
  connect(m_close, &QToolButton::clicked, this, &QWidget::hide);
  connect(m_more, &QPushButton::clicked, this, [this] { emit DetailsWanted(m_label->text(), m_details); });
  connect(m_act, &QPushButton::clicked, this, [this] {
    if (const auto action = m_action) {
      action();
    }
  });
  hide();
}

void NoticeBar::Tell(Tone tone, const QString& text, const QString& details) {
  const QStyle::StandardPixmap pictures[] = {QStyle::SP_DialogApplyButton, QStyle::SP_MessageBoxInformation,
                                             QStyle::SP_MessageBoxWarning};
  const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
  m_icon->setPixmap(style()->standardIcon(pictures[static_cast<int>(tone)]).pixmap(size, size));
  m_label->setText(text);
  m_label->setAccessibleDescription(text);
  m_details = details;
  m_action = nullptr;
  m_more->setVisible(!details.isEmpty());
  m_act->hide();
  show();
  QAccessibleEvent event(m_label, QAccessible::Alert);
  QAccessible::updateAccessibility(&event);
}

void NoticeBar::OfferAction(const QString& label, std::function<void()> action) {
  m_act->setText(label);
  m_action = std::move(action);
  m_act->show();
}

QString NoticeBar::GetText() const { return isHidden() ? QString() : m_label->text(); }

} // namespace kest::desktop
