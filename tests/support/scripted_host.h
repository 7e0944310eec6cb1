#pragma once

#include "platform/extension_manager_ui.h"
#include "platform/messages.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kest::test {

/// A host that answers by message number, as a test scripted it. A question that nobody scripted fails the test (and is
/// cancelled); so does a script that is still unasked when the host goes.
class ScriptedHost : public CKestExtensionManagerUI {
public:
  /// What the host was told.
  struct Shown {
    int number = 0; ///< of the message; 0 when the engine did not say
    std::vector<std::string> arguments;
    std::string text; ///< as joined by the engine
    int style = 0;
  };

  ScriptedHost() = default;
  ~ScriptedHost() override;
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;

  /// The next question with this number gets this button; several calls answer several questions in turn.
  ScriptedHost& answer(Message number, Button button);
  /// The same, and `before` runs first (to close the file in use, say).
  ScriptedHost& answer(Message number, Button button, std::function<void()> before);
  /// Every question with this number from now on; no question at all is fine, too.
  ScriptedHost& always(Message number, Button button);
  /// The agreement (4016, or the import's) is accepted or not.
  ScriptedHost& accept(bool accepted = true);
  /// The next folder question is answered with this folder, or given up.
  ScriptedHost& folder(std::string chosen);
  ScriptedHost& noFolder();
  /// Every question that nobody scripted is answered with this button; folders are given up, agreements accepted unless
  /// it is kCancel or kNo.
  ScriptedHost& otherwise(Button button);

  /// Messages of style 0, in order.
  [[nodiscard]] const std::vector<Shown>& notices() const { return m_notices; }
  [[nodiscard]] const std::vector<Shown>& questions() const { return m_questions; }
  /// Numbers of the notices, in order.
  [[nodiscard]] std::vector<int> noticeNumbers() const;
  /// Scripts that were not asked for yet.
  [[nodiscard]] std::size_t unasked() const;
  /// Forgets what was shown and scripted.
  void clear();

  /// Whether the busy display is on, and how often it was shown.
  [[nodiscard]] bool isWaiting() const { return m_waiting; }
  [[nodiscard]] int waits() const { return m_waits; }
  [[nodiscard]] bool isProgressOpen() const { return m_progressOpen; }
  /// Every position, in order, of the displays since the last clear.
  [[nodiscard]] const std::vector<int>& positions() const { return m_positions; }
  [[nodiscard]] int range() const { return m_range; }

  int ShowMessage(const char* text, int style) override;
  bool ConfirmAgreement(const char* prompt, const char* agreement) override;
  bool ChooseFolder(const CString& prompt, const CString& initialFolder, int flag, CString& folder) override;
  void BeginWait() override;
  void EndWait() override;
  void BeginProgress(const char* caption, const char* detail, int flag) override;
  void SetProgressRange(int upper) override;
  void SetProgressPosition(int position) override;
  void EndProgress() override;
  void OnMessage(int number, const CString* arguments, int count) override;

private:
  struct Script {
    int number;
    Button button;
    std::function<void()> before;
  };

  Shown TakeAnnounced(const char* text, int style);
  std::optional<Script> TakeScript(int number);

  std::deque<Script> m_scripts;
  std::vector<std::pair<int, Button>> m_always;
  std::deque<bool> m_agreements;
  std::deque<std::optional<std::string>> m_folders;
  std::optional<Button> m_otherwise;
  Shown m_announced;
  std::vector<Shown> m_notices;
  std::vector<Shown> m_questions;
  std::vector<int> m_positions;
  int m_range = 0;
  int m_waits = 0;
  bool m_waiting = false;
  bool m_progressOpen = false;
};

} // namespace kest::test
