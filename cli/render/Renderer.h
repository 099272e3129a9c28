// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/audio/AudioFormat.h"
#include "cli/effect/Automation.h"
#include "cli/effect/EffectChannels.h"

class AudioReader;
class AudioWriter;
class Progress;
class RenderSink;

// How recordings are rendered; the same for all of one command.
struct RenderSettings {
  EffectSettings effect;
  std::optional<Automation> automation;
  bool nativeRate = false;             // else through 44100 or 48000 Hz, whichever is nearer
  double trim = 0.0;                   // dB that the sound lies above a guitar's own level
  bool automaticTrim = false;          // `trim` from the sound's own peak instead
  std::optional<double> normalize;     // dBFS of the result's peak
  std::optional<double> tail;          // seconds; nothing: as long as it is heard
  bool replace = false;                // an output that exists
  std::optional<AudioFormat> raw;      // what input without a header holds
  std::optional<int> streamContainer;  // of standard output; nothing: the input's if it can be streamed, else WAV
};

// What came of one recording.
struct RenderResult {
  std::int64_t frames = 0;
  int rate = 44100;
  double peak = 0.0;  // of full scale
  std::int64_t clipped = 0;
  double trim = 0.0;  // dB, as used
  std::string note;   // what the reader should know, if anything

  double seconds() const noexcept { return static_cast<double>(frames) / rate; }
};

// Ends the line about a result: how many samples were clipped and how to avoid it; empty when none was.
std::string clippingText(std::int64_t samples, const RenderSettings& settings);

// Plays recordings through the effect. Streams: what it holds does not grow with the recording.
// Any thread may render, several at once, too.
class Renderer {
 public:
  // The peak, in dBFS, of a sound that --trim auto takes for a guitar at its own level. It is about where the effect
  // itself peaks whatever goes in, so the result comes out near the recording's own peak.
  static constexpr double kGuitarPeak = -24.0;
  static constexpr double kMostTrim = 30.0;  // dB, either way

  Renderer(const EffectModule& module, const RenderSettings& settings) : module_(module), settings_(settings) {}

  // Tells the bar how much render() will add for `in`; nothing when that cannot be told.
  void announce(const std::string& in, Progress& progress) const;

  // Renders `in` to `out`, either of which may be "-". Throws Failure, leaving no new file.
  RenderResult render(const std::string& in, const std::string& out, Progress& progress) const;

 private:
  int effectRate(const AudioReader& reader) const;
  double trimFor(const std::string& in) const;
  AudioFormat outputFormat(const AudioReader& reader, const std::string& out) const;
  void run(AudioReader& reader, RenderSink& sink, double trim, Progress& progress) const;

  const EffectModule& module_;
  const RenderSettings& settings_;
};
