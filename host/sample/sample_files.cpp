#include "host/sample/sample_files.h"

#include <iterator>

namespace kest::host {
namespace {

// clang-format off
constexpr SampleFile kWebEditorFiles[] = {
{"Configuration\\Toolbars\\toolbars.xml", R"kest(<?xml version="1.0"?>
<!DOCTYPE toolbarset SYSTEM "-//Kestrel//TMExtension toolbar 5.0">
<toolbarset>
	<toolbar id="TM_Toolbar_Main" label="Document">
		<radiobutton id="TM_Code" image="Toolbars/Images/Code.png" tooltip="Code view" command="tm.setView(1)" checked="tm.getView() == 1" />
		<radiobutton id="TM_Split" image="Toolbars/Images/Split.png" tooltip="Code and design" command="tm.setView(3)" checked="tm.getView() == 3" />
		<radiobutton id="TM_Design" image="Toolbars/Images/Design.png" tooltip="Design view" command="tm.setView(2)" checked="tm.getView() == 2" />
		<separator />
		<editcontrol id="TM_Title" label="Title:" tooltip="Title of the document" width="150" file="Toolbars/Title.htm" />
		<menubutton id="TM_Preview" image="Toolbars/Images/Preview.png" tooltip="Preview in a browser" menuID="TMMenu_File_Preview" />
		<button id="TM_Refresh" image="Toolbars/Images/Refresh.png" tooltip="Refresh" command="tm.refresh()" enabled="tm.isDirty() && tm.canRefresh()" />
	</toolbar>
	<toolbar id="TM_Toolbar_Standard" label="Standard" initiallyVisible="false">
		<button id="TM_New" image="Toolbars/Images/New.png" tooltip="New" command="tm.newDocument()" />
		<button id="TM_Open" image="Toolbars/Images/Open.png" tooltip="Open" command="tm.openDocument()" />
		<button id="TM_Save" image="Toolbars/Images/Save.png" tooltip="Save the author's work" command="tm.saveDocument()" />
		<separator />
		<button id="TM_Cut" image="Toolbars/Images/Cut.png" tooltip="Cut" command="tm.clipCut()" />
		<button id="TM_Copy" image="Toolbars/Images/Copy.png" tooltip="Copy" command="tm.clipCopy()" />
		<button id="TM_Paste" image="Toolbars/Images/Paste.png" tooltip="Paste" command="tm.clipPaste()" />
	</toolbar>
	<toolbar id="TM_Toolbar_Text" label="Text" initiallyVisible="false">
		<combobox id="TM_Format" file="Toolbars/Format.htm" width="100" tooltip="Paragraph format" />
		<checkbutton id="TM_Bold" image="Toolbars/Images/Bold.png" tooltip="Bold" command="tm.bold()" />
		<checkbutton id="TM_Italic" image="Toolbars/Images/Italic.png" tooltip="Italic" command="tm.italic()" />
	</toolbar>
</toolbarset>
)kest"},
{"Configuration\\Objects\\insertbar.xml", R"kest(<?xml version="1.0"?>
<insertbar xmlns:KRString="urn:kestrel:strings">
	<category id="TM_Insertbar_Common" folder="Common">
		<button id="TM_Common_Link" image="Common\Link.png" file="Common\Link.htm" />
		<button id="TM_Common_Image" image="Common\Image.png" file="Common\Image.htm" />
		<button id="TM_Common_Rollover" image="Common\Rollover.png" file="Common\Rollover.htm" />
		<separator />
		<button id="TM_Common_Comment" image="Common\Comment.png" file="Common\Comment.htm" />
	</category>
	<category id="TM_Insertbar_Layout" folder="Tools">
		<button id="TM_Layout_Cell" image="Tools\Cell.png" file="Tools\Cell.htm" />
		<button id="TM_Layout_Layer" image="Tools\Layer.png" file="Tools\Layer.htm" />
	</category>
	<category id="TM_Insertbar_Text" folder="Text">
		<button id="TM_Text_Bold" image="Text\Bold.png" file="Text\Bold.htm" />
		<button id="TM_Text_List" image="Text\List.png" file="Text\List.htm" />
	</category>
	<category id="TM_Insertbar_Tables" folder="Tables">
		<button id="TM_Tables_Table" image="Tables\Table.png" file="Tables\Table.htm" />
		<button id="TM_Tables_Row" image="Tables\Row.png" file="Tables\Row.htm" />
	</category>
	<category id="TM_Insertbar_Frames" folder="Frames">
		<button id="TM_Frames_Left" image="Frames\Left.png" file="Frames\Left.htm" />
		<button id="TM_Frames_Top" image="Frames\Top.png" file="Frames\Top.htm" />
	</category>
	<category id="TM_Insertbar_Forms" folder="Forms">
		<button id="TM_Forms_Form" image="Forms\Form.png" file="Forms\Form.htm" />
		<button id="TM_Forms_TextField" image="Forms\Text Field.png" file="Forms\Text Field.htm" />
		<button id="TM_Forms_Button" image="Forms\Button.png" file="Forms\Button.htm" />
	</category>
	<category id="TM_Insertbar_Templates" folder="Templates">
		<button id="TM_Templates_Region" image="Templates\Region.png" file="Templates\Region.htm" />
	</category>
	<category id="TM_Insertbar_Characters" folder="Characters">
		<button id="TM_Characters_Break" image="Characters\Line Break.png" file="Characters\Line Break.htm" />
		<button id="TM_Characters_Copyright" image="Characters\Copyright.png" file="Characters\Copyright.htm" />
	</category>
	<category id="TM_Insertbar_Media" folder="Media">
		<button id="TM_Media_Marlin" image="Media\Marlin.png" file="Media\Marlin.htm" />
		<button id="TM_Media_Plugin" image="Media\Plugin.png" file="Media\Plugin.htm" />
	</category>
	<category id="TM_Insertbar_Head" folder="Head">
		<button id="TM_Head_Meta" image="Head\Meta.png" file="Head\Meta.htm" />
		<button id="TM_Head_Base" image="Head\Base.png" file="Head\Base.htm" />
	</category>
	<category id="TM_Insertbar_Script" folder="Script">
		<button id="TM_Script_Script" image="Script\Script.png" file="Script\Script.htm" />
	</category>
	<category id="TM_Insertbar_ASP" folder="ASP" showIf="_SERVERMODEL_ASP">
		<button id="TM_ASP_Output" image="ASP\Output.png" file="ASP\Output.htm" />
	</category>
	<category id="TM_Insertbar_JSP" folder="JSP" showIf="_SERVERMODEL_JSP">
		<button id="TM_JSP_Bean" image="JSP\Bean.png" file="JSP\Bean.htm" />
	</category>
	<category id="TM_Insertbar_Server" folder="Server">
		<button id="TM_Server_Region" image="Server\Repeat.png" file="Server\Repeat.htm" />
	</category>
</insertbar>
)kest"},
{"Configuration\\DocumentTypes\\KRDocumentTypes.xml", R"kest(<?xml version="1.0"?>
<documenttypes>
	<documenttype id="HTML" internaltype="HTML" winfileextension="htm,html,shtm,shtml" macfileextension="html,htm,shtml" file="Default.html" writebyteordermark="false">
		<title>HTML</title>
		<description>A page of hypertext</description>
	</documenttype>
	<documenttype id="Template" internaltype="Template" winfileextension="tmt" macfileextension="tmt" file="Default.tmt">
		<title>Template</title>
		<description>A page with regions that can be edited</description>
	</documenttype>
	<documenttype id="CSS" internaltype="Text" winfileextension="css" macfileextension="css" file="Default.css">
		<title>CSS</title>
		<description>A style sheet</description>
	</documenttype>
	<documenttype id="JavaScript" internaltype="Text" winfileextension="js" macfileextension="js" file="Default.js">
		<title>JavaScript</title>
		<description>A file of scripts</description>
	</documenttype>
	<documenttype id="XML" internaltype="XML" winfileextension="xml,xsd,xsl" macfileextension="xml" file="Default.xml">
		<title>XML</title>
		<description>Structured data</description>
	</documenttype>
	<documenttype id="ASP-VB" servermodel="ASP VBScript" internaltype="Dynamic" dynamicid="TM_ASP_VB" winfileextension="asp,asa" macfileextension="asp" file="Default_vbs.asp">
		<title>ASP VBScript</title>
		<description>A dynamic page with scripts in VBScript</description>
	</documenttype>
	<documenttype id="PHP_MySQL" servermodel="PHP MySQL" internaltype="Dynamic" winfileextension="php,php3" macfileextension="php" file="Default.php">
		<title>PHP</title>
		<description>A dynamic page that talks to a database</description>
	</documenttype>
	<documenttype id="Text" internaltype="Text" winfileextension="txt" macfileextension="txt" file="Default.txt">
		<title>Text</title>
		<description>Plain text</description>
	</documenttype>
</documenttypes>
)kest"},
{"Configuration\\TagLibraries\\TagLibraries.vtm", R"kest(<?xml version="1.0"?>
<taglibraries>
	<taglibrary id="TM_TagLibrary_html" name="HTML tags" doctypes="HTML,ASP-VB,PHP_MySQL,Template">
		<tagref name="a" file="HTML/a.vtm" />
		<tagref name="body" file="HTML/body.vtm" />
		<tagref name="img" file="HTML/img.vtm" />
		<tagref name="table" file="HTML/table.vtm" />
		<tagref name="td" file="HTML/td.vtm" />
	</taglibrary>
	<taglibrary id="TM_TagLibrary_asp" name="ASP tags" doctypes="ASP-VB" prefix="&lt;asp:">
		<tagref name="output" file="ASP/output.vtm" />
	</taglibrary>
	<taglibrary id="TM_TagLibrary_jsp" name="JSP tags" doctypes="JSP" prefix="&lt;jsp:">
		<tagref name="useBean" file="JSP/useBean.vtm" />
		<tagref name="include" file="JSP/include.vtm" />
	</taglibrary>
</taglibraries>
)kest"},
{"Help\\help.xml", R"kest(<?xml version="1.0"?>
<help-books>
	<book-id id="TM_Using" win-mapping="UsingTidemark.chm" mac-mapping="Using Tidemark" />
	<book-id id="TM_Extending" win-mapping="ExtendingTidemark.chm" mac-mapping="Extending Tidemark" />
	<book-id id="TM_Tags" win-mapping="TagReference.chm" mac-mapping="Tag Reference" />
</help-books>
)kest"},
{"Help\\UsingTidemark.htm", "<html><head><title>Using the editor</title></head><body><h1>Using the editor</h1></body></html>\n"},
{"Configuration\\Extensions.txt", R"kest(HTM,HTML,SHTM,SHTML,ASP,JSP,PHP,TMT,CSS,JS,TXT,XML:All Documents
HTM,HTML:HTML Documents
SHTM,SHTML:Server-Side Includes
JS:JavaScript Documents
XML,XSL,XSD:XML Files
LBI:Library Files
TMT:Template Files
CSS:Style Sheets
ASP,ASA:Active Pages
JSP:Java Pages
PHP,PHP3:PHP Files
TXT:Text Files
)kest"},
{"Configuration\\FTPExtensionMap.txt", "ASP\tASCII\nCSS\tASCII\nDOC\tBINARY\nEXE\tBINARY\nGIF\tBINARY\nHTM\tASCII\nHTML\tASCII\n"
 "JPEG\tBINARY\nJPG\tBINARY\nJS\tASCII\nJSP\tASCII\nLBI\tASCII\nMRF\tBINARY\nPHP\tASCII\nPNG\tBINARY\nSHTM\tASCII\nSHTML\tASCII\n"
 "TMT\tASCII\nTXT\tASCII\nXML\tASCII\nZIP\tBINARY\n"},
{"Configuration\\SourceFormat.txt", R"kest(<?keyword indent>
<?source format profile: how elements and attributes are written>

<?options>
<indention enable indent="2" tabs="4" use="spaces" active="1,2">
<lines autowrap break="CRLF" column="76">
<omit options="0">
<element name case="lower">
<attribute name case="lower">
<colors text="0x00000000" tag="0x00000000">

<?elements>
<!-- block elements first, each with its breaks -->
<address break="1,0,0,1">
<applet break="0,1,1,0" indent>
<blockquote break="1,0,0,1" indent>
<body break="1,1,1,1">
<br break="0,0,0,1">
<div break="1,0,0,1" indent>
<form break="1,1,1,1" indent>
<frameset break="1,0,0,1" indent>
<h1 break="1,0,0,1" indent>
<head break="1,1,1,1">
<html break="1,1,1,1">
<li break="1,0,0,1" indent>
<link break="1,0,0,1">
<meta break="1,0,0,1">
<p break="1,0,0,1" indent>
<pre break="1,0,0,1" noformat>
<script break="1,0,0,1" noformat>
<style break="1,0,0,1" noformat>
<table break="1,1,1,1" indent igroup="1">
<td break="1,0,0,1" indent igroup="1">
<tr break="1,0,0,1" indent igroup="1">
<ul break="1,1,1,1" indent>

<?attributes>
<onClick namecase="onClick">
<onLoad namecase="onLoad">
<onMouseOver namecase="onMouseOver">
<onSubmit namecase="onSubmit">
<value samecase>

<?end>
)kest"},
{"Configuration\\Commands\\Clean Up HTML.htm", "<html>\n<head>\n<title>Clean Up HTML</title>\n<script language=\"javascript\" src=\"Clean Up HTML.js\"></script>\n</head>\n<body onLoad=\"initialize()\"></body>\n</html>\n"},
{"Configuration\\Commands\\Clean Up HTML.js", "// Removes empty elements from the document.\nfunction initialize() {\n  return true;\n}\n"},
{"Configuration\\Commands\\Sort Table.htm", "<html>\n<head><title>Sort Table</title></head>\n<body></body>\n</html>\n"},
{"Configuration\\Commands\\Word Count.htm", "<html>\n<head><title>Word Count</title></head>\n<body></body>\n</html>\n"},
{"Configuration\\Objects\\Common\\Image.htm", "<html>\n<head>\n<title>Insert Image</title>\n<script language=\"javascript\">\nfunction objectTag() {\n  return '<img src=\"' + tm.browseForFile() + '\">';\n}\n</script>\n</head>\n<body></body>\n</html>\n"},
{"Configuration\\Objects\\Tables\\Table.htm", "<html>\n<head>\n<title>Insert Table</title>\n<script language=\"javascript\">\nfunction objectTag() {\n  return '<table><tr><td></td></tr></table>';\n}\n</script>\n</head>\n<body></body>\n</html>\n"},
{"Configuration\\Objects\\Forms\\Text Field.htm", "<html>\n<head><title>Insert Text Field</title></head>\n<body></body>\n</html>\n"},
{"Configuration\\JSExtensions\\ReadMe.txt", "Script libraries in this folder are loaded when the editor starts.\n"},
{"Configuration\\Shared\\Common\\strings.js", "// Helpers that commands and objects share.\nfunction trim(text) {\n  return text.replace(/^\\s+|\\s+$/g, '');\n}\n"},
{"Configuration\\Templates\\ReadMe.txt", "Templates of pages are kept here.\n"},
};
// clang-format on

constexpr const char* kWebEditorFolders[] = {
    "Behaviors\\Actions", "BrowserProfiles", "CodeHints", "Commands",        "Connections\\Scripts",
    "Content\\Reference", "DocumentTypes",   "Encodings", "Floaters",        "Fonts",
    "Inspectors",         "JSExtensions",    "Menus",     "Objects\\Common", "Queries",
    "References",         "Reports",         "Snippets",  "TagLibraries",    "Toolbars",
    "Translators",
};

constexpr const char* kModels6[] = {"ASP.NET_CSharp", "ASP.NET_VB", "ASP_Vbs", "ASP_Js", "JSP",
                                    "PHP_MySQL",      "VN4-Harbor"};
constexpr const char* kModels4[] = {"asp", "jsp", "harbor", "php"};

// "%M" stands for the server model's folder.
// clang-format off
constexpr SampleFile kServerFiles[kServerFileCount] = {
{"ServerBehaviors", R"kest(<?xml version="1.0" encoding="iso-8859-1"?>
<!-- server behaviors of %M -->

<menubar name="" id="TMServerBehaviors_%M">
	<menuitem name="Recordset (Query)..." file="ServerBehaviors/%M/Recordset.htm" id="TMServerBehavior_Recordset_%M" />
	<menuitem name="Repeat Region..." file="ServerBehaviors/%M/Repeat.htm" id="TMServerBehavior_Repeat_%M" />
	<separator />
	<menu name="Show Region" id="TMServerBehavior_Show_%M">
		<menuitem name="If Recordset Is Empty" file="ServerBehaviors/%M/ShowEmpty.htm" id="TMServerBehavior_ShowEmpty_%M" />;
		<menuitem name="If Recordset Is Not Empty" file="ServerBehaviors/%M/ShowFull.htm" id="TMServerBehavior_ShowFull_%M") />
	</menu>
	<menu name="Recordset Paging" id="TMSB_Paging">
		<menuitem name="Move To First Record..." file="ServerBehaviors/%M/First.htm" id="TMServerBehavior_First_%M" />
		<menuitem name="Move To Next Record..." file="ServerBehaviors/%M/Next.htm" id="TMServerBehavior_Next_%M" />
	</menu>
	<menu name="User Authentication" id="TMServerBehavior_Users_%M">
		<menuitem name="Log In User..." file="ServerBehaviors/%M/Login.htm" id="TMServerBehavior_Login_%M" />
		<menuitem name="Log Out User..." file="ServerBehaviors/%M/Logout.htm" id="TMServerBehavior_Logout_%M" />
	</menu>
	<separator />
	<menuitem name="Get More Server Behaviors..." command="tm.browseBazaar('serverbehaviors')" id="TMServerBehavior_More_%M" />
</menubar>
)kest"},
{"ServerFormats", R"kest(<?xml version="1.0" encoding="iso-8859-1"?>
<!-- the menu of formats for %M -->

<menubar name="Formats" id="TMServerFormats_%M">
	<menuitem name="None" file="" id="TM_None_%M" />
	<menu name="Date" id="TM_Formats_Date">
		<menuitem name="Short" file="ServerFormats/%M/Date.htm" id="TM_Date_Short_%M" />
		<menuitem name="Long" file="ServerFormats/%M/Date.htm" id="TM_Date_Long_%M" />
	</menu>
	<menu name="Currency" id="TM_Formats_Currency">
		<menuitem name="Default" file="ServerFormats/%M/Currency.htm" id="TM_Currency_Default_%M" />
	</menu>
	<menu name="Number" id="TM_Formats_Number">
		<menuitem name="Rounded to Integer" file="ServerFormats/%M/Number.htm" id="TM_Number_Rounded_%M" />
	</menu>
	<separator />
	<menuitem name="Edit Format List..." command="tm.editFormatList()" id="TM_EditFormats_%M" />
</menubar>
)kest"},
{"Formats", R"kest(<?xml version="1.0" encoding="iso-8859-1"?>
<!-- definitions of the formats for %M -->

<formats>
	<format title="None" file="None" expression="" id="TM_None" />
	<menu name="Date/Time" id="TM_Formats_Date">
		<format title="1/17/00" file="Date" expression="<%= Format(value, 2) %>" NumDigitsAfterDecimal="-1" id="TM_Date_Short" />
		<format title="Monday, January 17, 2000" file="Date" expression="FormatDate(*#"	" strNamedFormat="vbLongDate" id="TM_Date_Long" />
	</menu>
	<separator />
	<menu name="Number" id="TM_Formats_Number">
		<format title="2 Decimal Places" file="Number" NumDigitsAfterDecimal="2" UseParens="-2" id="TM_Number_2" />
		<format title="Rounded to Integer" file="Number" NumDigitsAfterDecimal="0" visibility="hidden" id="TM_Number_0" />
	</menu>
</formats>
)kest"},
{"DataSources", R"kest(<?xml version="1.0" encoding="iso-8859-1"?>
<!-- data sources of %M -->

<menubar name="" id="TMDS_Top">
	<menuitem name="Recordset (Query)" file="DataSources/%M/Recordset.htm" id="TMDataSource_Recordset_%M" />
	<menuitem name="Session Variable" file="DataSources/%M/Session.htm" id="TMDataSource_Session_%M" />
	<menuitem name="Request Variable" file="DataSources/%M/Request.htm" id="TMDataSource_Request_%M" />
	<separator />
	<menuitem name="Get More Data Sources..." command="tm.browseBazaar('datasources')" id="TMDataSource_More_%M" />
</menubar>
)kest"},
};

constexpr SampleFile kPrismFiles[] = {
{"Configuration\\Commands\\Fade Image.jsf", "// Fades the selected image into the background.\npr.getDocumentDOM().addMask('gradient');\n"},
{"Configuration\\Patterns\\Bricks.txt", "A wall of bricks, 64 by 64 pixels.\n"},
{"Configuration\\Textures\\Canvas.txt", "The weave of a canvas.\n"},
{"Configuration\\Styles\\Chrome.stl", "chrome\n"},
{"Configuration\\Libraries\\Buttons.txt", "Buttons of the library.\n"},
{"Configuration\\JSExtensions\\ReadMe.txt", "Script libraries in this folder are loaded when the program starts.\n"},
{"Configuration\\Keyboard Shortcuts\\Standard.xml", "<?xml version=\"1.0\"?>\n<shortcuts>\n\t<shortcut key=\"Ctrl+N\" command=\"new\" />\n</shortcuts>\n"},
};
constexpr SampleFile kMarlinFiles[] = {
{"Configuration\\Include\\Drawing.txt", "Scripts that drawings share.\n"},
{"Configuration\\HelpMRF\\Help.txt", "Pages of the help panel.\n"},
{"Configuration\\Libraries\\Buttons.txt", "Buttons of the library.\n"},
{"First Run\\Templates\\Banner.txt", "A banner of 468 by 60 pixels.\n"},
{"Libraries\\Sounds.txt", "Sounds of the library.\n"},
};
constexpr SampleFile kQuarryFiles[] = {
{"Objects\\Charts.txt", "Chart objects for server graphics.\n"},
{"Templates\\Default.txt", "The template of a new graphic.\n"},
};
// clang-format on

std::string WithModel(std::string text, const std::string& model) {
  for (std::size_t at = 0; (at = text.find("%M", at)) != std::string::npos; at += model.size()) {
    text.replace(at, 2, model);
  }
  return text;
}

} // namespace

std::span<const SampleFile> GetWebEditorFiles() { return kWebEditorFiles; }
std::span<const char* const> GetWebEditorFolders() { return kWebEditorFolders; }
std::span<const SampleFile> GetPrismFiles() { return kPrismFiles; }
std::span<const SampleFile> GetMarlinFiles() { return kMarlinFiles; }
std::span<const SampleFile> GetQuarryFiles() { return kQuarryFiles; }

std::span<const char* const> GetServerModels(bool version6) {
  return version6 ? std::span<const char* const>(kModels6) : std::span<const char* const>(kModels4);
}

std::pair<std::string, std::string> GetServerFile(int which, const std::string& model) {
  const SampleFile& file = kServerFiles[which];
  // The definitions of the formats lie beside their menu.
  const std::string name = file.path;
  const std::string folder = name == "Formats" ? "ServerFormats" : name;
  return {folder + "\\" + model + "\\" + name + ".xml", WithModel(file.text, model)};
}

} // namespace kest::host
