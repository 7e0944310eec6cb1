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

std::string WhyNoFile(const std::string& hostFile) {
  std::error_code error;
  const auto status = std::filesystem::status(hostFile, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    return "there is no such file";
  }
  if (error) {
    return "it cannot be looked at: " + error.message();
  }
  return status.type() == std::filesystem::file_type::directory ? "it is a folder" : "it is no plain file";
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
