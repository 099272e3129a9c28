// SPDX-License-Identifier: MIT
// The host that the command, the bundle and the others are built on.
#include <doctest/doctest.h>

#include <string>

#include "tests/Player.h"

namespace {

// A record that an entry of another module might answer, and whether it was closed.
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

Sound played(HostedEffect& effect, Sound sound) {
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
  CHECK(faultOf([] { foreign.numOutputs = 2; }) == "is not one channel in, one channel out");
  CHECK(closed);
  CHECK(faultOf([] { foreign.flags = 0; }) == "cannot process doubles");
  CHECK(faultOf([] { foreign.dispatcher = nullptr; }) == "answers a record without entries");
  CHECK(faultOf([] { foreign.magic = 1; }) == "answers a record of another kind");
  CHECK(!closed);  // whose dispatcher that is, nobody knows
  CHECK_FALSE(HostedEffect([](audioMasterCallback) -> Q_TypeIF* { return nullptr; }, 44100, 64).exists());
}

TEST_CASE("the start of a sound is whole, whatever the blocks, and the same after a change of rate") {
  const Sound in = pluckedStrings(3000);
  for (const float on : {0.0F, 1.0F}) {
    HostedEffect effect(getinterface, 48000, 64), silent(getinterface, 48000, 3000), other(getinterface, 96000, 3000);
    set(effect, on, 0.7F);
    effect.start();
    Sound expected = in;
    for (std::size_t first = 0; first < in.size(); first += 60) effect.process(&expected[first], 60);
    set(other, on, 0.7F);
    other.start();
    played(other, in);
    other.stop();
    other.announce(48000, 3000);
    other.start();
    CHECK(played(other, in) == expected);
    set(silent, on, 0.7F);
    CHECK(played(silent, {0.0}) == Sound{0.0});  // one sample of silence in the place of start()
    CHECK(played(silent, in) == expected);
  }
}
