// SPDX-License-Identifier: MIT
// All values that a block leaves to the next one.
#pragma once

#include "dsp/IIRFilter.h"
#include "effect/Brumbler.h"

// Calls function(double& history) for every history of the signal path. The effect is set up.
template <typename Function>
void Brumbler::forEachHistory(Function function) {
  const auto ofSection = [&](IIRFilter& section) {
    function(section.z1);
    function(section.z2);
  };
  for (IIRFilter* section : stages->pre) ofSection(*section);
  for (IIRFilter* section : stages->post) ofSection(*section);
  for (auto& ofLowpass : ovsState) {
    for (double& history : ofLowpass) function(history);
  }
  function(toneZ1);
  function(toneZ2);
}
