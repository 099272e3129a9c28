// SPDX-License-Identifier: MIT
#pragma once

#include "effect/Brumbler.h"

// The way of the tests into the effect's documented fields.
struct LayoutCheck {
  static bool plays(const Brumbler& b, int32 samples) { return b.switchFader != nullptr && samples <= b.workBufLen; }
  static double curSampleRate(const Brumbler& b) { return b.curSampleRate; }
};
