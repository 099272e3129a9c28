// SPDX-License-Identifier: MIT
#include <doctest/doctest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "dsp/ClipStage.h"
#include "dsp/Taper.h"

TEST_CASE("the curve table is tanh(18 u), odd to the bit") {
  const auto clipper = std::make_unique<Clipper>();  // zeroed, as the shared one starts
  clipper->build();
  CHECK(clipper->guard == clipper->table[40000]);
  double error = 0.0;
  bool odd = true;
  for (int k = 0; k <= 40000; ++k) {
    error = std::fmax(error, std::fabs(clipper->table[k] - std::tanh(0.0009 * (k - 20000))));
    odd = odd && clipper->table[k] == -clipper->table[40000 - k];
  }
  CHECK(odd);
  CHECK(error < 1e-15);
}

TEST_CASE("the clip curve clamps, drives and reads the table, and never leaves it") {
  const auto table = std::make_unique<Clipper>();
  table->build();
  const auto read = [&](double sample, double upper, double lower, double drive) {
    return ClipCurve(*table, upper, lower, drive)(bothLanes(sample))[1];
  };
  constexpr double kTop = 0.9999999999999996;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double sample, upper, lower, drive, value;
    // clang-format off
  } rows[] = {
      {0.0, 1, -1, 1, 0.0}, {1.0, 1, -1, 1, kTop}, {0.5, 1, -1, 1, 0.999999969540041}, {-1e300, 1, -1, 1, -kTop},
      {1.0, 0.0035, -0.0028, 10.0, table->table[20700]},   // the upper clamp, then the drive
      {-1.0, 0.0035, -0.0028, 10.0, table->table[19440]},  // the lower clamp
      {0.001, 1, -1, -20.0, table->table[19600]},          // a drive that turns the curve over
  };
  // clang-format on
  for (const auto& row : rows) {
    CAPTURE(row.sample);
    CHECK(read(row.sample, row.upper, row.lower, row.drive) == doctest::Approx(row.value).epsilon(1e-12));
  }
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    for (int place = 0; place < 4; ++place) {
      double v[] = {0.001, 0.0035, -0.0028, 190.0};
      v[place] = bad;
      CHECK(std::fabs(read(v[0], v[1], v[2], v[3])) <= kTop);
    }
  }
  double error = 0.0;
  for (double u = -1.0; u <= 1.0; u += 1.37e-5) {
    error = std::fmax(error, std::fabs(read(u, 1.0, -1.0, 1.0) - std::tanh(18.0 * u)));
  }
  CHECK(error < 1e-7);
  CHECK(error > 1e-8);  // between the entries the line is no tanh
}

TEST_CASE("tapers") {
  float poly[] = {2.0F, 0.0F, 1.0F};
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  const Taper power{nullptr, TAPER_POWER, 18.0, 6.0, 1.0F, 0.0F, 0.0F, 1.0F, 0};
  const Taper bent{nullptr, TAPER_POWER, 1.0, 0.0, 2.0F, 0.25F, 0.5F, 3.0F, 0};
  const Taper rootOfNegative{nullptr, TAPER_POWER, 3.0, 1.0, 1.0F, 1.0F, 0.0F, 0.5F, 0};
  const Taper root{nullptr, TAPER_SQRT2, 1.0, 0.0, 0.0F, 0.0F, 0.0F, 0.0F, 0};
  const Taper arc{nullptr, TAPER_ATAN, 20.0, 10.0, 3.0F, 0.5F, 0.0F, 0.0F, 0};
  const Taper flatArc{nullptr, TAPER_ATAN, 3.0, 1.0, 0.0F, 0.5F, 0.0F, 0.0F, 0};
  const Taper polynomial{poly, TAPER_POLY, 1.0, 0.0, 0.0F, 0.0F, 0.0F, 0.0F, 3};
  const Taper noCoefs{nullptr, TAPER_POLY, 1.0, 3.0, 0.0F, 0.0F, 0.0F, 0.0F, 3};
  const Taper line{nullptr, 4, 3.0, 1.0, 0.0F, 0.0F, 0.0F, 0.0F, 0};
  const struct {
    const Taper& taper;
    float parameter;
    double value;
    // clang-format off
  } rows[] = {
      {power, 0.0F, 6.0}, {power, 0.25F, 9.0}, {power, 1.0F, 18.0}, {power, kNaN, 6.0}, {bent, 0.75F, 0.75},
      {bent, 0.0F, 0.46875}, {rootOfNegative, 0.5F, 1.0}, {root, 0.25F, 0.14078572392463684}, {root, 1.0F, 1.0},
      {arc, 0.0F, 10.0}, {arc, 0.75F, 15.0 + 5.0 * std::atan(1.5) / std::atan(3.0)}, {arc, 1.0F, 20.0},
      {flatArc, 0.7F, 1.0}, {polynomial, 0.5F, 1.5}, {polynomial, 1.0F, 3.0}, {noCoefs, 0.5F, 1.0}, {line, 0.25F, 1.5},
  };
  // clang-format on
  for (const auto& row : rows) {
    CAPTURE(row.taper.curve);
    CAPTURE(row.parameter);
    CHECK(row.taper.evaluate(row.parameter) == doctest::Approx(row.value).epsilon(2e-7));
  }
  CHECK(root.evaluate(0.25F) == static_cast<double>(0.14078572392463684F));  // single precision, to the bit
}
