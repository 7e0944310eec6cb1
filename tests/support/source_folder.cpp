#include "support/source_folder.h"

namespace kest::test {

const std::string& SourceFolder() {
  static const std::string folder = KEST_SOURCE_DIR;
  return folder;
}

} // namespace kest::test
