// SPDX-License-Identifier: MIT
// Visits every value that the signal path carries from one block to the next.
#pragma once

#include "dsp/IIRFilter.h"
#include "effect/Brumbler.h"

// Calls function(double& history) for every history of the signal path. The effect must be set up.
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
