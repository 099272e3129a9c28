# SPDX-License-Identifier: MIT
# 32-bit ARM with hardware floating point: clang and GNU ld over Debian's cross libraries. Tests run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(BRUMBLER_TRIPLE arm-linux-gnueabihf)
set(BRUMBLER_EMULATOR qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/clang-cross.cmake)
