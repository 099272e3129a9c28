// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// Curves for Taper::curve, as a function of x in 0 to 1. Any other code selects a straight line.
enum TaperCurve : std::int32_t {
  TAPER_POWER = 0,  // offset + scale * (x - shift) ^ exponent
  TAPER_SQRT2 = 1,  // x ^ sqrt(2)
  TAPER_ATAN = 2,   // an arc tangent of steepness scale around shift, from 0 to 1
  TAPER_POLY = 3,   // the polynomial with the coefficients coefs
};

// Maps a knob's 0 to 1 onto a range through a curve, in single precision.
struct Taper {
  float* coefs;        // TAPER_POLY: numCoefs coefficients, highest power first; owned by whoever owns the record
  std::int32_t curve;  // TaperCurve
  double valueAtMax;   // at 1
  double valueAtMin;   // at 0; may be the larger of the two
  float scale;
  float shift;
  float offset;
  float exponent;
  std::int32_t numCoefs;

  // The value for `parameter`. If the settings leave the curve undefined (no coefficients, steepness 0, a root of a
  // negative number), returns the lower end of the range. Never allocates. Any thread may call it while no thread
  // writes the record.
  double evaluate(float parameter) const noexcept;

 private:
  float curveAt(float x) const noexcept;
};
