// SPDX-License-Identifier: MIT
#include "player/Riff.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "player/PluckedString.h"

namespace {

constexpr double kBeatsPerMinute = 108.0;
constexpr double kBeats = 18.5;                                        // four bars, and time for the last chord to ring
constexpr double kStrumSeconds = 0.009;                                // from one string to the next
constexpr std::array<int, 6> kOpenStrings = {40, 45, 50, 55, 59, 64};  // E A D G B E, as MIDI note numbers
constexpr int kX = -1;                                                 // a string that is not played

struct Stroke {
  double beat;
  double beats;  // until the hand stops the strings
  std::array<int, 6> frets;
  double strength;
  bool muted = false;
};

constexpr std::array<int, 6> kE5 = {0, 2, 2, kX, kX, kX};
constexpr std::array<int, 6> kG5 = {3, 5, 5, kX, kX, kX};
constexpr std::array<int, 6> kA5 = {kX, 0, 2, 2, kX, kX};
constexpr std::array<int, 6> kD5 = {kX, 5, 7, 7, kX, kX};
constexpr std::array<int, 6> kEm = {0, 2, 2, 0, 0, 0};
constexpr std::array<int, 6> kLowE = {0, kX, kX, kX, kX, kX};
constexpr std::array<int, 6> note(std::size_t string, int fret) {
  std::array<int, 6> frets = {kX, kX, kX, kX, kX, kX};
  frets[string] = fret;
  return frets;
}

constexpr Stroke kScore[] = {
    // Chords against a muted low string.
    {0.0, 0.9, kE5, 0.9},
    {1.0, 0.4, kLowE, 0.85, true},
    {1.5, 0.4, kLowE, 0.95, true},
    {2.0, 0.45, kG5, 0.8},
    {2.5, 1.0, kA5, 0.9},
    // A rest of half a beat, then the answer.
    {4.0, 0.4, kLowE, 0.95, true},
    {4.5, 0.4, kLowE, 0.75, true},
    {5.0, 0.9, kE5, 0.9},
    {6.0, 0.45, note(2, 2), 0.85},
    {6.5, 0.45, note(3, 0), 0.85},
    {7.0, 0.45, note(3, 2), 0.95},
    {7.5, 0.45, note(3, 3), 0.75},
    // The run, alone.
    {8.0, 0.7, note(3, 4), 1},
    {8.75, 0.25, note(3, 2), 0.75},
    {9.0, 0.5, note(3, 0), 0.85},
    {9.5, 0.5, note(2, 2), 0.85},
    {10.0, 1.4, note(4, 0), 1},
    // Back to the chords, up to the last one.
    {12.0, 0.4, kLowE, 0.95, true},
    {12.25, 0.2, kLowE, 0.75, true},
    {12.5, 0.4, kLowE, 0.85, true},
    {13.0, 0.45, kG5, 0.8},
    {13.5, 0.45, kA5, 0.85},
    {14.0, 0.9, kD5, 0.9},
    {15.0, 3.2, kEm, 1.0},
};

double frequencyOf(int midiNote) { return 440.0 * std::exp2((midiNote - 69) / 12.0); }

std::size_t frameAt(double seconds) { return static_cast<std::size_t>(seconds * Riff::kRate); }

// Adds what one string plays in the whole riff.
void addString(std::size_t string, std::vector<double>& mix) {
  PluckedString plucked(Riff::kRate, static_cast<std::uint32_t>(string) + 7);
  constexpr double kBeatSeconds = 60.0 / kBeatsPerMinute;
  std::size_t frame = 0;
  const auto playUntil = [&](std::size_t end) {
    for (; frame < std::min(end, mix.size()); ++frame) mix[frame] += plucked.next();
  };
  for (const Stroke& stroke : kScore) {
    if (stroke.frets[string] == kX) continue;
    const std::size_t strum = frameAt(static_cast<double>(string) * kStrumSeconds);
    playUntil(frameAt(stroke.beat * kBeatSeconds) + strum);
    plucked.pluck(frequencyOf(kOpenStrings[string] + stroke.frets[string]), stroke.strength, stroke.muted);
    playUntil(frameAt((stroke.beat + stroke.beats) * kBeatSeconds));
    plucked.stop();
  }
  playUntil(mix.size());
}

// The pickup and its cable: a resonance at 3 kHz, and nothing much above it.
void playThroughPickup(std::vector<double>& samples) {
  constexpr double kResonance = 3000.0;  // Hz
  constexpr double kQ = 1.3;
  const double w = 2.0 * std::numbers::pi * kResonance / Riff::kRate;
  const double alpha = std::sin(w) / (2.0 * kQ);
  const double b = (1.0 - std::cos(w)) / 2.0;
  double z1 = 0.0;
  double z2 = 0.0;
  for (double& sample : samples) {
    const double v = (sample + 2.0 * std::cos(w) * z1 - (1.0 - alpha) * z2) / (1.0 + alpha);
    sample = b * (v + 2.0 * z1 + z2);
    z2 = z1;
    z1 = v;
  }
}

}  // namespace

std::vector<double> Riff::play() {
  std::vector<double> mix(frameAt(kBeats * 60.0 / kBeatsPerMinute));
  for (std::size_t string = 0; string < kOpenStrings.size(); ++string) addString(string, mix);
  playThroughPickup(mix);
  double peak = 0.0;
  for (const double sample : mix) peak = std::max(peak, std::fabs(sample));
  const std::size_t fade = frameAt(0.3);
  for (std::size_t i = 0; i < mix.size(); ++i) {
    const double left = static_cast<double>(mix.size() - i) / static_cast<double>(fade);
    mix[i] *= kPeak / peak * std::min(1.0, left);
  }
  return mix;
}
