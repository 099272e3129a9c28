// SPDX-License-Identifier: MIT
// The host class that the command, the bundle and the other products use.
#include <doctest/doctest.h>

#include <limits>
#include <string>
#include <tuple>

#include "player/EffectPlayer.h"
#include "player/decibels.h"
#include "tests/Player.h"

namespace {

// A record that another module's entry might return, and whether it was closed.
AEffect foreign;
bool closed = false;
intptr closing(AEffect* /*effect*/, int32 opcode, int32 /*index*/, intptr /*value*/, void* /*ptr*/, float /*opt*/) {
  closed |= opcode == static_cast<int32>(EffectOpcode::close);
  return 0;
}
Q_TypeIF* foreignEntry(audioMasterCallback /*callback*/) { return new Q_TypeIF(&foreign); }

void set(HostedEffect& effect, float on, float volume) {
  effect.setParameter(0, on);
  effect.setParameter(1, volume);
}

Samples played(HostedEffect& effect, Samples sound) {
  effect.process(sound.data(), static_cast<int32>(sound.size()));
  return sound;
}

}  // namespace

TEST_CASE("an entry that makes no effect of this kind leaves one that does not exist, and says why") {
  const auto faultOf = [](void (*spoil)()) {
    foreign = {};
    foreign.magic = fourCharacterCode("VstP");
    foreign.dispatcher = closing;
    foreign.setParameter = [](AEffect*, int32, float) {};
    foreign.getParameter = [](AEffect*, int32) { return 0.0F; };
    foreign.processDoubleReplacing = [](AEffect*, double**, double**, int32) {};
    foreign.flags = flagCanDoubleReplacing;
    foreign.numInputs = foreign.numOutputs = 1;
    spoil();
    closed = false;
    const HostedEffect effect(foreignEntry, 44100, 64);
    CHECK(effect.exists() == (effect.fault() == nullptr));
    return std::string(effect.fault() != nullptr ? effect.fault() : "");
  };
  CHECK(faultOf([] {}).empty());
  CHECK(faultOf([] { foreign.numOutputs = 2; }) == "does not have one input and one output");
  CHECK(closed);
  CHECK(faultOf([] { foreign.flags = 0; }) == "cannot process double precision");
  CHECK(faultOf([] { foreign.dispatcher = nullptr; }) == "returned a record without entry points");
  CHECK(faultOf([] { foreign.magic = 1; }) == "returned a record of another kind");
  CHECK(!closed);  // the dispatcher is unknown, so it is not called
  CHECK_FALSE(HostedEffect([](audioMasterCallback) -> Q_TypeIF* { return nullptr; }, 44100, 64).exists());
}

TEST_CASE("the start of a sound is whole, whatever the blocks, and the same after a change of rate") {
  const Samples in = pluckedStrings(3000);
  for (const float on : {0.0F, 1.0F}) {
    HostedEffect effect(getinterface, 48000, 64), silent(getinterface, 48000, 3000), other(getinterface, 96000, 3000);
    set(effect, on, 0.7F);
    effect.start();
    Samples expected = in;
    for (std::size_t first = 0; first < in.size(); first += 60) effect.process(&expected[first], 60);
    set(other, on, 0.7F);
    other.start();
    played(other, in);
    other.stop();
    other.announce(48000, 3000);
    other.start();
    CHECK(played(other, in) == expected);
    set(silent, on, 0.7F);
    CHECK(played(silent, {0.0}) == Samples{0.0});  // one sample of silence in the place of start()
    CHECK(played(silent, in) == expected);
  }
}

TEST_CASE("all forms in which a player takes a sound give the same samples, trimmed too") {
  constexpr int kLength = 960, kBlock = 96;
  constexpr auto inf = std::numeric_limits<double>::infinity();
  const Samples left = pluckedStrings(kLength), right = pluckedStrings(kLength, 44100.0, 30000);
  for (const double trim : {0.0, 20.5, -7.3}) {
    CAPTURE(trim);
    Samples expected[] = {left, right};
    for (Samples& sound : expected) {
      HostedEffect effect(getinterface, 48000, kBlock);
      set(effect, 1.0F, 0.7F);
      effect.start();
      for (double& sample : sound) sample *= amplitude(-trim);
      for (int at = 0; at < kLength; at += kBlock) effect.process(&sound[static_cast<std::size_t>(at)], kBlock);
      for (double& sample : sound) sample *= amplitude(trim);
    }
    EffectPlayer planes(getinterface, 48000, kBlock, 2), frames(getinterface, 48000, kBlock, 2);
    for (EffectPlayer* const player : {&planes, &frames}) {
      for (int channel : {0, 1}) set(player->effect(channel), 1.0F, 0.7F);
      player->setTrim(trim);
      player->start();
    }
    for (std::size_t at = 0; at < kLength; at += kBlock) {
      // Crossed: each output uses the buffer of the other channel's input.
      Samples a(&left[at], &left[at] + kBlock), b(&right[at], &right[at] + kBlock), both;
      for (std::size_t i = 0; i < kBlock; ++i) both.insert(both.end(), {a[i], b[i]});
      const double* const in[] = {a.data(), b.data()};
      double* const out[] = {b.data(), a.data()};
      planes.process(in, out, kBlock);
      frames.processFrames(both.data(), kBlock);
      for (std::size_t i = 0; i < kBlock; ++i) {
        CHECK((b[i] == expected[0][at + i] && a[i] == expected[1][at + i]));
        CHECK((both[2 * i] == expected[0][at + i] && both[2 * i + 1] == expected[1][at + i]));
      }
    }
    // Samples that are not finite become silence.
    double bad[] = {NAN, inf, -inf, 0.25}, clean[] = {0.0, 0.0, 0.0, 0.25};
    float badFloats[] = {NAN, INFINITY, -INFINITY, 0.25F}, cleanFloats[] = {0.0F, 0.0F, 0.0F, 0.25F};
    EffectPlayer one(getinterface, 48000, kBlock, 1), two(getinterface, 48000, kBlock, 1);
    for (const auto& [player, samples, single] : {std::tuple{&one, bad, badFloats}, {&two, clean, cleanFloats}}) {
      double* const plane = samples;
      float* const floatPlane = single;
      player->setTrim(trim);
      player->start();
      player->process(&plane, &plane, 4);
      player->process(&floatPlane, &floatPlane, 4);
    }
    for (int i = 0; i < 4; ++i) CHECK((bad[i] == clean[i] && badFloats[i] == cleanFloats[i]));
  }
}
