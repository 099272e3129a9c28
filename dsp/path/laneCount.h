// SPDX-License-Identifier: MIT
#pragma once

// How many filter sections long blocks work on at once: 4 on an x86-64 processor with AVX2 if g++ built the module,
// else
// 2. Set when the module is loaded and then only read; tests and measurements set it to 2 to run both. The output is
// bit-identical. Blocks of 512 take 0.85 of the time with 4 (bench/README.md).
extern int laneCount;
