// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

class EffectPlayer;

// Parameter values and program changes over time, in frames at the effect's rate.
//
// The player splits blocks at nextCut() and calls apply() before each. Then a switch or program changes at exactly its
// sample; VOLUME, which the effect itself moves linearly across a block, follows the line; every other value is set
// every kGrid frames while its line moves. A jump of VOLUME becomes a glide over kGrid frames.
struct AutomationTrack {
  static constexpr int kGrid = 64;

  enum class Kind { toggles, glides, steps };
  struct Keyframe {
    std::int64_t frame;
    float value;
  };
  struct Lane {
    int parameter;
    Kind kind;
    std::vector<Keyframe> keyframes;  // at least one, in order
  };
  struct ProgramChange {
    std::int64_t frame;
    int program;  // from 0
  };

  std::vector<Lane> lanes;
  std::vector<ProgramChange> programChanges;  // in order

  // The latest end of the block that begins at `position`.
  std::int64_t nextCut(std::int64_t position) const;

  // Sets the values for the block [from, to). A program change sets all parameters; those with a lane keep following
  // it.
  void apply(EffectPlayer& player, std::int64_t from, std::int64_t to) const;
};
