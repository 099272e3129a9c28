# SPDX-License-Identifier: MIT
# 64-bit ARM: clang and GNU ld over Debian's cross libraries. Tests run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(BRUMBLER_TRIPLE aarch64-linux-gnu)
set(BRUMBLER_EMULATOR qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/clang-cross.cmake)
