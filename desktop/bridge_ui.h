#pragma once

#include "kest/kest.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QWaitCondition>

#include <functional>
#include <optional>
#include <utility>

namespace kest::desktop {

/// A question of the engine, for the window to ask.
struct Question {
  enum class Kind { kYesNo, kRetryCancel, kOverwrite, kAgreement, kFolder };
  Kind kind = Kind::kYesNo;
  int number = 0; ///< of the engine's message; 0 when it has none
  QString text;
  QString agreement;
  QString folder; ///< the one proposed
};

/// What the user said.
struct Reply {
  int button = kCancel; ///< Button; kYes accepts an agreement, kOk takes `folder`
  QString folder;
  bool forAll = false; ///< the same answer to every question of that number in this operation
};

/// The engine's callback object. Lives in the engine's thread; each question waits there until the window's thread has
/// given an answer, or has cancelled. Notices are collected.
class BridgeUi : public QObject, public CKestExtensionManagerUI {
  Q_OBJECT

public:
  int ShowMessage(const char* text, int style) override;
  bool ConfirmAgreement(const char* prompt, const char* agreement) override;
  bool ChooseFolder(const CString& prompt, const CString& initialFolder, int flag, CString& folder) override;
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char* caption, const char* detail, int flag) override;
  void SetProgressRange(int upper) override;
  void SetProgressPosition(int position) override;
  void EndProgress() override;
  void OnMessage(int number, const CString* arguments, int count) override;

  /// Before an operation, in the engine's thread: what was answered or cancelled before is forgotten. An agreement
  /// with this text was accepted already.
  void Begin(const QString& accepted = {});
  /// What the engine said since Begin.
  [[nodiscard]] QStringList TakeNotices() { return std::exchange(m_notices, {}); }
  /// Called in the engine's thread when it goes on with an operation that was cancelled: a request that came while the
  /// operation was about to start is forgotten by the engine.
  void SetCancelHook(std::function<void()> hook) { m_cancelHook = std::move(hook); }
  /// In the engine's thread, when another process changes the machine: waits a moment. False once it was cancelled.
  [[nodiscard]] bool WaitForLock(const QString& holder);
  /// From the window's thread: ends the question that is open.
  void GiveReply(const Reply& reply);
  /// From any thread: the open question and all that follow are declined until Begin.
  void Cancel();

signals:
  void Asked(const kest::desktop::Question& question);
  /// A question that is open in the window is no longer one.
  void Withdrawn();
  void ProgressBegan(const QString& caption);
  /// `position` of `range`; a range of 0 is not known.
  void Progressed(int position, int range);
  void ProgressEnded();
  void LockWaited(const QString& holder);

private:
  Reply Ask(Question question);
  void PassCancelOn();

  QMutex m_mutex;
  QWaitCondition m_answered;
  std::optional<Reply> m_reply; ///< under the mutex
  bool m_cancelled = false;     ///< under the mutex
  std::function<void()> m_cancelHook;
  QString m_accepted;
  QStringList m_notices;
  QHash<int, int> m_forAll; ///< answers by the question's number
  int m_number = 0;
  int m_range = 0;
  int m_shown = -1; ///< the last position told, in thousandths
};

} // namespace kest::desktop

Q_DECLARE_METATYPE(kest::desktop::Question)
