// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// What the emulated program has done so far. Lies in a file that the emulator's plug-in and the program both map: the
// plug-in has every instruction add to it, the program reads it.
struct Counters {
  std::uint64_t instructions;
  std::uint64_t loads;  // memory accesses, of whatever width
  std::uint64_t stores;
};
