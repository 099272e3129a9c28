// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <type_traits>

#include "dsp/Clipper.h"
#include "dsp/Lanes.h"

// The clip curve for one interpolated sample (T double) or two at once (Lanes): clamps the sample, multiplies it by the
// drive, clamps the product to the curve's range and reads the table.
//
// Every operation from the sample to its position in the table is monotone, even with rounding and flush-to-zero.
// Clamping the position therefore gives the same double as the two clamps, with one pair of bounds. The comparisons
// also send NaN to a bound, so no read leaves the table.
template <typename T>
class ClipCurve {
 public:
  // Samples are clamped to `lower` .. `upper`, then multiplied by `drive`. Any values are allowed.
  ClipCurve(const Clipper& table, double upper, double lower, double drive) noexcept
      : table_(&table), drive_(T{} + drive), center_(T{} + table.center) {
    const double atUpper = positionOf(upper * drive);
    const double atLower = positionOf(lower * drive);
    lowest_ = T{} + std::min(atUpper, atLower);
    highest_ = T{} + std::max(atUpper, atLower);
  }

  // The same curve as `one`, for another number of samples at once.
  template <typename U>
  explicit ClipCurve(const ClipCurve<U>& one) noexcept
      : table_(one.table_),
        drive_(T{} + one.drive_),
        center_(T{} + one.center_),
        lowest_(T{} + one.lowest_),
        highest_(T{} + one.highest_) {}

  // The position of each sample between two entries of the table.
  struct Spot {
    TableIndex first, second;  // indices of the entries below; `second` is for Lanes only
    T fraction;                // 0 to 1, from that entry to the next
  };

  Spot locate(T sample) const noexcept {
    T position = center_ + (sample * drive_) * center_;
    position = position < highest_ ? position : highest_;
    position = position > lowest_ ? position : lowest_;
    if constexpr (std::is_same_v<T, double>) {
      const auto below = static_cast<TableIndex>(position);
      return {below, below, position - static_cast<double>(below)};
    } else {
      const auto first = static_cast<TableIndex>(position[0]);
      const auto second = static_cast<TableIndex>(position[1]);
      return {first, second, position - Lanes{static_cast<double>(first), static_cast<double>(second)}};
    }
  }

  T read(const Spot& spot) const noexcept {
    const Lanes firstPair = table_->entries(spot.first);
    if constexpr (std::is_same_v<T, double>) {
      return (firstPair[1] - firstPair[0]) * spot.fraction + firstPair[0];
    } else {
      const Lanes secondPair = table_->entries(spot.second);
      const Lanes left = lowLanes(firstPair, secondPair);
      const Lanes right = highLanes(firstPair, secondPair);
      return (right - left) * spot.fraction + left;
    }
  }

  T operator()(T sample) const noexcept { return read(locate(sample)); }

 private:
  template <typename U>
  friend class ClipCurve;

  double positionOf(double w) const noexcept {
    w = w < 1.0 ? w : 1.0;
    w = w > -1.0 ? w : -1.0;
    return table_->center + w * table_->center;
  }

  const Clipper* table_;
  T drive_, center_, lowest_, highest_;
};
