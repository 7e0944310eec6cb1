#include "platform/text/path.h"

#include "platform/text/path_component.h"

#include <algorithm>

namespace kest {

namespace {

// Index at which the last component begins.
std::size_t NameAt(std::string_view path) {
  const std::size_t slash = text::FindLastBackslash(path);
  return slash == std::string_view::npos ? 0 : slash + 1;
}

// Index of the dot before the extension, or npos. A dot is never the second byte of a character.
std::size_t DotAt(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  return dot != std::string_view::npos && dot >= NameAt(path) ? dot : std::string_view::npos;
}

void DropTrailingBackslashes(CString& path) {
  if (path.empty() || path.back() != '\\') {
    return;
  }
  // forwards, because only so a second byte is told from a backslash
  std::size_t length = 0;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t step = text::IsLeadByte(path[at]) && at + 1 < path.size() ? 2 : 1;
    at += step;
    if (step == 2 || path[at - 1] != '\\') {
      length = at;
    }
  }
  path.resize(length);
}

bool IsDriveLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool IsAnySeparator(char c) { return c == '\\' || c == '/' || c == ':'; }

} // namespace

void CKestPath::Append(std::string_view component) {
  if (component.empty()) {
    return;
  }
  if (m_text.empty()) {
    m_text = component;
    return;
  }
  DropTrailingBackslashes(m_text);
  component.remove_prefix(std::min(component.find_first_not_of('\\'), component.size()));
  m_text.append(1, '\\').append(component);
}

void CKestPath::GetFileName(CString& out) const { out = GetFileName(); }

CString CKestPath::GetFileName() const { return m_text.substr(NameAt(m_text)); }

void CKestPath::SetFileName(std::string_view name) {
  m_text.resize(NameAt(m_text));
  m_text.append(name);
}

void CKestPath::GetFolder(CString& out) const { out = GetFolder(); }

CString CKestPath::GetFolder() const { return m_text.substr(0, NameAt(m_text)); }

CString CKestPath::GetParent() const {
  CString folder = m_text;
  DropTrailingBackslashes(folder);
  folder.resize(NameAt(folder));
  DropTrailingBackslashes(folder);
  return folder;
}

void CKestPath::Split(CString& folder, CString& name) const {
  const std::size_t at = NameAt(m_text);
  CString nameCopy = m_text.substr(at);
  folder = m_text.substr(0, at);
  name = std::move(nameCopy);
}

void CKestPath::GetExtension(CString& out) const { out = GetExtension(); }

CString CKestPath::GetExtension() const {
  const std::size_t dot = DotAt(m_text);
  return dot == CString::npos ? CString() : m_text.substr(dot + 1);
}

void CKestPath::SetExtension(std::string_view extension) {
  if (const std::size_t dot = DotAt(m_text); dot != CString::npos) {
    m_text.resize(dot);
  }
  if (!extension.empty()) {
    m_text.append(extension[0] == '.' ? "" : ".").append(extension);
  }
}

void CKestPath::LocalizePathSeparators() { LocalizePathSeparators(m_text); }

const char* CKestPath::JudgeComponent(std::string_view component) { return JudgePathComponent(component); }

void CKestPath::LocalizePathSeparators(CString& path) {
  // neither "/" nor ":" can be the second byte of a character
  const bool hasDrive =
      path.size() >= 2 && IsDriveLetter(path[0]) && path[1] == ':' && (path.size() == 2 || IsAnySeparator(path[2]));
  for (std::size_t i = hasDrive ? 2 : 0; i < path.size(); ++i) {
    if (path[i] == '/' || path[i] == ':') {
      path[i] = '\\';
    }
  }
}

bool CKestPath::HasParentComponent(std::string_view path) {
  // trailing blanks are no part of a name on a PC, so ".. " leads upwards as well
  for (std::size_t begin = 0; begin <= path.size();) {
    std::size_t end = std::min(text::FindBackslash(path, begin), path.size());
    end = std::min(path.find('/', begin), end);
    std::string_view component = path.substr(begin, end - begin);
    component = component.substr(0, component.find_last_not_of(' ') + 1);
    if (component == "..") {
      return true;
    }
    begin = end + 1;
  }
  return false;
}

CString WithBackslash(CString folder) {
  if (folder.empty()) {
    return folder;
  }
  DropTrailingBackslashes(folder);
  folder.push_back('\\');
  return folder;
}

CString WithoutBackslash(CString folder) {
  DropTrailingBackslashes(folder);
  if (folder.size() == 2 && folder[1] == ':') {
    folder.push_back('\\');
  }
  return folder;
}

CString JoinPath(std::initializer_list<std::string_view> components) {
  CKestPath path;
  for (const std::string_view component : components) {
    path.Append(component);
  }
  return path.GetText();
}

} // namespace kest
