// SPDX-License-Identifier: MIT
// The built command in a JACK server without a sound card, among clients of ours. Ends with status 77, skipped, if no
// server starts.
#include <doctest/doctest.h>
#include <fcntl.h>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>
#include <utility>

#include "tests/cli/CommandLine.h"

namespace {

using Floats = std::vector<float>;
using Words = std::vector<std::string>;
constexpr int kRate = 48000;

// For this program and those that it starts.
const bool hasOwnServer = setenv("JACK_DEFAULT_SERVER", "brumbler-test", 1) == 0 &&  // NOLINT(concurrency-mt-unsafe)
                          setenv("JACK_NO_START_SERVER", "1", 1) == 0;               // NOLINT(concurrency-mt-unsafe)

// A program that runs beside the test, and ends with it.
class Process {
 public:
  Process(const Words& words, const fs::path& folder, const std::string& log) : log_(folder / log) {
    fs::remove(log_);  // of the process before
    id_ = fork();
    if (id_ != 0) return;
    setsid();  // no terminal: SIGHUP reloads the bank
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int out = open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
    int in[2];
    if (chdir(folder.c_str()) != 0 || pipe(in) != 0 || dup2(in[0], 0) < 0 || dup2(out, 1) < 0 || dup2(out, 2) < 0)
      _exit(1);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  Process(Process&&) = delete;
  ~Process() { end(SIGTERM); }

  void send(int signal) const { kill(id_, signal); }
  // Its exit status; -1 when a signal ended it.
  int end(int signal = 0) {
    if (id_ == 0) return status_;
    if (signal != 0) send(signal);
    int status = 0;
    waitpid(std::exchange(id_, 0), &status, 0);
    return status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  bool says(const std::string& text) const {
    return eventually([&] { return this->text().find(text) != std::string::npos; });
  }
  std::string text() const { return CommandLine::text(log_); }
  bool hasEnded() const {
    siginfo_t information{};
    return waitid(P_PID, static_cast<id_t>(id_), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           information.si_pid != 0;
  }

 private:
  fs::path log_;
  pid_t id_ = 0;
  int status_ = -1;
};

// A server and two clients: one sends a sound and MIDI messages, the other listens to whatever is connected with it.
// Both count samples from the same start, so the output has the same positions as the input.
class Studio {
 public:
  explicit Studio(int period = 256) {
    REQUIRE(hasOwnServer);
    startServer(period);
  }
  ~Studio() { stopServer(SIGKILL); }

  void startServer(int period, int rate = kRate) {
    jack_set_error_function([](const char*) {});
    server_ = std::make_unique<Process>(Words{"jackd", "-r", "-S", "-n", "brumbler-test", "-d", "dummy", "-r",
                                              std::to_string(rate), "-p", std::to_string(period)},
                                        cli.folder, "jackd");
    jack_status_t status{};
    eventually([&] {
      sender_ = jack_client_open("sender", JackNoStartServer, &status);
      return sender_ != nullptr || server_->hasEnded();
    });
    if (sender_ == nullptr) {
      std::fprintf(stderr, "SKIPPED: nothing was played live; no jackd starts here: %s\n", server_->text().c_str());
      std::exit(77);
    }
    listener_ = jack_client_open("listener", JackNoStartServer, &status);
    sound_ = jack_port_register(sender_, "guitar", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    opposite_ = jack_port_register(sender_, "opposite", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    for (auto& ear : ears_) {
      const std::string name = &ear == ears_ ? "ear" : "other_ear";
      ear = jack_port_register(listener_, name.c_str(), JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    }
    jack_set_process_callback(
        sender_, [](jack_nframes_t n, void* self) { return static_cast<Studio*>(self)->send(n); }, this);
    jack_set_process_callback(
        listener_, [](jack_nframes_t n, void* self) { return static_cast<Studio*>(self)->listen(n); }, this);
    jack_set_freewheel_callback(
        sender_, [](int starts, void* self) { static_cast<Studio*>(self)->isFreewheeling_ = starts != 0; }, this);
    jack_set_xrun_callback(
        sender_, [](void* self) { return static_cast<Studio*>(self)->wasLate_ = true, 0; }, this);
    jack_activate(listener_);
    jack_activate(sender_);
  }

  void stopServer(int signal) {
    if (signal != SIGTERM) server_->end(signal);  // under its clients
    jack_client_close(sender_);
    jack_client_close(listener_);
    server_->end(signal);
    pedal_ = nullptr;
  }

  void hangServer() const { server_->send(SIGSTOP); }
  void wakeServer() const { server_->send(SIGCONT); }

  void plugPedalIn() {
    pedal_ = jack_port_register(sender_, "FootSwitch", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    CHECK(eventually([&] { return isConnected("sender:FootSwitch", "brumbler:midi_in"); }));
  }
  void pullPedalOut() { jack_port_unregister(sender_, pedal_.exchange(nullptr)); }

  std::unique_ptr<Process> live(const Words& options) {
    Words words = {BRUMBLER_COMMAND, "live", "--input", "sender"};
    if (std::find(options.begin(), options.end(), "--output") == options.end()) {
      words.insert(words.end(), {"--output", "Listener"});
    }
    words.insert(words.end(), options.begin(), options.end());
    auto process = std::make_unique<Process>(words, cli.folder, "live");
    const bool playing = eventually([&] {
      return isConnected("brumbler:out", "listener:ear") || isConnected("brumbler:out_left", "listener:ear");
    });
    if (!playing) FAIL(process->text());
    return process;
  }

  bool isConnected(const char* from, const char* to) const {
    jack_port_t* const port = jack_port_by_name(listener_, from);
    if (port == nullptr) return false;
    const char** const names = jack_port_get_all_connections(listener_, port);
    bool found = false;
    for (const char** name = names; name != nullptr && *name != nullptr; ++name) found |= std::string(*name) == to;
    jack_free(names);
    return found;
  }

  // Until `brumbler` has connected everything, so that it no longer asks the server for anything.
  void waitForConnections() const {
    CHECK(eventually([&] {
      return isConnected("brumbler:out", "listener:ear") && isConnected("brumbler:out", "listener:other_ear") &&
             isConnected("sender:guitar", "brumbler:in");
    }));
  }

  struct Message {
    std::int64_t frame;
    std::vector<std::uint8_t> bytes;
  };

  // Sends `sound` and returns what both ears receive meanwhile; at full speed unless `realTime`.
  std::array<Floats, 2> play(
      const Floats& sound, const std::vector<Message>& messages = {}, bool realTime = false,
      const std::function<void()>& meanwhile = [] {}) {
    out_ = sound;
    messages_ = messages;
    for (Floats& ear : heard_) ear.clear(), ear.reserve(sound.size() + 65536);
    sent_ = 0;
    if (!realTime) jack_set_freewheel(sender_, 1);
    CHECK(eventually([&] { return isFreewheeling_ != realTime; }));
    wasLate_ = false;
    playing_ = true;
    meanwhile();
    CHECK(eventually([&] { return !playing_; }));
    if (!realTime) jack_set_freewheel(sender_, 0);
    CHECK(eventually([&] { return !isFreewheeling_; }));
    wasLate_ = wasLate_ || sent_ != static_cast<std::int64_t>(heard_[0].size());
    for (Floats& ear : heard_) ear.resize(std::min(ear.size(), sound.size()));
    return {heard_[0], heard_[1]};
  }

  // Whether the server skipped a client in the last play(), because the machine is busy.
  bool wasLate() const { return wasLate_; }
  void stopPlaying() { playing_ = false; }
  void waitForFrames(std::int64_t frames) const {
    CHECK(eventually([&] { return sent_ >= frames; }));
  }

  jack_client_t* client() const { return sender_; }

  CommandLine cli;

 private:
  int send(jack_nframes_t frames) {
    auto* const out = static_cast<float*>(jack_port_get_buffer(sound_, frames));
    auto* const opposite = static_cast<float*>(jack_port_get_buffer(opposite_, frames));
    std::fill_n(out, frames, 0.0F);
    std::fill_n(opposite, frames, 0.0F);
    jack_port_t* const pedal = pedal_;
    void* const midi = pedal != nullptr ? jack_port_get_buffer(pedal, frames) : nullptr;
    if (midi != nullptr) jack_midi_clear_buffer(midi);
    sending_ = playing_.load();
    if (!sending_) return 0;
    const std::int64_t begin = sent_;
    for (const Message& message : messages_) {
      if (midi == nullptr || message.frame < begin || message.frame >= begin + frames) continue;
      jack_midi_event_write(midi, static_cast<jack_nframes_t>(message.frame - begin), message.bytes.data(),
                            message.bytes.size());
    }
    const std::int64_t left = static_cast<std::int64_t>(out_.size()) - begin;
    if (left > 0) std::copy_n(out_.begin() + begin, std::min<std::int64_t>(left, frames), out);
    std::transform(out, out + frames, opposite, std::negate<>());
    sent_ += frames;
    return 0;
  }

  int listen(jack_nframes_t frames) {
    if (!sending_) return 0;
    for (std::size_t i = 0; i < 2; ++i) {
      const auto* const in = static_cast<const float*>(jack_port_get_buffer(ears_[i], frames));
      if (heard_[i].size() + frames <= heard_[i].capacity()) heard_[i].insert(heard_[i].end(), in, in + frames);
    }
    if (heard_[0].size() >= out_.size()) sending_ = false, playing_ = false;
    return 0;
  }

  std::unique_ptr<Process> server_;
  jack_client_t* sender_ = nullptr;
  jack_client_t* listener_ = nullptr;
  jack_port_t* sound_ = nullptr;
  jack_port_t* opposite_ = nullptr;  // the same times -1
  std::atomic<jack_port_t*> pedal_ = nullptr;
  jack_port_t* ears_[2] = {};
  Floats out_;
  std::vector<Message> messages_;
  std::atomic<std::int64_t> sent_ = 0;
  Floats heard_[2];
  std::atomic<bool> playing_ = false;
  std::atomic<bool> sending_ = false;
  std::atomic<bool> isFreewheeling_ = false;
  std::atomic<bool> wasLate_ = false;
};

// A recorded guitar where there is one, else the command's own riff.
Floats guitar(CommandLine& cli, std::size_t frames) {
  const fs::path recorded = "/usr/share/sonic-pi/samples/guit_e_fifths.flac";
  if (!fs::exists(recorded)) REQUIRE(cli.run("riff riff.wav") == 0);
  const Sound sound = cli.read(fs::exists(recorded) ? recorded.string() : "riff.wav");
  Floats result(frames);
  for (std::size_t i = 0; i < frames; ++i) {
    result[i] = static_cast<float>(0.1 * sound.samples[i * static_cast<std::size_t>(sound.channels)]);
  }
  return result;
}

Floats render(CommandLine& cli, const Floats& in, const std::string& options) {
  Sound sound{kRate, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, {}};
  sound.samples.assign(in.begin(), in.end());
  cli.write("in.wav", sound);
  REQUIRE(cli.run("render in.wav out.wav --force --no-tail " + options) == 0);
  const Sound out = cli.read("out.wav");
  return {out.samples.begin(), out.samples.end()};
}

// Frames up to the first difference.
std::ptrdiff_t sameFrames(const Floats& a, const Floats& b) {
  const std::size_t length = std::min(a.size(), b.size());
  return std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(length), b.begin()).first - a.begin();
}

}  // namespace

TEST_SUITE_BEGIN("jack");

TEST_CASE("float for float what render gives, at every period, while it is played and while the period changes") {
  Studio studio(1024);
  const Floats whole = guitar(studio.cli, 40000);
  const struct {
    int period;
    Words options;
  } rows[] = {{16, {"--fuzz", "8"}},
              {64, {}},
              {256, {"--trim", "12.3", "--volume", "3"}},
              {1024, {"--off"}},
              {4096, {"--stereo"}}};
  for (const auto& row : rows) {
    CAPTURE(row.period);
    jack_set_buffer_size(studio.client(), static_cast<jack_nframes_t>(row.period));
    const std::ptrdiff_t length = std::min(400 * row.period, 40000);
    const Floats sound(whole.begin(), whole.begin() + length);
    std::string options;
    for (const std::string& word : row.options) options += word == "--stereo" ? "" : word + " ";
    const Floats expected = render(studio.cli, sound, options);
    const auto live = studio.live(row.options);
    const auto heard = studio.play(sound);
    CHECK(sameFrames(heard[0], expected) == length);
    if (row.period == 4096) {
      Floats opposite(sound.size());
      std::transform(sound.begin(), sound.end(), opposite.begin(), std::negate<>());
      CHECK(sameFrames(heard[1], render(studio.cli, opposite, "")) == length);
    } else {
      CHECK(heard[1] == heard[0]);
    }
    CHECK(live->end(row.period == 16 ? SIGQUIT : SIGINT) == 0);
  }
  const Floats expected = render(studio.cli, whole, "");
  bool same = false;
  for (int tries = 0; !same && tries < 30 && (tries == 0 || studio.wasLate()); ++tries) {
    jack_set_buffer_size(studio.client(), 1024);
    const auto live = studio.live({});
    const auto heard = studio.play(whole, {}, true, [&] {
      int frames = 0;
      for (const jack_nframes_t period : {256U, 2048U, 512U}) {
        studio.waitForFrames(frames += 7000);
        jack_set_buffer_size(studio.client(), period);
      }
    });
    same = sameFrames(heard[0], expected) == 40000;
  }
  CHECK(same);
}

TEST_CASE("MIDI lands on its sample, from a pedal that comes late and comes back; takes hold what was heard") {
  Studio studio;
  studio.cli.writeText("bank.json", R"({"programs": [{}, {"FUZZ": 9}, {"FUZZ": 0}]})");
  const Floats sound = guitar(studio.cli, 40000);
  const auto live = studio.live({"--midi", "footswitch", "--bank", "bank.json", "--midi-channel", "3", "--record",
                                 "wet.wav", "--record-dry", "dry.wav"});
  studio.plugPedalIn();
  studio.cli.writeText("1.json", R"({"parameters": {
    "On/Off": [{"samples": 0, "value": 1}, {"samples": 10007, "value": 0}, {"samples": 20011, "value": 1}],
    "FUZZ": [{"samples": 0, "value": 5}, {"samples": 30013, "value": 5}, {"samples": 30013, "value": 10}]}})");
  const Floats controlled = studio.play(
      sound, {{10007, {0xB2, 64, 0}}, {20011, {0xB2, 64, 127}}, {25000, {0xB1, 64, 0}}, {30013, {0xB2, 16, 127}}})[0];
  CHECK(sameFrames(controlled, render(studio.cli, sound, "--automate 1.json")) == 40000);

  studio.pullPedalOut();
  studio.plugPedalIn();
  jack_set_buffer_size(studio.client(), 4096);  // faster
  studio.play(Floats(20 * kRate));              // until nothing rings any more
  studio.cli.writeText("2.json", R"({"programs": [{"samples": 5001, "program": 2}, {"samples": 15000, "program": 3},
    {"samples": 25000, "program": 2}]})");
  const Floats changed = studio.play(
      sound, {{5001, {0xC2, 1}}, {15000, {0xB2, 81, 127}}, {15100, {0xB2, 81, 0}}, {25000, {0xB2, 80, 127}}})[0];
  CHECK(sameFrames(changed, render(studio.cli, sound, "--bank bank.json --fuzz 10 --automate 2.json")) == 40000);

  CHECK(live->end(SIGTERM) == 0);
  const std::vector<double> dry = studio.cli.read("dry.wav").samples;
  const std::vector<double> wet = studio.cli.read("wet.wav").samples;
  REQUIRE(dry.size() == wet.size());
  const auto first = std::search(dry.begin(), dry.end(), sound.begin(), sound.end());
  REQUIRE(first != dry.end());
  const auto played = wet.begin() + (first - dry.begin());
  CHECK(std::equal(controlled.begin(), controlled.end(), played));
}

TEST_CASE("a bank is read again at SIGHUP, one that cannot be read changes nothing; SIGKILL leaves the take") {
  Studio studio;
  const Floats sound = guitar(studio.cli, 48000);
  studio.cli.writeText("bank.json", R"({"programs": [{"VOLUME": 0}]})");
  const auto live = studio.live({"--bank", "bank.json", "--record", "take.wav"});
  const auto isSilent = [&] {
    const Floats heard = studio.play(sound)[0];
    return std::all_of(heard.begin() + 1000, heard.end(), [](float x) { return x == 0.0F; });
  };
  CHECK(isSilent());
  studio.cli.writeText("bank.json", R"({"programs": [{"VOLUME": 11}]})");
  live->send(SIGHUP);
  CHECK(live->says("line 1: /programs/0/VOLUME must be a number from 0 to 10. Nothing is changed"));
  CHECK(isSilent());
  studio.cli.writeText("bank.json", R"({"programs": [{"VOLUME": 6}]})");
  live->send(SIGHUP);
  CHECK(live->says("Read bank.json"));
  CHECK_FALSE(isSilent());
  const auto holdsSound = [&] {
    const std::vector<double> left = studio.cli.read("take.unfinished.wav").samples;
    return left.size() >= 3 * sound.size() && std::any_of(left.begin(), left.end(), [](double x) { return x != 0.0; });
  };
  CHECK(eventually(holdsSound));
  live->end(SIGKILL);
  CHECK(holdsSound());
  CHECK(studio.cli.files().count("take.wav") == 0);
}

TEST_CASE("a take fades at SIGTERM, goes on at another rate, and gets its name from a server that hangs") {
  Studio studio;
  const Words options = {"--wait", "--off", "--force", "--record", "take.wav", "--record-dry", "dry.wav"};
  auto live = studio.live(options);
  studio.play(Floats(60 * kRate, 0.5F), {}, true, [&] {
    studio.waitForFrames(9600);
    CHECK(live->end(SIGTERM) == 0);
    studio.stopPlaying();
  });
  const std::vector<double> dry = studio.cli.read("dry.wav").samples;
  const std::vector<double> wet = studio.cli.read("take.wav").samples;
  REQUIRE(dry.size() == wet.size());
  const auto end = static_cast<std::size_t>(
      std::find_if(wet.rbegin(), wet.rend(), [](double x) { return x != 0.0; }).base() - wet.begin());
  REQUIRE(end > 1000);
  CHECK(wet[end - 769] == 0.5);
  CHECK(wet[end - 384] == doctest::Approx(0.25));
  CHECK(wet[end - 1] == doctest::Approx(0.5 / 768));

  live = studio.live(options);
  studio.cli.writeText("take-2.wav", "of another evening");
  fs::create_directory(studio.cli.folder / "dry-2.wav");  // in the way, too
  studio.stopServer(SIGKILL);
  studio.startServer(256, 96000);
  CHECK(live->says("Playing program 1, Init 1, at 96000 Hz"));
  CHECK(live->says("Wrote take.wav"));
  studio.waitForConnections();
  studio.hangServer();
  live->send(SIGTERM);
  CHECK(live->says("Wrote take-3.wav"));
  CHECK(live->end() == 1);
  CHECK(live->says("the JACK server does not answer"));
  CHECK(studio.cli.read("take-3.wav").rate == 96000);
  CHECK(studio.cli.readText("take-2.wav") == "of another evening");
}

TEST_CASE("the end: timeout's doubled signal, a closed terminal, closed streams, a server that hangs") {
  Studio studio;
  const auto seconds = [](const std::function<void()>& run) {
    const auto begin = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  const std::string live = std::string("'") + BRUMBLER_COMMAND + "' live --no-connect ";
  // SIGALRM is how timeout learns that the time is up.
  const struct {
    std::string start, end;
    int status;
    std::string told;  // in the log
  } rows[] = {
      {"timeout -s INT 600 " + live + "--record 1.wav </dev/null >log 2>&1", "kill -ALRM $!; wait $!", 124,
       "late periods: "},
      {"script -qec \"TERM=dumb " + live + "--record 2.wav </dev/null >log 2>&1\" /dev/null </dev/null",
       "kill $!; until grep -q Played log; do sleep 0.1; done", 0, "Wrote 2.wav"},
      {"timeout -s INT 600 " + live + "--record 3.wav <&- >&- 2>&-", "kill -ALRM $!; wait $! || echo done >log", 0,
       "done"},
  };
  for (const auto& row : rows) {
    INFO(row.start);
    fs::remove(studio.cli.folder / "log");
    const std::string take = std::to_string(&row - rows + 1);
    Process shell(
        {"bash", "-c", row.start + " & until [[ -s " + take + ".unfinished.wav ]]; do sleep 0.1; done; " + row.end},
        studio.cli.folder, "shell");
    CHECK(shell.end() == row.status);
    CHECK(studio.cli.readText("log").find(row.told) != std::string::npos);
    CHECK(studio.cli.files().count(take + ".wav") == 1);
  }

  const auto signalled = studio.live({});
  signalled->send(SIGINT);
  CHECK(signalled->end(SIGTERM) == 0);  // at once: the same one
  for (const bool waits : {false, true}) {
    const auto hung = studio.live(waits ? Words{"--wait"} : Words{});
    CHECK(hung->says("Playing program 1"));
    studio.waitForConnections();
    studio.hangServer();
    if (waits) CHECK(hung->says("has stopped: it has asked for nothing in two seconds; waiting for it"));
    CHECK(seconds([&] { CHECK(hung->end(waits ? SIGINT : 0) == 1); }) < 20.0);  // 3 and 6 on a quiet machine
    CHECK(hung->says("the JACK server does not answer; ended without it"));
    studio.wakeServer();
    CHECK(eventually([&] { return !studio.isConnected("brumbler:out", "listener:ear"); }));
  }
}

TEST_CASE("a take stops when its folder goes, tells it, and goes on when it is back") {
  Studio studio;
  fs::create_directory(studio.cli.folder / "stick");
  const auto live = studio.live({"--record", "stick/take.wav"});
  CHECK(live->says("Playing program 1"));
  fs::rename(studio.cli.folder / "stick", studio.cli.folder / "gone");
  CHECK(live->says("stick/take.wav: stick/take.unfinished.wav was removed or renamed while it was written"));
  fs::create_directory(studio.cli.folder / "stick");
  CHECK(live->says("Recording again, in stick/take-2.wav"));
  CHECK(live->end(SIGINT) == 1);
  CHECK(fs::exists(studio.cli.folder / "stick/take-2.wav"));
  CHECK(fs::exists(studio.cli.folder / "gone/take.unfinished.wav"));
}

TEST_CASE("a preset leaves the trim alone, what was undone by hand stays undone, and what is turned is kept") {
  Studio studio;
  studio.cli.writeText("bank.json", R"({"programs": [{"name": "Kept", "FUZZ": 2}]})");
  studio.cli.writeText("map.json", R"({"fuzz": {"controller": 16}, "volume": {"controller": 7},
    "store": {"controller": 23}, "tuner": {"controller": 22}})");
  const Floats sound = guitar(studio.cli, 20000);
  {
    const auto live = studio.live({"--preset", "wall-of-fuzz", "--stereo"});
    const auto heard = studio.play(sound);
    Floats opposite(sound.size());
    std::transform(sound.begin(), sound.end(), opposite.begin(), std::negate<>());
    CHECK(sameFrames(heard[0], render(studio.cli, sound, "--volume 6 --fuzz 10")) == 20000);
    CHECK(sameFrames(heard[1], render(studio.cli, opposite, "--volume 6 --fuzz 10")) == 20000);
    CHECK(live->end(SIGINT) == 0);
  }
  const auto live = studio.live({"--bank", "bank.json", "--midi-map", "map.json", "--midi", "foot", "--keep"});
  jack_disconnect(studio.client(), "brumbler:out", "listener:ear");
  studio.plugPedalIn();  // it looks around again, and connects MIDI last
  CHECK_FALSE(studio.isConnected("brumbler:out", "listener:ear"));
  CHECK(studio.isConnected("brumbler:out", "listener:other_ear"));

  const Floats silence(1000);
  studio.play(silence, {{100, {0xB0, 16, 127}}, {200, {0xC0, 1}}, {300, {0xB0, 7, 0}}, {400, {0xB0, 23, 127}}});
  CHECK(live->says("Stored program 2 in bank.json"));
  std::string bank = studio.cli.readText("bank.json");
  CHECK(bank.find("\"FUZZ\": 2.0") != std::string::npos);  // of program 1, which was not stored
  CHECK(bank.find("\"VOLUME\": 0.0") != std::string::npos);
  CHECK(eventually([&] { return studio.cli.readText("bank.json").find("\"FUZZ\": 10.0") != std::string::npos; }));
  studio.play(silence, {{100, {0xB0, 16, 0}}, {200, {0xB0, 22, 127}}});
  CHECK(live->says("Tuner on; the output is muted"));
  CHECK(live->end(SIGINT) == 0);
  bank = studio.cli.readText("bank.json");
  CHECK(bank.find("\"VOLUME\": 0.0,\n      \"FUZZ\": 0.0") != std::string::npos);
  CHECK(bank.find("Kept") != std::string::npos);
}

TEST_CASE("no server, a pattern that fits nothing, a server that goes, one that comes, goes and comes back") {
  CommandLine cli;
  CHECK(cli.run("live") == 1);
  CHECK(cli.errText ==
        "brumbler: no JACK server runs here; start one (jackd, or PipeWire with its JACK library), or add --wait\n");
  std::unique_ptr<Process> waiting;
  {
    cli.writeText("bank.json", R"({"programs": [{}, {"VOLUME": 0}]})");
    waiting = std::make_unique<Process>(Words{BRUMBLER_COMMAND, "live", "--wait", "--input", "sender", "--output",
                                              "listener:ear", "--midi", "foot.*", "--bank", "bank.json"},
                                        cli.folder, "log");
    CHECK(waiting->says("Waiting for a JACK server"));
    Studio studio;
    const auto plays = [&] {
      return eventually([&] {
        return studio.isConnected("brumbler:out", "listener:ear") && studio.isConnected("sender:guitar", "brumbler:in");
      });
    };
    REQUIRE(plays());
    CHECK(studio.cli.run("live --name other --input 'no (such|port)'") == 1);
    for (const char* const text : {"there are: system:capture_1, system:capture_2, ", ", sender:guitar"}) {
      CHECK(studio.cli.errText.find(text) != std::string::npos);  // clients in the order in which they came
    }
    CHECK(studio.cli.run("live --input '('") == 2);
    CHECK(studio.cli.run("live --record a.wav --record-dry ./a.wav") == 2);
    const Process impatient({BRUMBLER_COMMAND, "live", "--name", "impatient", "--no-connect"}, studio.cli.folder,
                            "impatient");
    CHECK(impatient.says("Playing program 1"));
    studio.plugPedalIn();
    const Floats sound = guitar(studio.cli, 20000);
    studio.play(sound, {{100, {0xC0, 1}}});
    for (const int how : {SIGKILL, SIGTERM}) {
      studio.stopServer(how);
      studio.startServer(512);
      REQUIRE(plays());
      const Floats heard = studio.play(sound)[0];
      CHECK(std::all_of(heard.begin(), heard.end(), [](float x) { return x == 0.0F; }));  // still program 2
    }
    CHECK(const_cast<Process&>(impatient).end() == 1);
    CHECK(impatient.says("the JACK server has gone"));
    studio.plugPedalIn();
    const Floats heard = studio.play(sound, {{0, {0xC0, 0}}})[0];
    CHECK(std::any_of(heard.begin(), heard.end(), [](float x) { return x != 0.0F; }));
  }
  CHECK(waiting->end(SIGTERM) == 0);
}

TEST_CASE("the screen shows what plays and its keys turn it" *
          doctest::skip(std::system("command -v tmux >/dev/null") != 0)) {  // NOLINT(concurrency-mt-unsafe)
  Studio studio;
  CommandLine& cli = studio.cli;
  cli.writeText("bank.json", R"({"programs": [{"name": "Warm"}, {"name": "Lead", "VOLUME": 7}]})");
  const std::string tmux = "tmux -L brumbler-test -f /dev/null ";
  const auto run = [&](const std::string& words) {
    return std::system(("cd " + cli.folder.string() + " && " + tmux + words).c_str()) == 0;  // NOLINT
  };
  REQUIRE(run("new-session -d -x 90 -y 24 \"trap : INT; TERM=unheard '" BRUMBLER_COMMAND
              "' live --no-connect --name unheard; LC_ALL=C.UTF-8 '" BRUMBLER_COMMAND
              "' live --no-connect --bank bank.json 2>err; echo ended; sleep 99\""));
  std::string screen;
  const auto shows = [&](const std::string& text) {
    return eventually([&] {
      run("capture-pane -p >screen");
      screen = cli.readText("screen");
      return screen.find(text) != std::string::npos;
    });
  };
  CHECK(shows("Playing program 1, Init 1"));  // in lines, where there is no screen
  run("send-keys C-c");
  for (const char* const text : {"Warm", "48000 Hz, 256 samples (5.3 ms)", "   ON"}) CHECK(shows(text));
  const std::pair<std::string, const char*> rows[] = {
      {"Space", "  OFF"},      {"Right Right Right", " 5.3"}, {"S-Right", " 6.3"},     {"2", "Lead"},
      {"Down Left", " 6.9"},   {"NPage", "Init 3"},           {"PPage PPage", "Warm"}, {"?", "Page Up"},
      {"w", "Wrote bank.json"}};
  for (const auto& row : rows) {
    INFO("keys ", row.first, ", screen ", screen);
    run("send-keys " + row.first);
    CHECK(shows(row.second));
  }
  run("send-keys q");
  CHECK(shows("ended"));
  const std::string bank = cli.readText("bank.json");
  CHECK(bank.find("\"On/Off\": 0.0,\n      \"VOLUME\": 5.0,\n      \"FUZZ\": 6.3") != std::string::npos);
  CHECK(bank.find("\"VOLUME\": 6.9") != std::string::npos);
  run("kill-server");
}

TEST_CASE("the bundle in jalv, which loads a preset, sounds the same" *
          doctest::skip(std::system("command -v jalv >/dev/null") != 0)) {  // NOLINT(concurrency-mt-unsafe)
  Studio studio;
  const Floats sound = guitar(studio.cli, 40000);
  setenv("LV2_PATH", (fs::path(BRUMBLER_COMMAND).parent_path().string() + ":/usr/lib/lv2").c_str(), 1);  // NOLINT
  const auto live = studio.live({"--preset", "wall-of-fuzz", "--trim", "0", "--output", "listener:ear"});
  const Process jalv({"sh", "-c", "mkfifo typed; exec stdbuf -oL jalv -n jalv urn:brumbler:fuzz <>typed"},
                     studio.cli.folder, "jalv");
  REQUIRE(eventually([&] {
    jack_connect(studio.client(), "sender:guitar", "jalv:in");
    jack_connect(studio.client(), "jalv:out", "listener:other_ear");
    return studio.isConnected("jalv:out", "listener:other_ear") && studio.isConnected("sender:guitar", "jalv:in");
  }));
  studio.cli.writeText("typed", "presets\npreset urn:brumbler:fuzz#wall-of-fuzz\ntrim = 0\n");
  CHECK(eventually([&] {
    studio.cli.writeText("typed", "controls\n");
    return jalv.text().find("volume = 6.000000\nfuzz = 10.000000\ntrim = 0.0") != std::string::npos;
  }));
  const auto heard = studio.play(sound);
  CHECK(sameFrames(heard[0], heard[1]) == 40000);
  CHECK(std::any_of(heard[0].begin(), heard[0].end(), [](float x) { return x != 0.0F; }));
}

TEST_SUITE_END();
