// SPDX-License-Identifier: MIT
#pragma once

// Filter sections that long blocks work on at once: 4 on an x86-64 processor with AVX2, if g++ built the module,
// else 2. Set when the module is loaded and then only read; tests and measurements set it to 2 to try both. The results
// are the same doubles.
//
// Cost, four to two: 0.87 of the time at blocks of 512, 0.90 at 64 (Zen 4, g++ 12; bench/README.md).
extern int laneCount;
