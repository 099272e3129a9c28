// SPDX-License-Identifier: MIT
#pragma once

// Elementary functions, correctly rounded: the double (or float) nearest to the true value. C libraries differ from one
// another in the last bit, so an effect that used theirs would not be bit-identical everywhere.
//
// Each result is computed to about 100 bits and then rounded. This is no proof for every argument: a true value within
// 2^-45 units in the last place of the middle between two doubles could be rounded the wrong way. None is known;
// tests/mpfr/nearest_mpfr.cpp compares some millions of results with MPFR. Subnormal results may be off by one unit.
//
// The functions have a folder of their own, which includes nothing else of the project, because both dsp/ and the value
// texts of host/ use them, and host/ does not know dsp/.
//
// Any thread. Nothing is allocated; errno and the floating-point flags carry no meaning. The processor must round to
// nearest; flush-to-zero may be on. Infinities, NaN and arguments outside a function's domain are treated as in the C
// library.
namespace nearest {

// `x` in radians. Correctly rounded for |x| up to 2^20; beyond that the value is the same everywhere, but less and less
// exact.
double tan(double x) noexcept;
double cos(double x) noexcept;

double exp(double x) noexcept;
double exp10(double x) noexcept;  // 10^x
double log10(double x) noexcept;

double atan(double x) noexcept;
float atan(float x) noexcept;

// `base` to the power of `exponent`. An exact tie between two doubles goes to either of them.
double pow(double base, double exponent) noexcept;
float pow(float base, float exponent) noexcept;

}  // namespace nearest
