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
// Streams: what it holds does not grow with the recording. Any thread may render, several at once, too.
class FileRenderer {
 public:
  // Cores that this process may run on, at least 1.
  static unsigned cores() noexcept;

  // `jobs` is how many recordings are rendered at a time: with cores to spare, each is read, played and written side by
  // side.
  FileRenderer(const EffectModule& module, const RenderSettings& settings, unsigned jobs);

  // Tells the bar how much render() will add for `in`; nothing when that cannot be told.
  void announce(const std::string& in, Progress& progress) const;

  // Whether there is a complete sound at `out`, which need not be rendered again.
  bool isDone(const std::string& out) const;

  // Renders `in` to `out`, either of which may be "-". Throws Failure, leaving no new file.
  RenderResult render(const std::string& in, const std::string& out, Progress& progress) const;

 private:
  int effectRate(const AudioReader& reader) const;
  double trimFor(const std::string& in) const;
  AudioFormat outputFormat(const AudioReader& reader, const std::string& out) const;
  void check(const AudioReader& reader, const std::string& out) const;
  // Answers the sound's own peak.
  double run(AudioReader& reader, OutputStage& output, double trim, Progress& progress) const;

  const EffectModule& module_;
  const RenderSettings& settings_;
  const bool overlaps_;
};
