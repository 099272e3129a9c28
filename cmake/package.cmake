# SPDX-License-Identifier: MIT
# What is installed beside the products, and the archive for any GNU/Linux:
#   cmake --build --preset release --target archive
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(DOCUMENTS ${CMAKE_INSTALL_DATADIR}/doc/brumbler)
file(GLOB DOCUMENT_FILES CONFIGURE_DEPENDS docs/*.md docs/*.json)
list(REMOVE_ITEM DOCUMENT_FILES ${PROJECT_SOURCE_DIR}/docs/archive.md ${PROJECT_SOURCE_DIR}/docs/testing.md)
list(TRANSFORM DOCUMENT_FILES REPLACE "^.*/docs/" "docs/")
# Links to files that are not installed are replaced by their text.
set(PLAIN_DOCUMENTS ${CMAKE_CURRENT_BINARY_DIR}/documents)
file(REMOVE_RECURSE ${PLAIN_DOCUMENTS})
foreach(document README.md CHANGELOG.md ${DOCUMENT_FILES})
  file(READ ${document} text)
  string(REGEX REPLACE "\\[([^][]*)\\]\\((\\.\\./)?((bench|catalog|cli|effect|host|player|scripts|tests)/[^)]*|docs/testing.md|CONTRIBUTING.md)\\)" "\\1" text "${text}")
  file(WRITE ${PLAIN_DOCUMENTS}/${document} "${text}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document})
endforeach()
install(DIRECTORY ${PLAIN_DOCUMENTS}/ DESTINATION ${DOCUMENTS})
install(DIRECTORY docs/pictures DESTINATION ${DOCUMENTS}/docs)
# The page, if this version of it was built: cmake --preset wasm && cmake --build --preset wasm
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
set(ARCHIVE brumbler-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
add_custom_target(archive COMMAND ${CMAKE_COMMAND} -DBUILD=${CMAKE_BINARY_DIR} -DNAME=${ARCHIVE}
  -DDATE=${BRUMBLER_RELEASE_DATE} -P ${PROJECT_SOURCE_DIR}/cmake/archive.cmake VERBATIM)
function(brumbler_archive_dependencies)
  foreach(target brumbler brumbler_cli brumbler_live brumbler_lv2 brumbler_ui)
    if(TARGET ${target})
      add_dependencies(archive ${target})
    endif()
  endforeach()
endfunction()
cmake_language(DEFER CALL brumbler_archive_dependencies)  # once all targets are known
