#include "desktop/bridge_ui.h"

#include "desktop/engine_facts.h"

#include <QMutexLocker>

#include <utility>

namespace kest::desktop {
namespace {

constexpr unsigned long kLockPause = 300; ///< milliseconds between two tries to get the right to write

QString TextOf(const char* text) { return Shown(text != nullptr ? text : ""); }

Question::Kind KindOf(int style) {
  return style == kYesNo       ? Question::Kind::kYesNo
         : style == kOverwrite ? Question::Kind::kOverwrite
                               : Question::Kind::kRetryCancel;
}

// What a question gets that nobody answers any more: never a consent.
int Declining(Question::Kind kind) { return kind == Question::Kind::kYesNo ? kNo : kCancel; }

} // namespace

void BridgeUi::Begin(const QString& accepted) {
  m_accepted = accepted;
  m_notices.clear();
  m_forAll.clear();
  m_number = 0;
  const QMutexLocker lock(&m_mutex);
  m_cancelled = false;
  m_reply.reset();
}

void BridgeUi::GiveReply(const Reply& reply) {
  const QMutexLocker lock(&m_mutex);
  m_reply = reply;
  m_answered.wakeAll();
}

void BridgeUi::Cancel() {
  const QMutexLocker lock(&m_mutex);
  m_cancelled = true;
  m_answered.wakeAll();
}

bool BridgeUi::WaitForLock(const QString& holder) {
  emit LockWaited(holder);
  const QMutexLocker lock(&m_mutex);
  if (!m_cancelled) {
    m_answered.wait(&m_mutex, kLockPause);
  }
  return !m_cancelled;
}

Reply BridgeUi::Ask(Question question) {
  question.number = std::exchange(m_number, 0);
  const auto known = m_forAll.constFind(question.number);
  if (known != m_forAll.constEnd()) {
    return {*known, {}, true};
  }
  const Reply declined{Declining(question.kind), {}, false};
  QMutexLocker lock(&m_mutex);
  if (m_cancelled) {
    return declined;
  }
  m_reply.reset();
  lock.unlock(); // the window may answer before the signal returns
  emit Asked(question);
  lock.relock();
  while (!m_reply && !m_cancelled) {
    m_answered.wait(&m_mutex);
  }
  if (m_cancelled) {
    lock.unlock();
    emit Withdrawn();
    return declined;
  }
  const Reply reply = *std::exchange(m_reply, std::nullopt);
  if (reply.forAll && question.number != 0) {
    m_forAll.insert(question.number, reply.button);
  }
  return reply;
}

void BridgeUi::PassCancelOn() {
  QMutexLocker lock(&m_mutex);
  const bool cancelled = m_cancelled;
  lock.unlock(); // the hook waits for a mutex of its own
  if (cancelled && m_cancelHook) {
    m_cancelHook();
  }
}

int BridgeUi::ShowMessage(const char* text, int style) {
  if (style == kNotice) {
    m_number = 0;
    m_notices += TextOf(text);
    return kOk;
  }
  return Ask({KindOf(style), 0, TextOf(text), {}, {}}).button;
}

bool BridgeUi::ConfirmAgreement(const char* prompt, const char* agreement) {
  const QString text = TextOf(agreement);
  if (!m_accepted.isEmpty() && text == m_accepted) {
    return true;
  }
  return Ask({Question::Kind::kAgreement, 0, TextOf(prompt), text, {}}).button == kYes;
}

bool BridgeUi::ChooseFolder(const CString& prompt, const CString& initialFolder, int, CString& folder) {
  const Reply reply = Ask({Question::Kind::kFolder, 0, Shown(prompt), {}, Shown(initialFolder)});
  if (reply.button != kOk) {
    return false;
  }
  folder = text::FromUtf8(reply.folder.toStdString());
  return true;
}

void BridgeUi::BeginProgress(const char* caption, const char*, int) {
  PassCancelOn();
  m_range = 0;
  m_shown = -1;
  emit ProgressBegan(TextOf(caption));
}

void BridgeUi::SetProgressRange(int upper) { m_range = upper; }

void BridgeUi::SetProgressPosition(int position) {
  constexpr int kParts = 1000;
  // a big package has more positions than a window can draw
  const int part = m_range > 0 ? static_cast<int>(qint64{position} * kParts / m_range) : 0;
  PassCancelOn();
  if (part != m_shown) {
    m_shown = part;
    emit Progressed(position, m_range);
  }
}

void BridgeUi::EndProgress() { emit ProgressEnded(); }

void BridgeUi::OnMessage(int number, const CString*, int) { m_number = number; }

} // namespace kest::desktop
