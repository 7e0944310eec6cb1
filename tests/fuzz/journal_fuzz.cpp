// The journal file, and the recovery on a machine. Input: lines. "+path=content" puts a file on the machine; "!text"
// stands in the journal as it is; any other line is sealed first. "^" means the process's private folder. Operations
// reach C:\x and D:\x, and nothing that a line says of any other place is done.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_machine.h"

#include "journal/journal.h"
#include "journal/journal_file.h"
#include "journal/step_record.h"
#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"

#include <algorithm>
#include <iterator>

using namespace kest;

namespace {

constexpr const char* kProcessFolder = "C:\\windows\\temp\\kest-1-a";
constexpr const char* kPrivateFolder = "C:\\windows\\temp\\kest-1-a\\kest-1-a\\";
constexpr const char* kSafeFiles[] = {"C:\\safe\\keep.txt", "C:\\windows\\temp\\keep.txt", "D:\\keep.txt"};

RecoveryReport Recover() {
  return RecoverInterruptedOperations({.findReach = [] {
    Reach reach;
    reach.Add("C:\\x");
    reach.Add("D:\\x");
    reach.SetComplete();
    return reach;
  }});
}

struct Scene {
  fuzz::ScratchMachine machine;
  CString journal;
};

bool Build(fuzz::Input& input, std::size_t lines, Scene& scene) {
  scene.machine.Get().NoteOwn({}); // else nothing in it is followed
  if (!scene.machine.Get().CreatePrivateDirectory(kProcessFolder)) {
    return false;
  }
  for (std::size_t i = 0; i < lines; ++i) {
    CString line = input.TakeLine();
    text::ReplaceAll(line, "^", kPrivateFolder);
    if (line.starts_with('+')) {
      const std::size_t sign = line.find('=');
      static_cast<void>(scene.machine.Put(line.substr(1, sign == CString::npos ? sign : sign - 1),
                                          sign == CString::npos ? CString() : line.substr(sign + 1)));
    } else if (line.starts_with('!')) {
      scene.journal += line.substr(1) + '\n';
    } else {
      scene.journal += sealed_line::Seal(line);
    }
  }
  // a file that the input put where these want a folder leaves no scene
  const auto putSafe = [&scene](const char* file) { return scene.machine.Put(file, "safe"); };
  return std::all_of(std::begin(kSafeFiles), std::end(kSafeFiles), putSafe) &&
         scene.machine.Put(CString(kPrivateFolder) + "journal-1.txt", scene.journal);
}

void JudgeContent(const CString& text, const JournalContent& content) {
  for (const auto& [number, line] : content.steps) {
    StepRecord record;
    if (StepRecord::FromText(line, record)) {
      StepRecord again;
      fuzz::Require(StepRecord::FromText(record.ToText(), again), "a step that was read can be written and read");
      fuzz::RequireEqual(again.ToText(), record.ToText(), "a step written and read says the same");
    }
  }
  fuzz::Require(content.status == JournalContent::Status::kGood || content.steps.empty(), "only a journal has steps");
  // a file that was cut short is a journal, or of an operation that never began
  const bool beginsWell =
      ParseJournal(std::string_view(text).substr(0, text.find('\n') + 1)).status == JournalContent::Status::kGood;
  if (beginsWell) {
    for (const std::size_t cut : {text.size() / 3, text.size() / 2, text.size() - 1}) {
      const JournalContent torn = ParseJournal(std::string_view(text).substr(0, cut));
      fuzz::Require(torn.status == JournalContent::Status::kGood || torn.status == JournalContent::Status::kEmpty,
                    "a torn journal is no foreign file");
      fuzz::Require(torn.steps.size() <= content.steps.size(), "a torn journal has no more steps");
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const CString raw(reinterpret_cast<const char*>(data), size);
  CString back;
  fuzz::Require(sealed_line::Unescape(sealed_line::Escape(raw), back) && back == raw, "any text can be a field");
  JudgeContent(raw, ParseJournal(raw));

  Scene scene;
  fuzz::Input input(data, size);
  const auto lines = static_cast<std::size_t>(std::count(raw.begin(), raw.end(), '\n')) + 1;
  if (!Build(input, lines, scene)) {
    return 0;
  }
  const JournalContent content = ParseJournal(scene.journal);
  JudgeContent(scene.journal, content);

  const RecoveryReport report = Recover();
  bool whole = true;
  for (const RecoveryReport::Entry& entry : report.entries) {
    whole = whole && entry.leftovers.empty();
    fuzz::Require(!entry.finished || entry.restored.empty(), "nothing is undone of an operation that was done");
  }
  for (const char* file : kSafeFiles) {
    fuzz::Require(scene.machine.Find(file) == "safe", "a file that no operation reaches stays as it is");
  }
  if (content.status == JournalContent::Status::kForeign) {
    fuzz::Require(!whole, "a foreign file is reported");
  }
  fuzz::Require(IsYes(scene.machine.Get().DirectoryExists(kProcessFolder)) || whole, "what undo needs is kept");
  const CString after = scene.machine.Describe();
  const RecoveryReport second = Recover();
  if (whole && !IsYes(scene.machine.Get().DirectoryExists(kProcessFolder))) {
    fuzz::Require(second.entries.empty(), "what was recovered is not recovered again");
    fuzz::RequireEqual(scene.machine.Describe(), after, "a second recovery changes nothing");
  }
  return 0;
}
