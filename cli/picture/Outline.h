// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "cli/picture/Picture.h"

// A sound reduced for drawing: every sample or, if there are too many, the lowest and highest of each of 1000 to 2000
// stretches of equal length. Its memory does not grow with the sound.
class Outline {
 public:
  void add(double sample);

  // The largest magnitude so far.
  double peak() const noexcept;

  // The sound as a line or band over time; its first sample is at `start` seconds.
  Picture::Series draw(const std::string& title, double start, int rate) const;

 private:
  static constexpr std::size_t kMostColumns = 2000;
  struct Column {
    double low, high;
  };

  void halve();

  std::vector<Column> columns_;
  std::size_t stretch_ = 1;  // samples in each column
  std::size_t inLast_ = 0;   // samples in the last one, 0 when it is full
};
