// SPDX-License-Identifier: MIT
// All calls that a host may make concurrently, made concurrently, for the thread sanitizer. Which call must wait for
// which is checked without it, too.
#include <doctest/doctest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "tests/LayoutCheck.h"
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

// Waits for a flag, at most this long; returns whether it was set.
bool comesWithin(const std::atomic<bool>& flag, std::chrono::milliseconds most) {
  const auto deadline = std::chrono::steady_clock::now() + most;
  while (!flag && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  return flag;
}

// A call on a thread of its own.
class Call {
 public:
  explicit Call(const std::function<void()>& call) : thread_([this, call] { call(), done_ = true; }) {}
  Call(Call&&) = delete;
  ~Call() { thread_.join(); }

  bool endsWithin(std::chrono::milliseconds most) const { return comesWithin(done_, most); }

 private:
  std::atomic<bool> done_ = false;
  std::thread thread_;
};

constexpr std::chrono::seconds kLongest{5};       // for a call that nothing holds up, on a loaded machine
constexpr std::chrono::milliseconds kMoment{20};  // in which one that is held up does not end

void playBlock(Brumbler& effect) {
  double in[64] = {0.1}, out[64];
  double *source = in, *target = out;
  effect.processDoubleReplacing(&source, &target, 64);
}

// What a host may call at any time, and whether it waits for the block that plays.
const struct {
  const char* name;
  std::function<void(Brumbler& effect)> call;
  bool waits = true;
} kCalls[] = {
    {"setParameter", [](Brumbler& effect) { effect.setParameter(1, 0.25F); }},
    {"setProgram", [](Brumbler& effect) { effect.setProgram(3); }},
    {"setBlockSize", [](Brumbler& effect) { effect.setBlockSize(2000); }},
    {"setSampleRate", [](Brumbler& effect) { effect.setSampleRate(32000.0F); }},
    {"processDoubleReplacing", playBlock},
    {"processReplacing", [](Brumbler& effect) { effect.processReplacing(nullptr, nullptr, 64); }, false},
    {"getParameter", [](Brumbler& effect) { effect.getParameter(1); }, false},
    {"getProgram", [](Brumbler& effect) { effect.getProgram(); }, false},
    {"getSampleRate", [](Brumbler& effect) { effect.getSampleRate(); }, false},
};

// Runs while a set-up waits for its host's answer.
std::function<void()> meanwhile;

intptr answerMeanwhile(AEffect* /*e*/, int32 opcode, int32 /*i*/, intptr /*v*/, void* /*p*/, float /*o*/) {
  if (opcode == static_cast<int32>(HostOpcode::getSampleRate)) meanwhile();
  return 48000;
}

}  // namespace

// A host may answer under a mutex of its own, and its other threads may call the effect under the same one. So here the
// answer waits for the other thread's call; if the effect held a lock, neither call would ever return.
TEST_CASE("a host that is asked for its rate can wait for its other threads' calls") {
  for (const auto& row : kCalls) {
    for (const bool first : {true, false}) {
      INFO("name ", row.name, ", first ", first);
      Brumbler effect(answerMeanwhile), another(nullptr);
      meanwhile = [] {};
      if (!first) effect.setSampleRate(44100.0F);
      std::optional<Call> call, setUp;
      bool asked = false;
      meanwhile = [&] {
        if (std::exchange(asked, true)) return;
        Brumbler::clipSampleRate = -1.0;  // there is a table to be built
        setUp.emplace([&] { another.setSampleRate(96000.0F); });
        call.emplace([&] { row.call(effect); });
        REQUIRE(setUp->endsWithin(kLongest));
        REQUIRE(call->endsWithin(kLongest));
      };
      effect.setSampleRate(22050.0F);
      CHECK(asked);
    }
  }
}

TEST_CASE("what changes the sound waits for the block that plays, what only reads does not") {
  for (const auto& row : kCalls) {
    CAPTURE(row.name);
    Brumbler effect(nullptr);
    std::unique_lock block(LayoutCheck::lock(effect));
    const Call call([&] { row.call(effect); });
    CHECK(call.endsWithin(row.waits ? kMoment : kLongest) == !row.waits);
    block.unlock();
    CHECK(call.endsWithin(kLongest));
  }
  // A set-up that has its host's answer waits for the shared table, then for the block.
  for (const bool table : {true, false}) {
    CAPTURE(table);
    std::atomic<bool> asked = false, answered = false;
    meanwhile = [&] {
      asked = true;
      comesWithin(answered, kLongest);
    };
    Brumbler effect(answerMeanwhile);
    Brumbler::clipSampleRate = -1.0;
    const Call setUp([&] { effect.setSampleRate(48000.0F); });
    REQUIRE(comesWithin(asked, kLongest));
    std::unique_lock other(table ? LayoutCheck::clipLock() : LayoutCheck::lock(effect));
    answered = true;
    CHECK_FALSE(setUp.endsWithin(kMoment));
    other.unlock();
    CHECK(setUp.endsWithin(kLongest));
  }
}

TEST_CASE("a set-up that another one overtakes leaves one whole state") {
  static std::atomic<int32> hostRate = 48000;
  struct Overtaken : Brumbler {
    Overtaken() : Brumbler([](AEffect*, int32, int32, intptr, void*, float) -> intptr { return hostRate; }) {}
    float updateSampleRate() override {
      const float rate = Brumbler::updateSampleRate();
      if (hostRate.exchange(96000) != 48000) return rate;
      other.emplace([this] { setSampleRate(96000.0F); });
      REQUIRE(other->endsWithin(kLongest));
      return rate;
    }
    std::optional<Call> other;
  };
  Overtaken effect;
  effect.setSampleRate(48000.0F);
  CHECK(LayoutCheck::curSampleRate(effect) == 48000.0);
  CHECK(effect.getSampleRate() == 48000.0F);
  Samples out(500), in = pluckedStrings(500);
  double *source = in.data(), *target = out.data();
  effect.processDoubleReplacing(&source, &target, 500);
  CHECK(out == Player(48000).play(in));
}

TEST_CASE("effects are created, set up and played on several threads at once") {
  static Clipper empty;
  Brumbler::clip[0] = empty;  // the curve that all share is built among the set-ups
  Brumbler::clipSampleRate = -1.0;
  const Samples in = pluckedStrings(500);
  const auto live = [&] {
    Player player(48000);
    player.setUp(44100);
    return player.play(in);
  };
  Samples played[4];
  const auto job = [&](Samples& mine) { return [&](int) { mine = live(); }; };
  together(5, {job(played[0]), job(played[1]), job(played[2]), job(played[3])});
  for (const Samples& mine : played) CHECK((mine.empty() || mine == live()));
}

TEST_CASE("one effect is played, set up, automated and read on several threads at once") {
  Player player(48000, 64);
  Brumbler& effect = player.effect();
  const Samples in = pluckedStrings(300);
  std::atomic<int> wrong = 0;
  Samples out(in.size());
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
