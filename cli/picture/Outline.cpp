// SPDX-License-Identifier: MIT
#include "cli/picture/Outline.h"

#include <algorithm>

void Outline::add(double sample) {
  if (inLast_ == 0) {
    if (columns_.size() == kMostColumns) halve();
    columns_.push_back({sample, sample});
  }
  Column& last = columns_.back();
  last = {std::min(last.low, sample), std::max(last.high, sample)};
  if (++inLast_ == stretch_) inLast_ = 0;
}

void Outline::halve() {
  for (std::size_t i = 0; i < columns_.size() / 2; ++i) {
    const Column& a = columns_[2 * i];
    const Column& b = columns_[2 * i + 1];
    columns_[i] = {std::min(a.low, b.low), std::max(a.high, b.high)};
  }
  columns_.resize(columns_.size() / 2);
  stretch_ *= 2;
}

double Outline::peak() const noexcept {
  double peak = 0.0;
  for (const Column& column : columns_) peak = std::max({peak, -column.low, column.high});
  return peak;
}

Picture::Series Outline::draw(const std::string& title, double start, int rate) const {
  Picture::Series series{title, {}, stretch_ > 1};
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const double time = start + static_cast<double>(i * stretch_) / rate;
    series.points.emplace_back(time, columns_[i].low);
    if (series.isBand) series.points.emplace_back(time, columns_[i].high);
  }
  return series;
}
