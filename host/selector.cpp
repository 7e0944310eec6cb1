#include "host/selector.h"

#include "description/extension.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/text/path.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>

namespace kest::host {
namespace {

bool Same(const CString& a, const std::string& b) {
  return text::EqualNoCase(PlainText(a), b) || text::EqualNoCase(a, b);
}

bool FitsName(const CKestExtension& extension, const std::string& word) {
  if (Same(extension.GetName(), word)) {
    return true;
  }
  const std::size_t at = word.rfind('@');
  if (at != std::string::npos && Same(extension.GetName(), word.substr(0, at)) &&
      extension.GetVersion().Compare(word.substr(at + 1)) == 0) {
    return true;
  }
  // An author's name may hold a slash, and so may an extension's.
  for (std::size_t slash = word.find('/'); slash != std::string::npos; slash = word.find('/', slash + 1)) {
    if (Same(extension.GetAuthorName(), word.substr(0, slash)) && Same(extension.GetName(), word.substr(slash + 1))) {
      return true;
    }
  }
  return false;
}

// The shortest words that tell the candidates apart.
std::string Candidate(const Installed& one) {
  return fmt::format("{}/{}@{} in {} ({}, {})", ShownText(one.extension->GetAuthorName()),
                     ShownText(one.extension->GetName()), one.extension->GetVersion().ToText(), NameOf(*one.product),
                     one.extension->IsEnabled() ? "enabled" : "disabled",
                     Shown(CKestPath(one.extension->GetPath()).GetFileName()));
}

} // namespace

std::vector<Installed> CollectInstalled(Session& session, const CKestProduct* only) {
  std::vector<Installed> all;
  for (const CKestProduct* product : session.GetProducts()) {
    if (only && product != only) {
      continue;
    }
    CKestTypedList<CKestExtension*> extensions;
    session.GetManager().GetExtensions(product, extensions);
    for (CKestExtension* extension : extensions) {
      all.push_back({product, extension});
    }
  }
  return all;
}

std::vector<Installed> Match(const std::vector<Installed>& all, const std::string& word) {
  std::vector<Installed> found;
  std::copy_if(all.begin(), all.end(), std::back_inserter(found),
               [&](const Installed& one) { return FitsName(*one.extension, word); });
  if (found.empty()) {
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const Installed& one) { return Same(CKestPath(one.extension->GetPath()).GetFileName(), word); });
  }
  return found;
}

Installed Select(Session& session, const std::vector<Installed>& all, const std::string& word, int& exit,
                 int preferEnabled) {
  std::vector<Installed> found = Match(all, word);
  const std::string& state = session.options.state;
  const std::size_t inAnyState = found.size();
  std::erase_if(found, [&](const Installed& one) {
    return !state.empty() && one.extension->IsEnabled() != (state == "enabled");
  });
  if (found.size() > 1 && preferEnabled >= 0) {
    std::vector<Installed> fitting;
    std::copy_if(found.begin(), found.end(), std::back_inserter(fitting),
                 [&](const Installed& one) { return one.extension->IsEnabled() == (preferEnabled == 1); });
    if (fitting.size() == 1) {
      found = fitting;
    }
  }
  const std::string shown = ForTerminal(word);
  if (found.size() == 1 && !found.front().extension->ReadRest()) {
    exit = session.Fail(kNotFoundHere, {fmt::format("the description of \"{}\" cannot be read any more", shown),
                                        "it was removed or changed at this moment",
                                        "nothing",
                                        {},
                                        "see what is installed now: kest list",
                                        0});
    return {};
  }
  if (found.size() == 1) {
    return found.front();
  }
  if (found.empty() && inAnyState > 0) {
    exit =
        session.Fail(kNotFoundHere,
                     {fmt::format("no {} extension \"{}\" is installed on {}", state, shown, session.GetMachineName()),
                      fmt::format("it is there, but not {}", state),
                      "nothing",
                      {},
                      "see what is: kest list",
                      0});
    return {};
  }
  if (found.empty()) {
    const std::string closed = all.empty() ? session.GetClosedPlace() : "";
    exit = session.Fail(closed.empty() ? kNotFoundHere : kInUseOrLocked,
                        {fmt::format("no extension \"{}\" is installed on {}", shown, session.GetMachineName()),
                         all.empty() ? "nothing is installed there" + closed : "none has this name or description file",
                         "nothing",
                         {},
                         "see what is: kest list",
                         0});
    return {};
  }
  const bool statesDiffer = std::any_of(found.begin(), found.end(), [&](const Installed& one) {
    return one.extension->IsEnabled() != found.front().extension->IsEnabled();
  });
  ErrorReport error{fmt::format("\"{}\" may mean any of {} extensions", shown, found.size()), "", "nothing", {},
                    "name one as author/name or name@version, or its product with -p",        0};
  if (statesDiffer) {
    error.next += ", or its state with --state enabled|disabled";
  }
  for (const Installed& one : found) {
    error.why += (error.why.empty() ? "" : "\n           ") + Candidate(one);
  }
  exit = session.Fail(kNotFoundHere, error);
  session.document["candidates"] = Json::array();
  for (const Installed& one : found) {
    session.document["candidates"].push_back(
        ExtensionJson(session.GetManager(), session.FindMachine(), one.product, *one.extension));
  }
  return {};
}

std::string Quote(const CKestExtension& extension) {
  return fmt::format("\"{}\" {}", ShownText(extension.GetName()), extension.GetVersion().ToText());
}

} // namespace kest::host
