#pragma once

#include "platform/messages/extension_manager_ui.h"
#include "platform/messages/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
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
  ~ScriptedHost() override {
    for (const Script& script : m_scripts) {
      ADD_FAILURE() << "nobody asked question " << script.number;
    }
    EXPECT_TRUE(m_agreements.empty()) << "nobody asked for an agreement";
    EXPECT_TRUE(m_folders.empty()) << "nobody asked for a folder";
  }
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;

  /// The next question with this number gets this button; several calls answer several questions in turn. `before` runs
  /// first (to close the file in use, say).
  ScriptedHost& answer(Message number, Button button, std::function<void()> before = nullptr) {
    m_scripts.push_back({static_cast<int>(number), button, std::move(before)});
    return *this;
  }
  /// Every question with this number from now on; no question at all is fine, too.
  ScriptedHost& always(Message number, Button button) {
    m_always.emplace_back(static_cast<int>(number), button);
    return *this;
  }
  /// The agreement (4016, or the import's) is accepted or not.
  ScriptedHost& accept(bool accepted = true) { return m_agreements.push_back(accepted), *this; }
  /// The next folder question is answered with this folder, or given up.
  ScriptedHost& folder(std::string chosen) { return m_folders.emplace_back(std::move(chosen)), *this; }
  ScriptedHost& noFolder() { return m_folders.emplace_back(std::nullopt), *this; }
  /// Every question that nobody scripted is answered with this button; folders are given up, agreements accepted unless
  /// it is kCancel or kNo.
  ScriptedHost& otherwise(Button button) { return m_otherwise = button, *this; }

  /// Messages of style 0, in order.
  [[nodiscard]] const std::vector<Shown>& notices() const { return m_notices; }
  [[nodiscard]] const std::vector<Shown>& questions() const { return m_questions; }
  /// Numbers of the notices, in order.
  [[nodiscard]] std::vector<int> noticeNumbers() const {
    std::vector<int> numbers;
    for (const Shown& notice : m_notices) {
      numbers.push_back(notice.number);
    }
    return numbers;
  }
  /// Forgets what was shown and scripted.
  void clear() {
    m_scripts.clear();
    m_always.clear();
    m_agreements.clear();
    m_folders.clear();
    m_otherwise.reset();
    m_notices.clear();
    m_questions.clear();
    m_positions.clear();
    m_calls.clear();
    m_isPosition = false;
  }

  /// Whether the busy display is on, and how often it was shown.
  [[nodiscard]] bool isWaiting() const { return m_waiting; }
  [[nodiscard]] int waits() const { return m_waits; }
  [[nodiscard]] bool isProgressOpen() const { return m_progressOpen; }
  /// Every position, in order, of the displays since the last clear.
  [[nodiscard]] const std::vector<int>& positions() const { return m_positions; }
  [[nodiscard]] int range() const { return m_range; }
  /// What was called since the last clear, in order: "wait" and "ready", "progress" and "end", each position that is
  /// the last before another call, and the number of each message.
  [[nodiscard]] std::string calls() const { return m_calls; }

  int ShowMessage(const char* text, int style) override {
    const Shown shown = TakeAnnounced(text, style);
    if (style == kNotice) {
      m_notices.push_back(shown);
      return kOk;
    }
    m_questions.push_back(shown);
    const auto asks = [&](const Script& script) { return script.number == shown.number; };
    if (const auto found = std::find_if(m_scripts.begin(), m_scripts.end(), asks); found != m_scripts.end()) {
      const Script script = std::move(*found);
      m_scripts.erase(found);
      if (script.before) {
        script.before();
      }
      return script.button;
    }
    for (const auto& [number, button] : m_always) {
      if (number == shown.number) {
        return button;
      }
    }
    if (!m_otherwise) {
      ADD_FAILURE() << "unexpected question " << shown.number << ": " << shown.text;
    }
    return m_otherwise.value_or(kCancel);
  }
  bool ConfirmAgreement(const char* prompt, const char*) override {
    m_questions.push_back(TakeAnnounced(prompt, kYesNo));
    if (!m_agreements.empty()) {
      const bool accepted = m_agreements.front();
      m_agreements.pop_front();
      return accepted;
    }
    if (!m_otherwise) {
      ADD_FAILURE() << "unexpected agreement: " << m_questions.back().text;
      return false;
    }
    return *m_otherwise != kCancel && *m_otherwise != kNo;
  }
  bool ChooseFolder(const CString& prompt, const CString&, int, CString& folder) override {
    m_questions.push_back(TakeAnnounced(prompt.c_str(), kYesNo));
    if (m_folders.empty()) {
      if (!m_otherwise) {
        ADD_FAILURE() << "unexpected folder question: " << prompt;
      }
      return false;
    }
    const std::optional<std::string> chosen = std::move(m_folders.front());
    m_folders.pop_front();
    folder = chosen.value_or(folder);
    return chosen.has_value();
  }
  void BeginWait() override {
    Called("wait");
    m_waiting = true;
    ++m_waits;
  }
  void EndWait() override {
    Called("ready");
    m_waiting = false;
  }
  void BeginProgress(const char*, const char*, int) override {
    Called("progress");
    m_progressOpen = true;
  }
  void SetProgressRange(int upper) override { m_range = upper; }
  void SetProgressPosition(int position) override {
    m_positions.push_back(position);
    m_isPosition = true;
  }
  void EndProgress() override {
    Called("end");
    m_progressOpen = false;
  }
  void OnMessage(int number, const CString* arguments, int count) override {
    m_announced = Shown{number, {arguments, arguments + count}, {}, 0};
  }

private:
  struct Script {
    int number;
    Button button;
    std::function<void()> before;
  };

  void Called(const std::string& what) {
    m_calls += m_calls.empty() ? "" : " ";
    m_calls += std::exchange(m_isPosition, false) ? std::to_string(m_positions.back()) + " " + what : what;
  }
  Shown TakeAnnounced(const char* text, int style) {
    Shown shown = std::exchange(m_announced, Shown());
    Called(std::to_string(shown.number));
    shown.text = text != nullptr ? text : "";
    shown.style = style;
    return shown;
  }

  std::deque<Script> m_scripts;
  std::vector<std::pair<int, Button>> m_always;
  std::deque<bool> m_agreements;
  std::deque<std::optional<std::string>> m_folders;
  std::optional<Button> m_otherwise;
  Shown m_announced;
  std::vector<Shown> m_notices;
  std::vector<Shown> m_questions;
  std::vector<int> m_positions;
  std::string m_calls;
  bool m_isPosition = false; ///< the last call, which is not among the calls yet
  int m_range = 0;
  int m_waits = 0;
  bool m_waiting = false;
  bool m_progressOpen = false;
};

} // namespace kest::test
