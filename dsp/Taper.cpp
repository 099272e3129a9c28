// SPDX-License-Identifier: MIT
#include "dsp/Taper.h"

#include <algorithm>
#include <cmath>

#include "math/nearest.h"

namespace {

constexpr float kSqrt2 = 1.41421354F;

float arcTangentCurve(float x, float steepness, float centre) noexcept {
  const float end = nearest::atan(steepness);
  const float w = (x - centre) * 2.0F * steepness;
  const double twice = end + end;
  return static_cast<float>((nearest::atan(static_cast<double>(w)) + end) / twice);
}

float polynomial(float x, const float* coefs, int count) noexcept {
  if (coefs == nullptr || count < 1) return 0.0F;
  float sum = coefs[count - 1];
  float power = x;
  for (int k = count - 2; k >= 0; --k) {
    sum += coefs[k] * power;
    power *= x;
  }
  return sum;
}

}  // namespace

float Taper::curveAt(float x) const noexcept {
  switch (curve) {
    case TAPER_POWER: {
      const float base = x - shift;
      return static_cast<float>(offset +
                                scale * nearest::pow(static_cast<double>(base), static_cast<double>(exponent)));
    }
    case TAPER_SQRT2: return nearest::pow(x, kSqrt2);
    case TAPER_ATAN: return arcTangentCurve(x, scale, shift);
    case TAPER_POLY: return polynomial(x, coefs, numCoefs);
    default: return x;
  }
}

double Taper::evaluate(float parameter) const noexcept {
  const float x = valueAtMax < valueAtMin ? 1.0F - parameter : parameter;
  const float y = curveAt(x);
  const double low = std::min(valueAtMin, valueAtMax);
  const double high = std::max(valueAtMin, valueAtMax);
  const auto lower = static_cast<float>(low);
  const auto span = static_cast<float>(high - low);
  return std::isfinite(y) ? lower + y * span : lower;
}
