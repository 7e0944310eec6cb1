#include "platform/machine/file.h"

#include "platform/machine/os.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

// "*" stands for any run of bytes, "?" for one character.
bool Matches(std::string_view name, std::string_view pattern) {
  std::size_t n = 0;
  std::size_t p = 0;
  std::size_t starAt = std::string_view::npos;
  std::size_t resumeAt = 0;
  const auto step = [&](std::size_t at) -> std::size_t {
    return text::IsLeadByte(name[at]) && at + 1 < name.size() ? 2 : 1;
  };
  while (n < name.size()) {
    const std::size_t length = step(n);
    if (p < pattern.size() && pattern[p] == '*') {
      starAt = p++;
      resumeAt = n;
    } else if (p < pattern.size() && pattern[p] == '?') {
      ++p;
      n += length;
    } else if (p < pattern.size() && text::EqualNoCase(pattern.substr(p, length), name.substr(n, length))) {
      p += length;
      n += length;
    } else if (starAt != std::string_view::npos) {
      p = starAt + 1;
      resumeAt += step(resumeAt);
      n = resumeAt;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool IsEverything(std::string_view pattern) { return pattern == "*.*" || pattern == "*"; }

} // namespace

CKestFile::~CKestFile() = default;

bool CKestFile::OpenForRead(const CString& path) {
  m_pending.clear();
  m_failed = false;
  m_file = CKestOS::GetMachine().Open(path, OpenMode::kRead);
  return m_file != nullptr;
}

bool CKestFile::OpenForWrite(const CString& path) {
  m_pending.clear();
  m_failed = false;
  m_file = CKestOS::GetMachine().Open(path, OpenMode::kReplace);
  return m_file != nullptr;
}

int CKestFile::Read(char* buffer, int count) {
  if (m_file == nullptr || count <= 0) {
    return 0;
  }
  const std::int64_t got = m_file->Read(buffer, static_cast<std::size_t>(count));
  m_failed |= got < 0;
  return got < 0 ? 0 : static_cast<int>(got);
}

int CKestFile::Write(const char* bytes, int count) {
  if (m_file == nullptr || m_failed || count < 0) {
    return 0;
  }
  m_pending.append(bytes, static_cast<std::size_t>(count));
  if (m_pending.size() >= kBufferSize) {
    m_failed = !m_file->Write(m_pending.data(), m_pending.size());
    m_pending.clear();
  }
  return m_failed ? 0 : count;
}

bool CKestFile::WriteLine(std::string_view text) {
  return Write(text.data(), static_cast<int>(text.size())) == static_cast<int>(text.size()) && !m_failed &&
         m_file != nullptr;
}

bool CKestFile::Close() {
  if (m_file == nullptr) {
    return false;
  }
  const std::unique_ptr<MachineFile> file = std::move(m_file);
  const bool written = !m_failed && (m_pending.empty() || file->Write(m_pending.data(), m_pending.size()));
  m_pending.clear();
  // a file whose writing failed is dropped unclosed, so that the old one stays
  return written && file->Close();
}

bool CKestFile::ReadAll(const CString& path, CString& content, std::uint64_t limit) {
  const auto file = CKestOS::GetMachine().Open(path, OpenMode::kRead);
  std::uint64_t size = 0;
  if (file == nullptr || !file->GetSize(size) || size > limit) {
    return false;
  }
  CString result(size + 1, '\0'); // one more, so that a single call shows the end as well
  std::uint64_t filled = 0;
  for (;;) {
    const std::int64_t got = file->Read(result.data() + filled, result.size() - filled);
    if (got < 0) {
      return false;
    }
    filled += static_cast<std::uint64_t>(got);
    if (filled < result.size()) {
      if (got == 0 || filled == size) {
        break;
      }
      continue;
    }
    if (filled > limit) {
      return false;
    }
    result.resize(std::min(limit, result.size() * 2) + 1); // it grew under our hands
  }
  result.resize(filled);
  content = std::move(result);
  return file->Close();
}

bool CKestFile::WriteAll(const CString& path, std::string_view content) {
  const auto file = CKestOS::GetMachine().Open(path, OpenMode::kReplace);
  return file != nullptr && file->Write(content.data(), content.size()) && file->Close();
}

bool CKestFileFinder::FindFirst(const CString& pattern) {
  m_entries.clear();
  m_at = 0;
  CString folder;
  CString name;
  CKestPath(pattern).Split(folder, name);
  if (folder.empty()) {
    return false;
  }
  Machine& machine = CKestOS::GetMachine();
  if (name.find_first_of("*?") == CString::npos && IsYes(machine.FileExists(pattern))) {
    // one plain file: no need to read its whole folder
    m_entries.push_back({CKestPath(machine.GetStoredPath(pattern)).GetFileName(), false, false});
    return true;
  }
  std::vector<FolderEntry> entries;
  if (name.empty() || !IsYes(machine.ListFolder(folder, entries))) {
    return false;
  }
  if (!IsEverything(name)) {
    std::erase_if(entries, [&](const FolderEntry& entry) { return !Matches(entry.name, name); });
  }
  m_entries = std::move(entries);
  return !m_entries.empty();
}

bool CKestFileFinder::FindNext() {
  if (m_at + 1 >= m_entries.size()) {
    return false;
  }
  ++m_at;
  return true;
}

void CKestFileFinder::GetFileName(CString& out) const { out = GetFileName(); }

const CString& CKestFileFinder::GetFileName() const {
  static const CString kNone;
  return m_at < m_entries.size() ? m_entries[m_at].name : kNone;
}

bool CKestFileFinder::IsFolder() const {
  return m_at < m_entries.size() && m_entries[m_at].isFolder && !m_entries[m_at].isLink;
}

} // namespace kest
