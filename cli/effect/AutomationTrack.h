// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

class EffectPlayer;

// Parameter values and program changes over time, in frames at the effect's rate.
//
// Whoever plays it cuts blocks at nextCut() and calls apply() before each. Then a switch or a program changes on its
// very sample; VOLUME, which the effect itself moves evenly across a block, follows the line; every other value is set
// every kGrid frames while its line moves. A jump of VOLUME is a glide over kGrid frames.
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

  // The end of the block that begins at `position`, at the latest.
  std::int64_t nextCut(std::int64_t position) const;

  // Sets what the block [from, to) needs. A program change sets all parameters; those that have a lane go on along it.
  void apply(EffectPlayer& player, std::int64_t from, std::int64_t to) const;
};
