# SPDX-License-Identifier: MIT
# What is installed beside the products, and the archive for any Linux: cmake --build --preset release --target package
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(DOCUMENTS ${CMAKE_INSTALL_DATADIR}/doc/brumbler)
file(GLOB DOCUMENT_FILES CONFIGURE_DEPENDS docs/*.md docs/*.json)
list(REMOVE_ITEM DOCUMENT_FILES ${PROJECT_SOURCE_DIR}/docs/archive.md ${PROJECT_SOURCE_DIR}/docs/testing.md)
list(TRANSFORM DOCUMENT_FILES REPLACE "^.*/docs/" "docs/")
# Of links to files that stay in the sources, only the text.
set(PLAIN_DOCUMENTS ${CMAKE_CURRENT_BINARY_DIR}/documents)
file(REMOVE_RECURSE ${PLAIN_DOCUMENTS})
foreach(document README.md CHANGELOG.md ${DOCUMENT_FILES})
  file(READ ${document} text)
  string(REGEX REPLACE "\\[([^][]*)\\]\\((\\.\\./)?(bench|catalog|cli|effect|host|scripts|tests)/[^)]*\\)" "\\1" text "${text}")
  file(WRITE ${PLAIN_DOCUMENTS}/${document} "${text}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document})
endforeach()
install(DIRECTORY ${PLAIN_DOCUMENTS}/ DESTINATION ${DOCUMENTS})
install(DIRECTORY docs/pictures DESTINATION ${DOCUMENTS}/docs)
# The page, where it has been built in this version: cmake --preset wasm && cmake --build --preset wasm
file(CONFIGURE OUTPUT installPage.cmake @ONLY CONTENT [[
set(page "@PROJECT_SOURCE_DIR@/build/wasm/brumbler.html")
if(EXISTS "${page}")
  file(READ "${page}" text)
  string(FIND "${text}" "Version @PROJECT_VERSION@<" found)
  if(found EQUAL -1)
    message(WARNING "Left out ${page}: it is not of version @PROJECT_VERSION@; build it anew with "
      "`cmake --preset wasm && cmake --build --preset wasm`")
  else()
    file(INSTALL "${page}" DESTINATION "${CMAKE_INSTALL_PREFIX}/@CMAKE_INSTALL_DATADIR@/brumbler")
  endif()
endif()
]])
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/installPage.cmake)

install(FILES LICENSE debian/copyright DESTINATION . COMPONENT archive EXCLUDE_FROM_ALL)
install(FILES docs/archive.md DESTINATION . RENAME README.md COMPONENT archive EXCLUDE_FROM_ALL)
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_VENDOR "Brumbler project")
set(CPACK_PACKAGE_FILE_NAME brumbler-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${CMAKE_BINARY_DIR};brumbler;Unspecified;/" "${CMAKE_BINARY_DIR};brumbler;archive;/")
# The same bytes from every folder: every file has the release's date, unless the caller gives another.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/packageDate.cmake)
file(CONFIGURE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} @ONLY CONTENT [[
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND date --utc --date=@BRUMBLER_RELEASE_DATE@ +%s OUTPUT_VARIABLE epoch
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCE_DATE_EPOCH} ${epoch})
endif()
]])
include(CPack)
