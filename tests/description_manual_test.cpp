// The manual page for authors names what the reader knows: every element, and of each every attribute.
#include "support/source_folder.h"

#include "description/element_table.h"
#include "description/extension_types.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace kest {
namespace {

using Attributes = std::set<std::string>;

struct Manual {
  std::map<std::string, Attributes> elements;
  std::vector<std::string> types;
};

// The words of "name , other", or of "name , Ic other".
std::vector<std::string> Names(const std::string& text) {
  std::vector<std::string> names;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word != "," && word != "Ic" && word != "Va") {
      names.push_back(word);
    }
  }
  return names;
}

Manual ReadManual() {
  Manual manual;
  std::ifstream page(test::SourceFolder() + "/docs/man/kest-description.5");
  std::vector<std::string> current;
  std::string section;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with(".Sh ")) {
      section = line.substr(4);
    } else if (line.starts_with(".It Ic ")) {
      current = Names(line.substr(7));
      for (const std::string& name : current) {
        EXPECT_TRUE(manual.elements.try_emplace(name).second) << name << " stands there twice";
      }
    } else if (line.starts_with(".It Va ")) {
      for (const std::string& name : current) {
        for (const std::string& attribute : Names(line.substr(7))) {
          manual.elements[name].insert(attribute);
        }
      }
    } else if (section == "TYPES" && line.starts_with(".It ")) {
      std::string row = line.substr(4) + " Ta ";
      for (std::size_t end; (end = row.find(" Ta ")) != std::string::npos; row.erase(0, end + 4)) {
        manual.types.push_back(row.substr(0, end));
      }
    }
  }
  return manual;
}

TEST(DescriptionManual, NamesEveryElementWithItsAttributesAndNoOther) {
  std::map<std::string, Attributes> known;
  for (const auto rows : {OwnElements(), ChangeElements()}) {
    for (const ElementRow& row : rows) {
      Attributes& attributes = known[std::string(row.name)];
      for (const AttributeRow& attribute : row.attributes) {
        attributes.emplace(attribute.name);
      }
    }
  }
  EXPECT_EQ(ReadManual().elements, known);
}

TEST(DescriptionManual, NamesTypesThatAreKnown) {
  std::set<int> numbers;
  for (const std::string& type : ReadManual().types) {
    EXPECT_NE(ExtensionTypeOf(type), 0) << type;
    numbers.insert(ExtensionTypeOf(type));
  }
  EXPECT_EQ(numbers.size(), 50u) << "a type is missing from the page";
}

} // namespace
} // namespace kest
