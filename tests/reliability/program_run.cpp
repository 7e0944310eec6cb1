#include "reliability/program_run.h"

#include <map>

namespace kest::test {

std::vector<std::string> WordsFor(const PcUnderTest& pc, const std::string& operation) {
  const std::string work = pc.root() / "drive_c/Work/";
  const std::map<std::string, std::vector<std::string>> words = {
      {"install", {"install", work + "Tool-1.0.kep"}},
      {"replace", {"install", work + "Tool-2.0.kep"}},
      {"install-disables", {"install", work + "Tool-1.0.kep", "--on-clash", "disable"}},
      {"uninstall", {"uninstall", "Tool"}},
      {"disable", {"disable", "Tool"}},
      {"enable", {"enable", "Tool"}},
      {"import", {"import", "--from", "Tidemark 4", "--to", "Tidemark Nova"}},
      {"repair", {"repair", "Tool", "--from", work + "Tool-1.0.kep", "--all"}},
      {"pack", {"pack", work + "Tool/tool.kei", "-o", work + "Tool.kep", "--force"}},
      {"undo", {"undo"}},
      {"logon", {"machine", "logon"}}};
  std::vector<std::string> all = words.at(operation.starts_with("undo-") ? "undo" : operation);
  all.insert(all.end(), {"-y", "--accept-agreement", "--on-existing", "overwrite"});
  return all;
}

void Prepare(const PcUnderTest& pc, const TriedOperation& operation) {
  pc.makeSample();
  {
    EngineRun engine(pc.root());
    engine.start();
    operation.prepare(engine);
  }
  pc.age();
  pc.save("prepared");
}

} // namespace kest::test
