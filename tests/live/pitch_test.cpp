// SPDX-License-Identifier: MIT
// The tuner's ear: plucked strings, a weak fundamental, and what has no pitch.
#include <doctest/doctest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "player/PitchDetector.h"
#include "player/PluckedString.h"

namespace {

double cents(double frequency, double expected) {
  return frequency > 0.0 ? 1200.0 * std::log2(frequency / expected) : 9999.0;
}

}  // namespace

TEST_SUITE_BEGIN("player");

TEST_CASE("the pitch of strings from A0 to E6, in tune and out of it") {
  for (const int rate : {44100, 48000, 96000}) {
    CAPTURE(rate);
    PitchDetector detector(rate);
    std::vector<float> sound(static_cast<std::size_t>(rate / 4));
    for (int number = 21; number <= 88; ++number) {
      for (const double detune : {-30.0, 0.0, 17.0}) {
        const double frequency = 440.0 * std::exp2((number - 69) / 12.0 + detune / 1200.0);
        CAPTURE(frequency);
        PluckedString string(rate, static_cast<std::uint32_t>(number));
        string.pluck(frequency, 0.6, false);
        for (float& sample : sound) sample = static_cast<float>(0.2 * string.next());
        detector.add(sound.data(), sound.size());
        const double heard = detector.frequency();
        CHECK(std::fabs(cents(heard, frequency)) < 0.5);
        CHECK(TunerNote::nearest(heard).number == number);
        CHECK(TunerNote::nearest(heard).cents == doctest::Approx(detune).epsilon(0.02).scale(30));
        // A pickup under the middle of the string hears the second partial ten times as loud as the first.
        for (std::size_t i = 0; i < sound.size(); ++i) {
          const double phase = 2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
          sound[i] = static_cast<float>(0.02 * std::sin(phase) + 0.2 * std::sin(2.0 * phase + 1.0) +
                                        0.1 * std::sin(3.0 * phase + 2.0) + 0.05 * std::sin(5.0 * phase));
        }
        detector.add(sound.data(), sound.size());
        CHECK(std::fabs(cents(detector.frequency(), frequency)) < 0.5);
      }
    }
  }
  CHECK(TunerNote{28, 0.0}.name() == "E1");
  CHECK(TunerNote{42, 0.0}.name() == "F#2");
  CHECK(TunerNote{60, 0.0}.name() == "C4");
}

TEST_CASE("silence, noise, a hum too quiet and NaN have no pitch") {
  std::minstd_rand random(1);
  std::normal_distribution<float> noise(0.0F, 0.1F);
  const auto sine = [](double frequency, int i) {
    return static_cast<float>(std::sin(2.0 * std::numbers::pi * frequency * i / 48000.0));
  };
  PitchDetector detector(48000);
  for (int kind = 0; kind < 4; ++kind) {
    CAPTURE(kind);
    for (int block = 0; block < 50; ++block) {
      std::vector<float> sound(4800);
      for (int i = 0; i < 4800; ++i) {
        const float samples[] = {0.0F, noise(random), 0.0005F * sine(50.0, i), std::numeric_limits<float>::quiet_NaN()};
        sound[static_cast<std::size_t>(i)] = samples[kind];
      }
      detector.add(sound.data(), sound.size());
      if (block > 0) CHECK(detector.frequency() == 0.0);
    }
  }
}

TEST_SUITE_END();
