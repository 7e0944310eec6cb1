#include "host/commands.h"

#include "host/extension_file.h"
#include "host/operation.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "manager/validation.h"
#include "platform/machine/os.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace kest::host {
namespace {

using Severity = ValidationFinding::Severity;

CString EntryName(const CString& source) {
  CString name = source;
  CKestPath::LocalizePathSeparators(name);
  while (!name.empty() && name.front() == '\\') {
    name.erase(0, 1);
  }
  return text::Lower(name);
}

// Whether the file that an entry names lies in the package, or beside the description.
std::function<bool(const CString&)> FileFinder(const ExtensionFile& file) {
  if (!file.isPackage) {
    return [folder = CKestPath(file.path).GetFolder()](const CString& source) {
      CKestPath path(folder);
      path.Append(source);
      return CKestOS::FileExists(path);
    };
  }
  std::set<CString> packed;
  for (const PackageEntry& entry : file.entries) {
    packed.insert(EntryName(entry.name));
  }
  // Sources are named from where the description lies.
  return [packed = std::move(packed), base = EntryName(CKestPath(file.descriptionName).GetFolder())](
             const CString& source) { return packed.contains(base + EntryName(source)); };
}

Json CheckJson(const std::string& name, const Json& code, const std::vector<ValidationFinding>& findings, bool ok) {
  Json json = MakeDocument("check", ok);
  json["file"] = ForTerminal(name);
  json["code"] = code;
  json["problems"] = Json::array();
  for (const ValidationFinding& finding : findings) {
    json["problems"].push_back({{"severity", finding.severity == Severity::kError ? "error" : "warning"},
                                {"line", finding.line ? Json(finding.line) : Json(nullptr)},
                                {"rule", finding.rule},
                                {"text", Shown(finding.text)}});
  }
  return json;
}

void Print(Session& session, const std::string& name, const std::vector<ValidationFinding>& findings) {
  for (const ValidationFinding& finding : findings) {
    const std::string place = finding.line ? fmt::format("{}:{}", name, finding.line) : name;
    const bool isError = finding.severity == Severity::kError;
    session.terminal.Data(fmt::format(
        "{}: {}: {} [{}]\n", place,
        session.terminal.PaintData(isError ? Style::kError : Style::kWarning, isError ? "error" : "warning"),
        Shown(finding.text), finding.rule));
  }
}

// The findings of one file, and the code of its load.
std::vector<ValidationFinding> Check(Session& session, ExtensionFile& file, const CKestProduct* product, int& code) {
  code = file.code;
  if (!file.record) {
    const std::string what = file.isPackage ? "the package cannot be used: " : "";
    return {{Severity::kError, 0, "unusable", what + file.problem}};
  }
  file.record.reset(); // it is read again, with an ear for what is passed over
  CKestExtension record;
  const CString name = CKestPath(file.isPackage ? file.descriptionName : file.path).GetFileName();
  const CKestExtensionManager* manager = product == nullptr ? nullptr : &session.GetManager();
  std::vector<ValidationFinding> findings =
      ValidateDescription({file.text, FileFinder(file), product, manager, name}, record, code);
  if (file.isPackage) {
    // what an install would unpack and refuse
    CKestPackage package(file.path.c_str());
    if (const int checked = package.Check(); checked != CKestPackage::kGood) {
      code = checked;
      findings.push_back({Severity::kError, 0, "unusable", "the package cannot be used: " + package.GetProblem()});
    }
  }
  return findings;
}

std::string Count(std::ptrdiff_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

int ValidateOne(Session& session, const std::string& word, const CKestProduct* product) {
  ExtensionFile file = ReadExtensionFile(session, word);
  const std::string name = ForTerminal(word);
  session.document["file"] = name;
  if (!file.exists) {
    return FailNoFile(session, word, name + " was not checked", "name a package (.kep) or a description (.kei)");
  }
  int code = 0;
  std::vector<ValidationFinding> findings = Check(session, file, product, code);
  if (session.options.strict) {
    for (ValidationFinding& finding : findings) {
      finding.severity = Severity::kError;
    }
  }
  const auto errors =
      std::count_if(findings.begin(), findings.end(), [](const auto& one) { return one.severity == Severity::kError; });
  session.document = CheckJson(word, code, findings, errors == 0);
  if (!session.options.json) {
    Print(session, name, findings);
  }
  const auto warnings = static_cast<std::ptrdiff_t>(findings.size()) - errors;
  session.terminal.Notice(findings.empty()
                              ? name + " is in order."
                              : fmt::format("{}: {}, {}.", name, Count(errors, "error"), Count(warnings, "warning")));
  return errors == 0 ? kDone : kProblemsFound;
}

} // namespace

int RunValidate(Session& session) {
  int exit = kDone;
  const CKestProduct* product = nullptr;
  if (session.options.product.empty()) {
    if (!session.OpenMachineForFiles(exit)) {
      return exit;
    }
  } else if (!session.OpenEngine(exit, false) || !(product = session.FindProduct(session.options.product, exit))) {
    return exit;
  }
  bool found = false;
  const int code = RunEach(session, session.options.arguments, [&](const std::string& word) {
    const int one = ValidateOne(session, word, product);
    found |= one == kProblemsFound;
    return one;
  });
  return code == kSomeFailed && found ? kProblemsFound : code;
}

} // namespace kest::host
