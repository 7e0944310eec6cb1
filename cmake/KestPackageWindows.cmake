# `cpack` in a build for Windows: a ZIP to unpack anywhere, and an installer that registers the two kinds of files.
find_program(KEST_MAKENSIS makensis)
set(CPACK_GENERATOR ZIP)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON) # what a user needs; else it holds the headers as well
if(KEST_MAKENSIS)
  list(APPEND CPACK_GENERATOR NSIS64)
endif()
set(CPACK_PACKAGE_FILE_NAME "kest-${PROJECT_VERSION}-windows-x86_64")
set(CPACK_PACKAGE_INSTALL_DIRECTORY Kest)
set(CPACK_RESOURCE_FILE_LICENSE "${CMAKE_SOURCE_DIR}/LICENSE")
set(CPACK_NSIS_PACKAGE_NAME Kest)
set(CPACK_NSIS_DISPLAY_NAME "Kest ${PROJECT_VERSION}")
set(CPACK_NSIS_MODIFY_PATH ON)
# A program of 64 bits itself: some systems, Wine among them, may have no other. CPack has no word of its own for that, and
# hands this one on as it stands.
set(CPACK_NSIS_COMPRESSOR "lzma\n  Target amd64-unicode")
# A package opens in a window that stays, so that what was asked and told can be read. The uninstaller takes back the
# names of extensions only as long as they still lead here.
set(install_lines)
set(uninstall_lines)
foreach(kind IN ITEMS "kep,Package,Kest extension package,install" "kei,Description,Kest extension description,check")
  string(REPLACE "," ";" words "${kind}")
  list(GET words 0 ending)
  list(GET words 1 class)
  list(GET words 2 title)
  list(GET words 3 command)
  string(APPEND install_lines "
  WriteRegStr SHCTX 'Software\\\\Classes\\\\.${ending}' '' 'Kest.${class}'
  WriteRegStr SHCTX 'Software\\\\Classes\\\\Kest.${class}' '' '${title}'
  WriteRegStr SHCTX 'Software\\\\Classes\\\\Kest.${class}\\\\shell\\\\open\\\\command' '' \\
    '\\\"$SYSDIR\\\\cmd.exe\\\" /k \\\"\\\"$INSTDIR\\\\bin\\\\kest.exe\\\" ${command} \\\"%1\\\"\\\"'")
  string(APPEND uninstall_lines "
  ReadRegStr $0 SHCTX 'Software\\\\Classes\\\\.${ending}' ''
  StrCmp $0 'Kest.${class}' 0 +2
  DeleteRegKey SHCTX 'Software\\\\Classes\\\\.${ending}'
  DeleteRegKey SHCTX 'Software\\\\Classes\\\\Kest.${class}'")
endforeach()
set(notify "
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'")
set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS "${install_lines}${notify}")
set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS "${uninstall_lines}${notify}")
