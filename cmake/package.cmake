# SPDX-License-Identifier: MIT
# What is installed beside the products, and the archive for any Linux: cmake --build --preset release --target package
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(DOCUMENTS ${CMAKE_INSTALL_DATADIR}/doc/brumbler)
install(FILES README.md CHANGELOG.md DESTINATION ${DOCUMENTS})
file(GLOB DOCUMENT_FILES CONFIGURE_DEPENDS docs/*.md docs/*.json)
list(REMOVE_ITEM DOCUMENT_FILES ${PROJECT_SOURCE_DIR}/docs/archive.md ${PROJECT_SOURCE_DIR}/docs/testing.md)
install(FILES ${DOCUMENT_FILES} DESTINATION ${DOCUMENTS}/docs)
install(DIRECTORY docs/pictures DESTINATION ${DOCUMENTS}/docs)
# The page, where it has been built: cmake --preset wasm && cmake --build --preset wasm
install(FILES ${PROJECT_SOURCE_DIR}/build/wasm/brumbler.html DESTINATION ${CMAKE_INSTALL_DATADIR}/brumbler OPTIONAL)

install(FILES LICENSE DESTINATION . COMPONENT archive EXCLUDE_FROM_ALL)
install(FILES docs/archive.md DESTINATION . RENAME README.md COMPONENT archive EXCLUDE_FROM_ALL)
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_VENDOR "Brumbler project")
set(CPACK_PACKAGE_FILE_NAME brumbler-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${CMAKE_BINARY_DIR};brumbler;ALL;/" "${CMAKE_BINARY_DIR};brumbler;archive;/")
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
