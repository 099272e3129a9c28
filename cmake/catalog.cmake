# SPDX-License-Identifier: MIT
# Makes the headers catalog/catalog.h and catalog/pedal.h of the build folder from catalog/*.json, for every target.
# CMake runs again when one of the files changes.
find_program(BRUMBLER_PYTHON python3 REQUIRED)
file(GLOB CATALOG_FILES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/catalog/*.json)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CATALOG_FILES}
  ${PROJECT_SOURCE_DIR}/catalog/generate.py ${PROJECT_SOURCE_DIR}/catalog/catalog.h.in ${PROJECT_SOURCE_DIR}/catalog/pedal.h.in)

# Runs catalog/generate.py. An error in the catalog ends CMake with the script's message.
function(brumbler_generate)
  execute_process(COMMAND ${BRUMBLER_PYTHON} ${PROJECT_SOURCE_DIR}/catalog/generate.py ${ARGN} ERROR_VARIABLE message
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${message}")
  endif()
endfunction()

set(CATALOG_INCLUDE_DIR ${PROJECT_BINARY_DIR}/generated)
brumbler_generate(header ${CATALOG_INCLUDE_DIR}/catalog)
