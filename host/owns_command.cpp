#include "host/commands.h"

#include "description/extension.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "products/product.h"

#include <fmt/format.h>

namespace kest::host {

int RunOwns(Session& session) {
  const Options& options = session.options;
  struct Asked {
    OwnedThing thing;
    const char* word;
    std::string name;
  };
  std::vector<Asked> asked;
  for (const std::string& path : options.arguments) {
    asked.push_back({OwnedThing::kFile, "file", path});
  }
  for (const auto& [thing, word, value] : {Asked{OwnedThing::kMenu, "menu", options.menu},
                                           {OwnedThing::kKey, "key", options.key},
                                           {OwnedThing::kButton, "button", options.button},
                                           {OwnedThing::kTag, "tag", options.tag},
                                           {OwnedThing::kRegistry, "registry value", options.registry}}) {
    if (!value.empty()) {
      asked.push_back({thing, word, value});
    }
  }
  if (asked.size() != 1) {
    return session.Fail(kUsage,
                        {"one thing is to be named, not " + std::to_string(asked.size()),
                         "the owner of one thing is looked for at a time",
                         "nothing",
                         {},
                         "name a file, or use one of --menu, --key, --button, --tag, --registry; see: kest help owns",
                         0});
  }
  int exit = kDone;
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  const Asked& one = asked.front();
  CString name = one.name;
  if (one.thing == OwnedThing::kFile) {
    name = session.ReadFolder(one.name);
    if (name.empty()) {
      return session.Fail(kNotFoundHere, {fmt::format("{} is no path on the machine", ForTerminal(one.name)),
                                          "no drive of the machine holds it",
                                          "nothing",
                                          {},
                                          "see the drives: kest machine show",
                                          0});
    }
  }
  session.document["asked"] = {{"kind", one.word}, {"name", ToUtf8(name)}};
  const std::vector<Owner> owners = session.GetManager().FindOwners(one.thing, name);
  std::string text;
  for (const Owner& owner : owners) {
    Json json = ExtensionJson(session.GetManager(), &session.GetMachine(), owner.product, *owner.extension);
    json["element"] = ToUtf8(owner.element);
    session.document["owners"].push_back(std::move(json));
    text += fmt::format("{} in {}\n  {}\n", Quote(*owner.extension), NameOf(*owner.product), Shown(owner.element));
  }
  if (owners.empty()) {
    return session.Fail(kNotFoundHere, {fmt::format("no extension owns the {} {}", one.word, Shown(name)),
                                        "no installed extension says that it puts it there",
                                        "nothing",
                                        {},
                                        "it may be the product's own, or somebody's",
                                        0});
  }
  if (!options.json) {
    session.terminal.Data(text);
  }
  return kDone;
}

} // namespace kest::host
