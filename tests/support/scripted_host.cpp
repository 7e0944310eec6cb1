#include "support/scripted_host.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kest::test {

ScriptedHost::~ScriptedHost() {
  for (const Script& script : m_scripts) {
    ADD_FAILURE() << "nobody asked question " << script.number;
  }
  EXPECT_TRUE(m_agreements.empty()) << "nobody asked for an agreement";
  EXPECT_TRUE(m_folders.empty()) << "nobody asked for a folder";
}

ScriptedHost& ScriptedHost::answer(Message number, Button button) { return answer(number, button, nullptr); }

ScriptedHost& ScriptedHost::answer(Message number, Button button, std::function<void()> before) {
  m_scripts.push_back({static_cast<int>(number), button, std::move(before)});
  return *this;
}

ScriptedHost& ScriptedHost::always(Message number, Button button) {
  m_always.emplace_back(static_cast<int>(number), button);
  return *this;
}

ScriptedHost& ScriptedHost::accept(bool accepted) {
  m_agreements.push_back(accepted);
  return *this;
}

ScriptedHost& ScriptedHost::folder(std::string chosen) {
  m_folders.emplace_back(std::move(chosen));
  return *this;
}

ScriptedHost& ScriptedHost::noFolder() {
  m_folders.emplace_back(std::nullopt);
  return *this;
}

ScriptedHost& ScriptedHost::otherwise(Button button) {
  m_otherwise = button;
  return *this;
}

std::vector<int> ScriptedHost::noticeNumbers() const {
  std::vector<int> numbers;
  for (const Shown& notice : m_notices) {
    numbers.push_back(notice.number);
  }
  return numbers;
}

std::size_t ScriptedHost::unasked() const { return m_scripts.size() + m_agreements.size() + m_folders.size(); }

void ScriptedHost::clear() {
  m_scripts.clear();
  m_always.clear();
  m_agreements.clear();
  m_folders.clear();
  m_otherwise.reset();
  m_notices.clear();
  m_questions.clear();
  m_positions.clear();
}

ScriptedHost::Shown ScriptedHost::TakeAnnounced(const char* text, int style) {
  Shown shown = std::exchange(m_announced, Shown());
  shown.text = text != nullptr ? text : "";
  shown.style = style;
  return shown;
}

std::optional<ScriptedHost::Script> ScriptedHost::TakeScript(int number) {
  const auto found = std::find_if(m_scripts.begin(), m_scripts.end(),
                                  [number](const Script& script) { return script.number == number; });
  if (found == m_scripts.end()) {
    return std::nullopt;
  }
  Script script = std::move(*found);
  m_scripts.erase(found);
  return script;
}

int ScriptedHost::ShowMessage(const char* text, int style) {
  const Shown shown = TakeAnnounced(text, style);
  if (style == kNotice) {
    m_notices.push_back(shown);
    return kOk;
  }
  m_questions.push_back(shown);
  if (std::optional<Script> script = TakeScript(shown.number)) {
    if (script->before) {
      script->before();
    }
    return script->button;
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

bool ScriptedHost::ConfirmAgreement(const char* prompt, const char*) {
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

bool ScriptedHost::ChooseFolder(const CString& prompt, const CString&, int, CString& folder) {
  m_questions.push_back(TakeAnnounced(prompt.c_str(), kYesNo));
  if (m_folders.empty()) {
    if (!m_otherwise) {
      ADD_FAILURE() << "unexpected folder question: " << prompt;
    }
    return false;
  }
  const std::optional<std::string> chosen = std::move(m_folders.front());
  m_folders.pop_front();
  if (chosen) {
    folder = *chosen;
  }
  return chosen.has_value();
}

void ScriptedHost::BeginWait() {
  m_waiting = true;
  ++m_waits;
}

void ScriptedHost::EndWait() { m_waiting = false; }
void ScriptedHost::BeginProgress(const char*, const char*, int) { m_progressOpen = true; }
void ScriptedHost::SetProgressRange(int upper) { m_range = upper; }
void ScriptedHost::SetProgressPosition(int position) { m_positions.push_back(position); }
void ScriptedHost::EndProgress() { m_progressOpen = false; }

void ScriptedHost::OnMessage(int number, const CString* arguments, int count) {
  m_announced = Shown();
  m_announced.number = number;
  m_announced.arguments.assign(arguments, arguments + count);
}

} // namespace kest::test
