// SPDX-License-Identifier: MIT
#include <doctest/doctest.h>

#include <cmath>
#include <memory>

#include "dsp/Taper.h"
#include "dsp/path/ClipStage.h"

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

// The chain in the exactness test checks the curve at valid values.
TEST_CASE("no sample, threshold or drive leads the clip curve out of its table") {
  const auto table = std::make_unique<Clipper>();
  table->build();
  const auto read = [&](const double(&v)[4]) { return ClipCurve<Lanes>(*table, v[0], v[1], v[2])(bothLanes(v[3]))[1]; };
  CHECK(read({1.0, -1.0, -20.0, 0.001}) == doctest::Approx(table->table[19600]));  // a drive that turns the curve over
  for (const double bad : {1e300, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    for (int place = 0; place < 4; ++place) {
      double v[] = {0.0035, -0.0028, 190.0, 0.001};
      v[place] = bad;
      CHECK(std::fabs(read(v)) <= table->table[40000]);
    }
  }
}

TEST_CASE("tapers") {
  float poly[] = {2.0F, 0.0F, 1.0F};
  const Taper power{nullptr, TAPER_POWER, 18.0, 6.0, 1.0F, 0.0F, 0.0F, 1.0F, 0};
  const Taper bent{nullptr, TAPER_POWER, 1.0, 0.0, 2.0F, 0.25F, 0.5F, 3.0F, 0};
  const Taper root{nullptr, TAPER_SQRT2, 1.0, 0.0, 0.0F, 0.0F, 0.0F, 0.0F, 0};
  const Taper arc{nullptr, TAPER_ATAN, 20.0, 10.0, 3.0F, 0.5F, 0.0F, 0.0F, 0};
  const struct {
    Taper taper;
    float parameter;
    double value;
    // clang-format off
  } rows[] = {
      {power, 0.0F, 6.0}, {power, 0.25F, 9.0}, {power, 1.0F, 18.0}, {power, NAN, 6.0}, {bent, 0.75F, 0.75},
      {bent, 0.0F, 0.46875}, {root, 0.25F, 0.14078572392463684}, {root, 1.0F, 1.0}, {arc, 0.0F, 10.0},
      {arc, 0.75F, 15.0 + 5.0 * std::atan(1.5) / std::atan(3.0)}, {arc, 1.0F, 20.0},
      {{nullptr, TAPER_POWER, 3.0, 1.0, 1.0F, 1.0F, 0.0F, 0.5F, 0}, 0.5F, 1.0},  // the root of a negative number
      {{nullptr, TAPER_ATAN, 3.0, 1.0, 0.0F, 0.5F, 0.0F, 0.0F, 0}, 0.7F, 1.0},   // no bend, no division by it
      {{poly, TAPER_POLY, 1.0, 0.0, 0.0F, 0.0F, 0.0F, 0.0F, 3}, 0.5F, 1.5},
      {{nullptr, TAPER_POLY, 1.0, 3.0, 0.0F, 0.0F, 0.0F, 0.0F, 3}, 0.5F, 1.0},   // no coefficients
      {{nullptr, 4, 3.0, 1.0, 0.0F, 0.0F, 0.0F, 0.0F, 0}, 0.25F, 1.5},           // any other curve is a line
  };
  // clang-format on
  for (const auto& row : rows) {
    CAPTURE(&row - rows);
    CHECK(row.taper.evaluate(row.parameter) == doctest::Approx(row.value).epsilon(2e-7));
  }
  CHECK(root.evaluate(0.25F) == static_cast<double>(0.14078572392463684F));  // single precision, to the bit
}
