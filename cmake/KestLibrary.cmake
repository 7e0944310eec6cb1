# The engine: one object library a layer, so that a layer builds alone, and libkest made of them all.
set(KEST_LAYERS platform journal config menus description products manager)
set(KEST_LAYER_OBJECTS)
foreach(layer IN LISTS KEST_LAYERS)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${layer}/*.cpp" "${CMAKE_SOURCE_DIR}/${layer}/*.h")
  add_library(kest_${layer} OBJECT ${sources})
  set_target_properties(kest_${layer} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(kest_${layer} PUBLIC "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>")
  target_compile_definitions(kest_${layer} PRIVATE KEST_BUILDING_LIBRARY)
  if(NOT BUILD_SHARED_LIBS)
    target_compile_definitions(kest_${layer} PUBLIC KEST_STATIC)
  endif()
  target_link_libraries(kest_${layer} PRIVATE $<BUILD_INTERFACE:kest_options>)
  list(APPEND KEST_LAYER_OBJECTS $<TARGET_OBJECTS:kest_${layer}>)
endforeach()
target_link_libraries(kest_platform PRIVATE EXPAT::EXPAT PkgConfig::LIBDEFLATE ZLIB::ZLIB)

add_library(kest ${KEST_LAYER_OBJECTS})
add_library(Kest::kest ALIAS kest)
# before 1.0 every minor version may change the interface
set_target_properties(kest PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                                      SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
if(BUILD_SHARED_LIBS AND CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
  configure_file("${CMAKE_CURRENT_LIST_DIR}/kest.map.in" "${CMAKE_BINARY_DIR}/kest.map" @ONLY)
  # a library that lacks something is found out here, and not by whoever links with it
  target_link_options(kest PRIVATE "-Wl,--version-script=${CMAKE_BINARY_DIR}/kest.map" -Wl,-z,defs)
  set_property(TARGET kest APPEND PROPERTY LINK_DEPENDS "${CMAKE_BINARY_DIR}/kest.map")
endif()
target_include_directories(kest PUBLIC "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>"
                                       "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kest>")
target_link_libraries(kest PRIVATE EXPAT::EXPAT PkgConfig::LIBDEFLATE ZLIB::ZLIB)
if(NOT BUILD_SHARED_LIBS)
  target_compile_definitions(kest PUBLIC KEST_STATIC)
endif()
