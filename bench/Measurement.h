// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

// A piece of work to time. The ratios of one group are taken between its members, so these are timed in turn.
struct Measurement {
  std::string group;
  std::string name;
  double units;  // samples, blocks or set-ups in one call of `run`
  std::function<void()> run;
};

// All that is measured, at 44100 Hz.
std::vector<Measurement> measurements();

// Bytes that one instance asks for: made, set up at 44100 Hz for blocks of `blockSize` samples.
std::size_t instanceBytes(int blockSize);

// Times every measurement `rounds` times, the members of a group in turn, and prints the ratios of the minima.
void printRatios(const std::vector<Measurement>& all, int rounds, const std::string& prefix);
