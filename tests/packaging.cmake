# Tests of what is installed, packaged and documented. Those labelled "slow" build something.
set(packaging_work "${CMAKE_BINARY_DIR}/packaging")
file(MAKE_DIRECTORY "${packaging_work}")
set(packaging_plain ON)
if(KEST_SANITIZE OR KEST_COVERAGE)
  set(packaging_plain OFF)
endif()

# add_packaging_test(name [NEEDS condition-variable reason] COMMAND ...): where the condition is false the test is there,
# is reported as skipped, and says why.
function(add_packaging_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "SLOW" "" "NEEDS;COMMAND")
  set(command ${arg_COMMAND})
  if(arg_NEEDS)
    list(GET arg_NEEDS 0 condition)
    list(GET arg_NEEDS 1 reason)
    if(NOT ${condition})
      set(command sh -c "echo 'skipped: ${reason}' && exit 77")
    endif()
  endif()
  add_test(NAME ${name} COMMAND ${command})
  set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300)
  if(arg_SLOW)
    set_tests_properties(${name} PROPERTIES LABELS slow TIMEOUT 3600 RUN_SERIAL ON)
  endif()
endfunction()

if(NOT TARGET kest_cli)
  return()
endif()

add_subdirectory("${CMAKE_SOURCE_DIR}/examples/host" "${CMAKE_BINARY_DIR}/examples/host")
foreach(example IN ITEMS list_and_install scripted_install)
  target_link_libraries(example_${example} PRIVATE kest_options)
endforeach()
add_packaging_test(example_hosts
  COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/check_example_hosts.sh" "${CMAKE_SOURCE_DIR}" "${packaging_work}/example_hosts"
          $<TARGET_FILE:kest_cli> $<TARGET_FILE:example_list_and_install> $<TARGET_FILE:example_scripted_install>)

if(BUILD_SHARED_LIBS)
  set(consumer_builds "${packaging_work}/consumer/static-build" "${CMAKE_BINARY_DIR}")
else()
  set(consumer_builds "${CMAKE_BINARY_DIR}" "${packaging_work}/consumer/shared-build")
endif()
add_packaging_test(consumer SLOW
  NEEDS packaging_plain "a program without sanitizers or counters cannot be linked with this build"
  COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/consumer/check_consumer.sh" "${CMAKE_SOURCE_DIR}" "${packaging_work}/consumer"
          $<TARGET_FILE:kest_cli> ${consumer_builds} "${packaging_work}/kest_objects")
file(GENERATE OUTPUT "${packaging_work}/kest_objects"
  CONTENT "$<JOIN:$<TARGET_OBJECTS:kest_host>,\n>\n$<JOIN:$<TARGET_OBJECTS:kest_cli>,\n>\n")

find_program(KEST_MANDOC mandoc)
add_packaging_test(man_pages NEEDS KEST_MANDOC "mandoc is not installed (scripts/setup check)"
  COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/check_man_pages.sh" "${CMAKE_SOURCE_DIR}" $<TARGET_FILE:kest_cli>)

find_program(KEST_DPKG_DEB dpkg-deb)
find_program(KEST_DPKG_SHLIBDEPS dpkg-shlibdeps)
set(packaging_debian OFF)
if(packaging_plain AND NOT BUILD_SHARED_LIBS AND KEST_DPKG_DEB AND KEST_DPKG_SHLIBDEPS)
  set(packaging_debian ON)
endif()
add_packaging_test(debian_package SLOW
  NEEDS packaging_debian "wants a static build without sanitizers, and dpkg-dev (scripts/setup package)"
  COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/check_debian_package.sh" "${CMAKE_BINARY_DIR}" "${packaging_work}/debian")

find_program(KEST_DOXYGEN doxygen)
add_packaging_test(api_documentation NEEDS KEST_DOXYGEN "doxygen is not installed (scripts/setup docs)"
  COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/check_api_documentation.sh" "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}"
          "${packaging_work}/api")
