// SPDX-License-Identifier: MIT
// The audio thread's part of live playing, without a server.
#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <random>
#include <string>
#include <thread>

#include "cli/live/LivePlayer.h"
#include "cli/live/TakeRecorder.h"
#include "cli/midi/MidiLearner.h"
#include "tests/Storage.h"
#include "tests/SystemCalls.h"
#include "tests/cli/CommandLine.h"

namespace {

using Floats = std::vector<float>;
using Kind = LiveChange::Kind;

struct Message {
  int frame;
  std::vector<std::uint8_t> bytes;
};

Floats noise(std::size_t length, float peak = 0.1F) {
  std::minstd_rand random(1);
  Floats sound(length);
  for (float& sample : sound) sample = peak * std::uniform_real_distribution<float>(-1.0F, 1.0F)(random);
  return sound;
}

// A player at 48000 Hz with a wilder second program, and what it is played through.
struct Stage {
  explicit Stage(int channels = 1, double trim = 0.0, int midiChannel = -1)
      : player(module(), channels, trim, midiChannel, map) {
    for (int i = 0; i < LivePlayer::kNumPrograms; ++i) {
      player.send({Kind::storeProgram, i, {1.0F, 0.5F, i == 1 ? 1.0F : 0.5F}});
    }
    player.landChanges();
    player.announce(48000, 1024);
  }

  static const EffectModule& module() {
    static const EffectModule one("");
    return one;
  }

  Floats play(const Floats& in, int period, const std::vector<Message>& messages = {}) {
    Floats out(in.size());
    for (std::size_t begin = 0; begin < in.size(); begin += static_cast<std::size_t>(period)) {
      const auto frames = static_cast<int>(std::min<std::size_t>(in.size() - begin, static_cast<std::size_t>(period)));
      const float* const ins[] = {&in[begin], right.empty() ? &in[begin] : &right[begin]};
      rightOut.resize(in.size());
      float* const outs[] = {&out[begin], &rightOut[begin]};
      player.begin(ins, outs, frames);
      for (const Message& message : messages) {
        const int frame = message.frame - static_cast<int>(begin);
        if (frame >= 0 && frame < frames) player.receive(frame, message.bytes.data(), message.bytes.size());
      }
      player.end();
    }
    return out;
  }

  MidiMap map;
  LivePlayer player;
  Floats right;  // what goes into the second channel; empty: the same
  Floats rightOut;
};

}  // namespace

TEST_SUITE_BEGIN("player");

TEST_CASE("every MIDI message lands on its sample, whatever the period") {
  const struct {
    std::vector<std::uint8_t> bytes;
    int parameter;  // that a host would set
    float value;
  } rows[] = {{{0xB3, 64, 63}, 0, 0.0F},
              {{0xB0, 19, 63}, 0, 0.0F},
              {{0xB0, 16, 127}, 2, 1.0F},
              {{0xC0, 1}, 2, 1.0F},
              {{0xB0, 81, 64}, 2, 1.0F}};
  const Floats in = noise(5000);
  for (const auto& row : rows) {
    CAPTURE(static_cast<int>(row.bytes[1]));
    for (const int at : {0, 1023, 1024, 2500}) {
      const auto effect = Stage::module().createEffect(48000, 5000);
      effect->start();
      std::vector<double> expected(in.begin(), in.end());
      effect->process(expected.data(), at);
      effect->setParameter(row.parameter, row.value);
      effect->process(expected.data() + at, 5000 - at);
      for (const int period : {1, 16, 333, 1024, 4096}) {
        Stage stage;
        CHECK(stage.play(in, period, {{at, row.bytes}}) == Floats(expected.begin(), expected.end()));
      }
    }
  }
}

TEST_CASE("VOLUME glides from its sample on; what is not for us changes nothing") {
  const Floats in = noise(4000);
  Stage plain;
  const Floats before = plain.play(in, 256);
  for (const int period : {16, 250, 4096}) {
    Stage turned;
    const Floats after = turned.play(in, period, {{1000, {0xB0, 7, 0}}});
    CHECK(std::mismatch(before.begin(), before.end(), after.begin()).first - before.begin() == 1001);
    CHECK(std::all_of(after.begin() + 1065, after.end(), [](float x) { return x == 0.0F; }));
    CHECK(std::fabs(after[1032] / before[1032]) == doctest::Approx(0.5).epsilon(0.2));
  }
  Stage deaf(1, 0.0, 4);
  const std::vector<Message> others = {{1, {0xB0, 64, 0}}, {2, {0xB4, 65, 0}}, {3, {0xC4, 16}},    {4, {0xE4, 1, 1}},
                                       {5, {0xF8}},        {6, {0xB4, 64}},    {7, {0x94, 64, 9}}, {8, {0xC0, 1}}};
  CHECK(deaf.play(in, 256, others) == before);
}

TEST_CASE("switches step at the rise to 64, or at each press; pedals keep to their range; the tuner mutes and hears") {
  const CommandLine cli;
  cli.writeText("m.json", R"({"next": {"controller": 20}, "previous": {"controller": 21, "pressOnly": true},
    "fuzz": {"controller": 4, "from": 10, "to": 2.5}, "on/off": {"note": 9, "toggle": true},
    "tuner": {"controller": 22}, "store": {"controller": 23}})");
  Stage stage;
  const MidiMap map((cli.folder / "m.json").string());
  LiveChange useMap{Kind::useMap};
  useMap.map = &map;
  stage.player.send(useMap);
  const Floats in = noise(1000);
  const auto send = [&](int status, int number, const std::vector<int>& values) {
    for (const int value : values) {
      stage.play(
          in, 1000,
          {{5,
            {static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(value)}}});
    }
    return stage.player.program();
  };
  CHECK(send(0xB0, 20, {63, 64, 90, 127, 64, 63, 127}) == 2);  // a pedal that is moved; two rises
  CHECK(send(0xB1, 20, {127}) == 3);                           // of another channel
  CHECK(send(0xB0, 21, {127, 127, 10}) == 1);
  for (const auto& [position, value] : {std::pair<int, float>{0, 1.0F}, {127, 0.25F}, {64, 0.622047F}}) {
    send(0xB0, 4, {position});
    CHECK(stage.player.value(1, LivePlayer::kFuzz) == doctest::Approx(value));
  }
  send(0x90, 9, {100, 0, 100, 0, 100});
  CHECK(stage.player.value(1, LivePlayer::kOnOff) == 0.0F);
  send(0xB0, 23, {127, 0, 127});
  CHECK(stage.player.storeRequests() == 2);

  CHECK_FALSE(stage.player.isTuning());
  send(0xB0, 22, {127});
  CHECK(stage.player.isTuning());
  stage.play(in, 256);
  const Floats muted = stage.play(in, 256);
  CHECK(std::all_of(muted.begin(), muted.end(), [](float x) { return x == 0.0F; }));
  Floats heard(10000);
  heard.resize(stage.player.readTuner(heard.data(), heard.size()));
  REQUIRE(heard.size() == 3000);
  CHECK(std::equal(in.begin(), in.end(), heard.begin() + 2000));
  send(0xB0, 22, {0, 127});
  const Floats open = stage.play(in, 256);
  CHECK(open[999] == in[999]);  // off, and faded in again
}

TEST_CASE("what plays is told to a controller, once and again when it asks") {
  Stage stage(1, 0.0, 2);
  const auto told = [&] {
    stage.play(noise(64), 64);
    std::string text;
    char number[8];
    for (LivePlayer::Report report{}; stage.player.nextReport(report);) {
      for (std::size_t i = 0; i < report.size; ++i) {
        std::snprintf(number, sizeof number, "%02x", static_cast<unsigned>(report.bytes.at(i)));
        text += number;
      }
      text += ' ';
    }
    return text;
  };
  CHECK(told() == "c200 b2407f ");
  CHECK(told().empty());
  stage.player.send({Kind::toggle});
  CHECK(told() == "b24000 ");
  stage.player.send({Kind::selectProgram, 5});
  CHECK(told() == "c205 b2407f ");  // it is on there
  stage.player.reportAgain();
  CHECK(told() == "c205 b2407f ");
  stage.player.send({Kind::selectProgram, 0});
  CHECK(told() == "c200 b24000 ");
  stage.player.send({Kind::stepProgram, -1});
  CHECK(told() == "c20f b2407f ");  // the last one comes before the first

  // A note that ends is no press, whatever its velocity.
  MidiMap map;
  map.assign(LiveAction::toggle, {MidiControl::Kind::note, 60, 0});
  stage.player.send({Kind::useMap, 0, {}, &map});
  CHECK(told() == "c20f 923c7f ");
  float sample[64] = {};
  const float* const in = sample;
  float* const out = sample;
  const std::uint8_t noteOff[] = {0x82, 60, 64};
  stage.player.begin(&in, &out, 64);
  stage.player.receive(0, noteOff, sizeof noteOff);
  stage.player.end();
  CHECK(told().empty());
}

TEST_CASE("a pause loses no MIDI message, and a take has silence of its length") {
  const CommandLine cli;
  Stage stage;
  const std::string path = (cli.folder / "t.wav").string();
  TakeRecorder take(path, 48000, 1, false);
  stage.player.record(&take, nullptr);
  const Floats in = noise(256);
  stage.play(in, 256);
  {
    const LivePlayer::Pause pause(stage.player);
    CHECK(stage.play(in, 64, {{10, {0xC0, 4}}, {70, {0xB0, 16, 127}}}) == Floats(256));
  }
  CHECK(stage.player.program() == 0);
  stage.play(in, 256);
  CHECK(stage.player.program() == 4);
  CHECK(stage.player.value(4, LivePlayer::kFuzz) == 1.0F);
  CHECK(stage.player.framesPaused() == 256);
  CHECK(stage.player.messagesLost() == 0);
  stage.player.record(nullptr, nullptr);
  take.finish();
  std::vector<double> expected(in.begin(), in.end());
  expected.resize(512);
  expected.insert(expected.end(), in.begin(), in.end());
  CHECK(cli.read("t.wav").samples == expected);
}

TEST_CASE("trim, stereo, no number at all, and the fade at the end") {
  Floats in = noise(3000);
  Stage stage(2, 12.0);
  stage.player.send({Kind::knob, LivePlayer::kOnOff, {0.0F}});
  stage.player.landChanges();
  in[1700] = NAN;
  stage.right = noise(3000, 0.05F);
  std::reverse(stage.right.begin(), stage.right.end());
  Floats dry = stage.play(in, 256);
  in[1700] = 0.0F;
  CHECK(Floats(stage.rightOut.begin() + 1600, stage.rightOut.end()) ==
        Floats(stage.right.begin() + 1600, stage.right.end()));
  CHECK(Floats(dry.begin() + 1600, dry.end()) == Floats(in.begin() + 1600, in.end()));  // behind the cross-fade
  CHECK(stage.player.takePeaks().in[1] == doctest::Approx(0.05).epsilon(0.01));
  stage.player.fadeOut();
  dry = stage.play(in, 100);
  CHECK(dry[384] == doctest::Approx(in[384] * 0.5));
  CHECK(stage.rightOut[384] == doctest::Approx(stage.right[384] * 0.5));
  CHECK(std::all_of(dry.begin() + 768, dry.end(), [](float x) { return x == 0.0F; }));
  CHECK(stage.player.hasEnded());
}

#ifdef BRUMBLER_WATCH_LIBRARY
TEST_CASE("the audio thread allocates nothing and makes no system call") {
  const CommandLine cli;
  Stage stage(2, 6.0);
  TakeRecorder take((cli.folder / "t.wav").string(), 48000, 2, false);
  stage.player.record(&take, &take);
  stage.player.listen(true);
  const Floats in = noise(256);
  const float* const ins[] = {in.data(), in.data()};
  std::array<float, 256> left{}, right{};
  float* const outs[] = {left.data(), right.data()};
  const auto period = [&] {
    stage.player.send({Kind::toggle});
    stage.player.send({Kind::stepProgram, 1});
    stage.player.send({Kind::storeProgram, 3, {1.0F, 0.1F, 0.2F}});
    stage.player.begin(ins, outs, 256);
    for (const auto status : {0xB0, 0x90, 0xC0}) {
      const std::uint8_t bytes[] = {static_cast<std::uint8_t>(status), 7, 99};
      stage.player.receive(status / 2, bytes, 3);
    }
    stage.player.end();
  };
  period();
  const long before = storage::calls;
  for (int i = 0; i < 10; ++i) period();
  CHECK(storage::calls == before);
  CHECK(makesNoSystemCall([&] {
    for (int i = 0; i < 100; ++i) period();
    stage.player.fadeOut();
    for (int i = 0; i < 5; ++i) period();
  }));
  stage.player.record(nullptr, nullptr);
}
#endif

TEST_CASE("knobs turned a thousand times a second, rates announced and meters read while it plays") {
  Stage stage;
  std::atomic<bool> playing = true;
  std::thread audio([&] {
    const Floats in = noise(512);
    while (playing) {
      for (const float sample : stage.play(in, 64, {{70, {0xB0, 80, 127}}, {99, {0xB0, 81, 127}}})) {
        if (!std::isfinite(sample)) playing = false;
      }
    }
  });
  std::thread announcer([&] {
    for (int i = 0; i < 40; ++i) {
      stage.player.announce(i % 8 == 0 ? 44100 : 48000, 64 << i % 4);
      stage.player.takePeaks();
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  });
  for (int i = 0; i < 500; ++i) {
    REQUIRE(stage.player.send({Kind::knob, i % 3, {static_cast<float>(i % 101) / 100.0F}}));
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  announcer.join();
  REQUIRE(stage.player.send({Kind::selectProgram, 7}));
  for (int p = 0; p < 3; ++p) REQUIRE(stage.player.send({Kind::knob, p, {0.25F}}));
  CHECK(eventually([&] { return stage.player.values(7) == LivePlayer::Values{0.25F, 0.25F, 0.25F}; }));
  CHECK(playing.exchange(false));
  audio.join();
}

TEST_CASE("a take on a slow disk has silence of the gap's length, and takes its name when it is whole") {
  const CommandLine cli;
  const std::string path = (cli.folder / "take.wav").string();
  const Floats sound(700, 0.5F);
  const float* const channel[] = {sound.data()};
  {
    TakeRecorder take(path, 100, 1, false);  // at this rate there is room for 1000 frames
    for (int i = 0; i < 3; ++i) take.record(channel, 700);
    CHECK(eventually([&] { return cli.read("take.unfinished.wav").samples.size() == 700; }));
    CHECK(cli.files() == std::set<std::string>{"take.unfinished.wav"});
    take.record(channel, 700);
    CHECK(take.lostFrames() == 1400);
    take.finish();
  }
  std::vector<double> expected(2800, 0.5);
  std::fill_n(expected.begin() + 700, 1400, 0.0);
  CHECK(cli.read("take.wav").samples == expected);
  CHECK_THROWS_AS(TakeRecorder(path, 100, 1, false), Failure);
  CHECK_THROWS_AS(TakeRecorder((cli.folder / "take.mp3").string(), 100, 1, false), Failure);
  { TakeRecorder left(path, 100, 1, true); }
  TakeRecorder(path, 100, 1, true).finish();
  CHECK(cli.files().count("take.unfinished.wav") == 1);  // of the one that was left
  CHECK(cli.read("take.wav").samples.empty());
}

TEST_CASE("MIDI maps are read, refused, learned and written") {
  const CommandLine cli;
  const std::string path = (cli.folder / "m.json").string();
  const auto control = [](int number, int value, bool isNote = false) {
    return MidiControl{isNote ? MidiControl::Kind::note : MidiControl::Kind::controller,
                       static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(value)};
  };
  for (const auto& [text, complaint] : std::vector<std::pair<std::string, std::string>>{
           {R"({"volume": {"controler": 7}})", "did you mean controller?"},
           {R"({"volume": {}})", "needs one of"},
           {R"({"next": {"controller": 128}})", "0 to 127"},
           {R"({"next": {"note": 1.5}})", "whole number"},
           {R"({"next": {"note": 1, "from": 2}})", "from is unknown"},
           {R"({"fuzz": {"note": 1, "pressOnly": true}})", "pressOnly is unknown"},
           {R"({"fuzz": {"note": 1, "to": 11}})", "0 to 10"},
           {R"({"next": {"note": 1, "toggle": true}})", "toggle is unknown"},
           {R"({"on/off": {"note": 1, "toggle": 1}})", "true or false"},
           {"{\"fuzz\": {\"note\": 1},\n\"next\": {\"note\": 1}}", "line 2: /next has the control of another"}}) {
    cli.writeText("m.json", text);
    CHECK_THROWS_WITH_AS(MidiMap{path}, doctest::Contains(complaint.c_str()), Failure);
  }

  MidiLearner learner{MidiMap()};
  CHECK(learner.request() == "Move the control for Volume");
  CHECK(learner.take(control(11, 3), 0.0) == "volume: controller 11");
  CHECK(learner.take(control(11, 9), 0.1).empty());  // it goes on moving
  learner.skip();
  CHECK(learner.take(control(60, 90, true), 2.0) == "on/off: note 60");
  CHECK(learner.take(control(60, 0, true), 2.2).empty());  // and springs back
  CHECK(learner.take(control(20, 0), 3.0).empty());        // a switch is taken when it is pressed
  CHECK(learner.take(control(20, 127), 3.0) == "previous: controller 20");
  learner.skip();
  CHECK(learner.take(control(21, 127), 5.0) == "tuner: controller 21");
  CHECK(learner.take(control(21, 0), 9.0).empty());  // held long, and let go all the same
  CHECK(learner.take(MidiControl{MidiControl::Kind::program, 3, 0}, 10.0).find("sends program changes") !=
        std::string::npos);
  CHECK(learner.take(control(22, 127), 11.0) == "store: controller 22");
  REQUIRE(learner.isDone());
  CHECK_FALSE(learner.map().sendsPressesOnly(LiveAction::tuner));
  CHECK(learner.map().sendsPressesOnly(LiveAction::store));
  cli.writeText("m.json", learner.map().text());
  const MidiMap map(path);
  for (const MidiMap* one : {&learner.map(), &map}) {
    CHECK(one->actionOf(control(11, 0)) == LiveAction::volume);
    CHECK(one->actionOf(control(7, 0)) == LiveAction::none);
    CHECK(one->actionOf(control(16, 0)) == LiveAction::fuzz);
    CHECK(one->actionOf(control(60, 0, true)) == LiveAction::toggle);
    CHECK(one->actionOf(control(81, 0)) == LiveAction::nextProgram);
    CHECK(one->sendsPressesOnly(LiveAction::store));
    CHECK_FALSE(one->sendsPressesOnly(LiveAction::tuner));
  }

  // The halves of a 14-bit pedal, in either order, are one control.
  MidiLearner fine{MidiMap()};
  CHECK(fine.take(control(4, 64), 0.0) == "volume: controller 4");
  CHECK(fine.take(control(36, 9), 0.0).empty());
  CHECK(fine.take(control(33, 9), 1.0) == "fuzz: controller 33");
  CHECK(fine.take(control(1, 64), 1.0).empty());
  CHECK(fine.take(control(33, 64), 1.0).empty());
  CHECK(fine.map().actionOf(control(1, 0)) == LiveAction::fuzz);
  CHECK(fine.map().actionOf(control(33, 0)) == LiveAction::none);
  CHECK(fine.request() == "Press the switch for on and off");
}

TEST_SUITE_END();
