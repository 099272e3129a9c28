// SPDX-License-Identifier: MIT
// A function with a fast form computes the result as high + low with an error bound. If everything within the bound
// rounds to the same double, that double is the result; otherwise the slow form computes it again to about 100 bits (A.
// Ziv, "Fast evaluation of elementary mathematical functions with correctly rounded last bit", ACM TOMS 17, 1991).
//
// The series are those of Taylor and Gregory; the identities are the usual ones of trigonometry and logarithms. The
// compiler computes the tables from them.
#include "math/nearest.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "math/DoubleDouble.h"

namespace nearest {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr DoubleDouble kHalfPi = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};
constexpr double kHalfPiRest = -0x1.f1976b7ed8fbcp-110;
constexpr DoubleDouble kLn2 = {0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};
constexpr DoubleDouble kLn10 = {0x1.26bb1bbb55516p+1, -0x1.f48ad494ea3e9p-53};

// The nearest integer, for magnitudes below 2^51.
constexpr double roundToInteger(double x) noexcept {
  constexpr double kShift = 0x1.8p52;
  return (x + kShift) - kShift;
}

template <int count>
constexpr std::array<DoubleDouble, count> inverseFactorials() noexcept {
  std::array<DoubleDouble, count> values{};
  DoubleDouble value = {1.0, 0.0};
  for (int n = 0; n < count; ++n) {
    if (n > 1) value = value / DoubleDouble{static_cast<double>(n), 0.0};
    values[static_cast<std::size_t>(n)] = value;
  }
  return values;
}
constexpr auto kInverseFactorial = inverseFactorials<30>();

// The sum of x^n / n! for n from `first` to `last` in steps of `step`, divided by x^first. `power` is x^step.
constexpr DoubleDouble taylor(DoubleDouble power, int first, int last, int step) noexcept {
  DoubleDouble sum = kInverseFactorial[static_cast<std::size_t>(last)];
  for (int n = last - step; n >= first; n -= step) sum = sum * power + kInverseFactorial[static_cast<std::size_t>(n)];
  return sum;
}

// `result`: high + low of a fast form, off by at most `error`. True if it is certain which double is nearest.
bool isSettled(DoubleDouble result, double error) noexcept {
  return result.high + (result.low - error) == result.high + (result.low + error);
}

// --- exp: e^x = 2^k 2^(j/256) e^r with |r| <= ln 2 / 512

constexpr int kSteps = 256;
constexpr double kStepsPerLn2 = 0x1.71547652b82fep+8;  // 256 / ln 2
constexpr double kStepHigh = 0x1.62e42fefp-9;          // ln 2 / 256, 33 bits: its product with an integer is exact
constexpr DoubleDouble kStepLow = {0x1.473de6af278edp-42, -0x1.9ff0342542fc3p-98};

// 2^(j/256): from the Taylor series if only one bit of j is set, otherwise the product of such values.
constexpr std::array<DoubleDouble, kSteps> powersOfTwo() noexcept {
  std::array<DoubleDouble, kSteps> powers{};
  powers[0] = {1.0, 0.0};
  for (int j = 1; j < kSteps; ++j) {
    const int lowestBit = j & -j;
    auto& power = powers[static_cast<std::size_t>(j)];
    if (j == lowestBit) {
      power = taylor(kLn2 * (static_cast<double>(j) / kSteps), 0, 27, 1);
    } else {
      power = powers[static_cast<std::size_t>(j - lowestBit)] * powers[static_cast<std::size_t>(lowestBit)];
    }
  }
  return powers;
}
constexpr auto kPowerOfTwo = powersOfTwo();

// value * 2^exponent
double scaled(double value, int exponent) noexcept {
  constexpr int kBias = 1023;
  if (exponent < -1000 || exponent > 1000) return std::ldexp(value, exponent);
  return value * std::bit_cast<double>(static_cast<std::uint64_t>(exponent + kBias) << 52);
}

// e^x without its power of two, to 100 bits. `steps` is x / (ln 2 / 256), rounded to an integer.
DoubleDouble expOfRest(DoubleDouble x, double steps, std::size_t index) noexcept {
  const DoubleDouble rest = (twoSum(x.high, -(steps * kStepHigh)) + x.low) - kStepLow * steps;
  return kPowerOfTwo[index] * taylor(rest, 0, 10, 1);
}

// value * 2^exponent: e^x before rounding, for x where it neither overflows nor vanishes.
struct Power {
  DoubleDouble value;
  int exponent;
};
Power slowExp(DoubleDouble x) noexcept {
  const double steps = roundToInteger(x.high * kStepsPerLn2);
  const int count = static_cast<int>(steps);
  return {expOfRest(x, steps, static_cast<std::size_t>(count & (kSteps - 1))), count >> 8};
}

double expOf(DoubleDouble x) noexcept {
  if (!(x.high < 710.0)) return x.high + kInfinity;  // NaN stays
  if (x.high < -746.0) return 0.0;
  const double steps = roundToInteger(x.high * kStepsPerLn2);
  const int count = static_cast<int>(steps);
  const auto index = static_cast<std::size_t>(count & (kSteps - 1));
  const DoubleDouble& power = kPowerOfTwo[index];

  const double nearly = x.high - steps * kStepHigh;
  const double low = steps * kStepLow.high;
  const double r = nearly - low;
  const double rLow = ((nearly - r) - low) + x.low;
  const double square = r * r;
  const double above = square * (0.5 + r * (1.0 / 6.0 + r * (1.0 / 24.0 + r * (1.0 / 120.0))));
  const DoubleDouble result = fastTwoSum(power.high, power.low + power.high * (r + (rLow + (above + r * rLow))));
  // |r| < 2^-9.5, so the three roundings up to `result` are off by at most 2^-62 each, and the series by 2^-65.
  constexpr double kError = 0x1.cp-61;
  if (isSettled(result, kError)) [[likely]]
    return scaled(result.high, count >> 8);
  return scaled(expOfRest(x, steps, index).high, count >> 8);
}

// --- Natural logarithm of a positive finite x: k ln 2 + 2 artanh((m - 1) / (m + 1)), m within a factor sqrt 2 of 1

DoubleDouble logOf(double x) noexcept {
  int exponent = 0;
  double m = std::frexp(x, &exponent);
  if (m < 0x1.6a09e667f3bcdp-1) {  // sqrt 1/2
    m *= 2.0;
    --exponent;
  }
  const DoubleDouble s = DoubleDouble{m - 1.0, 0.0} / twoSum(m, 1.0);
  const DoubleDouble square = s * s;
  constexpr int kTerms = 21;  // s^2 <= 0.0295
  DoubleDouble sum = {0.0, 0.0};
  for (int n = kTerms; n >= 0; --n) sum = sum * square + DoubleDouble{1.0, 0.0} / DoubleDouble{2.0 * n + 1.0, 0.0};
  const DoubleDouble ofM = s * sum;
  return kLn2 * static_cast<double>(exponent) + DoubleDouble{2.0 * ofM.high, 2.0 * ofM.low};
}

// --- Sine and cosine

struct SineCosine {
  DoubleDouble sine, cosine;
};

// For |x| up to pi/4 and a little more.
constexpr SineCosine sineCosine(DoubleDouble x) noexcept {
  const DoubleDouble minusSquare = -(x * x);
  // sin x = x - x^3/3! + ..., cos x = 1 - x^2/2! + ...
  return {x * taylor(minusSquare, 1, 27, 2), taylor(minusSquare, 0, 28, 2)};
}

// x less the nearest multiple of pi/2, and that multiple modulo 4.
struct Reduced {
  DoubleDouble rest;
  int quadrant;
};
Reduced reduced(double x) noexcept {
  if (std::fabs(x) <= 0x1.921fb54442d18p-1) return {{x, 0.0}, 0};
  constexpr double kMost = 0x1p50;
  if (std::fabs(x) > kMost) x = std::copysign(kMost, x);
  const double quarters = roundToInteger(x / kHalfPi.high);
  const DoubleDouble high = twoProduct(quarters, kHalfPi.high);
  const DoubleDouble low = twoProduct(quarters, kHalfPi.low);
  DoubleDouble rest = twoSum(x, -high.high) + -high.low;
  rest = (rest - low) + -(quarters * kHalfPiRest);
  return {rest, static_cast<int>(static_cast<std::int64_t>(quarters) & 3)};
}

// --- Tangent

constexpr DoubleDouble ratio(double numerator, double denominator) noexcept {
  return DoubleDouble{numerator, 0.0} / DoubleDouble{denominator, 0.0};
}
// tan x = x + x^3 / 3 + 2 x^5 / 15 + ...
constexpr DoubleDouble kTanSeries[] = {
    ratio(1.0, 3.0),         ratio(2.0, 15.0),          ratio(17.0, 315.0),           ratio(62.0, 2835.0),
    ratio(1382.0, 155925.0), ratio(21844.0, 6081075.0), ratio(929569.0, 638512875.0), ratio(6404582.0, 10854718875.0)};
constexpr int kTanTerms = 8;

// The terms from `first` on, divided by the powers of x that they share.
double tanSeries(double square, int first) noexcept {
  double sum = 0.0;
  for (int n = kTanTerms - 1; n >= first; --n) sum = sum * square + kTanSeries[n].high;
  return sum;
}

constexpr int kTanSteps = 32;                                 // to 1
constexpr std::array<DoubleDouble, 27> tangents() noexcept {  // of j/32, to beyond pi/4
  std::array<DoubleDouble, 27> values{};
  for (std::size_t j = 0; j < values.size(); ++j) {
    const auto [sine, cosine] = sineCosine({static_cast<double>(j) / kTanSteps, 0.0});
    values[j] = sine / cosine;
  }
  return values;
}
constexpr auto kTangent = tangents();

// tan(a + b) = (tan a + tan b) / (1 - tan a tan b) with a = j/32, |b| <= 1/64, and tan(x + pi/2) = -1 / tan x.
double slowTan(double x) noexcept {
  const auto [rest, quadrant] = reduced(x);
  const double steps = roundToInteger(rest.high * kTanSteps);
  const DoubleDouble& ofStep = kTangent[static_cast<std::size_t>(std::fabs(steps))];
  const DoubleDouble tanA = steps < 0.0 ? -ofStep : ofStep;
  const DoubleDouble b = rest + -(steps / kTanSteps);
  const DoubleDouble square = b * b;
  DoubleDouble series = kTanSeries[2] + square * tanSeries(square.high, 3);  // b^2 <= 2^-12: doubles suffice here
  series = kTanSeries[0] + square * (kTanSeries[1] + square * series);
  const DoubleDouble tanB = b + b * (square * series);
  const DoubleDouble numerator = tanA + tanB;
  const DoubleDouble denominator = DoubleDouble{1.0, 0.0} - tanA * tanB;
  return quadrant % 2 == 0 ? (numerator / denominator).high : -(denominator / numerator).high;
}

// --- Rounding of a result to float

// Rounds once, not twice. The value is first cut to a double whose last bit is set if anything was cut off. Such a
// double has too many bits to be the middle between two floats (S. Boldo, G. Melquiond, "Emulation of FMA and correctly
// rounded sums: proved algorithms using rounding to odd", IEEE TC 57, 2008).
float toFloat(DoubleDouble value) noexcept {
  auto bits = std::bit_cast<std::uint64_t>(value.high);
  const bool isEven = (bits & 1U) == 0;
  if (value.low != 0.0 && isEven) bits = (value.low > 0.0) == (value.high > 0.0) ? bits + 1 : bits - 1;
  return static_cast<float>(std::bit_cast<double>(bits));
}

// --- Arc tangent: t is nearly atan x, and tan(atan x - t) = (x cos t - sin t) / (cos t + x sin t)

DoubleDouble atanUpToOne(DoubleDouble x) noexcept {
  const double magnitude = std::fabs(x.high);
  DoubleDouble t = {x.high * (0x1.921fb54442d18p-1 + 0.273 * (1.0 - magnitude)), 0.0};  // to 0.004
  if (magnitude < 0x1p-8) t = {x.high, 0.0};
  for (int pass = 0; pass < 2; ++pass) {
    const auto [sine, cosine] = sineCosine(t);
    const DoubleDouble d = (x * cosine - sine) / (cosine + x * sine);
    // atan d = d - d^3/3 + d^5/5 - ...: |d| is at most 0.004 at first, and then so small that its cube vanishes.
    const double square = d.high * d.high;
    t = t + (d + -(d.high * square * (1.0 / 3.0 - square * 0.2)));
  }
  return t;
}

DoubleDouble atanOf(double x) noexcept {
  if (std::fabs(x) <= 1.0) return atanUpToOne({x, 0.0});
  if (std::fabs(x) > 0x1p120) return x > 0.0 ? kHalfPi : -kHalfPi;
  const DoubleDouble ofInverse = atanUpToOne(DoubleDouble{1.0, 0.0} / DoubleDouble{x, 0.0});
  return (x > 0.0 ? kHalfPi : -kHalfPi) - ofInverse;
}

constexpr double kTiny = 0x1p-28;  // below it x is the double nearest to tan x and to atan x

// --- Powers

bool isInteger(double x) noexcept { return std::floor(x) == x; }

// Computes base^exponent into `power`. False for a special case, whose result is then in `special`.
bool powerOf(double base, double exponent, Power& power, double& special) noexcept {
  special = 1.0;
  if (exponent == 0.0 || base == 1.0) return false;
  special = base;
  if (exponent == 1.0) return false;
  special = kNaN;
  if (base != base || exponent != exponent) return false;
  if (base < 0.0 && !isInteger(exponent) && base != -kInfinity) return false;
  const double magnitude = std::fabs(base);
  const double sign = std::signbit(base) && isInteger(exponent) && !isInteger(0.5 * exponent) ? -1.0 : 1.0;
  const bool grows = (magnitude > 1.0) == (exponent > 0.0);
  special = sign * (grows ? kInfinity : 0.0);
  if (magnitude == 1.0) special = sign;
  if (magnitude == 0.0 || magnitude == 1.0 || magnitude == kInfinity || std::fabs(exponent) > 0x1p62) return false;
  const DoubleDouble log = logOf(magnitude);
  if (std::fabs(log.high * exponent) > 745.5) return false;
  power = slowExp(log * exponent);
  power.value = power.value * sign;
  return true;
}

}  // namespace

double exp(double x) noexcept { return expOf({x, 0.0}); }

double exp10(double x) noexcept {
  if (!(std::fabs(x) < 400.0)) return x > 0.0 ? kInfinity : (x < 0.0 ? 0.0 : x);
  return expOf(kLn10 * x);
}

double log10(double x) noexcept {
  if (!(x > 0.0)) return x == 0.0 ? -kInfinity : kNaN;
  if (x == kInfinity) return x;
  return (logOf(x) / kLn10).high;
}

double tan(double x) noexcept {
  const double magnitude = std::fabs(x);
  if (magnitude < kTiny) return x;
  if (!(magnitude < kInfinity)) return kNaN;
  if (magnitude <= 1.0 / 32.0) {
    const double square = x * x;
    const double above = x * (square * tanSeries(square, 0));
    const DoubleDouble result = fastTwoSum(x, above);
    if (isSettled(result, std::fabs(above) * 0x1p-50)) [[likely]]
      return result.high;
  }
  return slowTan(x);
}

double cos(double x) noexcept {
  if (!(std::fabs(x) < kInfinity)) return kNaN;
  const auto [rest, quadrant] = reduced(x);
  const auto [sine, cosine] = sineCosine(rest);
  const double value = quadrant % 2 == 0 ? cosine.high : -sine.high;
  return quadrant < 2 ? value : -value;
}

double atan(double x) noexcept { return std::fabs(x) < kTiny || x != x ? x : atanOf(x).high; }

float atan(float x) noexcept { return std::fabs(x) < 0x1p-13F || x != x ? x : toFloat(atanOf(static_cast<double>(x))); }

double pow(double base, double exponent) noexcept {
  Power power{};
  double special = 0.0;
  return powerOf(base, exponent, power, special) ? scaled(power.value.high, power.exponent) : special;
}

float pow(float base, float exponent) noexcept {
  Power power{};
  double special = 0.0;
  if (!powerOf(static_cast<double>(base), static_cast<double>(exponent), power, special)) {
    return static_cast<float>(special);
  }
  const int scale = std::clamp(power.exponent, -1000, 1000);  // beyond these, outside a float's range anyway
  return toFloat({scaled(power.value.high, scale), scaled(power.value.low, scale)});
}

}  // namespace nearest
