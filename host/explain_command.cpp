#include "host/commands.h"

#include "description/extension.h"
#include "host/extension_file.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "manager/validation.h"
#include "products/product.h"

#include <fmt/format.h>

namespace kest::host {
namespace {

Json CandidateJson(Session& session, const Explanation::Candidate& candidate) {
  CKestVersionNumber version;
  candidate.product->GetVersion(version);
  Json json = Json::object();
  json["product"] = NameOf(*candidate.product);
  json["version"] = ToUtf8(version.ToText());
  json["fits"] = candidate.fits;
  json["rules"] = Json::array();
  for (const Explanation::Rule& rule : candidate.rules) {
    json["rules"].push_back({{"name", PlainText(rule.wantedName)},
                             {"version", PlainText(rule.wantedVersion)},
                             {"primary", rule.isPrimary},
                             {"required", rule.isRequired},
                             {"met", rule.isMet},
                             {"text", Shown(rule.words)}});
  }
  json["files"] = Json::array();
  for (const Explanation::Place& place : candidate.files) {
    json["files"].push_back({{"source", PlainText(place.source)},
                             {"destination", PathJson(&session.GetMachine(), place.destination)},
                             {"why", place.why.empty() ? Json(nullptr) : Json(Shown(place.why))}});
  }
  return json;
}

std::string CandidateText(const Explanation::Candidate& candidate) {
  std::string text = fmt::format("{}: {}\n", NameOf(*candidate.product), candidate.fits ? "fits" : "does not fit");
  for (const Explanation::Rule& rule : candidate.rules) {
    text += fmt::format("  {:<4} {}{}\n", rule.isMet ? "yes" : "no", Shown(rule.words),
                        rule.isPrimary    ? " (primary)"
                        : rule.isRequired ? " (required)"
                                          : "");
  }
  for (const Explanation::Place& place : candidate.files) {
    text += fmt::format("  {} -> {}\n", ShownText(place.source),
                        place.destination.empty() ? "nowhere: " + Shown(place.why) : Shown(place.destination));
  }
  return text;
}

} // namespace

int RunExplain(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  const std::string& word = session.options.arguments.front();
  const std::string name = ForTerminal(word);
  session.document["file"] = name;
  const ExtensionFile file = ReadExtensionFile(session, word);
  if (!file.exists || !file.record || file.code != 0) {
    return session.Fail(file.exists ? kBadInput : kNotFoundHere,
                        {name + " was not looked at",
                         !file.exists  ? "there is no such file"
                         : file.record ? Shown(DescribeLoadCode(file.code))
                                       : file.problem,
                         "nothing",
                         {},
                         file.exists ? "see: kest validate " + name : "name a package (.kep) or a description (.kei)",
                         0});
  }
  const Explanation explanation = session.GetManager().Explain(*file.record);
  std::string text;
  for (const Explanation::Candidate& candidate : explanation.candidates) {
    session.document["products"].push_back(CandidateJson(session, candidate));
    text += CandidateText(candidate);
  }
  std::string why;
  for (const CString& obstacle : explanation.obstacles) {
    session.document["obstacles"].push_back(Shown(obstacle));
    why += (why.empty() ? "" : "; ") + Shown(obstacle);
  }
  session.document["nearest"] = explanation.nearest.empty() ? Json(nullptr) : Json(Shown(explanation.nearest));
  if (!session.options.json) {
    session.terminal.Data(text);
  }
  if (!explanation.Fits()) {
    return session.Fail(kNoProductSupports,
                        {fmt::format("no product here takes {}", Quote(*file.record)),
                         why.empty() ? "none of its product lines is met" : why,
                         "nothing",
                         {},
                         explanation.nearest.empty() ? "see the products: kest products" : Shown(explanation.nearest),
                         0});
  }
  return kDone;
}

} // namespace kest::host
