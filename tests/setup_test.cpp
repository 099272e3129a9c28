// SPDX-License-Identifier: MIT
// The rate that a set-up uses; failures of every allocation in an effect's life; blocks that allocate nothing.
#include <doctest/doctest.h>

#include <limits>
#include <optional>
#include <random>

#include "tests/LayoutCheck.h"
#include "tests/Player.h"
#include "tests/Storage.h"
#include "tests/SystemCalls.h"

namespace {

// A host's use of everything that takes storage, and afterwards, with storage again, set-ups and a block.
Samples live(long successes, long& taken) {
  static const Samples in = pluckedStrings(1000);
  Samples out(in.size());
  const long before = storage::allocations;
  std::optional<Player> player;
  VstSpeakerArrangement* speakers = nullptr;
  VstSpeakerArrangement* copy = nullptr;
  bool made = false, matched = false;
  storage::limited(successes, [&] {
    player.emplace(44100, 64);
    if (!player->exists()) return;
    player->play(in.data(), out.data(), 64);
    player->play(in.data(), out.data(), 1000);
    player->setUp(96000);
    player->announce(2000);
    made = player->effect().allocateArrangement(&speakers, 2);
    matched = player->effect().matchArrangement(&copy, speakers);
  });
  CHECK(made == (speakers != nullptr));
  CHECK(matched == (copy != nullptr));
  taken = storage::allocations - before;
  if (!player->exists()) return {};
  player->effect().deallocateArrangement(&speakers);
  player->effect().deallocateArrangement(&copy);
  player->setUp(96000);  // runs in full although a failed one had the same argument
  CHECK(player->play(in) != in);
  player->setUp(44100);
  return player->play(in);
}

}  // namespace

TEST_CASE("whatever storage runs out for, the effect takes it and plays when storage is back") {
  long needed = 0;
  const Samples expected = live(-1, needed);
  REQUIRE(needed > 40);
  for (long successes = 0; successes < needed; ++successes) {
    CAPTURE(successes);
    long taken = 0;
    const Samples played = live(successes, taken);
    CHECK(taken > successes);  // it did run out
    CHECK((played.empty() ? successes < 3 : played == expected));
  }
}

TEST_CASE("without storage a set-up, or a block longer than announced, leaves the input as it is") {
  const Samples in = pluckedStrings(300);
  Samples out(in.size());
  for (const long successes : {0, 1, 5, 12}) {
    Player player;
    storage::limited(successes, [&] { player.setUp(48000); });
    CHECK(player.play(in) == in);
  }
  Player player(44100, 100);
  const long before = storage::allocations;
  player.setUp(48000);
  const long all = storage::allocations - before;
  storage::limited(0, [&] { player.play(in.data(), out.data(), 300); });
  CHECK(out == in);
  player.play(in.data(), out.data(), 300);  // grows the buffers, once
  CHECK(out != in);
  const long grown = storage::calls;
  for (const int32 length : {300, 1, 299, 300}) player.play(in.data(), out.data(), length);
  CHECK(storage::calls == grown);
  storage::limited(all - 1, [&] { player.setUp(44100); });  // no room for the announced length alone
  CHECK(player.play(in) != in);
  for (const int32 length : {1 << 28, 1 << 29, std::numeric_limits<int32>::max()}) {  // nor in 32 bits for its size
    storage::limited(0, [&] { player.announce(length); });
    CHECK(player.play(in) != in);
    storage::limited(all - 2, [&] { player.announceRate(1.0F); });
    CHECK(player.play(in) != in);
  }
}

TEST_CASE("the rate in use, announced again, changes nothing; else what the host answers counts") {
  const Samples in = pluckedStrings(300);
  CHECK(Player(-1).play(in) == in);  // the rate of no set-up
  Player player, twin;
  for (Player* each : {&player, &twin}) {
    each->play(in);
    each->set(0, 0.0F);
    each->play(in);  // into the middle of a fade
  }
  player.setUp(44100);
  CHECK(player.play(in) == twin.play(in));
  player.setUp(96000);
  player.announceRate(22050.0F);
  CHECK(LayoutCheck::curSampleRate(player.effect()) == 96000.0);
  CHECK(Brumbler::clipSampleRate == 22050.0);
}

TEST_CASE("the audio thread takes no storage, gives none back, makes no system call, takes no lock but the effect's") {
  const Samples in = pluckedStrings(3000);
  Samples out(in.size());
  Player player(48000, 64);
  std::mt19937 random(1);
  for (const int32 rate : {44100, 48000, 96000}) {
    player.setUp(rate);
    player.announce(3000);
    const auto work = [&] {
      for (int block = 0; block < 800; ++block) {
        const int32 lengths[] = {1, 3000, 64, static_cast<int32>(random() % 3000), 0};
        player.play(in.data(), out.data(), lengths[block % 5]);
        const auto value = static_cast<float>(random() % 101) / 100.0F;
        player.set(block % 3, block % 3 == 0 ? std::round(value) : value);
      }
    };
    if (storage::kWatchesLibrary) CHECK(makesNoSystemCall(work));
    const long calls = storage::calls;
    const long locks = storage::locks;
    work();
    CHECK(storage::calls == calls);
    if (storage::kWatchesLibrary) CHECK(storage::locks == locks + 1600);  // one a block, one a parameter
  }
}
