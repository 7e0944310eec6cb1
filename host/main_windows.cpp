#include "host/program.h"
#include "platform/windows/windows_text.h"

#include <shellapi.h>

#include <vector>

/// What `main` is given comes in the system's code page, which has not all names.
int main() {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> words;
  for (int i = 0; i < count; ++i) {
    words.push_back(kest::Utf8OfWide(wide[i]));
  }
  LocalFree(wide);
  std::vector<const char*> arguments;
  for (const std::string& word : words) {
    arguments.push_back(word.c_str());
  }
  return kest::host::RunProgram(static_cast<int>(arguments.size()), arguments.data());
}
