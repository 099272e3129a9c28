// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "cli/render/RenderSettings.h"

class AudioReader;
class OutputStage;
class Progress;

// Plays one recording at a time through the effect, from file to file:
//
//   AudioReader - trim - EffectChannels, between two SampleRateConverters - OutputStage - AudioWriter
//
// It streams, so its memory does not grow with the recording. Any thread may call render(), several at once, too.
class FileRenderer {
 public:
  // Cores that this process may run on, at least 1.
  static unsigned cores() noexcept;

  // `jobs` is how many recordings are rendered at a time. If cores are left over, each recording is read, played and
  // written in parallel.
  FileRenderer(const EffectModule& module, const RenderSettings& settings, unsigned jobs);

  // Tells the progress bar how much render() will add for `in`; nothing if that is not known.
  void announce(const std::string& in, Progress& progress) const;

  // Whether there is a complete sound at `out`, so that it need not be rendered again.
  bool isDone(const std::string& out) const;

  // Renders `in` to `out`, either of which may be "-". Throws Failure, leaving no new file.
  RenderResult render(const std::string& in, const std::string& out, Progress& progress) const;

 private:
  int effectRate(const AudioReader& reader) const;
  double trimFor(const std::string& in) const;
  AudioFormat outputFormat(const AudioReader& reader, const std::string& out) const;
  void check(const AudioReader& reader, const std::string& out) const;
  // Returns the sound's own peak.
  double run(AudioReader& reader, OutputStage& output, double trim, Progress& progress) const;

  const EffectModule& module_;
  const RenderSettings& settings_;
  const bool overlaps_;
};
