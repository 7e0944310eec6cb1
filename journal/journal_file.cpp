#include "journal/journal_file.h"

#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::string_view kMagic = "kest-journal";
constexpr std::string_view kVersion = "1";

using Fields = std::vector<std::string_view>;

// The header is on the disk before the first step is done. So a file that holds nothing, or nothing but what a first
// write cut short can leave, is of an operation that never did anything.
bool IsTornHeader(std::string_view text) {
  const std::size_t written = text.find_first_not_of('\0');
  if (written == std::string_view::npos) {
    return true;
  }
  return kMagic.starts_with(text.substr(0, kMagic.size()));
}

// Whether the disk lacks the beginning of what was written, while it may have what followed.
bool LacksBeginning(std::string_view text) {
  constexpr std::size_t kSector = 512;
  return text.substr(0, kSector).find_first_not_of('\0') == std::string_view::npos;
}

// Reads the lines one after the other into a content.
class Reader {
public:
  void Line(std::string_view line) {
    std::string_view body;
    if (!sealed_line::Unseal(line, body)) {
      m_damagedSinceStep = true;
      return;
    }
    const Fields fields = sealed_line::SplitFields(body);
    m_anySealed = true;
    if (!m_headerSeen) {
      m_onlyFirstWrite = m_onlyFirstWrite && IsOfFirstWrite(fields);
      Header(fields);
    } else if (!Entry(fields, body)) {
      m_content.damaged = true; // sealed, yet nothing that we write: not a torn write
    }
  }

  JournalContent Finish(bool headerCouldBeTorn, bool lacksBeginning) {
    if (!m_headerSeen) {
      m_content = JournalContent();
      const bool unbegun = (headerCouldBeTorn && !m_anySealed) || (lacksBeginning && m_onlyFirstWrite);
      m_content.status = unbegun ? JournalContent::Status::kEmpty : JournalContent::Status::kForeign;
      return std::move(m_content);
    }
    // A number that is missing stood in a line that cannot be read. Of the last write it was never begun.
    long expected = 0;
    for (const auto& [number, record] : m_content.steps) {
      if (number != expected && expected < m_lastFirst) {
        m_content.damaged = true;
      }
      expected = number + 1;
    }
    return std::move(m_content);
  }

private:
  void Header(const Fields& fields) {
    long long seconds = 0;
    const bool ours = fields.size() == 5 && fields[0] == kMagic && fields[1] == kVersion &&
                      sealed_line::ParseNumber(fields[2], m_content.number) && ParseSeconds(fields[3], seconds) &&
                      sealed_line::Unescape(fields[4], m_content.operation);
    if (!ours) {
      return;
    }
    m_content.seconds = seconds;
    m_content.status = JournalContent::Status::kGood;
    m_headerSeen = true;
    m_damagedSinceStep = false;
  }

  static bool IsOfFirstWrite(const Fields& fields) {
    return fields[0] == "F" || (fields[0] == "S" && fields.size() > 2 && fields[2] == "0");
  }

  static bool ParseSeconds(std::string_view text, long long& seconds) {
    constexpr std::size_t kMostDigits = 15;
    if (text.empty() || text.size() > kMostDigits) {
      return false;
    }
    seconds = 0;
    for (const char c : text) {
      if (c < '0' || c > '9') {
        return false;
      }
      seconds = seconds * 10 + (c - '0');
    }
    return true;
  }

  bool Entry(const Fields& fields, std::string_view body) {
    const std::string_view mark = fields[0];
    if (mark == "S") {
      return Step(fields, body);
    }
    if (mark == "U" && fields.size() == 2) {
      long number = 0;
      return sealed_line::ParseNumber(fields[1], number) && (m_content.closed.insert(number), true);
    }
    if (mark == "R" && fields.size() == 3) {
      return Released(fields);
    }
    if (mark == "F" && fields.size() == 2) {
      CString folder;
      const bool good = sealed_line::Unescape(fields[1], folder);
      m_content.folders.push_back(std::move(folder));
      return good;
    }
    if (fields.size() != 1) {
      return false;
    }
    if (mark == "D") {
      LaterWrite();
      m_content.done = true;
      return true;
    }
    if (mark == "B" || mark == "X") {
      m_content.done = false;
      m_content.rolledBack = mark == "X";
      return true;
    }
    return false;
  }

  bool Step(const Fields& fields, std::string_view body) {
    long number = 0;
    long first = 0;
    if (fields.size() < 4 || !sealed_line::ParseNumber(fields[1], number) ||
        !sealed_line::ParseNumber(fields[2], first) || first > number) {
      return false;
    }
    if (first == number) {
      LaterWrite();
    }
    m_lastFirst = std::max(m_lastFirst, first);
    const std::size_t at = static_cast<std::size_t>(fields[3].data() - body.data());
    return m_content.steps.emplace(number, CString(body.substr(at))).second;
  }

  bool Released(const Fields& fields) {
    long first = 0;
    long last = 0;
    if (!sealed_line::ParseNumber(fields[1], first) || !sealed_line::ParseNumber(fields[2], last) || first > last) {
      return false;
    }
    LaterWrite();
    for (auto it = m_content.steps.lower_bound(first); it != m_content.steps.end() && it->first <= last; ++it) {
      m_content.closed.insert(it->first);
    }
    return true;
  }

  // A write that was waited for follows, so what stands before it was complete once.
  void LaterWrite() {
    if (m_damagedSinceStep) {
      m_content.damaged = true;
    }
    m_damagedSinceStep = false;
  }

  JournalContent m_content;
  bool m_headerSeen = false;
  bool m_anySealed = false;
  bool m_onlyFirstWrite = true;
  bool m_damagedSinceStep = false;
  long m_lastFirst = 0;
};

} // namespace

bool JournalFile::Create(const CString& path, const CString& operation) {
  static long s_operations = 0;
  Machine& machine = CKestOS::GetMachine();
  m_file = machine.Open(path, OpenMode::kCreateNew);
  if (m_file == nullptr) {
    return false;
  }
  m_path = path;
  m_pending.clear();
  m_size = 0;
  m_nextNumber = 0;
  m_broken = false;
  m_torn = false;
  m_folderSynced = false;
  const std::int64_t now = std::max<std::int64_t>(machine.Now().GetSeconds(), 0);
  Add(CString(kMagic) + '\t' + CString(kVersion) + '\t' + std::to_string(++s_operations) + '\t' + std::to_string(now) +
      '\t' + sealed_line::Escape(operation));
  return Write();
}

bool JournalFile::OpenToAppend(const CString& path, bool endsInLine) {
  m_file = CKestOS::GetMachine().Open(path, OpenMode::kAppend);
  m_path = path;
  m_pending.clear();
  m_torn = !endsInLine;
  m_folderSynced = true;
  return m_file != nullptr;
}

void JournalFile::Close() {
  if (m_file != nullptr) {
    static_cast<void>(m_file->Close()); // what had to be on the disk was synced
    m_file.reset();
  }
}

void JournalFile::Add(std::string_view body) { m_pending += sealed_line::Seal(body); }

long JournalFile::AddStep(const StepRecord& record, long first) {
  const long number = m_nextNumber++;
  Add("S\t" + std::to_string(number) + '\t' + std::to_string(first) + '\t' + record.ToText());
  return number;
}

bool JournalFile::Write() {
  if (m_file == nullptr) {
    return false;
  }
  if (m_pending.empty()) {
    return true;
  }
  if (m_torn) {
    m_pending.insert(0, 1, '\n');
  }
  const bool written = m_file->Write(m_pending.data(), m_pending.size());
  m_torn = !written;
  m_broken = m_broken || !written;
  m_size += written ? m_pending.size() : 0;
  m_pending.clear();
  return written;
}

bool JournalFile::WriteAndSync(std::vector<CString> alsoSync) {
  if (!Write()) {
    return false;
  }
  if (!m_file->Sync()) {
    m_broken = true;
    return false;
  }
  if (!m_folderSynced) {
    for (std::size_t at = text::FindLastBackslash(m_path), ups = 0; at != std::string_view::npos && ups < 3; ++ups) {
      alsoSync.push_back(m_path.substr(0, at));
      at = text::FindLastBackslash(std::string_view(m_path).substr(0, at));
    }
  }
  if (!alsoSync.empty() && !CKestOS::GetMachine().SyncPaths(alsoSync)) {
    m_broken = true;
    return false;
  }
  m_folderSynced = true;
  return true;
}

bool JournalFile::OverwriteAndSync(std::uint64_t offset, std::string_view body) {
  const CString line = sealed_line::Seal(body);
  return m_file != nullptr && m_file->WriteAt(offset, line.data(), line.size()) && m_file->Sync();
}

JournalContent ParseJournal(std::string_view text) {
  Reader reader;
  const bool couldBeTorn = IsTornHeader(text);
  const bool lacksBeginning = LacksBeginning(text);
  bool endsInLine = true;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
      endsInLine = false;
      break;
    }
    if (end > 0) {
      reader.Line(text.substr(0, end));
    }
    text.remove_prefix(end + 1);
  }
  JournalContent content = reader.Finish(couldBeTorn, lacksBeginning);
  content.endsInLine = endsInLine;
  return content;
}

JournalContent ReadJournal(const CString& path) {
  CString text;
  if (!CKestFile::ReadAll(path, text)) {
    JournalContent content;
    content.status = JournalContent::Status::kUnreadable;
    return content;
  }
  return ParseJournal(text);
}

} // namespace kest
