# What `cmake --install` and CPack put where. Components: host (kest, its man pages and completions), runtime (the shared
# library), devel (headers, CMake package, pkg-config file, the library to link with).
include(CMakePackageConfigHelpers)

# The public headers, by folder: what a host needs, and what those include. tests/consumer compiles each alone and
# checks that kest itself gets by with them.
set(KEST_PUBLIC_HEADERS
  config/config_change.h config/help_change.h config/named.h
  description/description_observer.h description/extension.h description/extension_records.h
  description/extension_xml_parser.h description/typed_container.h
  journal/catalogue_operations.h journal/history.h journal/install_step.h journal/journal.h journal/record_judge.h
  journal/step_record.h journal/waiting_file.h
  kest/kest.h kest/version.h
  manager/clashes.h manager/explanation.h manager/extension_manager.h manager/install_options.h manager/operation_report.h manager/owners.h manager/preview.h
  manager/repair.h
  manager/validation.h manager/verify.h
  platform/machine/file.h platform/machine/forwarding_machine.h platform/machine/hosted_machine.h platform/machine/machine.h platform/machine/os.h platform/machine/overlay_machine.h
  platform/machine/timer.h platform/machine/version_resource.h
  platform/machine_folder/machine_folder.h
  platform/messages/extension_manager_ui.h platform/messages/message_file.h platform/messages/messages.h
  platform/package/package.h
  platform/text/containers.h platform/text/export.h platform/text/nearest.h platform/text/path.h platform/text/text.h platform/text/utf8.h platform/text/values.h platform/text/windows_names.h
  platform/xml/xml_object.h platform/xml/xml_parser.h
  products/product.h)
if(WIN32)
  list(APPEND KEST_PUBLIC_HEADERS platform/windows/windows_machine.h)
endif()
foreach(header IN LISTS KEST_PUBLIC_HEADERS)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kest/${folder}" COMPONENT devel)
  # The headers of platform/ lay side by side in version 0.1: for one release the old paths lead to the new ones.
  if(header MATCHES "^platform/[a-z_]+/([a-z_]+\\.h)$")
    set(forwarding "${CMAKE_BINARY_DIR}/forwarding/${CMAKE_MATCH_1}")
    set(includes "#include \"${header}\"\n")
    if(header STREQUAL "platform/text/values.h") # it held the timer as well
      string(PREPEND includes "#include \"platform/machine/timer.h\"\n")
    endif()
    file(CONFIGURE OUTPUT "${forwarding}" CONTENT "#pragma once\n\n${includes}")
    install(FILES "${forwarding}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kest/platform" COMPONENT devel)
  endif()
endforeach()

# ---- the library. One prefix may hold both kinds: each has a targets file of its own.
if(BUILD_SHARED_LIBS)
  set(kest_kind shared)
else()
  set(kest_kind static)
endif()
set(kest_cmake_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Kest")
install(TARGETS kest EXPORT KestTargets-${kest_kind}
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT devel
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT devel)
target_compile_features(kest PUBLIC cxx_std_20)
install(EXPORT KestTargets-${kest_kind} NAMESPACE Kest:: DESTINATION "${kest_cmake_folder}" COMPONENT devel)

configure_package_config_file(cmake/KestConfig.cmake.in "${CMAKE_BINARY_DIR}/KestConfig.cmake"
  INSTALL_DESTINATION "${kest_cmake_folder}" NO_SET_AND_CHECK_MACRO)
# before 1.0 every minor version may change the interface
write_basic_package_version_file("${CMAKE_BINARY_DIR}/KestConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/KestConfig.cmake" "${CMAKE_BINARY_DIR}/KestConfigVersion.cmake"
  DESTINATION "${kest_cmake_folder}" COMPONENT devel)

foreach(kind IN ITEMS LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(KEST_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(KEST_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
# The prefix is taken from where the file lies, so that an install tree can be moved.
file(RELATIVE_PATH KEST_PC_UP "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" KEST_PC_UP "${KEST_PC_UP}")
configure_file(cmake/kest.pc.in "${CMAKE_BINARY_DIR}/kest.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/kest.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT devel)

install(FILES docs/man/kest-description.5 DESTINATION "${CMAKE_INSTALL_MANDIR}/man5" COMPONENT host)

# ---- the command-line host
if(NOT TARGET kest_cli)
  return()
endif()
if(BUILD_SHARED_LIBS)
  file(RELATIVE_PATH to_library "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(kest_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
endif()
install(TARGETS kest_cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT host)
install(FILES docs/man/kest.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT host)
install(DIRECTORY host/messages DESTINATION "${CMAKE_INSTALL_DATADIR}/kest" COMPONENT host FILES_MATCHING PATTERN "*.txt")

if(WIN32)
  install(TARGETS kest_replace RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT host)
  install(FILES LICENSE README.md DESTINATION . COMPONENT host)
  return() # no shell of that system reads what follows
endif()

# completion scripts come from the program's own table of commands
set(completions)
foreach(shell IN ITEMS bash zsh fish)
  set(script "${CMAKE_BINARY_DIR}/completion/kest.${shell}")
  add_custom_command(OUTPUT "${script}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_BINARY_DIR}/completion"
    COMMAND $<TARGET_FILE:kest_cli> completion ${shell} > "${script}"
    DEPENDS kest_cli VERBATIM)
  list(APPEND completions "${script}")
endforeach()
add_custom_target(kest_completions ALL DEPENDS ${completions})
install(FILES "${CMAKE_BINARY_DIR}/completion/kest.bash" RENAME kest
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT host)
install(FILES "${CMAKE_BINARY_DIR}/completion/kest.zsh" RENAME _kest
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT host)
install(FILES "${CMAKE_BINARY_DIR}/completion/kest.fish"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT host)
