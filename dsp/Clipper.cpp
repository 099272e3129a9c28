// SPDX-License-Identifier: MIT
#include "dsp/Clipper.h"

#include "math/nearest.h"

namespace {

constexpr double kSlope = -0.0018;        // exponent per entry; 18 / 20000 of the input, twice
constexpr double kGuardExponent = -36.0;  // kSlope * kHalfWidth

// tanh(-exponent / 2)
double curve(double exponent) noexcept {
  const double e = nearest::exp(exponent);
  return (1.0 - e) / (1.0 + e);
}

void update(double& value, double newValue) noexcept {
  if (value != newValue) value = newValue;
}

}  // namespace

void Clipper::build() noexcept {
  double x = 0.0;
  for (int i = 0; i <= kHalfWidth; ++i) {
    const double y = curve(kSlope * x);
    if (i > 0) update(table[kHalfWidth + i], y);
    update(table[kHalfWidth - i], 0.0 - y);
    x += 1.0;
  }
  update(guard, curve(kGuardExponent));
  update(center, kHalfWidth);
}
