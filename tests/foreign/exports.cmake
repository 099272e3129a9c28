# SPDX-License-Identifier: MIT
# Checks what the built module exports and needs:
#   cmake -DMODULE=FILE -DREADELF=PROGRAM -DSLOTS=SOURCE -DOWN_RUNTIME=BOOL -P exports.cmake
# OWN_RUNTIME: the module contains its C++ runtime, as in all but the sanitizer builds.
execute_process(COMMAND ${READELF} --file-header ${MODULE} OUTPUT_VARIABLE header COMMAND_ERROR_IS_FATAL ANY)
# The newest C library that the module may need: the one with which the processor's port began, or 2.4, which
# distributions' hardening options need.
set(newest 999)
if(header MATCHES "Machine: +AArch64")
  set(newest 2.17)
elseif(header MATCHES "Machine: +(Advanced Micro Devices X86-64|Intel 80386|ARM)\n")
  set(newest 2.4)
endif()

execute_process(COMMAND ${READELF} --dyn-syms --wide ${MODULE} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[0-9]+: [0-9a-f]+ +[^\n]+" symbols "${symbols}")
foreach(symbol IN LISTS symbols)
  string(REGEX MATCHALL "[^ ]+" columns "${symbol}")
  list(LENGTH columns length)
  if(length LESS 8)  # the nameless first one
    continue()
  endif()
  list(GET columns 4 binding)
  if(binding STREQUAL "LOCAL")  # GNU ld lists sections on 32-bit and 64-bit ARM
    continue()
  endif()
  list(GET columns 6 section)
  list(GET columns 7 name)
  if(NOT section STREQUAL "UND")
    list(APPEND exported ${name})
  elseif(OWN_RUNTIME AND NOT name MATCHES "@(GLIBC|GCC)_|^_ITM_(de)?registerTMCloneTable$|^__gmon_start__$")
    message(SEND_ERROR "${name} is left to the host")
  elseif(OWN_RUNTIME AND name MATCHES "@GLIBC_([0-9.]+)" AND CMAKE_MATCH_1 VERSION_GREATER newest)
    message(SEND_ERROR "${name} is newer than ${newest}: see host/symbolVersions.cpp")
  endif()
endforeach()
list(SORT exported)
if(NOT exported STREQUAL "QTypeIF;getinterface")
  message(SEND_ERROR "exports ${exported}")
endif()
if(NOT OWN_RUNTIME)
  return()
endif()

# Only the C library, its mathematics library and its loader.
execute_process(COMMAND ${READELF} --dynamic --wide ${MODULE} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Shared library: [^\n]+" needed "${dynamic}")
foreach(library IN LISTS needed)
  message(STATUS "${library}")
  if(NOT library MATCHES "\\[(libc\\.so\\.6|libm\\.so\\.6|ld-linux[-a-z0-9_]*\\.so\\.[0-9])\\]")
    message(SEND_ERROR "needs more than the C library: ${library}")
  endif()
endforeach()

# Two words precede the slots of a virtual table.
execute_process(COMMAND ${READELF} --syms --wide ${MODULE} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "([0-9a-f]+) +([0-9]+) OBJECT[^\n]+ _ZTV8Brumbler\n" table "${symbols}")
string(LENGTH "${CMAKE_MATCH_1}" digits)
math(EXPR slots "0${CMAKE_MATCH_2} / (${digits} / 2) - 2")
file(READ ${SLOTS} source)
string(REGEX MATCHALL "{[0-9]+, [a-z]" rows "${source}")
list(LENGTH rows rows)
if(NOT slots EQUAL rows)
  message(SEND_ERROR "the virtual table has ${slots} slots, the test calls ${rows}")
endif()
