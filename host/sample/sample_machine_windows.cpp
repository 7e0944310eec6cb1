#include "host/sample/sample_machine.h"

namespace kest::host {

std::vector<std::string> GetSampleProducts() { return {}; }

bool MakeSampleMachine(const SampleMachine& machine, std::string& why) {
  static_cast<void>(machine);
  why = "this program works on the PC that it runs on; machine folders are for other systems";
  return false;
}

} // namespace kest::host
