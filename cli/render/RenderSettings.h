// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/audio/AudioFormat.h"
#include "cli/audio/AudioWriter.h"
#include "cli/effect/Automation.h"
#include "cli/effect/EffectChannels.h"

// How recordings are rendered; the same for all recordings of one command.
struct RenderSettings {
  EffectSettings effect;
  std::optional<Automation> automation;
  bool nativeRate = false;          // else through 44100 or 48000 Hz, whichever is nearer
  double trim = 0.0;                // dB that the sound lies above a guitar's own level
  bool automaticTrim = false;       // `trim` from the sound's own peak instead
  bool advisesTrim = false;         // print a note about sounds that need a trim
  std::optional<double> normalize;  // dBFS of the result's peak
  std::optional<double> tail;       // seconds; nothing: as long as it is heard
  AudioWriter::Options writer;
  std::optional<AudioFormat> raw;   // what input without a header holds
  std::optional<int> container;     // of the output; nothing: what its name says, in a stream the input's or WAV
  std::optional<int> sampleFormat;  // of the output; nothing: the input's
  std::optional<int> outRate;       // Hz, of the output; nothing: the input's, or the nearest that the format can have
  std::string suffix;               // of outputs' names in a folder, before the ending
  bool skipExisting = false;        // keep results that exist, and say so
  bool quiet = false;               // print errors only
  unsigned jobs = 0;                // recordings at a time; 0: one for each core
};

// The result for one recording.
struct RenderResult {
  std::int64_t frames = 0;
  int rate = 44100;
  double peak = 0.0;  // of full scale
  std::int64_t clipped = 0;
  double trim = 0.0;  // dB, as used
  std::string note;   // what the reader should know, if anything
  // With settings.advisesTrim, dB that the sound is above a guitar's own level if that is far; else 0.
  double missingTrim = 0.0;

  double seconds() const noexcept { return static_cast<double>(frames) / rate; }
};

// Ends the line about a result: how many samples were clipped and how to avoid it; empty when none was.
std::string clippingText(std::int64_t samples, const RenderSettings& settings);
