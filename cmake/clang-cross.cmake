# SPDX-License-Identifier: MIT
# What the ARM toolchain files share. Debian's own cross GCCs cannot be installed beside the 32-bit x86 libraries of
# g++-multilib; clang builds for every processor and needs only headers and libraries from the cross packages.
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET ${BRUMBLER_TRIPLE})
# GNU ld, because LLVM's linker requires the newest version of the C library that any of its symbols has, even an unused
# one.
add_link_options(--ld-path=/usr/bin/${BRUMBLER_TRIPLE}-ld)
set(CMAKE_FIND_ROOT_PATH /usr/${BRUMBLER_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
find_program(BRUMBLER_EMULATOR_PATH ${BRUMBLER_EMULATOR})
if(BRUMBLER_EMULATOR_PATH)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${BRUMBLER_EMULATOR_PATH} -L /usr/${BRUMBLER_TRIPLE})
endif()
# CMake 3.31 checks a program linked without the options above, finds no ELF and could not change an RPATH.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
