#include "journal/journal.h"

#include "journal/journal_file.h"
#include "journal/operation.h"
#include "journal/private_folders.h"
#include "journal/undo_walk.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <algorithm>
#include <exception>
#include <unordered_map>
#include <unordered_set>

namespace kest {

namespace {

bool s_durable = true;

using OwnedStep = std::unique_ptr<CKestExtensionInstallStep>;

// Steps that were planned together. Those before `next` were run; those before `prepared` have their lines.
struct Pass {
  std::vector<OwnedStep> steps;
  std::vector<long> numbers;
  std::size_t next = 0;
  std::size_t prepared = 0;
};

constexpr long kNoLine = -1;

// One more, until the end of the block.
class Counted {
public:
  explicit Counted(int& count) : m_count(count) { ++m_count; }
  ~Counted() { --m_count; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

private:
  int& m_count;
};

} // namespace

struct CKestInstallJournal::State {
  struct Entry {
    bool ready = false; ///< prepared, and its line is on the disk
    long number = kNoLine;
  };

  explicit State(CKestInstallJournal& journal) : steps(journal) {}

  int Prepare(CKestExtensionInstallStep& step, Entry& entry);
  bool WriteLines(const std::vector<CKestExtensionInstallStep*>& prepared, const std::vector<Entry*>& entries);
  int PrepareSegment(Pass& pass);
  int DoLast();
  void Append(OwnedStep step, Entry entry);
  OwnedStep TakeLast(Entry& entry);
  bool UndoTo(std::size_t mark);
  void Abandon(std::size_t mark);
  void CleanUp(std::size_t mark, bool outermost);
  void ReleaseFrom(std::size_t mark);
  bool SyncTouched(std::size_t mark, const CString& record);
  void WriteRecord(std::size_t mark, CString& path);

  void NoteStrays(const std::vector<std::pair<Entry*, StepRecord>>& records) const;

  CKestInstallJournal& steps;
  const Reach* reach = nullptr;
  std::unordered_map<const CKestExtensionInstallStep*, Entry> entries;
  std::vector<Pass> passes;
  std::vector<Leftover> leftovers;
  int scopes = 0;
  int undoing = 0;
  bool isAbandoned = false; ///< what was done stays for the next start to undo
  Operation operation;
};

int CKestInstallJournal::State::Prepare(CKestExtensionInstallStep& step, Entry& entry) {
  if (entry.ready) {
    return 0;
  }
  if (scopes > 0 && !operation.MayChange()) {
    return -1;
  }
  if (step.Prepare() != 0) {
    return -1;
  }
  entry.ready = WriteLines({&step}, {&entry});
  return entry.ready ? 0 : -1;
}

// One write and one wait for all of them.
bool CKestInstallJournal::State::WriteLines(const std::vector<CKestExtensionInstallStep*>& prepared,
                                            const std::vector<Entry*>& lines) {
  if (!operation.IsRecorded()) {
    return true;
  }
  CKestTypedList<CKestString> needed;
  std::vector<std::pair<Entry*, StepRecord>> records;
  for (std::size_t i = 0; i < prepared.size(); ++i) {
    StepRecord record;
    if (prepared[i]->Describe(record)) {
      records.emplace_back(lines[i], std::move(record));
      prepared[i]->CollectNeeded(needed);
    }
  }
  if (records.empty()) {
    return true;
  }
  JournalFile* file = operation.GetFile();
  if (file == nullptr) {
    return false;
  }
  NoteStrays(records);
  const long first = file->GetNextNumber();
  for (auto& [entry, record] : records) {
    entry->number = file->AddStep(record, first);
  }
  return file->WriteAndSync({needed.begin(), needed.end()}) && !file->IsBroken();
}

// Without the note the next start would not believe the lines.
void CKestInstallJournal::State::NoteStrays(const std::vector<std::pair<Entry*, StepRecord>>& records) const {
  if (reach == nullptr) {
    return;
  }
  std::vector<CString> folders;
  for (const auto& [entry, record] : records) {
    for (const CString& path : RecordJudge({}).FindStrays(record, *reach)) {
      if (!private_folders::Holds(path)) {
        CString folder = WithoutBackslash(CKestPath(path).GetFolder());
        folders.push_back(text::FindBackslash(folder) == CString::npos ? path : folder); // never a drive as a whole
      }
    }
  }
  if (!folders.empty()) {
    CKestOS::GetMachine().NoteOwn(folders);
  }
}

// Prepares the planned steps from the next one on, as far as each is about a path of its own: a second step about one
// path can be prepared only when the first was done.
int CKestInstallJournal::State::PrepareSegment(Pass& pass) {
  if (scopes > 0 && !operation.MayChange()) {
    return -1;
  }
  std::unordered_set<CString> targets;
  std::vector<CKestExtensionInstallStep*> ready;
  std::vector<std::size_t> indices;
  for (std::size_t i = pass.next; i < pass.steps.size(); ++i) {
    const CString target = text::Lower(pass.steps[i]->GetTarget());
    if (!target.empty() && !targets.insert(target).second) {
      break;
    }
    pass.prepared = i + 1;
    if (pass.steps[i]->Prepare() == 0) {
      ready.push_back(pass.steps[i].get());
      indices.push_back(i);
    }
  }
  std::vector<Entry> written(ready.size());
  std::vector<Entry*> lines;
  lines.reserve(written.size());
  for (Entry& entry : written) {
    lines.push_back(&entry);
  }
  if (!WriteLines(ready, lines)) {
    return -1;
  }
  for (std::size_t i = 0; i < indices.size(); ++i) {
    entries[ready[i]] = {true, written[i].number};
  }
  return 0;
}

void CKestInstallJournal::State::Append(OwnedStep step, Entry entry) {
  entries[step.get()] = entry;
  steps.CKestTypedVector::Append(step.release());
}

OwnedStep CKestInstallJournal::State::TakeLast(Entry& entry) {
  OwnedStep step(steps.CKestTypedVector::TakeLast());
  const auto known = entries.find(step.get());
  entry = known == entries.end() ? Entry() : known->second;
  if (known != entries.end()) {
    entries.erase(known);
  }
  return step;
}

// The step is in the journal already; it may append others behind itself.
int CKestInstallJournal::State::DoLast() {
  if (steps.IsEmpty()) {
    return -1;
  }
  CKestExtensionInstallStep* step = steps[steps.GetCount() - 1];
  Entry entry = entries[step];
  const int ready = Prepare(*step, entry);
  entries[step] = entry;
  return ready == 0 ? step->Do() : -1;
}

bool CKestInstallJournal::State::UndoTo(std::size_t mark) {
  const std::size_t before = leftovers.size();
  const Counted counted(undoing);
  UndoWalk walk(operation.GetOpenFile());
  while (steps.GetCount() > mark) {
    Entry entry;
    OwnedStep step = TakeLast(entry);
    if (walk.Undo(step, entry.number)) {
      step->Release();
    }
  }
  walk.Finish(leftovers);
  return leftovers.size() == before;
}

// Without memory nothing more can be undone here. What undo needs lies in the private folder and stays there, with the
// journal that says so, for the next start; the scopes around this one leave it as it is. Allocates nothing.
void CKestInstallJournal::State::Abandon(std::size_t mark) {
  isAbandoned = true;
  CKestOS::KeepTempFolder();
  while (steps.GetCount() > mark) {
    Entry entry;
    TakeLast(entry).reset();
  }
  if (mark == 0) {
    entries.clear();
  }
}

// After the mark "done" the operation is done, whatever becomes of the clean-up: the next start completes it.
void CKestInstallJournal::State::CleanUp(std::size_t mark, bool outermost) {
  for (int tries = 2; tries > 0; --tries) {
    try {
      if (outermost) {
        operation.BeginCleanUp();
      }
      ReleaseFrom(mark);
      if (outermost) {
        operation.End(Operation::Outcome::kDone);
      }
      return;
    } catch (const std::exception&) {
      continue; // lack of memory may pass
    }
  }
  Abandon(mark);
  isAbandoned = false;
  if (outermost) {
    operation.Drop();
  }
}

void CKestInstallJournal::State::ReleaseFrom(std::size_t mark) {
  std::vector<OwnedStep> released;
  while (steps.GetCount() > mark) {
    Entry entry;
    released.push_back(TakeLast(entry));
  }
  for (auto step = released.rbegin(); step != released.rend(); ++step) {
    (*step)->Release();
  }
}

void CKestInstallJournal::State::WriteRecord(std::size_t mark, CString& path) {
  std::vector<StepEffect> effects;
  for (std::size_t i = mark; i < steps.GetCount(); ++i) {
    steps[i]->CollectEffects(effects);
  }
  operation.WriteRecord(effects, path);
}

bool CKestInstallJournal::State::SyncTouched(std::size_t mark, const CString& record) {
  CKestTypedList<CKestString> touched;
  for (std::size_t i = mark; i < steps.GetCount(); ++i) {
    steps[i]->CollectTouched(touched);
  }
  std::unordered_set<CString> seen;
  std::vector<CString> paths;
  for (CString& path : touched) {
    if (seen.insert(path).second) {
      paths.push_back(path);
    }
  }
  if (!record.empty()) {
    paths.push_back(record);
  }
  return paths.empty() || CKestOS::GetMachine().SyncPaths(paths);
}

CKestInstallJournal::CKestInstallJournal() : m_state(std::make_unique<State>(*this)) {}

CKestInstallJournal::~CKestInstallJournal() {
  try {
    m_state->UndoTo(0);
  } catch (const std::exception&) {
    m_state->Abandon(0);
  }
}

int CKestInstallJournal::Run(std::unique_ptr<CKestExtensionInstallStep> step) {
  if (step == nullptr) {
    return -1;
  }
  m_state->Append(std::move(step), {});
  return m_state->DoLast();
}

int CKestInstallJournal::Plan(std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps) {
  Pass pass;
  pass.steps = std::move(steps);
  std::erase(pass.steps, nullptr);
  m_state->passes.push_back(std::move(pass));
  return m_state->PrepareSegment(m_state->passes.back());
}

int CKestInstallJournal::RunNext() {
  if (m_state->passes.empty()) {
    return -1;
  }
  Pass& pass = m_state->passes.back();
  if (pass.next >= pass.steps.size() || (pass.next >= pass.prepared && m_state->PrepareSegment(pass) != 0)) {
    return -1;
  }
  OwnedStep step = std::move(pass.steps[pass.next++]);
  const State::Entry entry = m_state->entries[step.get()];
  m_state->Append(std::move(step), entry);
  return m_state->DoLast();
}

int CKestInstallJournal::RetryLast() { return m_state->DoLast(); }

void CKestInstallJournal::EndPass() {
  if (m_state->passes.empty()) {
    return;
  }
  const Pass pass = std::move(m_state->passes.back());
  m_state->passes.pop_back();
  JournalFile* file = m_state->operation.GetOpenFile();
  for (const OwnedStep& step : pass.steps) {
    const auto known = step == nullptr ? m_state->entries.end() : m_state->entries.find(step.get());
    if (known == m_state->entries.end()) {
      continue;
    }
    if (file != nullptr && known->second.number != kNoLine) {
      file->AddUndone(known->second.number);
    }
    m_state->entries.erase(known);
  }
  if (file != nullptr) {
    static_cast<void>(file->Write());
  }
}

const std::vector<CKestInstallJournal::Leftover>& CKestInstallJournal::GetLeftovers() const {
  return m_state->leftovers;
}

void CKestInstallJournal::SetReach(const Reach* reach) { m_state->reach = reach; }

void CKestInstallJournal::SetDurable(bool durable) { s_durable = durable; }

int AppendAndDo(CKestTypedVector<CKestExtensionInstallStep*>* steps, std::unique_ptr<CKestExtensionInstallStep> step) {
  if (steps == nullptr || step == nullptr) {
    return -1;
  }
  if (auto* journal = dynamic_cast<CKestInstallJournal*>(steps)) {
    return journal->Run(std::move(step));
  }
  CKestExtensionInstallStep* appended = step.release();
  steps->Append(appended); // owned by the vector's owner from now on
  return appended->Prepare() == 0 ? appended->Do() : -1;
}

JournalScope::JournalScope(CKestInstallJournal& journal, Kind kind, const CString& operation)
    : m_journal(journal), m_mark(journal.GetCount()), m_passMark(journal.m_state->passes.size()), m_firstNumber(0),
      m_kind(kind) {
  CKestInstallJournal::State& state = *journal.m_state;
  if (state.scopes++ == 0) {
    state.leftovers.clear();
    state.isAbandoned = false;
    state.operation.Begin(operation, s_durable);
  } else if (const JournalFile* file = state.operation.GetOpenFile()) {
    m_firstNumber = file->GetNextNumber();
  }
  if (state.undoing > 0) {
    m_kind = Kind::kFinal;
  }
}

JournalScope::~JournalScope() {
  if (m_open) {
    RollBack();
  }
}

bool JournalScope::HasSteps() const { return m_open && m_journal.GetCount() > m_mark; }

bool JournalScope::IsOutermost() const { return m_journal.m_state->scopes == 1; }

bool JournalScope::IsLast() const { return IsOutermost() || m_kind == Kind::kFinal; }

void JournalScope::CollectEffects(std::vector<StepEffect>& effects) const {
  for (std::size_t i = m_mark; i < m_journal.GetCount(); ++i) {
    m_journal[i]->CollectEffects(effects);
  }
}

void JournalScope::CollectRegistryValues(std::vector<CString>& values) const {
  for (std::size_t i = m_mark; i < m_journal.GetCount(); ++i) {
    m_journal[i]->CollectRegistryValues(values);
  }
}

void JournalScope::SetOperation(const CString& operation) {
  if (IsOutermost()) {
    m_journal.m_state->operation.SetName(operation);
  }
}

void JournalScope::SetNote(HistoryNote note) {
  if (IsOutermost()) {
    m_journal.m_state->operation.SetNote(std::move(note));
  }
}

bool JournalScope::IsRecordMissing() const { return m_journal.m_state->operation.IsRecordMissing(); }

void JournalScope::Close() {
  m_open = false;
  --m_journal.m_state->scopes;
}

bool JournalScope::Commit() {
  if (!m_open) {
    return false;
  }
  CKestInstallJournal::State& state = *m_journal.m_state;
  while (state.passes.size() > m_passMark) {
    m_journal.EndPass();
  }
  if (state.isAbandoned || (state.undoing == 0 && !state.leftovers.empty())) {
    return false; // an inner operation could not be undone: committing would throw away what its undo needs
  }
  const bool outermost = IsOutermost();
  if (!IsLast()) {
    Close();
    return true;
  }
  if (HasSteps()) {
    CString record;
    if (outermost) {
      state.WriteRecord(m_mark, record);
    }
    if (state.operation.IsRecorded() && !state.SyncTouched(m_mark, record)) {
      return false;
    }
    if (!(outermost ? state.operation.MarkDone() : state.operation.MarkReleased(m_firstNumber))) {
      return false;
    }
  }
  state.CleanUp(m_mark, outermost);
  Close();
  return true;
}

bool JournalScope::RollBack() {
  if (!m_open) {
    return true;
  }
  CKestInstallJournal::State& state = *m_journal.m_state;
  bool restored = false;
  try {
    restored = !state.isAbandoned && TakeBack();
  } catch (const std::exception&) {
    state.isAbandoned = true;
  }
  if (state.isAbandoned) {
    state.Abandon(m_mark);
    state.passes.resize(std::min(state.passes.size(), m_passMark));
    if (state.scopes == 1) {
      state.operation.Drop();
    }
  }
  Close();
  return restored;
}

bool JournalScope::TakeBack() {
  CKestInstallJournal::State& state = *m_journal.m_state;
  while (state.passes.size() > m_passMark) {
    m_journal.EndPass();
  }
  state.operation.MarkUndoing();
  const bool restored = state.UndoTo(m_mark);
  if (state.scopes == 1) {
    state.operation.End(state.leftovers.empty() ? Operation::Outcome::kUndone : Operation::Outcome::kLeftovers);
  }
  return restored;
}

} // namespace kest
