// SPDX-License-Identifier: MIT
#pragma once

// A number as the unevaluated sum of two doubles, |low| at most half a unit in the last place of high: about 106 bits.
// Needs arithmetic that rounds every operation to double (no fused multiply-adds, no x87), to nearest. Relative errors
// are a few times 2^-106 as long as nothing overflows and no product's magnitude is below 1e-290.
//
// Sources: D. E. Knuth, "The Art of Computer Programming" vol. 2, 4.2.2 (twoSum); T. J. Dekker, "A floating-point
// technique for extending the available precision", Numerische Mathematik 18, 1971 (fastTwoSum, twoProduct);
// M. Joldes, J.-M. Muller, V. Popescu, "Tight and rigorous error bounds for basic building blocks of double-word
// arithmetic", ACM TOMS 44, 2017 (the operators).
struct DoubleDouble {
  double high;
  double low;
};

// a + b exactly; |a| >= |b|, or a is 0.
constexpr DoubleDouble fastTwoSum(double a, double b) noexcept {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

// a + b exactly.
constexpr DoubleDouble twoSum(double a, double b) noexcept {
  const double sum = a + b;
  const double bPart = sum - a;
  return {sum, (a - (sum - bPart)) + (b - bPart)};
}

// a * b exactly; magnitudes below 1e290. Each factor is cut into two halves whose products are exact.
constexpr DoubleDouble twoProduct(double a, double b) noexcept {
  constexpr double kSplit = 134217729.0;  // 2^27 + 1
  const double aScaled = kSplit * a;
  const double aHigh = aScaled - (aScaled - a);
  const double aLow = a - aHigh;
  const double bScaled = kSplit * b;
  const double bHigh = bScaled - (bScaled - b);
  const double bLow = b - bHigh;
  const double product = a * b;
  return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

constexpr DoubleDouble operator-(DoubleDouble a) noexcept { return {-a.high, -a.low}; }

constexpr DoubleDouble operator+(DoubleDouble a, double b) noexcept {
  const DoubleDouble sum = twoSum(a.high, b);
  return fastTwoSum(sum.high, a.low + sum.low);
}
constexpr DoubleDouble operator+(DoubleDouble a, DoubleDouble b) noexcept {
  const DoubleDouble high = twoSum(a.high, b.high);
  const DoubleDouble low = twoSum(a.low, b.low);
  const DoubleDouble sum = fastTwoSum(high.high, high.low + low.high);
  return fastTwoSum(sum.high, low.low + sum.low);
}
constexpr DoubleDouble operator-(DoubleDouble a, DoubleDouble b) noexcept { return a + -b; }

constexpr DoubleDouble operator*(DoubleDouble a, double b) noexcept {
  const DoubleDouble product = twoProduct(a.high, b);
  return fastTwoSum(product.high, product.low + a.low * b);
}
constexpr DoubleDouble operator*(DoubleDouble a, DoubleDouble b) noexcept {
  const DoubleDouble product = twoProduct(a.high, b.high);
  return fastTwoSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

constexpr DoubleDouble operator/(DoubleDouble a, DoubleDouble b) noexcept {
  const double quotient = a.high / b.high;
  const DoubleDouble rest = a - b * quotient;
  return fastTwoSum(quotient, rest.high / b.high);
}
