#include "journal/waiting_file.h"

#include "platform/machine/os.h"

namespace kest {
namespace {

// PROGRAM "destination" "pending". False for any other command line.
bool Read(const RegistryValue& value, WaitingFile& file) {
  std::vector<CString> quoted;
  std::size_t end = value.data.find('"');
  if (!text::ContainsNoCase(value.data.substr(0, end), "replace.exe")) {
    return false;
  }
  while (end != CString::npos) {
    const std::size_t close = value.data.find('"', end + 1);
    if (close == CString::npos) {
      return false;
    }
    quoted.push_back(value.data.substr(end + 1, close - end - 1));
    end = value.data.find('"', close + 1);
  }
  if (quoted.size() != 2) {
    return false;
  }
  file = {value.name, quoted[0], quoted[1]};
  return true;
}

} // namespace

Answer ListWaitingFiles(std::vector<WaitingFile>& files) {
  std::vector<RegistryValue> values;
  const Answer answer = CKestOS::GetMachine().EnumRegistryValues(RegistryRoot::kCurrentUser, kRunOnceKey, values);
  for (const RegistryValue& value : values) {
    WaitingFile file;
    if (Read(value, file)) {
      files.push_back(std::move(file));
    }
  }
  return answer;
}

Answer FindWaitingFile(const CString& destination, WaitingFile& file) {
  std::vector<WaitingFile> files;
  if (ListWaitingFiles(files) == Answer::kCannotTell) {
    return Answer::kCannotTell;
  }
  Answer found = Answer::kNo;
  for (WaitingFile& one : files) {
    if (text::EqualNoCase(one.destination, destination)) {
      file = std::move(one);
      found = Answer::kYes;
    }
  }
  return found;
}

} // namespace kest
