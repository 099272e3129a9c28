// SPDX-License-Identifier: MIT
#pragma once

// The number of filter sections that long blocks process at once: 4 on an x86-64 processor with AVX2 if g++ built the
// module (not for Windows), otherwise 2. Set when the module is loaded, and only read from then on; tests and
// measurements set it to 2 to run both forms. The output is bit-identical. Blocks of 512 take 0.85 of the time with 4
// (bench/README.md).
extern int laneCount;
