#include "description/description_index.h"

#include "platform/machine/file.h"
#include "platform/text/path.h"
#include "platform/text/sealed_line.h"

#include <charconv>

namespace kest {
namespace {

constexpr std::string_view kHeader = "kest-descriptions 2";
constexpr std::uint64_t kMostBytes = 64u << 20;

enum Field : std::size_t {
  kName,
  kStampId,
  kSize,
  kWritten,
  kChanged,
  kId,
  kTitle,
  kVersion,
  kType,
  kTypeLabel,
  kAuthor,
  kRestart,
  kFiles,
  kFileKeys, ///< four digits each
  kFieldCount
};

template <class T> bool Parse(std::string_view text, T& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

constexpr std::size_t kKeyDigits = 4;

CString KeysText(const std::vector<std::uint16_t>& keys) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  CString text;
  for (const std::uint16_t key : keys) {
    for (int shift = 12; shift >= 0; shift -= 4) {
      text += kDigits[key >> shift & 15];
    }
  }
  return text;
}

bool ParseKeys(std::string_view text, std::vector<std::uint16_t>& keys) {
  keys.reserve(text.size() / kKeyDigits);
  for (; text.size() >= kKeyDigits; text.remove_prefix(kKeyDigits)) {
    std::uint16_t key = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + kKeyDigits, key, 16);
    if (error != std::errc() || end != text.data() + kKeyDigits) {
      return false;
    }
    keys.push_back(key);
  }
  return text.empty();
}

CString LineOf(const CString& name, const CKestExtension& record) {
  const FileStamp& stamp = *record.GetStamp();
  CString line = sealed_line::Escape(name);
  const auto add = [&line](std::string_view text) {
    line += '\t';
    line += text;
  };
  add(std::to_string(stamp.id));
  add(std::to_string(stamp.size));
  add(std::to_string(stamp.written));
  add(std::to_string(stamp.changed));
  add(sealed_line::Escape(record.GetID()));
  add(sealed_line::Escape(record.GetName()));
  add(record.GetVersion().ToText());
  add(std::to_string(record.GetType()));
  add(sealed_line::Escape(record.GetTypeLabel()));
  add(sealed_line::Escape(record.GetAuthorName()));
  add(record.RequiresRestart() ? "1" : "0");
  add(std::to_string(record.GetFileCount()));
  add(KeysText(record.GetFileKeys()));
  return sealed_line::Seal(line);
}

/// Calls `visit` with each line that is whole.
template <class Visit> void ForEachLine(std::string_view content, const Visit& visit) {
  while (!content.empty()) {
    const std::size_t end = std::min(content.find('\n'), content.size());
    std::string_view body;
    if (sealed_line::Unseal(content.substr(0, end), body)) {
      visit(body);
    }
    content.remove_prefix(std::min(end + 1, content.size()));
  }
}

} // namespace

DescriptionIndex::DescriptionIndex(const CString& folder) {
  if (!CKestFile::ReadAll(folder + kFileName, m_content, kMostBytes)) {
    return;
  }
  bool isOurs = false;
  ForEachLine(m_content, [&](std::string_view body) {
    CString name;
    if (!isOurs) {
      isOurs = body == kHeader;
    } else if (sealed_line::Unescape(body.substr(0, body.find('\t')), name)) {
      m_lines[text::Lower(name)] = body;
    }
  });
}

bool DescriptionIndex::Fill(const CString& name, const FileStamp& stamp, CKestExtension& record) const {
  const auto found = m_lines.find(text::Lower(name));
  if (found == m_lines.end()) {
    return false;
  }
  const std::vector<std::string_view> fields = sealed_line::SplitFields(found->second);
  FileStamp known;
  int type = 0;
  int files = 0;
  std::vector<std::uint16_t> keys;
  if (fields.size() != kFieldCount || !Parse(fields[kStampId], known.id) || !Parse(fields[kSize], known.size) ||
      !Parse(fields[kWritten], known.written) || !Parse(fields[kChanged], known.changed) || known != stamp ||
      !Parse(fields[kType], type) || !Parse(fields[kFiles], files) || !ParseKeys(fields[kFileKeys], keys)) {
    return false;
  }
  CString id;
  CString title;
  CString label;
  CString author;
  if (!sealed_line::Unescape(fields[kId], id) || !sealed_line::Unescape(fields[kTitle], title) ||
      !sealed_line::Unescape(fields[kTypeLabel], label) || !sealed_line::Unescape(fields[kAuthor], author)) {
    return false;
  }
  record.SetID(id);
  record.SetName(title);
  record.SetVersion(fields[kVersion]);
  record.SetType(type);
  record.SetTypeLabel(label);
  record.SetAuthorName(author);
  record.SetRequiresRestart(fields[kRestart] == "1");
  record.ReadRestLater(files);
  record.SetFileKeys(std::move(keys));
  record.SetStamp(stamp, true);
  return true;
}

void DescriptionIndex::Refresh(const std::vector<CKestExtension*>& records) {
  struct Folder {
    std::vector<CKestExtension*> records;
    std::size_t missing = 0; ///< in its index
  };
  std::unordered_map<CString, Folder> folders;
  for (CKestExtension* record : records) {
    if (record->GetStamp()) {
      Folder& folder = folders[CKestPath(record->GetPath()).GetFolder()];
      folder.records.push_back(record);
      folder.missing += record->IsIndexed() ? 0 : 1;
    }
  }
  for (const auto& [path, folder] : folders) {
    if (folder.missing < kWorthwhile) {
      continue;
    }
    CString content = sealed_line::Seal(kHeader);
    for (const CKestExtension* record : folder.records) {
      content += LineOf(CKestPath(record->GetPath()).GetFileName(), *record);
    }
    if (CKestFile::WriteAll(WithBackslash(path) + kFileName, content)) {
      for (CKestExtension* record : folder.records) {
        record->SetStamp(*record->GetStamp(), true);
      }
    }
  }
}

} // namespace kest
