# Run by CPack on the tree that it is about to pack: brings it into the shape that Debian's policy asks for.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

function(dress package)
  file(GLOB_RECURSE programs LIST_DIRECTORIES false "${CPACK_TEMPORARY_DIRECTORY}/${package}/*")
  list(FILTER programs INCLUDE REGEX "/bin/${package}$")
  if(NOT programs)
    message(FATAL_ERROR "no program in the tree at ${CPACK_TEMPORARY_DIRECTORY}/${package}")
  endif()
  list(GET programs 0 program)
  get_filename_component(usr "${program}/../.." ABSOLUTE)

  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # SOURCE_DATE_EPOCH rules when it is set
  file(MAKE_DIRECTORY "${usr}/share/doc/${package}")
  file(WRITE "${usr}/share/doc/${package}/changelog.Debian"
"${package} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Packaged by the project's own build.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  file(READ "${CPACK_KEST_LICENSE}" license)
  string(REGEX REPLACE "^MIT License\n\nCopyright[^\n]*\n\n" "" license "${license}")
  string(STRIP "${license}" license)
  string(REGEX REPLACE "\n\n" "\n.\n" license "${license}")
  string(REGEX REPLACE "\n" "\n " license "${license}")
  file(READ "${CPACK_KEST_LICENSE}" whole)
  string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" holder "${whole}")
  file(WRITE "${usr}/share/doc/${package}/copyright"
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: kest

Files: *
Copyright: ${CMAKE_MATCH_1}
License: Expat

License: Expat
 ${license}
")

  file(GLOB_RECURSE pages "${usr}/share/man/*.[1-9]")
  foreach(file IN LISTS pages ITEMS "${usr}/share/doc/${package}/changelog.Debian")
    execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()

  # where Debian's zsh looks
  if(EXISTS "${usr}/share/zsh/site-functions")
    file(RENAME "${usr}/share/zsh/site-functions" "${usr}/share/zsh/vendor-completions")
  endif()

  # whatever the umask of the builder is
  file(GLOB_RECURSE all LIST_DIRECTORIES true "${usr}/*")
  foreach(path IN LISTS all ITEMS "${usr}")
    if(IS_DIRECTORY "${path}" OR path STREQUAL program)
      file(CHMOD "${path}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    else()
      file(CHMOD "${path}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endif()
  endforeach()
endfunction()

foreach(package IN ITEMS kest kest-window)
  if(EXISTS "${CPACK_TEMPORARY_DIRECTORY}/${package}")
    dress(${package})
  endif()
endforeach()
