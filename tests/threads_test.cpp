// SPDX-License-Identifier: MIT
// Every call that a host may make at the same time as others, at the same time as others. The thread sanitizer watches.
#include <doctest/doctest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include "tests/Player.h"

namespace {

// Runs all of `jobs` at once, each over and over until the first has had `rounds` turns.
void together(int rounds, const std::vector<std::function<void(int turn)>>& jobs) {
  std::atomic<int> left = rounds;
  std::vector<std::thread> threads;
  for (const auto& job : jobs) {
    threads.emplace_back([&, first = &job == jobs.data()] {
      for (int turn = 0; left > 0; left -= first) job(turn++);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

TEST_CASE("effects are created, set up and played on several threads at once") {
  static Clipper empty;
  Brumbler::clip[0] = empty;  // the curve that all share is built among the set-ups
  const Sound in = pluckedStrings(500);
  const auto live = [&] {
    Player player(48000);
    player.setUp(44100);
    return player.play(in);
  };
  Sound played[4];
  const auto job = [&](Sound& mine) { return [&](int) { mine = live(); }; };
  together(5, {job(played[0]), job(played[1]), job(played[2]), job(played[3])});
  for (const Sound& mine : played) CHECK((mine.empty() || mine == live()));
}

TEST_CASE("one effect is played, set up, automated and read on several threads at once") {
  Player player(48000, 64);
  Brumbler& effect = player.effect();
  const Sound in = pluckedStrings(300);
  std::atomic<int> wrong = 0;
  Sound out(in.size());
  char text[65] = {};
  const auto play = [&](int turn) {
    player.play(in.data(), out.data(), turn % 300);
    for (const double sample : out) wrong += !std::isfinite(sample);
  };
  const auto automate = [&](int turn) {
    effect.setParameter(turn % 3, static_cast<float>(turn % 11) / 10.0F);
    if (turn % 5 == 0) effect.setProgram(turn % 16);
    if (turn % 7 == 0) effect.setParameterAutomated(0, 1.0F);
  };
  const auto setUp = [&](int turn) {
    if (turn % 50 == 0) player.setUp(turn % 100 == 0 ? 44100 : 48000);
    if (turn % 50 == 25) player.announce(turn % 200);
    effect.updateBlockSize();
  };
  char longName[] = "aaaaaaaaaaaaaaaaaaaaaaa", shortName[] = "bbb";
  const auto rename = [&](int turn) { effect.setProgramName(turn % 2 == 0 ? longName : shortName); };
  const auto read = [&](int turn) {
    const float value = effect.getParameter(turn % 3);
    wrong += !(value >= 0.0F && value <= 1.0F);
    effect.getParameterDisplay(turn % 3, text);
    effect.Hz2string(100.0F, text, 8);
    effect.getProgramName(text);
    wrong += std::strspn(text, "abInit 0123456789") != std::strlen(text);
    effect.getProgramNameIndexed(0, turn % 16, text);
    wrong += std::strspn(text, "abInit") != std::strlen(text);
    wrong += effect.getProgram() > 15 || effect.getSampleRate() < 44100.0F || effect.getBlockSize() < 0;
  };
  together(400, {play, automate, setUp, rename, read});
  CHECK(wrong == 0);
}
