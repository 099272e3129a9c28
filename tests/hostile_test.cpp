// SPDX-License-Identifier: MIT
// What must not outlast its block, and what must never come out.
#include <doctest/doctest.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <limits>

#include "tests/LayoutCheck.h"
#include "tests/Player.h"

namespace {

constexpr int kLengths[] = {1, 7, 16, 64, 1000, 4000};

bool allFinite(const Sound& sound) {
  return std::all_of(sound.begin(), sound.end(), [](double x) { return std::isfinite(x); });
}
bool sameBytes(const Sound& a, const Sound& b) {
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
      fresh.play(Sound{});

      Sound block = pluckedStrings(length);
      block[static_cast<std::size_t>(place)] = bad;
      const Sound out = player.play(block);
      CHECK((on ? allFinite(out) : sameBytes(out, block)));

      for (Player* each : {&player, &fresh}) each->set(0, 1.0F);
      for (int next = 1; next < 4; ++next) {
        const Sound clean = pluckedStrings(1500, 44100.0, 3000 * next);
        const Sound played = player.play(clean);
        CHECK(sameBytes(played, fresh.play(clean)));
        CHECK(played != clean);
      }
    }
  }
}

// What is odd and yet stable stays instead: exactness_test.cpp.
TEST_CASE("a bad parameter spoils the blocks that it holds for and no more") {
  const struct {
    int32 index;
    float bad;
  } rows[] = {{1, std::nanf("")}, {1, HUGE_VALF},  {1, -HUGE_VALF}, {1, -1e38F}, {1, -0.858F}, {2, std::nanf("")},
              {2, HUGE_VALF},     {2, -HUGE_VALF}, {2, 1e38F},      {2, -9.01F}, {2, 9.5F}};
  for (const auto& row : rows) {
    const int32 index = row.index;
    const float bad = row.bad;
    for (const int length : kLengths) {
      INFO("index ", index, ", bad ", bad, ", length ", length);
      Player player, fresh;
      player.play(pluckedStrings(length));
      player.set(index, bad);
      for (int block = 1; block < 30; ++block) {
        CHECK(allFinite(player.play(pluckedStrings(length, 44100.0, block * length))));
      }
      player.set(index, 0.5F);
      if (index != 1) fresh.play(Sound{});  // a bad VOLUME comes back from zero
      for (int next = 0; next < 3; ++next) {
        const Sound clean = pluckedStrings(length, 44100.0, 3000 * next);
        CHECK(sameBytes(player.play(clean), fresh.play(clean)));
      }
    }
  }
}

TEST_CASE("a history that no sound leaves is gone after 64 samples, whichever it is") {
  const int histories = LayoutCheck::spoilHistory(Player().effect(), -1, 0.0);
  REQUIRE(histories == 36);
  for (const double bad : {std::nan(""), -HUGE_VAL, 1e303}) {
    for (int which = 0; which < histories; ++which) {
      INFO("bad ", bad, ", which ", which);
      Player player, fresh;
      fresh.play(Sound{});
      player.play(pluckedStrings(63));
      LayoutCheck::spoilHistory(player.effect(), which, bad);
      CHECK(allFinite(player.play(Sound{0.01})));
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
  Sound block(2000), out;
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
