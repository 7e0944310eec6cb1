#include "platform/machine_folder/registry_file.h"

#include "platform/machine_folder/registry_text.h"
#include "platform/text/code_page.h"

#include <algorithm>
#include <cstdio>

namespace kest {
namespace {

constexpr int kUtf8 = 65001;
// Written under a key, or into a file, that came to be with its first value.
constexpr std::string_view kMadeHere = ";; made with its first value, goes with its last\n";

/// Comparable form of UTF-16 text: ASCII letters lowered, as UTF-8.
CString Folded(std::u16string_view units) { return FoldName(FromUtf16(units, kUtf8), 0); }

/// Components of a key with single backslashes between them and none around.
CString Collapse(const CString& key) {
  CString out;
  for (const char c : key) {
    if (c != '\\' || (!out.empty() && out.back() != '\\')) {
      out += c;
    }
  }
  if (!out.empty() && out.back() == '\\') {
    out.pop_back();
  }
  return out;
}

/// Whether a line can go on with the bytes of the one before. A cut-off value swallows none that is one of its own.
bool GoesOn(std::string_view line) {
  return !line.empty() && (line[0] == ' ' || line[0] == '\t' || (line[0] >= '0' && line[0] <= '9') ||
                           (text::ToLower(line[0]) >= 'a' && text::ToLower(line[0]) <= 'f'));
}

bool IsBlank(std::string_view line) { return text::Trimmed(line).empty(); }

CString NewFile(const CString& root) {
  return "WINE REGISTRY Version 2\n;; All keys relative to " + root + "\n" + CString(kMadeHere);
}

} // namespace

void RegistryFile::SetText(CString text) {
  m_text = std::move(text);
  m_isIndexed = false;
}

CString RegistryFile::KeyForm(const CString& key) const { return Collapse(Folded(ToUtf16(key, m_codePage))); }

RegistryFile::Line RegistryFile::LineAt(std::size_t at) const {
  const std::size_t end = m_text.find('\n', at);
  return {at, end == CString::npos ? m_text.size() : end + 1};
}

void RegistryFile::Index() {
  if (m_isIndexed) {
    return;
  }
  m_isIndexed = true;
  m_sections.clear();
  std::vector<Range>* open = nullptr;
  for (std::size_t at = 0; at < m_text.size();) {
    const Line line = LineAt(at);
    const std::string_view written = std::string_view(m_text).substr(line.begin, line.end - line.begin);
    std::size_t inside = 1;
    const bool isHeader = written.starts_with("[");
    const auto name = isHeader ? UnescapeRegistryText(written, inside, ']') : std::nullopt;
    if (isHeader) {
      open = nullptr; // what follows a damaged header belongs to no key
    }
    if (name) {
      const CString key = Collapse(Folded(*name));
      open = &m_sections[key];
      open->push_back({line.begin, line.end, line.end});
      for (std::size_t cut = key.rfind('\\'); cut != CString::npos && cut > 0; cut = key.rfind('\\', cut - 1)) {
        if (!m_sections.try_emplace(key.substr(0, cut)).second) {
          break; // its own ancestors are known already
        }
      }
      open = &m_sections[key];
    } else if (open != nullptr) {
      open->back().end = line.end;
    }
    at = line.end;
  }
}

bool RegistryFile::HasKey(const CString& key) {
  Index();
  const CString form = KeyForm(key);
  return form.empty() || m_sections.contains(form);
}

std::optional<RegistryFile::Value> RegistryFile::ReadValue(const Line& line) const {
  Value value;
  value.line = line;
  const std::string_view all(m_text);
  std::string_view written = all.substr(line.begin, line.end - line.begin);
  std::size_t at = 1;
  if (written.starts_with("\"")) {
    auto name = UnescapeRegistryText(written, at, '"');
    if (!name) {
      return std::nullopt;
    }
    value.name = std::move(*name);
  } else if (!written.starts_with("@")) {
    return std::nullopt;
  }
  while (at < written.size() && (written[at] == ' ' || written[at] == '\t')) {
    ++at;
  }
  if (at >= written.size() || written[at] != '=') {
    return std::nullopt;
  }
  ++at;
  if (written.substr(at).starts_with("hex")) {
    // bytes go on in the next line behind a backslash
    while (text::Trimmed(all.substr(line.begin, value.line.end - line.begin)).ends_with('\\') &&
           value.line.end < m_text.size() && GoesOn(all.substr(value.line.end))) {
      value.line.end = LineAt(value.line.end).end;
    }
  }
  value.data = text::Trimmed(all.substr(line.begin + at, value.line.end - line.begin - at));
  return value;
}

std::optional<RegistryFile::Value> RegistryFile::FindValue(const CString& key, const CString& name) {
  Index();
  std::optional<Value> found;
  const auto it = m_sections.find(KeyForm(key));
  if (it == m_sections.end()) {
    return found;
  }
  const CString wanted = Folded(ToUtf16(name, m_codePage));
  for (const Range& section : it->second) {
    for (std::size_t at = section.body; at < section.end;) {
      auto value = ReadValue(LineAt(at));
      at = value ? value->line.end : LineAt(at).end;
      if (value && Folded(value->name) == wanted) {
        found = std::move(value); // the last one counts
      }
    }
  }
  return found;
}

bool RegistryFile::GetValue(const CString& key, const CString& name, CString& data) {
  const auto value = FindValue(key, name);
  const auto units = value ? ReadRegistryData(value->data) : std::nullopt;
  if (units) {
    data = FromUtf16(*units, m_codePage);
  }
  return units.has_value();
}

bool RegistryFile::GetValues(const CString& key, std::vector<RegistryValue>& values) {
  Index();
  values.clear();
  const CString form = KeyForm(key);
  const auto it = m_sections.find(form);
  if (it == m_sections.end()) {
    return form.empty();
  }
  std::unordered_map<CString, std::size_t> places;
  for (const Range& section : it->second) {
    for (std::size_t at = section.body; at < section.end;) {
      const auto value = ReadValue(LineAt(at));
      at = value ? value->line.end : LineAt(at).end;
      if (!value) {
        continue;
      }
      const auto units = ReadRegistryData(value->data);
      RegistryValue entry{FromUtf16(value->name, m_codePage), units ? FromUtf16(*units, m_codePage) : CString()};
      const auto [place, isNew] = places.try_emplace(Folded(value->name), values.size());
      if (isNew) {
        values.push_back(std::move(entry));
      } else {
        values[place->second] = std::move(entry);
      }
    }
  }
  return true;
}

std::size_t RegistryFile::EndOfValues(const Range& section) const {
  std::size_t end = section.body;
  for (std::size_t at = section.body; at < section.end;) {
    const auto value = ReadValue(LineAt(at));
    const Line line = value ? value->line : LineAt(at);
    if (!IsBlank(std::string_view(m_text).substr(line.begin, line.end - line.begin))) {
      end = line.end;
    }
    at = line.end;
  }
  return std::min(end, section.end);
}

void RegistryFile::InsertLine(std::size_t at, const CString& line) {
  // behind a last line without an end the new one has none either, so that taking it away gives the old text
  const bool isOpen = at > 0 && m_text[at - 1] != '\n';
  m_text.insert(at, isOpen ? "\n" + line : line + "\n");
  m_isIndexed = false;
}

void RegistryFile::EraseLine(const Line& line) {
  const bool isOpen = line.end > 0 && m_text[line.end - 1] != '\n';
  const std::size_t begin = isOpen && line.begin > 0 ? line.begin - 1 : line.begin;
  m_text.erase(begin, line.end - begin);
  m_isIndexed = false;
}

bool RegistryFile::SetValue(const CString& key, const CString& name, const CString& data, std::int64_t now) {
  const std::u16string keyUnits = ToUtf16(key, m_codePage);
  const std::u16string nameUnits = ToUtf16(name, m_codePage);
  const std::u16string dataUnits = ToUtf16(data, m_codePage);
  const bool isExpressible = KeyForm(key).size() > 0 && FromUtf16(keyUnits, m_codePage) == key &&
                             FromUtf16(nameUnits, m_codePage) == name && FromUtf16(dataUnits, m_codePage) == data &&
                             data.find('\0') == CString::npos;
  if (!isExpressible) {
    return false;
  }
  const CString label = name.empty() ? "@" : "\"" + EscapeRegistryText(nameUnits, "\"") + "\"";
  const CString line = label + "=\"" + EscapeRegistryText(dataUnits, "\"") + "\"";
  if (const auto old = FindValue(key, name)) {
    const Line at = old->line;
    const bool isOpen = m_text[at.end - 1] != '\n';
    m_text.replace(at.begin, at.end - at.begin, isOpen ? line : line + "\n");
    m_isIndexed = false;
    return true;
  }
  const auto it = m_sections.find(KeyForm(key));
  if (it != m_sections.end() && !it->second.empty()) {
    InsertLine(EndOfValues(it->second.back()), line);
    return true;
  }
  if (m_text.empty()) {
    m_text = NewFile(m_root);
  }
  char stamp[64];
  std::snprintf(stamp, sizeof stamp, "] %lld\n#time=%llx\n", static_cast<long long>(now),
                (static_cast<unsigned long long>(now) + 11644473600ULL) * 10000000ULL);
  std::u16string path;
  for (const char16_t unit : keyUnits) {
    if (unit != u'\\' || (!path.empty() && path.back() != u'\\')) {
      path += unit;
    }
  }
  if (path.back() == u'\\') {
    path.pop_back();
  }
  m_text += "\n[" + EscapeRegistryText(path, "[]") + stamp + CString(kMadeHere) + line + "\n";
  m_isIndexed = false;
  return true;
}

bool RegistryFile::DeleteValue(const CString& key, const CString& name) {
  Index();
  const auto it = m_sections.find(KeyForm(key));
  const CString wanted = Folded(ToUtf16(name, m_codePage));
  std::vector<Line> lines;
  for (const Range& section : it == m_sections.end() ? std::vector<Range>() : it->second) {
    for (std::size_t at = section.body; at < section.end;) {
      const auto value = ReadValue(LineAt(at));
      at = value ? value->line.end : LineAt(at).end;
      if (value && Folded(value->name) == wanted) {
        lines.push_back(value->line);
      }
    }
  }
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    EraseLine(*line);
  }
  if (!lines.empty()) {
    DropIfMadeHere(key);
  }
  return !lines.empty();
}

void RegistryFile::DropIfMadeHere(const CString& key) {
  Index();
  const auto it = m_sections.find(KeyForm(key));
  if (it == m_sections.end() || it->second.size() != 1) {
    return;
  }
  const Range section = it->second.front();
  const std::string_view body = std::string_view(m_text).substr(section.body, section.end - section.body);
  if (body.find(kMadeHere) == std::string_view::npos) {
    return;
  }
  for (std::size_t at = section.body; at < section.end; at = LineAt(at).end) {
    const Line line = LineAt(at);
    const std::string_view written = std::string_view(m_text).substr(line.begin, line.end - line.begin);
    if (!IsBlank(written) && !written.starts_with("#time=") && written != kMadeHere) {
      return; // somebody has put something in it since
    }
  }
  const std::size_t end = EndOfValues(section); // the blank line behind it came with the next key
  std::size_t begin = section.begin;
  const bool hasBlankBefore = begin > 1 && m_text[begin - 1] == '\n' && m_text[begin - 2] == '\n';
  if (hasBlankBefore || (begin > 0 && end == m_text.size())) {
    --begin;
  }
  m_text.erase(begin, end - begin);
  m_isIndexed = false;
}

bool RegistryFile::IsAsNew() const { return m_text == NewFile(m_root); }

} // namespace kest
