#include "journal/step_record.h"

#include "platform/text/sealed_line.h"

namespace kest {

CString StepRecord::Get(std::string_view name) const {
  for (const auto& [field, value] : m_fields) {
    if (field == name) {
      return value;
    }
  }
  return {};
}

std::vector<CString> StepRecord::GetAll(std::string_view name) const {
  std::vector<CString> values;
  for (const auto& [field, value] : m_fields) {
    if (field == name) {
      values.push_back(value);
    }
  }
  return values;
}

CString StepRecord::ToText() const {
  CString text = m_kind;
  for (const auto& [field, value] : m_fields) {
    text += '\t';
    text += field;
    text += '=';
    text += sealed_line::Escape(value);
  }
  return text;
}

bool StepRecord::FromText(std::string_view text, StepRecord& record) {
  record = StepRecord();
  const std::vector<std::string_view> parts = sealed_line::SplitFields(text);
  if (parts.front().empty() || parts.front().find('=') != std::string_view::npos) {
    return false;
  }
  record.m_kind = CString(parts.front());
  for (std::size_t i = 1; i < parts.size(); ++i) {
    const std::size_t sign = parts[i].find('=');
    CString value;
    if (sign == std::string_view::npos || sign == 0 || !sealed_line::Unescape(parts[i].substr(sign + 1), value)) {
      return false;
    }
    record.m_fields.emplace_back(CString(parts[i].substr(0, sign)), std::move(value));
  }
  return true;
}

} // namespace kest
