// SPDX-License-Identifier: MIT
// What the page and its worklet call, in the order in which they do. Handles are addresses; 0 is none. Texts and
// samples stay where they are until the next call.
#include <cmath>
#include <memory>
#include <vector>

#include "player/Riff.h"
#include "player/automaticTrim.h"
#include "web/Player.h"

#define EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace {

char text[256];  // to and from the page, UTF-8, with a zero behind it

const char* ask(Player& player, EffectOpcode opcode, int index) {
  text[0] = '\0';
  player.effect(0).ask(opcode, index, -1, text);
  return text;
}

template <typename Change>
void change(Player& player, Change apply) {
  for (int c = 0; c < player.channels(); ++c) apply(player.effect(c));
}

}  // namespace

EXPORT(create) Player* create(int rate, int channels) {
  auto player = std::make_unique<Player>(rate, channels);
  return player->exists() ? player.release() : nullptr;
}
EXPORT(destroy) void destroy(Player* player) { delete player; }

// Where a call may leave the address of what it made.
EXPORT(place) const float** place() {
  static const float* address;
  return &address;
}
EXPORT(longestBlock) int longestBlock() { return Player::kLongestBlock; }
EXPORT(plane) float* plane(Player& player, int channel) { return player.plane(channel); }
EXPORT(text) char* textBuffer() { return text; }

// Parameters and programs count from 0, values are 0 to 1.
EXPORT(setParameter) void setParameter(Player& player, int index, float value) {
  change(player, [&](HostedEffect& effect) { effect.setParameter(index, value); });
}
EXPORT(setProgram) void setProgram(Player& player, int index) {
  change(player, [&](HostedEffect& effect) { effect.setProgram(index); });
}
// The selected program gets the name in text().
EXPORT(setProgramName) void setProgramName(Player& player) {
  change(player, [&](HostedEffect& effect) { effect.setProgramName(text); });
}
EXPORT(parameter) float parameter(Player& player, int index) { return player.effect(0).parameter(index); }
EXPORT(setTrim) void setTrim(Player& player, double decibels) { player.setTrim(decibels); }

// What the effect would show for a value, and its name for the selected program.
EXPORT(displayText) const char* displayText(Player& player, int index, float value) {
  text[0] = '\0';
  player.effect(0).extension().getParameterDisplayOf(index, value, text);
  return text;
}
EXPORT(programName) const char* programName(Player& player) { return ask(player, EffectOpcode::getProgramName, 0); }

EXPORT(process) void process(Player& player, int length) { player.process(length); }

// Behind the end of a sound, until isTailComplete(): the number of samples that belong to it, to be found at tail().
EXPORT(playTail) int playTail(Player& player, const float** kept) {
  const std::vector<float>& samples = player.playTail();
  *kept = samples.data();
  return static_cast<int>(samples.size());
}
EXPORT(isTailComplete) int isTailComplete(Player& player) { return player.isTailComplete() ? 1 : 0; }

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
