# SPDX-License-Identifier: MIT
# Ends the configuration with a clear message if the compiler is known to be too old. The versions are the oldest with
# which the effect, its command and its tests were built.
set(OLDEST_GNU 12)
set(OLDEST_Clang 13)
set(OLDEST ${OLDEST_${CMAKE_CXX_COMPILER_ID}})
if(OLDEST AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS OLDEST)
  message(FATAL_ERROR "This compiler, ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}, is too old for the C++20 that "
    "Brumbler is written in. Use g++ ${OLDEST_GNU} or clang ${OLDEST_Clang} or newer: -DCMAKE_CXX_COMPILER=g++-${OLDEST_GNU}, "
    "for instance, in an empty build folder.")
endif()
