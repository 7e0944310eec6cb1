#include "desktop/progress_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace kest::desktop {

ProgressPanel::ProgressPanel(QWidget* parent)
    : QWidget(parent), m_label(new QLabel(this)), m_bar(new QProgressBar(this)),
      m_cancel(new QPushButton(tr("&Cancel"), this)) {
  m_bar->setAccessibleName(tr("Progress"));
  m_bar->setMaximumWidth(fontMetrics().averageCharWidth() * 40);
  m_label->setTextFormat(Qt::PlainText);
  m_label->setObjectName("progressText");
  m_cancel->setObjectName("cancel");
  m_cancel->setAccessibleDescription(tr("Ends the operation and takes everything back"));
  auto* row = new QHBoxLayout(this);
  row->addWidget(m_label, 1);
  row->addWidget(m_bar);
  row->addWidget(m_cancel);
  connect(m_cancel, &QPushButton::clicked, this, &ProgressPanel::CancelWanted);
  hide();
}

void ProgressPanel::Begin(const QString& what) {
  m_label->setText(what);
  m_bar->setRange(0, 0);
  m_cancel->setEnabled(true);
  show();
}

void ProgressPanel::SetCaption(const QString& caption) {
  if (m_cancel->isEnabled() && !caption.isEmpty()) {
    m_label->setText(caption);
  }
}

void ProgressPanel::SetProgress(int position, int range) {
  m_bar->setRange(0, range);
  m_bar->setValue(qMin(position, range));
}

void ProgressPanel::SayWaiting(const QString& holder) {
  if (m_cancel->isEnabled()) {
    m_label->setText(holder.isEmpty() ? tr("Waiting: another program is changing this machine.")
                                      : tr("Waiting: this machine is being changed by %1.").arg(holder));
    m_bar->setRange(0, 0);
  }
}

void ProgressPanel::SayCancelled() {
  m_label->setText(tr("Cancelled: taking everything back…"));
  m_bar->setRange(0, 0);
  m_cancel->setEnabled(false);
}

void ProgressPanel::End() { hide(); }

} // namespace kest::desktop
