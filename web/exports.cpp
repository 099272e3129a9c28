// SPDX-License-Identifier: MIT
// What the page and its worklet call, in the order in which they do. Handles are addresses; 0 is none. Texts and
// samples stay where they are until the next call.
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "player/PitchDetector.h"
#include "player/Riff.h"
#include "player/automaticTrim.h"
#include "web/PagePlayer.h"

#define EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace {

char text[256];  // to and from the page, UTF-8, with a zero behind it

const char* ask(PagePlayer& player, EffectOpcode opcode, int index) {
  text[0] = '\0';
  player.player().effect(0).ask(opcode, index, -1, text);
  return text;
}

}  // namespace

EXPORT(create) PagePlayer* create(int rate, int channels) {
  auto player = std::make_unique<PagePlayer>(rate, channels);
  return player->player().exists() ? player.release() : nullptr;
}
EXPORT(destroy) void destroy(PagePlayer* player) { delete player; }

// Where a call may leave the address of what it made.
EXPORT(place) const float** place() {
  static const float* address;
  return &address;
}
EXPORT(longestBlock) int longestBlock() { return PagePlayer::kLongestBlock; }
EXPORT(plane) float* plane(PagePlayer& player, int channel) { return player.plane(channel); }
EXPORT(text) char* textBuffer() { return text; }

// Parameters and programs count from 0, values are 0 to 1.
EXPORT(setParameter) void setParameter(PagePlayer& player, int index, float value) {
  player.player().setParameter(index, value);
}
EXPORT(setProgram) void setProgram(PagePlayer& player, int index) { player.player().setProgram(index); }
// The selected program gets the name in text().
EXPORT(setProgramName) void setProgramName(PagePlayer& player) { player.player().setProgramName(text); }
EXPORT(setTrim) void setTrim(PagePlayer& player, double decibels) { player.player().setTrim(decibels); }

// What the effect would show for a value, and its name for the selected program.
EXPORT(displayText) const char* displayText(PagePlayer& player, int index, float value) {
  text[0] = '\0';
  player.player().effect(0).extension().getParameterDisplayOf(index, value, text);
  return text;
}
EXPORT(programName) const char* programName(PagePlayer& player) { return ask(player, EffectOpcode::getProgramName, 0); }

EXPORT(process) void process(PagePlayer& player, int length) { player.process(length); }

// Behind the end of a sound, until isTailComplete(): the number of samples that belong to it, to be found at tail().
EXPORT(playTail) int playTail(PagePlayer& player, const float** kept) {
  const std::vector<float>& samples = player.playTail();
  *kept = samples.data();
  return static_cast<int>(samples.size());
}
EXPORT(isTailComplete) int isTailComplete(PagePlayer& player) { return player.isTailComplete() ? 1 : 0; }

EXPORT(automaticTrim) double automaticTrimFor(double peak) { return automaticTrim(peak); }

// The built-in riff as `brumbler riff` writes it, in 24 bits. The number of samples; they stay.
EXPORT(playRiff) int playRiff(const float** samples) {
  static std::vector<float> riff;
  if (riff.empty()) {
    constexpr double kScale = 1 << 23;
    for (const double sample : Riff::play())
      riff.push_back(static_cast<float>(std::nearbyint(sample * kScale) / kScale));
  }
  *samples = riff.data();
  return static_cast<int>(riff.size());
}
EXPORT(riffRate) int riffRate() { return Riff::kRate; }

// The tuner. The page leaves `count` samples at tunerInput() and asks for the note in them: its name is at text(), and
// the result says how many cents the sound lies above it. NaN: no note.
EXPORT(tunerInput) float* tunerInput(int count) {
  static std::vector<float> samples;
  samples.resize(static_cast<std::size_t>(count));
  return samples.data();
}
EXPORT(tune) double tune(int rate, const float* samples, int count) {
  static std::unique_ptr<PitchDetector> detector;
  static int detectorRate = 0;
  if (detectorRate != rate) detector = std::make_unique<PitchDetector>(detectorRate = rate);
  detector->clear();
  detector->add(samples, static_cast<std::size_t>(count));
  const double frequency = detector->frequency();
  if (frequency == 0.0) return std::numeric_limits<double>::quiet_NaN();
  const TunerNote note = TunerNote::nearest(frequency);
  std::strncpy(text, note.name().c_str(), sizeof text - 1);
  return note.cents;
}
