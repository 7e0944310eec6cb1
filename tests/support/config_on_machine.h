#pragma once

#include "support/temp_machine.h"

#include <string>
#include <utility>

namespace kest::test {

/// Samples of tests/data/config, and where below a product's folder each lies.
inline constexpr std::pair<const char*, const char*> kConfigFiles[] = {
    {"Menus.xml", "Configuration\\Menus\\Menus.xml"},
    {"toolbars.xml", "Configuration\\Toolbars\\toolbars.xml"},
    {"insertbar.xml", "Configuration\\Objects\\insertbar.xml"},
    {"KRDocumentTypes.xml", "Configuration\\DocumentTypes\\KRDocumentTypes.xml"},
    {"TagLibraries.vtm", "Configuration\\TagLibraries\\TagLibraries.vtm"},
    {"SourceFormat.txt", "Configuration\\SourceFormat.txt"},
    {"FTPExtensionMap.txt", "Configuration\\FTPExtensionMap.txt"},
    {"Extensions.txt", "Configuration\\Extensions.txt"},
    {"help.xml", "Help\\help.xml"},
    {"Menus.xml", "Configuration\\ServerBehaviors\\ASP_Js\\ServerBehaviors.xml"},
    {"Menus.xml", "Configuration\\ServerFormats\\ASP_Js\\ServerFormats.xml"},
    {"Menus.xml", "Configuration\\ServerFormats\\ASP_Js\\Formats.xml"},
    {"Menus.xml", "Configuration\\DataSources\\ASP_Js\\DataSources.xml"},
};

inline void PutConfigFiles(const TempMachine& machine, const std::string& folder) {
  for (const auto& [sample, path] : kConfigFiles) {
    machine.Write(folder + path, ConfigSample(sample));
  }
}

/// Edits ten of the files, and makes an eleventh.
inline constexpr const char* kChangesOfTenFiles = R"kest(
<menu-insert appendTo="TMMenu_File"><menuitem name="Ten" id="Ten_Item" /></menu-insert>
<toolbar-changes><toolbar-item-insert appendTo="TM_Toolbar_Main"><button id="Ten_Button" /></toolbar-item-insert></toolbar-changes>
<toolbar-changes file="ten.xml"><toolbar-insert><toolbar id="Ten_Bar"><button id="Ten_Own" /></toolbar></toolbar-insert></toolbar-changes>
<insertbar-changes><insertbar-item-insert appendTo="TM_Insertbar_Common"><button id="Ten_Insert" /></insertbar-item-insert></insertbar-changes>
<documenttype-changes><documenttype-insert><documenttype id="Ten" /></documenttype-insert></documenttype-changes>
<taglibrary-changes><taglibrary-insert><taglibrary id="Ten" /></taglibrary-insert></taglibrary-changes>
<source-format-changes><element-insert name="ten" break="1,0,0,1" /></source-format-changes>
<FTP-extension-map-changes><FTP-extension-insert extension="TEN" type="ascii" /></FTP-extension-map-changes>
<extensions-changes><extension-insert extension="TEN" description="Ten Files" /></extensions-changes>
<server-behavior-changes servermodelfolder="ASP_Js"><menu-insert appendTo="TMMenu_File"><menuitem name="Ten" id="Ten_Server" /></menu-insert></server-behavior-changes>
<helpbook-changes><helpbook-insert><book-id id="Ten" /></helpbook-insert></helpbook-changes>
)kest";

} // namespace kest::test
