// SPDX-License-Identifier: MIT
#pragma once

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/cli/CommandLine.h"

// Tones and noise at about a guitar's level, and a little silence at the end.
inline Sound guitar(int rate, int channels, int frames, int format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE) {
  Sound sound{rate, channels, format, {}};
  std::mt19937 random(1);
  std::uniform_real_distribution<double> noise(-0.005, 0.005);
  for (int i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const double tone = 0.05 * std::sin(0.0157 * (c + 1) * i) * std::exp(-3.0 * i / frames);
      sound.samples.push_back(i < frames - 50 ? tone + noise(random) : 0.0);
    }
  }
  return sound;
}

// The result of `render IN OUT OPTIONS`.
inline std::vector<double> render(CommandLine& cli, const std::string& inAndOptions) {
  REQUIRE(cli.run("render --force " + inAndOptions + " o.wav") == 0);
  return cli.read("o.wav").samples;
}

inline double largestDifference(const std::vector<double>& a, const std::vector<double>& b) {
  double largest = a.size() == b.size() ? 0.0 : 1e9;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) largest = std::max(largest, std::fabs(a[i] - b[i]));
  return largest;
}
