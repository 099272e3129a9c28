# SPDX-License-Identifier: MIT
# Makes the archive for any GNU/Linux, for the target `archive`: what is installed, the libraries that the command needs
# except those of glibc, and their licences. The bytes do not depend on the umask, time zone, locale or folder.
#   cmake -DBUILD=FOLDER -DNAME=NAME -DDATE=YYYY-MM-DD -P archive.cmake
set(root ${BUILD}/archive/${NAME})
unset(ENV{DESTDIR})  # would move the files somewhere else
file(REMOVE_RECURSE ${BUILD}/archive)
foreach(component Unspecified archive)
  execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --strip --component ${component} --prefix ${root}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()

file(GET_RUNTIME_DEPENDENCIES EXECUTABLES ${root}/bin/brumbler
  RESOLVED_DEPENDENCIES_VAR libraries
  POST_EXCLUDE_REGEXES "/(ld-linux[^/]*|lib(c|m|dl|rt|pthread))\\.so[^/]*$")
set(copyrights "")
foreach(library IN LISTS libraries)
  file(REAL_PATH ${library} file)
  string(REGEX REPLACE "^/usr" "" file ${file})  # dpkg may know it without
  execute_process(COMMAND dpkg-query --search "*${file}" OUTPUT_VARIABLE package ERROR_VARIABLE ignored)
  string(REGEX MATCH "^[^:,]+" package "${package}")
  if(NOT package OR NOT EXISTS /usr/share/doc/${package}/copyright)
    message(FATAL_ERROR "No licence found for ${library}. Make the archive on Debian, with libraries from its packages.")
  endif()
  file(INSTALL ${library} DESTINATION ${root}/lib/brumbler/libraries FOLLOW_SYMLINK_CHAIN)
  file(INSTALL /usr/share/doc/${package}/copyright DESTINATION ${root}/licences RENAME ${package})
  file(READ /usr/share/doc/${package}/copyright text)
  string(APPEND copyrights "${text}")
endforeach()
# Debian's copyright files quote some licences by these files.
string(REGEX MATCHALL "/usr/share/common-licenses/[A-Za-z0-9.+-]*[A-Za-z0-9]" common "${copyrights}")
list(REMOVE_DUPLICATES common)
foreach(file IN LISTS common)
  if(EXISTS ${file})
    file(INSTALL ${file} DESTINATION ${root}/licences/common-licenses FOLLOW_SYMLINK_CHAIN)
  endif()
endforeach()

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(time @$ENV{SOURCE_DATE_EPOCH})
else()
  set(time "${DATE} 00:00 UTC")
endif()
execute_process(COMMAND tar --sort=name --mtime=${time} --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX
  -czf ${BUILD}/${NAME}.tar.gz ${NAME} WORKING_DIRECTORY ${BUILD}/archive COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE ${BUILD}/archive)
message(STATUS "Made ${BUILD}/${NAME}.tar.gz")
