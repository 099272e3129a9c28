# SPDX-License-Identifier: MIT
# Checks the version in the files that cannot take it from CMakeLists.txt:
#   cmake -DVERSION=NUMBER -DDATE=YYYY-MM-DD -P version.cmake
file(READ debian/changelog debian)
if(NOT debian MATCHES "^brumbler \\(([^)]+)\\).*\n -- [^\n]*>  ([^\n]+)")
  message(FATAL_ERROR "debian/changelog begins with no version")
endif()
set(version ${CMAKE_MATCH_1})
execute_process(COMMAND date --utc --date=${CMAKE_MATCH_2} +%F OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT "${version} ${date}" STREQUAL "${VERSION} ${DATE}")
  message(SEND_ERROR "debian/changelog has ${version} of ${date}, CMakeLists.txt ${VERSION} of ${DATE}")
endif()
file(READ CHANGELOG.md changes)
string(REGEX MATCH "\n## ([0-9.]+)" ignored "${changes}")
if(NOT CMAKE_MATCH_1 STREQUAL VERSION)
  message(SEND_ERROR "CHANGELOG.md begins with ${CMAKE_MATCH_1}, CMakeLists.txt has ${VERSION}")
endif()
