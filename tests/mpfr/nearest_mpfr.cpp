// SPDX-License-Identifier: MIT
// Compares the elementary functions with MPFR, over all arguments that the effect uses and more. Prints, for each
// function and range, how many results are not the nearest double; ends with status 1 if any is not.
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>

#include "math/nearest.h"

namespace {

std::mt19937_64 random_engine(20);

double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_engine); }
double logarithmic(double low, double high) { return std::exp(uniform(std::log(low), std::log(high))); }

using Reference = int (*)(mpfr_t, const mpfr_t, mpfr_rnd_t);
using Reference2 = int (*)(mpfr_t, const mpfr_t, const mpfr_t, mpfr_rnd_t);

// MPFR rounds once, to the precision of its result.
template <typename T>
class Checker {
 public:
  Checker() {
    mpfr_init2(x_, 53);
    mpfr_init2(y_, 53);
    mpfr_init2(result_, std::numeric_limits<T>::digits);
  }
  Checker(const Checker&) = delete;
  Checker& operator=(const Checker&) = delete;
  ~Checker() { mpfr_clears(x_, y_, result_, static_cast<mpfr_ptr>(nullptr)); }

  T value(Reference function, T x) {
    mpfr_set_d(x_, static_cast<double>(x), MPFR_RNDN);
    function(result_, x_, MPFR_RNDN);
    return static_cast<T>(mpfr_get_d(result_, MPFR_RNDN));
  }
  T value(Reference2 function, T x, T y) {
    mpfr_set_d(x_, static_cast<double>(x), MPFR_RNDN);
    mpfr_set_d(y_, static_cast<double>(y), MPFR_RNDN);
    function(result_, x_, y_, MPFR_RNDN);
    return static_cast<T>(mpfr_get_d(result_, MPFR_RNDN));
  }

 private:
  mpfr_t x_, y_, result_;
};

long failures = 0;

template <typename T>
bool same(T a, T b) {
  return a == b ? std::signbit(a) == std::signbit(b) : a != a && b != b;
}

template <typename T, typename Argument>
void check(const char* what, T (*function)(T), Reference reference, long count, const Argument& argument) {
  Checker<T> checker;
  long wrong = 0;
  for (long i = 0; i < count; ++i) {
    const auto x = static_cast<T>(argument(i));
    const T expected = checker.value(reference, x);
    if (same(function(x), expected)) continue;
    if (wrong++ < 3)
      std::printf("  %s of %a: %a, nearest is %a\n", what, double(x), double(function(x)), double(expected));
  }
  std::printf("%-40s %8ld arguments, %ld not the nearest\n", what, count, wrong);
  failures += wrong;
}

template <typename T, typename Base, typename Exponent>
void checkPow(const char* what, long count, const Base& base, const Exponent& exponent) {
  Checker<T> checker;
  long wrong = 0;
  for (long i = 0; i < count; ++i) {
    const auto x = static_cast<T>(base());
    const auto y = static_cast<T>(exponent());
    const T expected = checker.value(mpfr_pow, x, y);
    if (same(nearest::pow(x, y), expected)) continue;
    if (wrong++ < 3) {
      std::printf("  %s of %a, %a: %a, nearest is %a\n", what, double(x), double(y), double(nearest::pow(x, y)),
                  double(expected));
    }
  }
  std::printf("%-40s %8ld arguments, %ld not the nearest\n", what, count, wrong);
  failures += wrong;
}

}  // namespace

int main() {
  constexpr double kPi = 3.141592653589794;  // the filters' own
  using Double = double (*)(double);
  using Float = float (*)(float);
  const Double tan = nearest::tan, exp = nearest::exp, exp10 = nearest::exp10, log10 = nearest::log10;
  const Double cos = nearest::cos, atan = nearest::atan;
  const Float atanFloat = nearest::atan;

  // The corners of the sections at every whole rate that anybody plays at, and the tone stage's constant.
  constexpr double kCorners[] = {20.0, 60.0, 62.5, 80.0, 110.0, 300.0, 2000.0, 3000.0, 4000.0, 8000.0};
  check("tan, corners at all rates to 40 kHz", tan, mpfr_tan, 400000, [&](long i) {
    const double rate = 1.0 + static_cast<double>(i / 10);
    return (kPi * std::min(kCorners[i % 10], 0.5 * rate)) / rate;
  });
  check("tan, tone at all rates to 400 kHz", tan, mpfr_tan, 400000,
        [](long i) { return 5026.54824574367 / static_cast<double>(i + 1); });
  check("tan, FUZZ's corners", tan, mpfr_tan, 200000, [](long) {
    constexpr double kRates[] = {8000.0, 32000.0, 44100.0, 48000.0, 96000.0, 192000.0};
    const double F = static_cast<float>(uniform(0.0, 1.0));
    return (kPi * (((-31.02 * F) + 73.9) * F + 10.0)) / kRates[random_engine() % 6];
  });
  check("tan, to pi/2", tan, mpfr_tan, 200000, [](long) { return uniform(-1.5707963267948967, 1.5707963267948967); });
  check("tan, tiny to 2^20", tan, mpfr_tan, 200000, [](long) { return logarithmic(1e-12, 1048576.0); });
  check("cos", cos, mpfr_cos, 150000, [](long) { return uniform(0.0, 7.0); });
  check("exp, all of the curve's table", exp, mpfr_exp, 20001, [](long i) { return -0.0018 * static_cast<double>(i); });
  check("exp", exp, mpfr_exp, 200000, [](long) { return uniform(-700.0, 709.0); });
  check("exp10, peaks' gains", exp10, mpfr_exp10, 400000, [](long) { return uniform(-2.0, 2.0); });
  check("exp10, FUZZ's gains", exp10, mpfr_exp10, 400000, [](long) {
    const double F = static_cast<float>(uniform(0.0, 4.0));
    return 0.8 * F * F * F * F / 20.0;
  });
  check("exp10", exp10, mpfr_exp10, 150000, [](long) { return uniform(-307.0, 308.0); });
  check("exp10, whole numbers", exp10, mpfr_exp10, 600, [](long i) { return static_cast<double>(i - 300); });
  check("log10, floats", log10, mpfr_log10, 150000,
        [](long) { return static_cast<double>(static_cast<float>(logarithmic(1e-37, 1e37))); });
  check("log10, floats near 1", log10, mpfr_log10, 150000,
        [](long i) { return 1.0 + static_cast<double>(i - 100000) * 0x1p-23; });
  check("atan", atan, mpfr_atan, 100000, [](long i) { return (i % 2 == 0 ? 1.0 : -1.0) * logarithmic(1e-9, 1e20); });
  check("atan of floats", atan, mpfr_atan, 200000,
        [](long) { return static_cast<double>(static_cast<float>(uniform(-20.0, 20.0))); });
  check("atanf", atanFloat, mpfr_atan, 150000, [](long) { return uniform(-30.0, 30.0); });
  check("atanf, small and large", atanFloat, mpfr_atan, 200000, [](long) { return logarithmic(1e-7, 1e30); });
  checkPow<double>(
      "pow, floats' powers", 150000, [] { return static_cast<double>(static_cast<float>(uniform(0.0, 1.0))); },
      [] { return static_cast<double>(static_cast<float>(uniform(0.05, 8.0))); });
  checkPow<double>(
      "pow", 150000, [] { return logarithmic(1e-30, 1e30); }, [] { return uniform(-10.0, 10.0); });
  checkPow<float>(
      "powf, root of 2", 150000, [] { return uniform(0.0, 1.0); }, [] { return 1.41421354; });
  checkPow<float>(
      "powf", 100000, [] { return logarithmic(1e-3, 1e3); }, [] { return uniform(-12.0, 12.0); });
  constexpr double kOdd[] = {0.0, -0.0, 1.0,      -1.0,      2.0, -2.0,  0.5, -0.5,
                             3.0, -3.0, HUGE_VAL, -HUGE_VAL, NAN, 1e300, 2.5};
  long pair = 0;
  checkPow<double>(
      "pow, special values", 15 * 15, [&] { return kOdd[pair++ % 15]; }, [&] { return kOdd[(pair - 1) / 15]; });
  return failures == 0 ? 0 : 1;
}
