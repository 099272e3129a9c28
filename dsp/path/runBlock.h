// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/path/Mixer.h"
#include "dsp/path/SignalPath.h"

// A whole block: `length` samples, at least 1, from mixer.dry through all stages and the mixer, in the form that is
// fastest for the length. The same doubles in every form. False when something passed that must not stay: a sample too
// large or no number, or an effect signal that is not finite.
bool runBlock(const SignalStages& stages, const Mixer& mixer, int length) noexcept;
