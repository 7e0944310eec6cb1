#include "reliability/pc_under_test.h"

#include "host/sample/sample_machine.h"
#include "support/process.h"
#include "support/temp_machine.h"

#include <ctime>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kest::test {

namespace fs = std::filesystem;

namespace {

const std::time_t kBegan = std::time(nullptr);

// The name of a file that waits for the next log-on is made of a random one.
std::string withoutRandomPart(const std::string& text) {
  static const std::regex pending("rpl[0-9A-Za-z_-]*\\.tmp", std::regex::icase);
  return text.find("rpl") == std::string::npos ? text : std::regex_replace(text, pending, "rpl.tmp");
}

bool isKeptOnPurpose(const std::string& path) {
  const bool isBackup = path.size() > 4 && path.ends_with("bk") && path[path.size() - 4] == '.';
  return isBackup || IsOfThePast(path);
}

// Key and line -> "": a value that came and went leaves the file as it was, but for the times in it.
void readRegistry(const fs::path& file, std::map<std::string, std::string>& registry) {
  std::ifstream in(file, std::ios::binary);
  std::string key = file.filename().string();
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("[")) {
      key = file.filename().string() + line.substr(0, line.rfind(']') + 1);
      registry[key];
    } else if (!line.empty() && !line.starts_with("#time")) {
      registry[key + " " + withoutRandomPart(line)];
    }
  }
}

void check(bool done, const std::string& what) {
  if (!done) {
    throw std::runtime_error("a test cannot " + what);
  }
}

// With dates, marks and links.
void copyTree(const fs::path& from, const fs::path& to) {
  fs::remove_all(to);
  const ProcessResult copied = RunProcess({"/bin/cp", "-a", from, to});
  check(copied.exit == 0, "copy " + from.string() + ": " + copied.err);
}

fs::path makeScratch() {
  const bool isGiven = getenv("TMPDIR") != nullptr || access("/dev/shm", W_OK) != 0;
  std::string name = ((isGiven ? fs::temp_directory_path() : fs::path("/dev/shm")) / "kest-crash-XXXXXX").string();
  check(mkdtemp(name.data()) != nullptr, "make its scratch folder");
  return name;
}

} // namespace

std::string PcState::difference(const PcState& later) const {
  std::string told = DescribeDifference({files}, {later.files});
  for (const auto& [line, none] : registry) {
    told += later.registry.contains(line) ? "" : "gone from the registry: " + line + "\n";
  }
  for (const auto& [line, none] : later.registry) {
    told += registry.contains(line) ? "" : "new in the registry: " + line + "\n";
  }
  return told;
}

std::string PcState::differenceOutsidePrivate(const PcState& later) const {
  PcState kept = later;
  std::erase_if(kept.files, [](const auto& entry) { return entry.first.find("/kest-") != std::string::npos; });
  return difference(kept);
}

PcUnderTest::PcUnderTest() : m_scratch(makeScratch()) {
  setenv("XDG_DATA_HOME", (m_scratch / "data").c_str(), 1); // that of the programs that are run on it, too
}

PcUnderTest::~PcUnderTest() {
  std::error_code error;
  fs::remove_all(m_scratch, error);
}

void PcUnderTest::makeSample() const {
  fs::remove_all(root());
  host::SampleMachine sample;
  sample.folder = root().string();
  sample.products = {"Tidemark Nova", "Tidemark 4"};
  std::string why;
  check(host::MakeSampleMachine(sample, why), "make a sample machine: " + why);
  MachineFolder(root().string()).NoteOwn({});
}

void PcUnderTest::age() const {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root())) {
    struct stat info {};
    if (lstat(entry.path().c_str(), &info) == 0 && S_ISREG(info.st_mode) && info.st_mtime >= kBegan) {
      const timespec earlier = {kBegan - 86400 - info.st_size % 3600, 0};
      const timespec times[2] = {earlier, earlier};
      (void)utimensat(AT_FDCWD, entry.path().c_str(), times, 0); // some files may not even be dated
    }
  }
}

void PcUnderTest::save(const std::string& name) const { copyTree(root(), m_scratch / name); }

void PcUnderTest::restore(const std::string& name) const {
  copyTree(m_scratch / name, root());
  MachineFolder(root().string()).NoteOwn({}); // a copy is another machine
}

PcState PcUnderTest::state() const {
  PcState state;
  for (auto& [path, entry] : TakeSnapshot(root()).entries) {
    if (isKeptOnPurpose(path)) {
      continue;
    }
    if (path.ends_with(".reg")) {
      readRegistry(root() / path, state.registry);
      continue;
    }
    if (entry.date >= kBegan) {
      entry.date = PcState::kJustNow;
    }
    // there may be several that wait, told apart by what they hold
    const std::string told = withoutRandomPart(path);
    state.files.emplace(told == path ? path : told + " " + std::to_string(entry.hash), entry);
  }
  return state;
}

} // namespace kest::test
