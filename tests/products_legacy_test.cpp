#include "config/config_sets.h"
#include "menus/menu_sets.h"
#include "products/tidemark.h"
#include "products/vantage.h"
#include "support/description_text.h"

#include <gmock/gmock.h>

#include <tuple>

namespace kest::test {
namespace {

using ::testing::ElementsAre;

constexpr const char* kForVantage = "<products><product name=\"vantage\" version=\"4\" primary=\"true\" /></products>";
constexpr const char* kForTidemark = "<products><product name=\"Tidemark\" version=\"4\" primary=\"true\" />"
                                     "<product name=\"Vantage\" version=\"4\" /></products>";

std::string File(const std::string& source, const std::string& destination, const std::string& more = {}) {
  return "<file source=\"" + source + "\" destination=\"" + destination + "\" " + more + " />";
}

CKestExtension Converted(const std::string& inner, const char* products = kForTidemark) {
  CKestExtension extension = RecordOf(products + inner);
  const CKestTidemark6 product;
  product.MassageExtension(&extension);
  return extension;
}

std::vector<CString> Destinations(const CKestExtension& extension) {
  std::vector<CString> destinations;
  for (const CKestExtensionFile& file : extension.GetFiles()) {
    destinations.push_back(file.GetDestination());
  }
  return destinations;
}

std::vector<CString> DestinationsOf(const std::string& destination, const char* products = kForTidemark) {
  return Destinations(Converted("<files>" + File("a.htm", destination) + "</files>", products));
}

TEST(LegacyConversionTest, FilesMoveAndServerModelFoldersAreCopiedForTheApplicationServerEditionAlone) {
  const std::string root = "$tidemark/Configuration/";
  const std::tuple<const char*, std::string, std::vector<CString>> rows[] = {
      {kForTidemark, root + "Reference/CSS", {root + "Content\\Reference/CSS"}},
      {kForTidemark, "$tidemark:configuration:reference", {"$tidemark:configuration:Content\\reference"}},
      {kForVantage,
       root + "ServerBehaviors/ASP/Mine",
       {root + "ServerBehaviors/ASP/Mine", root + "ServerBehaviors/ASP_Vbs/Mine",
        root + "ServerBehaviors/ASP_Js/Mine"}},
      {kForVantage,
       "$tidemark\\configuration\\connections\\Scripts\\asp",
       {"$tidemark\\configuration\\connections\\Scripts\\asp",
        "$tidemark\\configuration\\connections\\Scripts\\ASP_Vbs",
        "$tidemark\\configuration\\connections\\Scripts\\ASP_Js"}},
      {kForVantage, root + "DataSources/Harbor/", {root + "DataSources/Harbor/", root + "DataSources/VN4-Harbor/"}},
  };
  for (const auto& [products, destination, converted] : rows) {
    EXPECT_EQ(DestinationsOf(destination, products), converted);
  }
  for (const std::string& other : {root + "References", std::string("$tidemark/Reference"), root + "Content\\Reference",
                                   root + "ServerBehaviors/ASP/Mine"}) {
    EXPECT_THAT(DestinationsOf(other), ElementsAre(other)) << "Vantage is named, not required";
  }
  for (const char* other : {"ServerBehaviors/ASPX", "Servers/ASP", "ConnectionsX/ASP", "Commands/ASP"}) {
    EXPECT_THAT(DestinationsOf(root + other, kForVantage), ElementsAre(root + other));
  }
}

TEST(LegacyConversionTest, CopiesKeepEveryFieldAndFilesForAnotherPlatformAreLeftAlone) {
  const CKestExtension extension = Converted(
      "<files>" + File("a.htm", "$tidemark/Configuration/ServerFormats/ASP", "shared=\"true\" platform=\"win\"") +
          File("m.htm", "$tidemark/Configuration/ServerFormats/ASP", "platform=\"mac\"") + "</files>",
      kForVantage);
  ASSERT_EQ(extension.GetFiles().GetCount(), 4u);
  EXPECT_EQ(Written(*std::next(extension.GetFiles().begin(), 3)),
            "<file source=\"a.htm\" destination=\"$tidemark/Configuration/ServerFormats/ASP_Js\" shared=\"true\" "
            "platform=\"win\" />\r\n");
}

const std::string kObjects = "<files>" + File("obj/Big Box.htm", "$tidemark/Configuration/Objects/Tools") +
                             File("obj/Big Box.js", "$tidemark/Configuration/Objects/Tools") +
                             File("obj/BIG BOX.gif", "$tidemark\\Configuration\\Objects\\Tools\\big box.gif") +
                             File("plain.HTML", "$tidemark/Configuration/Objects/My Objects/Sub/") +
                             File("two.htm", "$tidemark/Configuration/Objects/tools/two.htm") + "</files>";

TEST(LegacyConversionTest, ObjectPagesGetButtonsOnTheInsertBar) {
  const CKestExtension extension = Converted(kObjects);
  EXPECT_NE(dynamic_cast<CKestMasterConfigChanges*>(extension.GetConfigChanges().at(0).get()), nullptr);
  CString set = Written(*extension.GetConfigChanges().at(1));
  text::ReplaceAll(set, "\r\n", "\n");
  EXPECT_EQ(set, R"(<insertbar-changes>
	<insertbar-insert>
		<category id="TM_Insertbar_Layout" folder="Tools">
			<button id="Sample_Big_Box" image="Tools\BIG BOX.gif" file="Tools\Big Box.htm" />
			<button id="Sample_two" image="generic.gif" file="tools\two.htm" />
		</category>
		<category id="TM_Inserbar_My_Objects_Sub" folder="My Objects\Sub">
			<button id="Sample_plain" image="generic.gif" file="My Objects\Sub\plain.HTML" />
		</category>
	</insertbar-insert>
</insertbar-changes>
)");
}

TEST(LegacyConversionTest, NoButtonsWithoutIconsOrBesideTheExtensionsOwn) {
  EXPECT_FALSE(
      Converted("<files>" + File("a.htm", "$tidemark/Configuration/Objects/Tools") + "</files>").HasConfigChanges());
  const CKestExtension own =
      Converted(kObjects + "<configuration-changes><insertbar-changes><insertbar-remove id=\"x\" /></insertbar-changes>"
                           "</configuration-changes>");
  EXPECT_EQ(own.GetConfigChanges().size(), 2u);
  EXPECT_FALSE(Converted(kObjects, kForVantage).HasInsertbarConfigChanges())
      << "the objects folder is no server-model folder";
}

std::string ServerSet(const std::string& folder) {
  return "<server-behavior-changes servermodelfolder=\"" + folder +
         "\"><menu-insert appendTo=\"SB_Bar\"><menuitem name=\"A &amp; B's\" id=\"X_SB\" "
         "file=\"ServerBehaviors/a.htm\" /></menu-insert></server-behavior-changes>";
}

std::vector<CString> ServerFolders(const CKestExtension& extension) {
  std::vector<CString> folders;
  for (const auto& set : extension.GetConfigChanges()) {
    if (const auto* const server = dynamic_cast<const CKestServerConfigChanges*>(set.get())) {
      folders.push_back(server->GetServerModelFolder());
    }
  }
  return folders;
}

TEST(LegacyConversionTest, ServerSetsGetTheFoldersOfTheNewModels) {
  const auto foldersOf = [](const std::string& sets) {
    return ServerFolders(Converted("<configuration-changes>" + sets + "</configuration-changes>"));
  };
  EXPECT_THAT(foldersOf(ServerSet("ASP JavaScript") + ServerSet("harbor") + ServerSet("JSP") + ServerSet("")),
              ElementsAre("ASP_Js", "VN4-Harbor", "JSP", ""));
  EXPECT_THAT(foldersOf(ServerSet("Asp") + ServerSet("PHP MySQL")), ElementsAre("ASP_Vbs", "PHP_MySQL", "ASP_Js"));
  const CKestExtension extension = Converted("<configuration-changes>" + ServerSet("asp") + "</configuration-changes>");
  CString original = Written(*extension.GetConfigChanges().at(1));
  text::ReplaceAll(original, "ASP_Vbs", "ASP_Js");
  EXPECT_EQ(Written(*extension.GetConfigChanges().at(2)), original);
}

TEST(LegacyConversionTest, ConvertingTwiceChangesNothingMore) {
  for (const char* products : {kForTidemark, kForVantage}) {
    const CKestExtension extension =
        Converted("<files>" + File("r.htm", "$tidemark/Configuration/Reference") +
                      File("s.htm", "$tidemark/Configuration/Connections/ASP/x") +
                      File("h.htm", "$tidemark/Configuration/DataSources/Harbor") + "</files>" + kObjects +
                      "<configuration-changes>" + ServerSet("asp") + "</configuration-changes>",
                  products);
    // as an uninstall meets it: read again from the installed copy
    CKestExtension again = Record(Written(extension));
    const std::vector<CString> before = Destinations(again);
    CKestTidemark6().MassageExtension(&again);
    EXPECT_EQ(Destinations(again), before);
    EXPECT_EQ(ServerFolders(again), ServerFolders(extension));
  }
}

TEST(LegacyConversionTest, OtherVersionsLeaveTheExtensionAlone) {
  CKestExtension extension = RecordOf(kObjects);
  const std::string before = Written(extension);
  CKestTidemark4().MassageExtension(&extension);
  CKestVantage4().MassageExtension(&extension);
  EXPECT_EQ(Written(extension), before);
}

} // namespace
} // namespace kest::test
