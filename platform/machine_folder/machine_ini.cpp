#include "platform/machine_folder/machine_ini.h"

namespace kest {
namespace {

bool IsEntry(std::string_view line) {
  const std::string_view trimmed = text::Trimmed(line);
  return !trimmed.empty() && trimmed[0] != ';' && trimmed[0] != '#' && trimmed[0] != '[';
}

/// The name of the section that a line opens; nothing for any other line.
std::optional<std::string_view> SectionName(std::string_view line) {
  const std::string_view trimmed = text::Trimmed(line);
  if (trimmed.size() < 2 || trimmed.front() != '[' || trimmed.back() != ']') {
    return std::nullopt;
  }
  return text::Trimmed(trimmed.substr(1, trimmed.size() - 2));
}

MachineIni::Entry Split(std::string_view line) {
  const std::size_t equals = line.find('=');
  const CString whole(text::Trimmed(line));
  if (equals == std::string_view::npos) {
    return {whole, {}, whole};
  }
  return {CString(text::Trimmed(line.substr(0, equals))), CString(text::Trimmed(line.substr(equals + 1))), whole};
}

CString Join(const MachineIni::Entry& entry) {
  return entry.value.empty() ? entry.key : entry.key + " = " + entry.value;
}

} // namespace

const CString& MachineIni::GetTemplate() {
  static const CString kTemplate =
      "; What no file of this PC shows. Edit it as you like; lines beginning with \";\" are remarks.\n"
      "\n"
      "[machine]\n"
      "; current-user  one of the names below\n"
      "; multi-user    yes or no: whether each user has a configuration of their own\n"
      "; code-page     of file names and texts: 1252, 932 (Shift-JIS), 65001 (UTF-8)\n"
      "; os-version    2, 3: the older systems; 4, 5: those of the NT line\n"
      "; host-program  Windows path of the program that runs the engine\n"
      "\n"
      "[users]\n"
      "; name = type   type 2: the user whose configuration is the shared one\n"
      "\n"
      "[processes]\n"
      "; Windows paths of the programs that count as running, one a line\n";
  return kTemplate;
}

void MachineIni::SetText(std::string_view text) {
  m_lines.clear();
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    m_lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

CString MachineIni::GetText() const {
  CString text;
  for (const CString& line : m_lines) {
    text += line;
    text += '\n';
  }
  return text;
}

std::vector<MachineIni::Range> MachineIni::FindSections(std::string_view section) const {
  std::vector<Range> ranges;
  bool inside = false;
  for (std::size_t i = 0; i < m_lines.size(); ++i) {
    if (const auto name = SectionName(m_lines[i])) {
      inside = text::EqualNoCase(*name, section);
      if (inside) {
        ranges.push_back({i + 1, i + 1});
      }
    } else if (inside) {
      ranges.back().end = i + 1;
    }
  }
  return ranges;
}

std::vector<MachineIni::Entry> MachineIni::GetEntries(std::string_view section) const {
  std::vector<Entry> entries;
  for (const Range& range : FindSections(section)) {
    for (std::size_t i = range.begin; i < range.end; ++i) {
      if (IsEntry(m_lines[i])) {
        entries.push_back(Split(m_lines[i]));
      }
    }
  }
  return entries;
}

std::optional<CString> MachineIni::GetValue(std::string_view section, std::string_view key) const {
  std::optional<CString> value;
  for (Entry& entry : GetEntries(section)) {
    if (text::EqualNoCase(entry.key, key)) {
      value = std::move(entry.value);
    }
  }
  return value;
}

std::size_t MachineIni::PlaceFor(std::string_view section) {
  std::vector<Range> ranges = FindSections(section);
  if (ranges.empty()) {
    m_lines.push_back("[" + CString(section) + "]");
    return m_lines.size();
  }
  std::size_t place = ranges.back().end;
  while (place > ranges.back().begin && text::Trimmed(m_lines[place - 1]).empty()) {
    --place; // in front of the blank lines that part two sections
  }
  return place;
}

void MachineIni::SetValue(std::string_view section, std::string_view key, std::string_view value) {
  const Entry entry{CString(key), CString(value), {}};
  CString* last = nullptr;
  for (const Range& range : FindSections(section)) {
    for (std::size_t i = range.begin; i < range.end; ++i) {
      if (IsEntry(m_lines[i]) && text::EqualNoCase(Split(m_lines[i]).key, key)) {
        last = &m_lines[i];
      }
    }
  }
  if (last != nullptr) {
    *last = Join(entry);
  } else {
    const auto place = static_cast<std::ptrdiff_t>(PlaceFor(section));
    m_lines.insert(m_lines.begin() + place, Join(entry));
  }
}

void MachineIni::SetEntries(std::string_view section, const std::vector<Entry>& entries) {
  const std::vector<Range> ranges = FindSections(section);
  for (auto range = ranges.rbegin(); range != ranges.rend(); ++range) {
    for (std::size_t i = range->end; i > range->begin; --i) {
      if (IsEntry(m_lines[i - 1])) {
        m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(i - 1));
      }
    }
  }
  auto place = static_cast<std::ptrdiff_t>(PlaceFor(section));
  for (const Entry& entry : entries) {
    m_lines.insert(m_lines.begin() + place++, Join(entry));
  }
}

} // namespace kest
