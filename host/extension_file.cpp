#include "host/extension_file.h"

#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/xml/xml_parser.h"

#include <filesystem>

namespace kest::host {
namespace {

constexpr std::uint64_t kMostDescriptionBytes = 16u << 20;

void ReadPackage(ExtensionFile& file) {
  CKestPackage package(file.path.c_str());
  file.code = package.GetEntries(file.entries);
  if (file.code != 0) {
    file.problem = Shown(package.GetProblem());
    return;
  }
  for (const PackageEntry& entry : file.entries) {
    if (text::EqualNoCase(CKestPath(entry.name).GetExtension(), "kei")) {
      file.descriptionName = entry.name;
      file.code = package.UnPackToMemory(entry.name, kMostDescriptionBytes, file.text);
      file.problem = Shown(package.GetProblem());
      return;
    }
  }
  file.code = CKestPackage::kNotAPackage;
  file.problem = "it holds no description";
}

} // namespace

int FailNoFile(Session& session, const std::string& hostFile, const std::string& failed, const std::string& wanted) {
  using Type = std::filesystem::file_type;
  std::error_code error;
  const Type type = std::filesystem::status(hostFile, error).type();
  ExitCode exit = kNotFoundHere;
  std::string why = "it is no plain file";
  if (type == Type::not_found) {
    why = "there is no such file";
  } else if (error) {
    why = "it cannot be looked at: " + error.message();
    exit = error == std::errc::permission_denied ? kInUseOrLocked : kFailed;
  } else if (type == Type::directory) {
    why = "it is a folder";
  } else if (type == Type::regular) {
    why = "it is there, and could not be looked at";
    exit = kFailed;
  }
  return session.Fail(exit, {failed, why, "nothing", {}, exit == kFailed ? "try again" : wanted, 0});
}

ExtensionFile ReadExtensionFile(Session& session, const std::string& hostFile, DescriptionObserver* observer) {
  ExtensionFile file;
  file.path = session.ReachFile(hostFile, false);
  file.isPackage = text::EqualNoCase(CKestPath(file.path).GetExtension(), "kep");
  file.exists = !file.path.empty() && CKestOS::FileExists(file.path);
  if (!file.exists) {
    return file;
  }
  if (file.isPackage) {
    ReadPackage(file);
  } else if (!CKestFile::ReadAll(file.path, file.text, kMostDescriptionBytes)) {
    file.code = CKestXMLParser::kUnreadable;
    file.problem = "it cannot be read, or is longer than 16 MiB";
  }
  if (file.code == 0) {
    file.record = std::make_unique<CKestExtension>();
    file.code = file.record->LoadText(file.text, &file.messages, observer);
    file.record->SetPath(file.isPackage ? file.descriptionName : file.path);
  }
  return file;
}

} // namespace kest::host
