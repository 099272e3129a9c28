// SPDX-License-Identifier: MIT
#pragma once

// Filter sections that long blocks work on at once: 4 on an x86-64 processor with AVX2 (in blocks of 256 and more if
// clang++ built the module), else 2. Set when the module is loaded and then only read; tests and measurements set it to
// 2 to try both. The results are the same doubles.
//
// Cost, four to two, at blocks of 512: 0.85 of the time with g++, 0.95 with clang++ (bench/README.md).
extern int laneCount;
