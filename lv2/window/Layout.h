// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "catalog/pedal.h"
#include "lv2/window/PedalState.h"

// Where things are on the pedal, in pixels at a scale of 1 from its top left corner.
namespace layout {

namespace pedal = catalog::pedal;

struct Point {
  double x;
  double y;
};

struct Rectangle {
  double x;
  double y;
  double width;
  double height;
  constexpr bool contains(Point p) const { return p.x >= x && p.x < x + width && p.y >= y && p.y < y + height; }
};

// The knobs from left to right, which is also the order of the Tab key; then come the foot switch and the preset bar.
inline constexpr std::array kKnobs{static_cast<int>(catalog::kFuzz), static_cast<int>(catalog::kVolume),
                                   static_cast<int>(catalog::kTrim)};
inline constexpr std::array kFocusOrder{kKnobs[0], kKnobs[1], kKnobs[2], static_cast<int>(catalog::kOn),
                                        PedalState::kPresets};
inline constexpr int kNumPresets = static_cast<int>(std::size(catalog::kPresets));

constexpr Point knobCentre(int control) {
  const auto* const place = std::find(kKnobs.begin(), kKnobs.end(), control);
  return {pedal::kWidth / 2 + (static_cast<double>(place - kKnobs.begin()) - 1) * pedal::kKnobSpacing, pedal::kKnobY};
}

constexpr Rectangle valueBox(int control) {
  return {knobCentre(control).x - pedal::kValueWidth / 2, pedal::kValueY, pedal::kValueWidth, pedal::kValueHeight};
}

inline constexpr Point kFoot{pedal::kWidth / 2, pedal::kFootY};
inline constexpr Rectangle kPresetBar{(pedal::kWidth - pedal::kPresetWidth) / 2, pedal::kPresetY, pedal::kPresetWidth,
                                      pedal::kPresetHeight};

constexpr Rectangle meterBar(int meter) {
  const double left = meter == 0 ? pedal::kMeterX : pedal::kWidth - pedal::kMeterX - pedal::kMeterWidth;
  return {left, pedal::kMeterY, pedal::kMeterWidth, pedal::kMeterHeight};
}

// The menu opens above the preset bar.
constexpr Rectangle menuRow(int preset) {
  return {kPresetBar.x, kPresetBar.y - 6 - (kNumPresets - preset) * pedal::kPresetHeight, kPresetBar.width,
          pedal::kPresetHeight};
}

// The preset in the open menu at a point, or kNone.
constexpr int presetAt(Point p) {
  for (int i = 0; i < kNumPresets; ++i) {
    if (menuRow(i).contains(p)) return i;
  }
  return PedalState::kNone;
}

// The knob, foot switch or preset bar at a point, or kNone. A knob can be grabbed by its scale, too.
inline int controlAt(Point p) {
  const auto isWithin = [p](Point centre, double radius) {
    return std::hypot(p.x - centre.x, p.y - centre.y) <= radius;
  };
  for (const int knob : kKnobs) {
    if (isWithin(knobCentre(knob), pedal::kDialRadius)) return knob;
  }
  if (isWithin(kFoot, pedal::kFootRadius + 5)) return catalog::kOn;
  return kPresetBar.contains(p) ? PedalState::kPresets : PedalState::kNone;
}

// The knob whose value is shown at a point, or kNone.
constexpr int valueAt(Point p) {
  for (const int knob : kKnobs) {
    if (valueBox(knob).contains(p)) return knob;
  }
  return PedalState::kNone;
}

// What is drawn in one go: a control with its value and focus ring, a meter, or the preset bar.
enum Part : int { kMeterIn = PedalState::kPresets + 1, kMeterOut, kNumParts };

// What a part's drawing may touch. No two parts overlap; an open menu covers several of them.
constexpr Rectangle areaOf(int part) {
  if (part == catalog::kOn) return {kFoot.x - 62, pedal::kPlateY + pedal::kPlateHeight, 124, 150};
  if (part == PedalState::kPresets)
    return {kPresetBar.x - 5, kPresetBar.y - 5, kPresetBar.width + 10, kPresetBar.height + 10};
  if (part == kMeterIn || part == kMeterOut) {
    const Rectangle bar = meterBar(part - kMeterIn);
    return {bar.x - 12, bar.y - 2, bar.width + 24, bar.height + 20};
  }
  return {knobCentre(part).x - 51, pedal::kTitleY + 4, 102, pedal::kPlateY - pedal::kTitleY - 12};
}

// The pedal in a window of any shape, in pixels: as large as it fits, in the middle.
class View {
 public:
  constexpr View(int width, int height) : width_(width), height_(height) {}
  constexpr double scale() const { return std::min(width_ / pedal::kWidth, height_ / pedal::kHeight); }
  constexpr double left() const { return (width_ - pedal::kWidth * scale()) / 2; }
  constexpr double top() const { return (height_ - pedal::kHeight * scale()) / 2; }
  constexpr Point toPedal(int x, int y) const { return {(x - left()) / scale(), (y - top()) / scale()}; }

 private:
  int width_;
  int height_;
};

}  // namespace layout
