// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <type_traits>

#include "dsp/Clipper.h"
#include "dsp/Lanes.h"

// Clamp, drive, clamp to the curve's range and read, for one interpolated sample (T double) or two at once (Lanes).
//
// From the interpolated sample to the position in the table every operation is monotone, rounding and flush-to-zero
// included, so the clamps act as well on the position: the same double, and one pair of bounds for two clamps. In the
// form in which they stand NaN ends at a bound too: no read ever leaves the table.
template <typename T>
class ClipCurve {
 public:
  // Samples are clamped to `lower` .. `upper`, then multiplied by `drive`. Any values do.
  ClipCurve(const Clipper& table, double upper, double lower, double drive) noexcept
      : table_(&table), drive_(T{} + drive), center_(T{} + table.center) {
    const double atUpper = positionOf(upper * drive);
    const double atLower = positionOf(lower * drive);
    lowest_ = T{} + std::min(atUpper, atLower);
    highest_ = T{} + std::max(atUpper, atLower);
  }

  // The same curve, for as many samples at once as this one takes.
  template <typename U>
  explicit ClipCurve(const ClipCurve<U>& one) noexcept
      : table_(one.table_),
        drive_(T{} + one.drive_),
        center_(T{} + one.center_),
        lowest_(T{} + one.lowest_),
        highest_(T{} + one.highest_) {}

  // Where between two entries of the table each sample stands.
  struct Spot {
    TableIndex first, second;  // the entries below; a single sample has no second
    T fraction;                // 0 to 1, from there to the next ones
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
