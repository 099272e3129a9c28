// SPDX-License-Identifier: MIT
#include "lv2/window/Drawing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <numbers>
#include <utility>

#include "lv2/window/Layout.h"

namespace drawing {
namespace {

using namespace catalog::pedal;
using layout::Point;
using layout::Rectangle;

constexpr double kPi = std::numbers::pi;
constexpr unsigned kBlack = 0x000000;
constexpr const char* kPlain = "sans-serif";
constexpr const char* kBrand = "serif";

constexpr double channel(unsigned colour, int shift) { return (colour >> shift & 255U) / 255.0; }

void use(cairo_t* context, unsigned colour, double alpha = 1.0) {
  cairo_set_source_rgba(context, channel(colour, 16), channel(colour, 8), channel(colour, 0), alpha);
}

// Colours at places from 0 to 1 along a pattern, which becomes the source.
void use(cairo_t* context, cairo_pattern_t* pattern, std::initializer_list<std::pair<double, unsigned>> stops) {
  for (const auto& [place, colour] : stops) {
    cairo_pattern_add_color_stop_rgb(pattern, place, channel(colour, 16), channel(colour, 8), channel(colour, 0));
  }
  cairo_set_source(context, pattern);
  cairo_pattern_destroy(pattern);
}

void disc(cairo_t* context, Point centre, double radius) {
  cairo_new_path(context);
  cairo_arc(context, centre.x, centre.y, radius, 0, 2 * kPi);
  cairo_fill(context);
}

// Light or shadow around a point, which fades out from half of its radius on.
void glow(cairo_t* context, Point centre, double radius, unsigned colour, double alpha) {
  cairo_pattern_t* const pattern = cairo_pattern_create_radial(centre.x, centre.y, 0, centre.x, centre.y, radius);
  for (const auto& [place, strength] : {std::pair{0.5, alpha}, {1.0, 0.0}}) {
    cairo_pattern_add_color_stop_rgba(pattern, place, channel(colour, 16), channel(colour, 8), channel(colour, 0),
                                      strength);
  }
  cairo_set_source(context, pattern);
  cairo_pattern_destroy(pattern);
  disc(context, centre, radius);
}

void outlineBox(cairo_t* context, const Rectangle& box, double corner) {
  const double right = box.x + box.width - corner, bottom = box.y + box.height - corner;
  cairo_new_path(context);
  cairo_arc(context, right, box.y + corner, corner, -kPi / 2, 0);
  cairo_arc(context, right, bottom, corner, 0, kPi / 2);
  cairo_arc(context, box.x + corner, bottom, corner, kPi / 2, kPi);
  cairo_arc(context, box.x + corner, box.y + corner, corner, kPi, 1.5 * kPi);
  cairo_close_path(context);
}

void fillBox(cairo_t* context, const Rectangle& box, double corner) {
  outlineBox(context, box, corner);
  cairo_fill(context);
}

// Text with its middle at `x` and its baseline at `y`, smaller where it would be wider than `widest`.
void write(cairo_t* context, Point at, double size, const char* text, double widest = kWidth,
           const char* face = kPlain) {
  cairo_select_font_face(context, face, face == kBrand ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL,
                         CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(context, size);
  cairo_text_extents_t extents;
  cairo_text_extents(context, text, &extents);
  if (extents.x_advance > widest) {
    cairo_set_font_size(context, size * widest / extents.x_advance);
    cairo_text_extents(context, text, &extents);
  }
  cairo_move_to(context, at.x - extents.x_advance / 2, at.y);
  cairo_show_text(context, text);
}

// Radians clockwise from the top, for a value from 0 to 1.
double angleAt(double share) { return (share - 0.5) * kSweep * kPi / 180; }

void drawScale(cairo_t* context, int control) {
  const catalog::Parameter& parameter = catalog::kParameters[control];
  const Point centre = layout::knobCentre(control);
  use(context, kInk);
  char title[32] = {};
  std::transform(parameter.label,
                 parameter.label + std::min(std::char_traits<char>::length(parameter.label), sizeof title - 1), title,
                 [](char letter) { return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter; });
  write(context, {centre.x, kTitleY}, kTitleSize, title, kKnobSpacing);
  cairo_set_line_width(context, 1);
  for (int tick = 0; tick <= 10; ++tick) {
    const double x = std::sin(angleAt(tick / 10.0)), y = -std::cos(angleAt(tick / 10.0));
    cairo_move_to(context, centre.x + (kDialRadius - kTickLength) * x, centre.y + (kDialRadius - kTickLength) * y);
    cairo_line_to(context, centre.x + kDialRadius * x, centre.y + kDialRadius * y);
    cairo_stroke(context);
  }
  for (const auto& [side, number] : {std::pair{-1, parameter.minimum}, {1, parameter.maximum}}) {
    char text[16];
    std::snprintf(text, sizeof text, "%s%g", number < 0 ? "\u2212" : "", std::fabs(number));
    write(context, {centre.x + side * 38, centre.y + kDialRadius + 2}, kScaleSize, text);
  }
}

void drawValue(cairo_t* context, const PedalState& state, int control) {
  const Rectangle box = layout::valueBox(control);
  use(context, kInk);
  fillBox(context, box, 6);
  use(context, kValue);
  char text[32];
  if (state.isTyping && state.focus == control) {
    std::snprintf(text, sizeof text, "%s|", state.typed.c_str());
  } else {
    const bool isKnob = catalog::kParameters[control].scale == catalog::Scale::knob;
    const double value = static_cast<double>(state.valueOf(control));
    std::snprintf(text, sizeof text, "%s%.*f%s", value < 0 ? "\u2212" : "", isKnob ? 2 : 1, std::fabs(value),
                  isKnob ? "" : " dB");
  }
  write(context, {box.x + box.width / 2, box.y + box.height - 10}, kValueSize, text, box.width - 6);
}

// A ring around what keys turn.
void drawFocus(cairo_t* context, const PedalState& state, int control, Point centre, double radius) {
  if (!state.showsFocus || state.focus != control) return;
  use(context, kInk);
  cairo_set_line_width(context, 3);
  cairo_new_path(context);
  cairo_arc(context, centre.x, centre.y, radius, 0, 2 * kPi);
  cairo_stroke(context);
}

void drawFoot(cairo_t* context, const PedalState& state) {
  const bool isOn = state.valueOf(catalog::kOn) > 0.0F;
  const Point lamp{layout::kFoot.x, kLampY}, foot = layout::kFoot;
  if (isOn) glow(context, lamp, 26, kLampGlow, 0.7);
  use(context, kLampRing);
  disc(context, lamp, kLampRadius + 3);
  use(context, isOn ? kLampOn : kLampOff);
  disc(context, lamp, kLampRadius);
  if (isOn) {
    use(context, kLampShine);
    disc(context, {lamp.x - 2, lamp.y - 2}, 3);
  }
  glow(context, {foot.x, foot.y + 5}, kFootRadius + 13, kBlack, 0.5);
  use(context, kCollar);
  disc(context, foot, kFootRadius + 5);
  const Point shine{foot.x - 0.24 * kFootRadius, foot.y - 0.36 * kFootRadius};
  use(context, cairo_pattern_create_radial(shine.x, shine.y, 0, shine.x, shine.y, 1.4 * kFootRadius),
      {{0.0, kMetalShine}, {0.3, kMetalLight}, {0.62, kMetal}, {0.7, kMetalEdge}, {1.0, kMetalDark}});
  disc(context, foot, kFootRadius);
  drawFocus(context, state, catalog::kOn, foot, kFootRadius + 9);
}

// From -60 dBFS at the bottom to full scale at the top.
void drawMeter(cairo_t* context, float level, int meter) {
  const Rectangle bar = layout::meterBar(meter);
  const double decibels = 20 * std::log10(std::max(static_cast<double>(level), 1e-3));
  const double height = (bar.height - 4) * std::clamp(decibels / 60 + 1, 0.0, 1.0);
  use(context, kInk);
  fillBox(context, bar, 3);
  use(context, cairo_pattern_create_linear(0, bar.y + bar.height, 0, bar.y),
      {{0.6, kLevelLow}, {0.9, kLevelHigh}, {1.0, kLevelClip}});
  cairo_rectangle(context, bar.x + 2, bar.y + bar.height - 2 - height, bar.width - 4, height);
  cairo_fill(context);
  use(context, kInk);
  write(context, {bar.x + bar.width / 2, bar.y + bar.height + 14}, kScaleSize + 1, meter == 0 ? "IN" : "OUT");
}

void drawPresetBar(cairo_t* context, const PedalState& state) {
  const Rectangle bar = layout::kPresetBar;
  if (state.showsFocus && state.focus == PedalState::kPresets) {
    use(context, kInk);
    cairo_set_line_width(context, 2);
    outlineBox(context, {bar.x - 3, bar.y - 3, bar.width + 6, bar.height + 6}, 9);
    cairo_stroke(context);
  }
  use(context, kInk);
  fillBox(context, bar, 6);
  use(context, kValue);
  const int preset = state.preset();
  write(context, {bar.x + bar.width / 2 - 8, bar.y + bar.height - 11}, kTitleSize,
        preset != PedalState::kNone ? catalog::kPresets[preset].label : "Presets", bar.width - 50);
  const Point arrow{bar.x + bar.width - 20, bar.y + bar.height / 2};
  cairo_move_to(context, arrow.x - 5, arrow.y + 2.5);
  cairo_line_to(context, arrow.x + 5, arrow.y + 2.5);
  cairo_line_to(context, arrow.x, arrow.y - 3.5);
  cairo_fill(context);
}

}  // namespace

void drawBox(cairo_t* context) {
  const Rectangle all{0, 0, kWidth, kHeight};
  use(context, cairo_pattern_create_radial(0.3 * kWidth, 0, 0, 0.3 * kWidth, 0, 0.85 * kHeight),
      {{0.0, kAmberLight}, {0.45, kAmber}, {1.0, kAmberDeep}});
  fillBox(context, all, kCorner);
  for (const int knob : layout::kKnobs) drawScale(context, knob);
  use(context, kInk);
  cairo_rectangle(context, 0, kPlateY, kWidth, kPlateHeight);
  cairo_fill(context);
  use(context, kAmber);
  write(context, {kWidth / 2, kPlateY + kPlateHeight - 19}, kBrandSize, "Brumbler", kWidth - 60, kBrand);
}

void drawKnob(cairo_t* context, int control, float value) {
  const catalog::Parameter& parameter = catalog::kParameters[control];
  const Point centre = layout::knobCentre(control);
  glow(context, {centre.x, centre.y + 5}, kKnobRadius + 6, kBlack, 0.45);
  use(context, kBlack);
  disc(context, centre, kKnobRadius + 1);
  use(context, kKnobRim);
  disc(context, centre, kKnobRadius);
  use(context, kKnobCap);
  disc(context, centre, 0.74 * kKnobRadius);
  cairo_save(context);
  cairo_translate(context, centre.x, centre.y);
  const double share = (static_cast<double>(value) - parameter.minimum) / (parameter.maximum - parameter.minimum);
  cairo_rotate(context, angleAt(share));
  use(context, kPointer);
  fillBox(context, {-kPointerWidth / 2, 2 - kKnobRadius, kPointerWidth, kPointerLength}, kPointerWidth / 2);
  cairo_restore(context);
}

void drawPart(cairo_t* context, const PedalState& state, int part) {
  if (part == catalog::kOn) {
    drawFoot(context, state);
  } else if (part == PedalState::kPresets) {
    drawPresetBar(context, state);
  } else if (part < PedalState::kNumControls) {
    drawKnob(context, part, state.valueOf(part));
    drawValue(context, state, part);
    drawFocus(context, state, part, layout::knobCentre(part), kDialRadius + 3);
  } else {
    const int meter = part - layout::kMeterIn;
    drawMeter(context, state.levels[static_cast<std::size_t>(meter)], meter);
  }
}

void drawMenu(cairo_t* context, const PedalState& state) {
  const Rectangle first = layout::menuRow(0);
  const Rectangle menu{first.x, first.y, first.width, layout::kNumPresets * first.height};
  use(context, kInk);
  fillBox(context, menu, 6);
  use(context, kAmber);
  cairo_set_line_width(context, 1);
  outlineBox(context, menu, 6);
  cairo_stroke(context);
  for (int i = 0; i < layout::kNumPresets; ++i) {
    const Rectangle row = layout::menuRow(i);
    if (i == state.highlighted) {
      use(context, kAmber);
      fillBox(context, {row.x + 2, row.y + 2, row.width - 4, row.height - 4}, 4);
    }
    use(context, i == state.highlighted ? kInk : kValue);
    write(context, {row.x + row.width / 2, row.y + row.height - 11}, kTitleSize, catalog::kPresets[i].label,
          row.width - 12);
  }
}

}  // namespace drawing
