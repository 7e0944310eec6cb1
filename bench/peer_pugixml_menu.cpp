// peer_pugixml_menu IN OUT COUNT: loads a menu file, builds a hash index of ids, inserts COUNT items, each after an
// item found by its id, and saves. White space and comments are kept.
#include <cstdio>
#include <cstdlib>
#include <pugixml.hpp>
#include <string>
#include <unordered_map>

namespace {

using Index = std::unordered_map<std::string, pugi::xml_node>;

struct Indexer : pugi::xml_tree_walker {
  Index index;
  bool for_each(pugi::xml_node& node) override {
    if (const char* id = node.attribute("id").value(); *id) {
      index.emplace(id, node);
    }
    return true;
  }
};

} // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    return 2;
  }
  pugi::xml_document document;
  if (!document.load_file(argv[1], pugi::parse_full | pugi::parse_ws_pcdata)) {
    return 1;
  }
  Indexer indexer;
  document.traverse(indexer);
  const int count = std::atoi(argv[3]);
  for (int i = 0; i < count; ++i) {
    const auto found = indexer.index.find("Bench_Item_" + std::to_string(i * 7 % 1000));
    if (found == indexer.index.end()) {
      return 1;
    }
    pugi::xml_node node = found->second.parent().insert_child_after("menuitem", found->second);
    const std::string id = "Bench_New_" + std::to_string(i);
    node.append_attribute("name") = ("New " + std::to_string(i)).c_str();
    node.append_attribute("id") = id.c_str();
    indexer.index.emplace(id, node);
  }
  return document.save_file(argv[2], "", pugi::format_raw | pugi::format_no_declaration) ? 0 : 1;
}
