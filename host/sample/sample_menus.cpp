#include "host/sample/sample_files.h"

namespace kest::host {

// Several lines are broken as the editor itself breaks them: menus that are closed before their items, a quotation mark
// too many, bare attribute words. Whoever reads the file has to live with that.
// clang-format off
const char* const kSampleMenus =
    R"kest(<?xml version="1.0" encoding="iso-8859-1"?>
<!-- Menus and keyboard shortcuts of the editor. -->

<menubar name="Main Window" id="TMMainWindow">
	<menu name="_File" id="TMMenu_File">
		<menuitem name="_New..." key="Cmd+N" command="tm.newDocument()" id="TMMenu_File_New" />
		<menuitem name="_Open..." key="Cmd+O" command="tm.openDocument()" id="TMMenu_File_Open" />
		<menuitem name="_Close" key="Cmd+W" command="tm.closeDocument()" id="TMMenu_File_Close" />
		<separator />
		<menuitem name="_Save" key="Cmd+S" command="tm.saveDocument()" id="TMMenu_File_Save" />
		<menuitem name="Save _As..." key="Cmd+Shift+S" command="tm.saveDocumentAs()" id="TMMenu_File_SaveAs" />
		<menuitem name="Save as _Template..." command="tm.saveAsTemplate()" id="TMMenu_File_SaveTemplate" />
		<menuitem name="_Revert" command="tm.revertDocument()" id="TMMenu_File_Revert" />
		<separator />
		<menu name="_Import" id="TMMenu_File_Import">
			<menuitem name="_Table Data..." file="Commands/Import Table Data.htm" id="TMMenu_File_Import_Table" />
			<menuitem name="_XML into Template..." command="tm.importXmlIntoTemplate()" id="TMMenu_File_Import_Xml" />
		</menu>
		<menu name="_Export" id="TMMenu_File_Export">
			<menuitem name="_Table..." enabled="tm.canExportTable()" command="tm.exportTable()" id="TMMenu_File_Export_Table" />
			<menuitem name="_CSS Styles..." command="tm.exportCss()" id="TMMenu_File_Export_Css" />
		</menu>
		<separator />
		<menu name="_Preview in Browser" id="TMMenu_File_Preview">
			<menuitem dynamic name="(browsers)" file="Menus/Preview List.htm" id="TMMenu_File_Preview_List" />
			<separator />
			<menuitem name="_Edit Browser List..." command="tm.editBrowserList()" id="TMMenu_File_Preview_Edit" />
		</menu>
		<menuitem name="Chec_k Links" key="Shift+F8" command="tm.checkLinks()" id="TMMenu_File_CheckLinks" />
		<separator />
		<menuitem dynamic name="(recent files)" file="Menus/Recent Files.htm" id="TMMenu_File_Recent" />
		<separator />
		<menuitem name="E_xit" key="Cmd+Q" command="tm.quitApplication()" id="TMMenu_File_Exit" />
	</menu>
	<menu name="_Edit" id="TMMenu_Edit">
		<menuitem name="_Undo" key="Cmd+Z" command="tm.getDocumentDOM().undo()" id="TMMenu_Edit_Undo" />
		<menuitem name="_Redo" key="Cmd+Y" command="tm.getDocumentDOM().redo()" id="TMMenu_Edit_Redo" />
		<separator />
		<menuitem name="Cu_t" key="Cmd+X" command="tm.getDocumentDOM().clipCut()" id="TMMenu_Edit_Cut" />
		<menuitem name="_Copy" key="Cmd+C" command="tm.getDocumentDOM().clipCopy()" id="TMMenu_Edit_Copy" />
		<menuitem name="_Paste" key="Cmd+V" command="tm.getDocumentDOM().clipPaste()" id="TMMenu_Edit_Paste" />
		<menuitem name="Cl_ear" command="tm.getDocumentDOM().deleteSelection()" id="TMMenu_Edit_Clear" />
		<separator />
		<menuitem name="Select _All" key="Cmd+A" command="tm.getDocumentDOM().selectAll()" id="TMMenu_Edit_SelectAll" />
		<menuitem name="_Find and Replace..." key="Cmd+F" command="tm.findDialog()" id="TMMenu_Edit_Find" />
		<menuitem name="Find _Next" key="F3" command="tm.findNext()" id="TMMenu_Edit_FindNext" />
		<separator />
		<menuitem name="Edit with Exter_nal Editor" key="Cmd+E" command="tm.openWithExternalTextEditor()" id="TMMenu_Edit_External" />
		<menuitem name="_Keyboard Shortcuts..." command="tm.keyboardShortcuts()" id="TMMenu_Edit_Keyboard" />
		<menuitem name="_Preferences..." key="Cmd+U" command="tm.preferences()" id="TMMenu_Edit_Preferences" />
	</menu>
	<menu name="_View" id="TMMenu_View">
		<menuitem name="_Code" command="tm.setView(1)" id="TMMenu_View_Code" />
		<menuitem name="_Design" command="tm.setView(2)" id="TMMenu_View_Design" />
		<menuitem name="Code a_nd Design" command="tm.setView(3)" id="TMMenu_View_Split" />
		<separator />
		<menu name="_Visual Aids" id="TMMenu_View_VisualAids">
			<menuitem name="_Hide All" enabled="tm.hasVisualAids('all')" command="tm.hideVisualAids()" checked="tm.visualAids == 0" id="TMMenu_View_HideAll" />
			<separator />
			<menuitem name="Table _Borders" command="tm.toggleVisualAid(1)" id="TMMenu_View_Tables" />
			<menuitem name="_Frame Borders" command="tm.toggleVisualAid(2)" id="TMMenu_View_Frames" />
			<menuitem name="_Image Maps" command="tm.toggleVisualAid(4)" id="TMMenu_View_Maps" />
		</menu>
		<menu name="_Rulers" id="TMMenu_View_Rulers">
			<menuitem name="_Show" command="tm.toggleRulers()" id="TMMenu_View_Rulers_Show" />
			<menuitem name="_Pixels" command="tm.setRulerUnits('px')" id="TMMenu_View_Rulers_Pixels" />
			<menuitem name="_Inches" command="tm.setRulerUnits('in')" id="TMMenu_View_Rulers_Inches" />
		</menu>
		<menu name="_Toolbars" id="TMMenu_View_Toolbars">
			<menuitem dynamic name="(toolbars)" file="Menus/Toolbar List.htm" id="TMMenu_View_Toolbars_List" />
		</menu>
	</menu>
	<menu name="_Insert" id="TMMenu_Insert">
		<menuitem name="_Image" file="Objects/Common/Image.htm" id="TMMenu_Insert_Image" />
		<menu name="Image _Objects" id="TMMenu_Insert_ImageObjects">
			<menuitem name="_Placeholder" file="Objects/Common/Placeholder.htm" id="TMMenu_Insert_Placeholder" />
			<menuitem name="_Rollover Image" file="Objects/Common/Rollover.htm" id="TMMenu_Insert_Rollover" />
		</menu>
		<menu name="_Media" id="TMMenu_Insert_Media" />
			<menuitem name="_Marlin" file="Objects/Media/Marlin.htm" id="TMMenu_Insert_Marlin" />
			<menuitem name="_Applet" file="Objects/Media/Applet.htm" id="TMMenu_Insert_Applet" />
			<menuitem name="_Plug-in" file="Objects/Media/Plugin.htm" id="TMMenu_Insert_Plugin" />
		</menu>
		<separator />
		<menuitem name="_Table" key="Cmd+Opt+T" file="Objects/Tables/Table.htm" id="TMMenu_Insert_Table" />
		<menu name="Form O_bject" id="TMMenu_Insert_FormObject" />
			<menuitem name="Text _Field" file="Objects/Forms/Text Field.htm" id="TMMenu_Insert_TextField" />
			<menuitem name="_Button" file="Objects/Forms/Button.htm" id="TMMenu_Insert_Button" />
			<menuitem name="_Check Box" file="Objects/Forms/Check Box.htm" id="TMMenu_Insert_CheckBox" />
		</menu>
		<menu name="Frame_s" id="TMMenu_Insert_Frames" />
			<menuitem name="_Left" file="Objects/Frames/Left.htm" id="TMMenu_Insert_FrameLeft" />
			<menuitem name="_Top" file="Objects/Frames/Top.htm" id="TMMenu_Insert_FrameTop" />
		</menu>
		<separator />
		<menu name="_Head" id="TMMenu_Insert_Head" />
			<menuitem name="_Meta" file="Objects/Head/Meta.htm" id="TMMenu_Insert_Meta" />
			<menuitem name="_Base" file="Objects/Head/Base.htm" id="TMMenu_Insert_Base" />
			<menuitem name="_Link" file="Objects/Head/Link.htm" id="TMMenu_Insert_Link" />
		</menu>
		<menu name="_Characters" id="TMMenu_Insert_Characters" />
			<menuitem name="_Line Break" file="Objects/Characters/Line Break.htm" id="TMMenu_Insert_Break" />
			<menuitem name="_Copyright" file="Objects/Characters/Copyright.htm" id="TMMenu_Insert_Copyright" />
		</menu>
		<separator />
		<menuitem name="Get _More Objects..." command="tm.browseBazaar('objects')" id="TMMenu_Insert_More" />
	</menu>
	<menu name="_Modify" id="TMMenu_Modify">
		<menuitem name="_Page Properties..." key="Cmd+J" command="tm.showPageProperties()" id="TMMenu_Modify_Page" />
		<menuitem name="Quick Tag _Editor..." key="Cmd+T" command="tm.getDocumentDOM().quickTag()" id="TMMenu_Modify_QuickTag" />
		<menuitem name="Edit _ID..." command="tm.getDocumentDOM().editAttribute('ID')"" id="TMMenu_Modify_EditId" />
		<separator />
		<menu name="_Table" id="TMMenu_Modify_Table">
			<menuitem name="Insert _Row" command="tm.getDocumentDOM().insertTableRow()" id="TMMenu_Modify_Row" />
			<menuitem name="Insert _Column" command="tm.getDocumentDOM().insertTableColumn()" id="TMMenu_Modify_Column" />
			<separator />
			<menuitem name="Mer_ge Cells" enabled="tm.canMergeCells() && tm.inTable()" command="tm.getDocumentDOM().mergeTableCells()" id="TMMenu_Modify_Merge" />
		</menu>
		<menu name="_Arrange" id="TMMenu_Modify_Arrange">
			<menuitem name="Bring to _Front" command="tm.bringToFront()" id="TMMenu_Modify_Front" />
			<menuitem name="Send to _Back" command="tm.sendToBack()" id="TMMenu_Modify_Back" />
		</menu>
		<menu name="_Library" id="TMMenu_Modify_Library">
			<menuitem name="_Add Object to Library" command="tm.addToLibrary()" id="TMMenu_Modify_AddLibrary" />
			<menuitem name="_Update Pages..." command="tm.updatePages()" id="TMMenu_Modify_UpdateLibrary" />
		</menu>
	</menu>
	<menu name="_Text" id="TMMenu_Text">
		<menuitem name="_Indent" command="tm.getDocumentDOM().indent()" id="TMMenu_Text_Indent" />
		<menuitem name="_Outdent" command="tm.getDocumentDOM().outdent()" id="TMMenu_Text_Outdent" />
		<separator />
		<menu name="Paragraph _Format" id="TMMenu_Text_Format">
			<menuitem name="_None" command="tm.setTextFormat('')" id="TMMenu_Text_None" />
			<menuitem name="_Paragraph" command="tm.setTextFormat('p')" id="TMMenu_Text_P" />
			<menuitem name="Heading _1" command="tm.setTextFormat('h1')" id="TMMenu_Text_H1" />
			<menuitem name="Heading _2" command="tm.setTextFormat('h2')" id="TMMenu_Text_H2" />
		</menu>
		<menu name="_Style" id="TMMenu_Text_Style">
			<menuitem name="_Bold" key="Cmd+B" command="tm.getDocumentDOM().bold()" id="TMMenu_Text_Bold" />
			<menuitem name="_Italic" key="Cmd+I" command="tm.getDocumentDOM().italic()" id="TMMenu_Text_Italic" />
		</menu>
		<menu name="_CSS Styles" id="TMMenu_Text_Css">
			<menuitem dynamic name="(styles)" file="Menus/Style List.htm" id="TMMenu_Text_CssList" />
		</menu>
	</menu>
	<menu name="_Commands" id="TMMenu_Commands">
		<menuitem name="_Start Recording" key="Cmd+Shift+X" command="tm.startRecording()" id="TMMenu_Commands_Record" />
		<menuitem name="_Play Recorded Command" key="Cmd+P" command="tm.playRecordedCommand()" id="TMMenu_Commands_Play" />
		<menuitem name="_Edit Command List..." command="tm.editCommandList()" id="TMMenu_Commands_Edit" />
		<separator />
		<menuitem name="Clean Up _HTML..." file="Commands/Clean Up HTML.htm" id="TMMenu_Commands_CleanUp" />
		<menuitem name="_Sort Table..." file="Commands/Sort Table.htm" id="TMMenu_Commands_SortTable" />
		<menuitem name="_Format Table..." file="Commands/Format Table.htm" id="TMMenu_Commands_FormatTable" />
		<separator />
		<menu name="_Miscellaneous" id="TMMenu_Commands_Misc">
			<menuitem name="_Word Count..." file="Commands/Word Count.htm" id="TMMenu_Commands_WordCount" />
		</menu>
	</menu>
	<menu name="_Site" id="TMMenu_Site">
		<menuitem name="_Manage Sites..." command="tm.manageSites()" id="TMMenu_Site_Manage" />
		<separator />
		<menuitem name="_Get" key="Cmd+Shift+D" command="tm.site.get()" id="TMMenu_Site_Get" />
		<menuitem name="_Put" key="Cmd+Shift+U" command="tm.site.put()" id="TMMenu_Site_Put" />
		<separator />
		<menuitem name="_Reports..." command="tm.site.reports()" id="TMMenu_Site_Reports" />
		<menuitem name="Sa_ve Site Map..." arguments=""Enregis_trer la carte du site,,,"" file="Menus/Save Map.htm" id="TMMenu_Site_SaveMap" />
	</menu>
	<menu name="_Window" id="TMMenu_Window">
		<menuitem name="_Insert" key="Cmd+F2" command="tm.toggleFloater('insertbar')" id="TMMenu_Window_Insert" />
		<menuitem name="_Properties" key="Cmd+F3" command="tm.toggleFloater('properties')" id="TMMenu_Window_Properties" />
		<menuitem name="_Behaviors"	dynamic	checked="tm.hasFloater('behaviors')" command="tm.toggleFloater('behaviors')" id="TMMenu_Window_Behaviors" />
		<separator />
		<menuitem dynamic name="(documents)" file="Menus/Window List.htm" id="TMMenu_Window_List" />
	</menu>
	<menu name="_Help" id="TMMenu_Help">
		<menuitem name="_Using the Editor" key="F1" command="tm.displayHelp()" id="TMMenu_Help_Using" />
		<menuitem name="_Extending the Editor" command="tm.displayHelp('extending')" id="TMMenu_Help_Extending" />
		<separator />
		<menuitem name="Manage _Extensions..." command="tm.manageExtensions()" id="TMMenu_Help_Extensions" />
		<menuitem name="_About" command="tm.showAbout()" id="TMMenu_Help_About" />
	</menu>
</menubar>

<menubar name="Site Window" id="TMMainSite" platform="win">
	<menu name="_File" id="TMMenu_MainSite_File">
)kest"
    R"kest(		<menuitem name="_New File" command="site.newFile()" id="TMMenu_MainSite_NewFile" />
		<menuitem name="New _Folder" command="site.newFolder()" id="TMMenu_MainSite_NewFolder" />
		<separator />
		<menuitem name="_Rename" key="F2" command="site.rename()" id="TMMenu_MainSite_Rename" />
		<menuitem name="_Delete" key="Del" command="site.deleteSelection()" id="TMMenu_MainSite_Delete" />
	</menu>
	<menu name="_Edit" id="TMMenu_MainSite_Edit">
		<menuitem name="_Copy" command="site.copy()" id="TMMenu_MainSite_Copy" />
		<menuitem name="_Paste" command="site.paste()" id="TMMenu_MainSite_Paste" />
	</menu>
	<menu name="_View" id="TMMenu_MainSite_View">
		<menuitem name="Show Page _Titles" file="Menus/Titles.htm"  id="TMMenu_MainSite_Window">
		<menuitem name="_Refresh" key="F5" command="site.refresh()" id="TMMenu_MainSite_Refresh" />
	</menu>
	<menu name="_Window" id="TMMenu_MainSite_Window"/>
		<menuitem name="_Site Files" key="F8" command="site.setFocus(1)" id="TMMenu_MainSite_Files" />
		<menuitem name="_Results" key="F7" command="tm.toggleFloater('results')" id="TMMenu_MainSite_Results" />
	</menu>
</menubar>

<menubar name="Document Context" id="TMDocumentContext">
	<menu name="Document" id="TMMenu_Context_Document">
		<menuitem name="Cu_t" command="tm.getDocumentDOM().clipCut()" id="TMMenu_Context_Cut" />
		<menuitem name="_Copy" command="tm.getDocumentDOM().clipCopy()" id="TMMenu_Context_Copy" />
		<menuitem name="_Paste" command="tm.getDocumentDOM().clipPaste()" id="TMMenu_Context_Paste" />
		<separator />
		<menuitem name="Page Pr_operties..." command="tm.showPageProperties()" id="TMMenu_Context_Page" />
		<menu name="_Table" id="TMMenu_Context_Table">
			<menuitem name="Insert _Row" command="tm.getDocumentDOM().insertTableRow()" id="TMMenu_Context_Row" />
			<menuitem name="_Delete Row" command="tm.getDocumentDOM().deleteTableRow()" id="TMMenu_Context_DeleteRow" />
		</menu>
	</menu>
</menubar>

<menubar name="Site Context" id="TMSiteContext">
	<menu name="Files" id="TMMenu_Context_Files">
		<menuitem name="_Open" command="site.open()" id="TMMenu_Context_Open" />
		<menuitem name="_Get" command="site.get()" id="TMMenu_Context_Get" />
		<menuitem name="_Put" command="site.put()" id="TMMenu_Context_Put" />
	</menu>
</menubar>

<shortcutlist id="TMMainWindow">
	<!-- keys that have no menu item -->
	<shortcut key="Home" command="tm.goStart()" id="TMMainWindow_Home" />
	<shortcut key="End" command="tm.goEnd()" id="TMMainWindow_End" />
	<shortcut key="PgUp" command="tm.pageUp()" id="TMMainWindow_PageUp" />
	<shortcut key="PgDn" command="tm.pageDown()" id="TMMainWindow_PageDown" />
	<shortcut key="Cmd+Left" command="tm.wordLeft()" id="TMMainWindow_WordLeft" />
	<shortcut key="Cmd+Right" command="tm.wordRight()" id="TMMainWindow_WordRight" />
	<shortcut key="Cmd+Shift+Space" command="tm.insertNbsp()" id="TMMainWindow_Nbsp" />
	<shortcut key="BkSp" command="tm.getDocumentDOM().backspaceKey()" id="TMMainWindow_Backspace" />
</shortcutlist>

<shortcutlist id="TMMainSite">
	<!-- keys that have no menu item -->
	<shortcut key="F5" command="site.refresh()" id="TMMainSite_Refresh" />
	<shortcut key="Cmd+Shift+N" command="site.newFile()" id="TMMainSite_NewFile" />
	<shortcut key="Del" command="site.deleteSelection()" id="TMMainSite_Delete" />
</shortcutlist>

<shortcutlist id="TMHTMLSource">
	<!-- keys that have no menu item -->
	<shortcut key="Cmd+BkSp" command="tm.deleteWord()" id="TMHTMLSource_DeleteWord" />
	<shortcut key="Cmd+G" command="tm.goToLine()" id="TMHTMLSource_GoToLine" />
	<shortcut key="Cmd+'" command="tm.balanceBraces()" id="TMHTMLSource_Balance" />
	<shortcut key="Cmd+Space" dynamic file="Menus/Code Hints.htm" domRequired="false" id="TMHTMLSource_Hints" />
</shortcutlist>
)kest";
// clang-format on

} // namespace kest::host
