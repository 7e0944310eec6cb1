#include "description/extension_types.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kest {

namespace {

using Keyword = std::pair<std::string_view, int>;

// In ascending order, so that a keyword is found by halving.
constexpr std::array kKeywords = std::to_array<Keyword>({
    {"3rd party tags", 13},
    {"action", 3},
    {"behavior", 3},
    {"browser profile", 4},
    {"browserprofile", 4},
    {"code hint", 44},
    {"code snippet", 45},
    {"codehint", 44},
    {"codesnippet", 45},
    {"coloring scheme", 42},
    {"coloringscheme", 42},
    {"command", 1},
    {"connection", 49},
    {"content", 50},
    {"data source", 17},
    {"datasource", 17},
    {"dictionary", 6},
    {"document type", 43},
    {"documenttype", 43},
    {"encoding", 7},
    {"floater", 8},
    {"help book", 48},
    {"helpbook", 48},
    {"inspector", 9},
    {"javascript extension", 10},
    {"js extension", 10},
    {"jsextension", 10},
    {"keyboard shortcut", 32},
    {"keyboard shortcuts", 32},
    {"keyboardshortcut", 32},
    {"keyboardshortcuts", 32},
    {"lesson", 24},
    {"library", 27},
    {"marlin button style", 21},
    {"marlin button template", 21},
    {"marlin buttonstyle", 21},
    {"marlin buttontemplate", 21},
    {"marlin component", 35},
    {"marlin custom action", 36},
    {"marlin custom marlinscript", 36},
    {"marlin dynamic panel", 37},
    {"marlin importer", 38},
    {"marlin mrf panel", 37},
    {"marlin panel", 37},
    {"marlin script", 23},
    {"marlin template", 39},
    {"marlinbutton style", 21},
    {"marlinbutton template", 21},
    {"marlinbuttonstyle", 21},
    {"marlinbuttontemplate", 21},
    {"marlincomponent", 35},
    {"marlincustomaction", 36},
    {"marlincustommarlinscript", 36},
    {"marlinimporter", 38},
    {"marlinpanel", 37},
    {"marlinscript", 23},
    {"marlintemplate", 39},
    {"modlet", 30},
    {"object", 2},
    {"pattern", 31},
    {"plugin", 14},
    {"property inspector", 9},
    {"propertyinspector", 9},
    {"publish", 34},
    {"publish template", 34},
    {"publishtemplate", 34},
    {"quarry", 33},
    {"quarry object", 33},
    {"quarryobject", 33},
    {"query", 11},
    {"report", 20},
    {"sample", 25},
    {"sample content", 50},
    {"samplecontent", 50},
    {"server behavior", 15},
    {"server format", 16},
    {"server model", 18},
    {"serverbehavior", 15},
    {"serverformat", 16},
    {"servermodel", 18},
    {"site", 46},
    {"snap reel", 22},
    {"snapreel", 22},
    {"style", 28},
    {"suite", 19},
    {"tag importer", 41},
    {"tag library", 40},
    {"tagimporter", 41},
    {"taglibrary", 40},
    {"template", 12},
    {"texture", 29},
    {"third party tags", 13},
    {"thirdpartytags", 13},
    {"toolbar", 47},
    {"translator", 5},
    {"utility", 26},
});

} // namespace

int ExtensionTypeOf(std::string_view keyword) {
  const auto found =
      std::lower_bound(kKeywords.begin(), kKeywords.end(), keyword, [](const Keyword& row, std::string_view wanted) {
        return text::CompareNoCase(row.first, wanted) < 0;
      });
  return found != kKeywords.end() && text::EqualNoCase(found->first, keyword) ? found->second : 0;
}

} // namespace kest
