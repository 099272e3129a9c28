// SPDX-License-Identifier: MIT
// Input whose effects must not outlast its block, and values that must never be output.
#include <doctest/doctest.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <limits>

#include "tests/LayoutCheck.h"
#include "tests/Player.h"

namespace {

constexpr int kLengths[] = {1, 7, 16, 64, 1000, 4000};

bool allFinite(const Samples& sound) {
  return std::all_of(sound.begin(), sound.end(), [](double x) { return std::isfinite(x); });
}
bool sameBytes(const Samples& a, const Samples& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

}  // namespace

// The strongest form of "it does not stay": from the next block on the effect plays, to the bit, what one plays that
// never heard anything. An empty block brings VOLUME to its value there, where a first block would glide.
TEST_CASE("a bad sample spoils its block and no more") {
  for (const double bad : {std::nan(""), -std::nan(""), HUGE_VAL, -HUGE_VAL, 1e37, 1e300, -1e300, DBL_MAX}) {
    for (int variant = 0; variant < 30; ++variant) {
      INFO("bad ", bad, ", variant ", variant);
      const int length = kLengths[variant % 6];
      const int place = (length - 1) * (variant % 3) / 2;
      const bool on = variant % 2 == 0;
      Player player, fresh;
      for (Player* each : {&player, &fresh}) each->set(0, on ? 1.0F : 0.0F);
      player.play(pluckedStrings(length));
      fresh.play(Samples{});

      Samples block = pluckedStrings(length);
      block[static_cast<std::size_t>(place)] = bad;
      const Samples out = player.play(block);
      CHECK((on ? allFinite(out) : sameBytes(out, block)));

      for (Player* each : {&player, &fresh}) each->set(0, 1.0F);
      for (int next = 1; next < 4; ++next) {
        const Samples clean = pluckedStrings(1500, 44100.0, 3000 * next);
        const Samples played = player.play(clean);
        CHECK(sameBytes(played, fresh.play(clean)));
        CHECK(played != clean);
      }
    }
  }
}

// Values within the limits play unchanged: exactness_test.cpp.
TEST_CASE("a parameter beyond its limit plays as the limit, NaN as 0, and says what was set") {
  const struct {
    int32 index;
    float value, playsAs;
  } rows[] = {{1, std::nanf(""), 0.0F}, {1, HUGE_VALF, 10.0F},    {1, -HUGE_VALF, -0.8F}, {1, 1e30F, 10.0F},
              {1, -0.81F, -0.8F},       {2, std::nanf(""), 0.0F}, {2, HUGE_VALF, 1.7F},   {2, -HUGE_VALF, -1.7F},
              {2, 9.0F, 1.7F},          {2, -1.71F, -1.7F}};
  for (const auto& row : rows) {
    for (const int length : kLengths) {
      INFO("index ", row.index, ", value ", row.value, ", length ", length);
      Player player, twin;
      for (int block = 0; block < 9; ++block) {
        player.set(row.index, block % 3 == 0 ? 0.5F : row.value);
        twin.set(row.index, block % 3 == 0 ? 0.5F : row.playsAs);
        const Samples in = pluckedStrings(length, 44100.0, block * length);
        CHECK(sameBytes(player.play(in), twin.play(in)));
      }
      const float value = player.effect().getParameter(row.index);
      CHECK((value == row.value || value != value));
    }
  }
}

// A second of it, then half a second back at a setting of the knob, beside an effect that stayed there. What differs by
// less than a tenth of the peak lies 20 dB below it.
TEST_CASE("20 ms after VOLUME or FUZZ was far outside 0 to 1 the effect plays nearly as if it had not been") {
  const struct {
    int32 index;
    float value;
  } visits[] = {{1, 1e30F}, {1, 10.0F}, {1, 3.0F}, {1, -0.8F}, {2, 9.0F}, {2, 1.7F}, {2, -1.7F}, {2, 1.4F}};
  for (const auto& visit : visits) {
    for (const float home : {0.2F, 0.5F, 1.0F}) {
      for (const int rate : {8000, 44100, 96000}) {
        INFO("index ", visit.index, ", value ", visit.value, ", home ", home, ", rate ", rate);
        Player player(rate), undisturbed(rate);
        for (Player* each : {&player, &undisturbed}) each->set(visit.index, home);
        double most = 0.0, peak = 0.0;
        for (int n = 0; n < rate * 3 / 2; n += 64) {
          player.set(visit.index, n < rate ? visit.value : home);
          const Samples in = pluckedStrings(64, rate, n);
          const Samples played = player.play(in), expected = undisturbed.play(in);
          for (std::size_t i = 0; i < in.size(); ++i) {
            peak = std::max(peak, std::fabs(expected[i]));
            if (n >= rate + rate / 50) most = std::max(most, std::fabs(played[i] - expected[i]));
          }
        }
        CHECK(most < 0.1 * peak);
      }
    }
  }
}

// Each sample is checked by itself, so the other samples do not matter.
TEST_CASE("samples up to 1e36 are valid in any number, whatever the block length") {
  Samples in(4000, 0.0);
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = i % 2 == 0 ? 9.9e35 : -9.9e35;
  Player whole, parts;
  for (Player* each : {&whole, &parts}) each->play(Samples{});
  Samples played = whole.play(in), joined;
  for (int n = 0; n < 4000; n += 8) {
    const Samples part = parts.play(Samples(in.begin() + n, in.begin() + n + 8));
    joined.insert(joined.end(), part.begin(), part.end());
  }
  CHECK(sameBytes(played, joined));
}

TEST_CASE("a history that no sound leaves is gone after 64 samples, whichever it is") {
  const int histories = LayoutCheck::spoilHistory(Player().effect(), -1, 0.0);
  REQUIRE(histories == 36);
  for (const double bad : {std::nan(""), -HUGE_VAL, 1e303}) {
    for (int which = 0; which < histories; ++which) {
      INFO("bad ", bad, ", which ", which);
      Player player, fresh;
      fresh.play(Samples{});
      player.play(pluckedStrings(63));
      LayoutCheck::spoilHistory(player.effect(), which, bad);
      CHECK(allFinite(player.play(Samples{0.01})));
      CHECK(sameBytes(player.play(pluckedStrings(200)), fresh.play(pluckedStrings(200))));
    }
  }
  Player player;
  CHECK_FALSE(LayoutCheck::lookIsDue(player.effect(), 63));
  CHECK(LayoutCheck::lookIsDue(player.effect(), std::numeric_limits<int32>::max()));
  CHECK_FALSE(LayoutCheck::lookIsDue(player.effect(), 63));
}

// A tail dies by 22 decades a second; then the feedback of the filters holds it just above the denormal numbers.
TEST_CASE("the tail of a sound leaves denormal numbers neither in the output nor in a history") {
  Player player(20000, 2000);
  Samples block(2000), out;
  block[0] = 1e-6;
  for (int i = 0; i < 150; ++i) {
    out = player.play(block);
    block[0] = 0.0;
    CHECK(std::none_of(out.begin(), out.end(), [](double x) { return std::fpclassify(x) == FP_SUBNORMAL; }));
    CHECK_FALSE(LayoutCheck::denormalLingers(player.effect()));
    if (i == 0) CHECK(out[100] != 0.0);
  }
  CHECK(std::fabs(out.back()) < 1e-300);
}
