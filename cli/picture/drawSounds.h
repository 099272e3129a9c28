// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/audio/AudioReader.h"
#include "cli/picture/Picture.h"

// A part of a sound, in seconds.
struct SoundRange {
  double from = 0.0;
  std::optional<double> to;  // nothing: its end
};

// A part of a file's first channel.
class SoundPart {
 public:
  // Throws Failure when the file cannot be read.
  SoundPart(const std::string& path, const SoundRange& range) : reader_(path, {}), range_(range) {}

  int rate() const noexcept { return reader_.format().rate; }  // Hz

  // Passes it to `take`, sample by sample. Call it once. Throws Failure if it has no sample.
  void read(const std::function<void(double)>& take);

 private:
  AudioReader reader_;
  SoundRange range_;
};

// Draws the first channels of sounds over time, on top of each other.
Picture drawWaves(const std::vector<std::string>& paths, const SoundRange& range);

// Draws the first channels of sounds over time, below each other on one scale, and the spectra of all.
Picture drawSounds(const std::vector<std::string>& paths, const SoundRange& range);
