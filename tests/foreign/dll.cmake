# SPDX-License-Identifier: MIT
# Checks a built DLL's exports, and that it needs only the libraries of Windows itself.
#   cmake -DMODULE=FILE -DOBJDUMP=PROGRAM -P dll.cmake
execute_process(COMMAND ${OBJDUMP} -p ${MODULE} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "DLL Name: [^\n]+" needed "${headers}")
foreach(library IN LISTS needed)
  if(NOT library MATCHES ": (KERNEL32|msvcrt)\\.dll$")
    message(SEND_ERROR "needs more than Windows: ${library}")
  endif()
endforeach()
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table\n(.*)" table "${headers}")
string(REGEX MATCHALL "\n?\t\\[ *[0-9]+\\] [A-Za-z_0-9]+" rows "${CMAKE_MATCH_1}")
list(TRANSFORM rows REPLACE ".*\\] " "" OUTPUT_VARIABLE exported)
list(SORT exported)
if(NOT exported STREQUAL "QTypeIF;getinterface" AND NOT exported STREQUAL "lv2_descriptor")
  message(SEND_ERROR "exports ${exported}")
endif()
