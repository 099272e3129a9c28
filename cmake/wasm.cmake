# SPDX-License-Identifier: MIT
# WebAssembly with Debian's clang, wasi-libc and libc++: two-lane vectors, no threads, no exceptions. Programs run in
# Node. If wasm-opt is installed, clang runs it on what it links; the -O0 at the end prevents that, so that every
# machine builds the same bytes.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -fno-exceptions")
set(CMAKE_CXX_STANDARD_LIBRARIES "-O0")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
find_program(BRUMBLER_NODE NAMES node nodejs)
if(BRUMBLER_NODE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${BRUMBLER_NODE} --no-warnings ${CMAKE_CURRENT_LIST_DIR}/../web/test/wasi.mjs)
endif()
