// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/path/Mixer.h"
#include "dsp/path/SignalPath.h"

// Processes a whole block: `length` samples, at least 1, from mixer.dry through all stages and the mixer, in the form
// that is fastest for the length. The output is bit-identical in every form. False if the block must not leave its
// histories behind: an input sample was NaN or too large, or an effect sample was not finite.
bool runBlock(const SignalStages& stages, const Mixer& mixer, int length) noexcept;
