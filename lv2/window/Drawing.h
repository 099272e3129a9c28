// SPDX-License-Identifier: MIT
#pragma once

#include <cairo/cairo.h>

#include "lv2/window/PedalState.h"

// Draws the pedal with Cairo, in the units of lv2/window/Layout.h. Keeps no state and knows nothing of windows, so
// pictures of the pedal are drawn by it, too.
namespace drawing {

// What never changes, behind all parts: the box, titles, scales and the name plate. Outside of the box is left as it
// is.
void drawBox(cairo_t* context);

// A part: a control, PedalState::kPresets, layout::kMeterIn or layout::kMeterOut.
void drawPart(cairo_t* context, const PedalState& state, int part);

// A knob alone, without its scale and value.
void drawKnob(cairo_t* context, int control, float value);

// The open menu, above everything else.
void drawMenu(cairo_t* context, const PedalState& state);

}  // namespace drawing
