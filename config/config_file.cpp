#include "config/config_file.h"

#include "platform/machine/file.h"

namespace kest {

int CKestTextConfigFile::Load(const char* path, CKestTypedList<CKestString>* /*errors*/) {
  Purge();
  if (!path || !CKestFile::ReadAll(path, m_content)) {
    Purge();
    return -1;
  }
  m_path = path;
  return 0;
}

int CKestTextConfigFile::Save(const char* path) { return path && CKestFile::WriteAll(path, m_content) ? 0 : -1; }

void CKestTextConfigFile::Purge() {
  m_content.clear();
  m_path.clear();
}

} // namespace kest
