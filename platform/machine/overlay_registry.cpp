#include "platform/machine/overlay_state.h"

#include "platform/text/code_page.h"

#include <algorithm>

// Registry, fonts, programs.

namespace kest {

using Kind = MachineError::Kind;
using State = OverlayMachine::State;

/// Keys by one spelling: folded, with single backslashes between components.
CString State::KeyForm(RegistryRoot root, const CString& key) {
  CString form = root == RegistryRoot::kCurrentUser ? "user" : "machine";
  for (std::size_t at = 0; at <= key.size();) {
    const std::size_t end = std::min(text::FindBackslash(key, at), key.size());
    if (end > at) {
      form += '\\' + FoldName(key.substr(at, end - at), text::GetCodePage());
    }
    at = end + 1;
  }
  return form;
}

Answer OverlayMachine::RegistryKeyExists(RegistryRoot root, const CString& key) {
  const CString form = State::KeyForm(root, key);
  for (const auto& [name, known] : m_state->keys) {
    const bool isIt = name == form || name.starts_with(form + '\\');
    const bool hasAny = std::any_of(known.values.begin(), known.values.end(),
                                    [](const auto& value) { return value.second.second.has_value(); });
    if (isIt && hasAny) {
      return Answer::kYes;
    }
  }
  return m_state->below.RegistryKeyExists(root, key);
}

Answer OverlayMachine::ReadRegistryString(RegistryRoot root, const CString& key, const CString& name, CString& data) {
  const auto known = m_state->keys.find(State::KeyForm(root, key));
  if (known != m_state->keys.end()) {
    const auto value = known->second.values.find(FoldName(name, text::GetCodePage()));
    if (value != known->second.values.end()) {
      data = value->second.second.value_or(data);
      const bool isThere = value->second.second || m_state->Fail(Kind::kNotFound, key, "there is no such value");
      return isThere ? Answer::kYes : Answer::kNo;
    }
  }
  return m_state->below.ReadRegistryString(root, key, name, data);
}

bool OverlayMachine::WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                         const CString& data) {
  m_state->keys[State::KeyForm(root, key)].values[FoldName(name, text::GetCodePage())] = {name, data};
  m_state->registryChanges.push_back({root, key, name, data});
  return true;
}

bool OverlayMachine::DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) {
  CString old;
  const MachineError keep = GetLastError();
  const Answer isThere = ReadRegistryString(root, key, name, old);
  if (isThere == Answer::kCannotTell) {
    return false;
  }
  ClearLastError();
  m_state->error = keep;
  if (IsYes(isThere)) {
    m_state->keys[State::KeyForm(root, key)].values[FoldName(name, text::GetCodePage())] = {name, std::nullopt};
    m_state->registryChanges.push_back({root, key, name, std::nullopt});
  }
  return true;
}

Answer OverlayMachine::EnumRegistryValues(RegistryRoot root, const CString& key, std::vector<RegistryValue>& values) {
  values.clear();
  const auto known = m_state->keys.find(State::KeyForm(root, key));
  if (known == m_state->keys.end()) {
    return m_state->below.EnumRegistryValues(root, key, values);
  }
  const Answer isThere = RegistryKeyExists(root, key);
  if (isThere == Answer::kNo) {
    (void)m_state->Fail(Kind::kNotFound, key, "there is no such key");
  }
  if (!IsYes(isThere)) {
    return isThere;
  }
  const Answer isBelow = m_state->below.RegistryKeyExists(root, key);
  if (isBelow == Answer::kCannotTell ||
      (IsYes(isBelow) && m_state->below.EnumRegistryValues(root, key, values) == Answer::kCannotTell)) {
    return Answer::kCannotTell;
  }
  for (const auto& [folded, value] : known->second.values) {
    const auto old = std::find_if(values.begin(), values.end(), [&, &name = folded](const RegistryValue& one) {
      return FoldName(one.name, text::GetCodePage()) == name;
    });
    if (old != values.end() && !value.second) {
      values.erase(old);
    } else if (old != values.end()) {
      old->data = *value.second;
    } else if (value.second) {
      values.push_back({value.first, *value.second});
    }
  }
  return Answer::kYes;
}

bool OverlayMachine::AddFontResource(const CString& path) {
  if (!IsYes(FileExists(path))) {
    return m_state->Fail(Kind::kNotFound, path, "no such file or folder");
  }
  m_state->fonts.push_back(path);
  return true;
}

bool OverlayMachine::RemoveFontResource(const CString& path) {
  const auto it = std::find_if(m_state->fonts.begin(), m_state->fonts.end(),
                               [&](const CString& font) { return text::EqualNoCase(font, path); });
  if (it == m_state->fonts.end()) {
    return m_state->Fail(Kind::kNotFound, path, "the font is not registered");
  }
  m_state->fonts.erase(it);
  return true;
}

void OverlayMachine::BroadcastFontChange() {}

void OverlayMachine::WinExec(const CString& commandLine) { m_state->startedPrograms.push_back(commandLine); }

} // namespace kest
