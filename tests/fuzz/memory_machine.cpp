#include "fuzz/memory_machine.h"

#include "platform/no_machine.h"
#include "platform/windows_path.h"

#include <algorithm>
#include <cstring>

namespace kest::fuzz {

/// An open file: reads the machine's content, or collects what takes its place.
class MemoryFile : public MachineFile {
public:
  MemoryFile(MemoryMachine& machine, CString path, OpenMode mode, MemoryMachine::File file)
      : m_machine(machine), m_path(std::move(path)), m_mode(mode), m_file(std::move(file)) {}

  std::int64_t Read(char* buffer, std::size_t count) override {
    const std::int64_t read = ReadAt(m_at, buffer, count);
    m_at += static_cast<std::uint64_t>(read);
    return read;
  }
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override {
    if (offset >= m_file.content.size()) {
      return 0;
    }
    const std::size_t read = std::min<std::size_t>(count, m_file.content.size() - static_cast<std::size_t>(offset));
    std::memcpy(buffer, m_file.content.data() + offset, read);
    return static_cast<std::int64_t>(read);
  }
  bool Write(const char* bytes, std::size_t count) override {
    if (m_mode == OpenMode::kRead) {
      return false;
    }
    m_file.content.append(bytes, count);
    return m_mode != OpenMode::kAppend || m_machine.PutAt(m_path, m_file, true);
  }
  bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) override {
    if (m_mode == OpenMode::kRead || offset + count > m_file.content.size()) {
      return false;
    }
    m_file.content.replace(static_cast<std::size_t>(offset), count, bytes, count);
    return true;
  }
  bool GetSize(std::uint64_t& size) override {
    size = m_file.content.size();
    return true;
  }
  bool SetDate(const CKestDateTime& date) override {
    m_file.date = date;
    return true;
  }
  bool Sync() override { return true; }
  bool Close() override { return m_mode == OpenMode::kRead || m_machine.PutAt(m_path, m_file, true); }

private:
  MemoryMachine& m_machine;
  CString m_path;
  OpenMode m_mode;
  MemoryMachine::File m_file;
  std::uint64_t m_at = 0;
};

namespace {

CString ParentOf(const CString& key) {
  const std::size_t at = key.rfind('\\');
  return at == CString::npos ? CString() : key.substr(0, at);
}

CString LeafOf(const CString& key) { return key.substr(key.rfind('\\') + 1); }

} // namespace

MemoryMachine::MemoryMachine() : ForwardingMachine(GetNoMachine()) {
  m_folders.insert("c:");
  m_folders.insert("d:");
  static_cast<void>(CreateDirectory(kTempRoot));
  m_changed.clear();
}

std::optional<CString> MemoryMachine::KeyOf(const CString& path) {
  WindowsPath parsed;
  CString reason;
  if (!ParseWindowsPath(path, 1252, parsed, reason)) {
    return std::nullopt;
  }
  CString key = {text::ToLower(parsed.drive), ':'};
  for (const std::string_view part : parsed.parts) {
    key += '\\';
    key += text::Lower(part);
  }
  return key;
}

std::optional<CString> MemoryMachine::Change(const CString& path) {
  std::optional<CString> key = KeyOf(path);
  if (key) {
    m_changed.insert(*key);
  }
  return key;
}

bool MemoryMachine::Fail(MachineError::Kind kind) {
  m_error = {kind, {}, "no"};
  return false;
}

bool MemoryMachine::HasParent(const CString& key) const { return m_folders.contains(ParentOf(key)); }

bool MemoryMachine::Put(const CString& path, CString content) {
  const std::optional<CString> key = KeyOf(path);
  const bool placed = key && !m_folders.contains(*key) && (HasParent(*key) || CreateDirectory(ParentOf(*key)));
  if (placed) {
    m_files[*key].content = std::move(content);
  }
  m_changed.clear();
  return placed;
}

const CString* MemoryMachine::Find(const CString& path) const {
  const std::optional<CString> key = KeyOf(path);
  const auto found = key ? m_files.find(*key) : m_files.end();
  return found == m_files.end() ? nullptr : &found->second.content;
}

CString MemoryMachine::Describe() const {
  CString all;
  for (const CString& folder : m_folders) {
    all += folder + "\\\n";
  }
  for (const auto& [key, file] : m_files) {
    all += key + (file.readOnly ? " (read-only)" : "") + " = " + file.content + '\n';
  }
  return all;
}

std::size_t MemoryMachine::GetBytes() const {
  std::size_t bytes = 0;
  for (const auto& [key, file] : m_files) {
    bytes += file.content.size();
  }
  return bytes;
}

// ---- files

bool MemoryMachine::FileExists(const CString& path) { return Find(path) != nullptr; }

bool MemoryMachine::GetFileSize(const CString& path, std::uint64_t& size) {
  const CString* content = Find(path);
  size = content != nullptr ? content->size() : 0;
  return content != nullptr || Fail(MachineError::Kind::kNotFound);
}

std::unique_ptr<MachineFile> MemoryMachine::Open(const CString& path, OpenMode mode) {
  const std::optional<CString> key = mode == OpenMode::kRead ? KeyOf(path) : Change(path);
  if (!key || m_folders.contains(*key)) {
    Fail(MachineError::Kind::kRefused);
    return nullptr;
  }
  const auto found = m_files.find(*key);
  const bool exists = found != m_files.end();
  const bool fits = mode == OpenMode::kRead ? exists : HasParent(*key) && !(mode == OpenMode::kCreateNew && exists);
  if (!fits) {
    Fail(exists ? MachineError::Kind::kExists : MachineError::Kind::kNotFound);
    return nullptr;
  }
  File file;
  if (exists && (mode == OpenMode::kRead || mode == OpenMode::kAppend)) {
    file = found->second;
  }
  if (mode == OpenMode::kCreateNew || mode == OpenMode::kAppend) {
    m_files[*key] = file;
  }
  return std::make_unique<MemoryFile>(*this, path, mode, std::move(file));
}

bool MemoryMachine::PutAt(const CString& path, File file, bool mayReplace) {
  const std::optional<CString> key = Change(path);
  if (!key || !HasParent(*key) || m_folders.contains(*key)) {
    return Fail(MachineError::Kind::kRefused);
  }
  if (!mayReplace && m_files.contains(*key)) {
    return Fail(MachineError::Kind::kExists);
  }
  m_files[*key] = std::move(file);
  return true;
}

bool MemoryMachine::CopyFile(const CString& from, const CString& to) {
  const std::optional<CString> source = KeyOf(from);
  const auto found = source ? m_files.find(*source) : m_files.end();
  if (found == m_files.end() || source == KeyOf(to)) {
    return Fail(MachineError::Kind::kNotFound);
  }
  return PutAt(to, found->second, true);
}

bool MemoryMachine::DeleteFile(const CString& path) {
  const std::optional<CString> key = Change(path);
  const auto found = key ? m_files.find(*key) : m_files.end();
  if (found == m_files.end() || found->second.readOnly) {
    return Fail(found == m_files.end() ? MachineError::Kind::kNotFound : MachineError::Kind::kAccess);
  }
  m_files.erase(found);
  return true;
}

bool MemoryMachine::MoveFile(const CString& from, const CString& to) {
  const std::optional<CString> source = Change(from);
  const auto found = source ? m_files.find(*source) : m_files.end();
  if (found == m_files.end()) {
    return Fail(MachineError::Kind::kNotFound);
  }
  if (!PutAt(to, found->second, false)) {
    return false;
  }
  m_files.erase(*source);
  return true;
}

bool MemoryMachine::ReplaceFile(const CString& from, const CString& to) {
  const std::optional<CString> source = Change(from);
  const auto found = source ? m_files.find(*source) : m_files.end();
  if (found == m_files.end() || !SameVolume(from, to)) {
    return Fail(MachineError::Kind::kNotFound);
  }
  if (source == KeyOf(to)) {
    return true;
  }
  if (!PutAt(to, found->second, true)) {
    return false;
  }
  m_files.erase(*source);
  return true;
}

bool MemoryMachine::LinkFile(const CString& existing, const CString& to) {
  const std::optional<CString> source = KeyOf(existing);
  const auto found = source ? m_files.find(*source) : m_files.end();
  return found == m_files.end() ? Fail(MachineError::Kind::kNotFound) : PutAt(to, found->second, false);
}

bool MemoryMachine::MoveFileToTrash(const CString& path) { return DeleteFile(path); }
bool MemoryMachine::MoveFolderToTrash(const CString& path, const CString& /*label*/) { return RemoveTree(path); }

bool MemoryMachine::IsFileReadOnly(const CString& path) {
  const std::optional<CString> key = KeyOf(path);
  const auto found = key ? m_files.find(*key) : m_files.end();
  return found != m_files.end() && found->second.readOnly;
}

bool MemoryMachine::SetFileReadOnly(const CString& path, bool readOnly) {
  const std::optional<CString> key = Change(path);
  const auto found = key ? m_files.find(*key) : m_files.end();
  if (found == m_files.end()) {
    return Fail(MachineError::Kind::kNotFound);
  }
  found->second.readOnly = readOnly;
  return true;
}

bool MemoryMachine::CanUpdateFile(const CString& path) { return KeyOf(path).has_value(); }

bool MemoryMachine::GetFileDateTime(const CString& path, CKestDateTime& date) {
  const std::optional<CString> key = KeyOf(path);
  const auto found = key ? m_files.find(*key) : m_files.end();
  if (found == m_files.end()) {
    return Fail(MachineError::Kind::kNotFound);
  }
  date = found->second.date;
  return true;
}

bool MemoryMachine::SetFileDateTime(const CString& path, const CKestDateTime& date) {
  const std::optional<CString> key = Change(path);
  const auto found = key ? m_files.find(*key) : m_files.end();
  if (found == m_files.end()) {
    return Fail(MachineError::Kind::kNotFound);
  }
  found->second.date = date;
  return true;
}

CString MemoryMachine::GetStoredPath(const CString& path) { return path; }

// ---- folders

bool MemoryMachine::DirectoryExists(const CString& path) {
  const std::optional<CString> key = KeyOf(path);
  return key && m_folders.contains(*key);
}

bool MemoryMachine::CreateDirectory(const CString& path) {
  const std::optional<CString> key = Change(path);
  if (!key) {
    return Fail(MachineError::Kind::kRefused);
  }
  for (std::size_t at = key->find('\\');; at = key->find('\\', at + 1)) {
    const CString folder = key->substr(0, at);
    if (m_files.contains(folder) || (at == CString::npos && ParentOf(folder).empty() && !m_folders.contains(folder))) {
      return Fail(MachineError::Kind::kExists);
    }
    m_folders.insert(folder);
    if (at == CString::npos) {
      return true;
    }
  }
}

bool MemoryMachine::CreatePrivateDirectory(const CString& path) {
  const std::optional<CString> key = KeyOf(path);
  if (!key || m_folders.contains(*key)) {
    return Fail(MachineError::Kind::kExists);
  }
  return CreateDirectory(path);
}

bool MemoryMachine::RemoveDirectory(const CString& path) {
  const std::optional<CString> key = Change(path);
  std::vector<FolderEntry> entries;
  if (!key || !ListFolder(path, entries)) {
    return Fail(MachineError::Kind::kNotFound);
  }
  if (!entries.empty() || key->size() == 2) {
    return Fail(MachineError::Kind::kNotEmpty);
  }
  m_folders.erase(*key);
  return true;
}

bool MemoryMachine::MoveEmptyFolder(const CString& from, const CString& to) {
  const std::optional<CString> key = Change(to);
  if (!key || !HasParent(*key) || m_folders.contains(*key) || m_files.contains(*key)) {
    return Fail(MachineError::Kind::kExists);
  }
  if (!RemoveDirectory(from)) {
    return false;
  }
  m_folders.insert(*key);
  return true;
}

bool MemoryMachine::MoveFolder(const CString& from, const CString& to) {
  const std::optional<CString> source = Change(from);
  const std::optional<CString> target = Change(to);
  if (!source || !target || !m_folders.contains(*source)) {
    return Fail(MachineError::Kind::kNotFound);
  }
  const CString inside = *source + '\\';
  if (!HasParent(*target) || m_folders.contains(*target) || m_files.contains(*target) || target->starts_with(inside)) {
    return Fail(MachineError::Kind::kExists);
  }
  decltype(m_files) files;
  std::swap(files, m_files);
  for (auto& [path, content] : files) {
    m_files.emplace(path.starts_with(inside) ? *target + path.substr(source->size()) : path, std::move(content));
  }
  decltype(m_folders) folders;
  std::swap(folders, m_folders);
  for (const CString& path : folders) {
    m_folders.insert(path == *source || path.starts_with(inside) ? *target + path.substr(source->size()) : path);
  }
  return true;
}

bool MemoryMachine::RemoveTree(const CString& path) {
  const std::optional<CString> key = Change(path);
  if (!key || !m_folders.contains(*key)) {
    return Fail(MachineError::Kind::kNotFound);
  }
  const CString inside = *key + '\\';
  std::erase_if(m_files, [&](const auto& entry) { return entry.first.starts_with(inside); });
  std::erase_if(m_folders, [&](const CString& folder) { return folder == *key || folder.starts_with(inside); });
  return true;
}

bool MemoryMachine::ListFolder(const CString& path, std::vector<FolderEntry>& entries) {
  entries.clear();
  const std::optional<CString> key = KeyOf(path);
  if (!key || !m_folders.contains(*key)) {
    return Fail(MachineError::Kind::kNotFound);
  }
  for (const CString& folder : m_folders) {
    if (ParentOf(folder) == *key) {
      entries.push_back({LeafOf(folder), true, false});
    }
  }
  for (const auto& [name, file] : m_files) {
    if (ParentOf(name) == *key) {
      entries.push_back({LeafOf(name), false, false});
    }
  }
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return text::CompareNoCase(a.name, b.name) < 0; });
  return true;
}

// ---- the rest

bool MemoryMachine::SameVolume(const CString& a, const CString& b) {
  return !a.empty() && !b.empty() && text::ToLower(a[0]) == text::ToLower(b[0]);
}

bool MemoryMachine::SyncPaths(const std::vector<CString>& /*paths*/) { return true; }

WriterLock MemoryMachine::LockWriter(std::int64_t /*milliseconds*/) { return {true, {}}; }

bool MemoryMachine::GetTempRoot(CString& path) {
  path = kTempRoot;
  return true;
}

} // namespace kest::fuzz
