// SPDX-License-Identifier: MIT
#include "cli/live/JackClient.h"

#include <jack/midiport.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "cli/live/LivePlayer.h"
#include "cli/text/Failure.h"

namespace {

struct RoleFacts {
  const char* option;
  const char* kind;  // in messages
  const char* type;
  unsigned long flags;  // of the ports it connects with
};
constexpr RoleFacts kRoles[] = {
    {"--input", "port with sound", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput},
    {"--output", "port that takes sound", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput},
    {"--midi", "MIDI port", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput},
    {"--midi-out", "MIDI port that takes messages", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput}};

// tend() is called more often than this. A longer time between two calls was a pause of this process, not of the
// server.
constexpr auto kLongestTick = std::chrono::milliseconds(200);

// A device's ports appear one after the other. They are connected once no more have appeared for this many calls of
// tend().
constexpr int kCallsToSettle = 3;
constexpr int kCallsToRetry = 25;  // for a connection that the server refused

// Otherwise the library would print its messages to standard error, over the screen. We report what matters ourselves.
void keepQuiet(const char* /*message*/) {}

std::vector<std::string> portNames(jack_client_t* client, const char* type, unsigned long flags) {
  const std::unique_ptr<const char*, void (*)(const char**)> names(jack_get_ports(client, nullptr, type, flags),
                                                                   [](const char** list) { jack_free(list); });
  std::vector<std::string> result;
  for (const char* const* name = names.get(); name != nullptr && *name != nullptr; ++name) {
    if (jack_port_is_mine(client, jack_port_by_name(client, *name)) == 0) result.emplace_back(*name);
  }
  return result;
}

bool fits(const jack_port_t* port, const std::string& name, const std::regex& pattern) {
  if (std::regex_search(name, pattern)) return true;
  std::vector<char> texts[2];
  char* aliases[2];
  for (std::size_t i = 0; i < 2; ++i) {
    texts[i].resize(static_cast<std::size_t>(jack_port_name_size()));
    aliases[i] = texts[i].data();
  }
  const int count = jack_port_get_aliases(port, aliases);
  return std::any_of(aliases, aliases + std::clamp(count, 0, 2),
                     [&pattern](const char* alias) { return std::regex_search(alias, pattern); });
}

std::string join(const std::vector<std::string>& names, const char* ifEmpty) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text.empty() ? ifEmpty : text;
}

}  // namespace

JackClient::JackClient(LivePlayer& player, const Wishes& wishes) : player_(player), wishes_(wishes) {
  for (const Role role : kAllRoles) {
    if (pattern(role).empty()) continue;
    try {
      patterns_[role].emplace(pattern(role), std::regex::extended | std::regex::icase);
    } catch (const std::regex_error&) {
      throw Failure(
          std::string(kRoles[role].option) + ": \"" + pattern(role) +
              "\" is not a regular expression; write a backslash before brackets and other special characters",
          Failure::usage);
    }
  }
  jack_set_error_function(keepQuiet);
  jack_set_info_function(keepQuiet);
}

JackClient::~JackClient() {
  close();
  if (closer_.joinable()) closer_.join();
}

const std::string& JackClient::pattern(Role role) const {
  using Wish = std::string Wishes::*;
  constexpr Wish kPatterns[kNumRoles] = {&Wishes::input, &Wishes::output, &Wishes::midi, &Wishes::midiOut};
  return wishes_.*kPatterns[role];
}

bool JackClient::open() {
  close();
  if (!finishClosing()) return false;
  jack_status_t status{};
  client_ = jack_client_open(wishes_.name.c_str(), JackNoStartServer, &status);
  if (client_ == nullptr) {
    if ((status & (JackServerFailed | JackServerError)) != 0) return false;
    throw Failure("the JACK server does not let " + wishes_.name +
                  " in; try another --name, or start the server again");
  }
  name_ = jack_get_client_name(client_);
  silence_ = {};
  tendTime_ = Clock::now();
  alive_ = true;
  setShutdownCallback();  // before any call that fails if the server quits
  registerPorts();
  setCallbacks();
  period_ = static_cast<int>(jack_get_buffer_size(client_));
  player_.announce(static_cast<int>(jack_get_sample_rate(client_)), period_);
  player_.setClosed(false);
  if (jack_activate(client_) != 0) {
    close();
    throw Failure("the JACK server does not let " + wishes_.name + " play; start the server again");
  }
  missing_ = connections_;
  player_.reportAgain();
  lookAround();
  return true;
}

void JackClient::registerPorts() {
  const bool isMono = player_.channels() == 1;
  const auto add = [this](Role role, const char* name) {
    const unsigned long way = role == kOutput || role == kMidiOut ? JackPortIsOutput : JackPortIsInput;
    jack_port_t* const port = jack_port_register(client_, name, kRoles[role].type, way, 0);
    if (port == nullptr) throw Failure("the JACK server has no room for another port; end another client");
    ports_.push_back({role, port});
  };
  for (const char* const name : {"in_left", "in_right"}) {
    if (!isMono || ports_.empty()) add(kInput, isMono ? "in" : name);
  }
  for (const char* const name : {"out_left", "out_right"}) {
    if (!isMono || ports_.size() == 1) add(kOutput, isMono ? "out" : name);
  }
  add(kMidi, "midi_in");
  add(kMidiOut, "midi_out");
}

void JackClient::setCallbacks() {
  jack_set_process_callback(client_, process, this);
  // The library calls these on a thread of its own; the player keeps the audio thread away meanwhile.
  jack_set_buffer_size_callback(
      client_,
      [](jack_nframes_t frames, void* self) {
        auto& client = *static_cast<JackClient*>(self);
        client.period_ = static_cast<int>(frames);
        client.player_.announce(client.player_.rate(), static_cast<int>(frames));
        return 0;
      },
      this);
  jack_set_sample_rate_callback(
      client_,
      [](jack_nframes_t rate, void* self) {
        auto& client = *static_cast<JackClient*>(self);
        client.player_.announce(static_cast<int>(rate), client.period_);
        return 0;
      },
      this);
  jack_set_xrun_callback(
      client_,
      [](void* self) {
        ++static_cast<JackClient*>(self)->late_;
        return 0;
      },
      this);
  jack_set_port_registration_callback(
      client_,
      [](jack_port_id_t id, int isThere, void* self) {
        auto& client = *static_cast<JackClient*>(self);
        const jack_port_t* const port = jack_port_by_id(client.client_, id);
        if (isThere != 0 && port != nullptr) {
          const std::lock_guard guard(client.mutex_);
          client.appeared_.insert(jack_port_name(port));
        }
        client.graphChanged_ = true;
      },
      this);
  jack_set_port_connect_callback(
      client_,
      [](jack_port_id_t, jack_port_id_t, int, void* self) { static_cast<JackClient*>(self)->graphChanged_ = true; },
      this);
}

void JackClient::setShutdownCallback() {
  jack_on_info_shutdown(
      client_,
      [](jack_status_t, const char* reason, void* self) {
        auto& client = *static_cast<JackClient*>(self);
        const std::lock_guard guard(client.mutex_);
        client.lossReason_ = reason != nullptr ? reason : "";
        client.alive_ = false;
      },
      this);
}

int JackClient::process(jack_nframes_t frames, void* self) noexcept {
  auto& client = *static_cast<JackClient*>(self);
  client.periods_.fetch_add(1, std::memory_order_relaxed);
  std::array<const float*, LivePlayer::kMostChannels> in{};
  std::array<float*, LivePlayer::kMostChannels> out{};
  std::size_t ins = 0;
  std::size_t outs = 0;
  void* midi = nullptr;
  void* midiOut = nullptr;
  for (const Port& port : client.ports_) {
    void* const buffer = jack_port_get_buffer(port.handle, frames);
    if (port.role == kInput) in[ins++] = static_cast<const float*>(buffer);
    if (port.role == kOutput) out[outs++] = static_cast<float*>(buffer);
    if (port.role == kMidi) midi = buffer;
    if (port.role == kMidiOut) midiOut = buffer;
  }
  client.player_.begin(in.data(), out.data(), static_cast<int>(frames));
  const jack_nframes_t count = jack_midi_get_event_count(midi);
  for (jack_nframes_t i = 0; i < count; ++i) {
    jack_midi_event_t event;
    if (jack_midi_event_get(&event, midi, i) != 0) continue;
    client.player_.receive(static_cast<int>(event.time), event.buffer, event.size);
  }
  client.player_.end();
  jack_midi_clear_buffer(midiOut);
  for (LivePlayer::Report report{}; client.player_.nextReport(report);) {
    jack_midi_event_write(midiOut, frames - 1, report.bytes.data(), report.size);
  }
  return 0;
}

void JackClient::close() {
  if (client_ == nullptr || closer_.joinable()) return;
  // The library may end its audio thread at any point. Do not hold a pause here: the server may be waiting for a
  // callback that announces something.
  player_.setClosed(true);
  alive_ = false;
  closing_ = true;
  closer_ = std::thread([this] {
    jack_client_close(client_);
    closing_ = false;
  });
  // This nearly always finishes at once.
  for (int i = 0; i < 50 && closing_; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

// False until leaving the previous server has finished.
bool JackClient::finishClosing() {
  if (closing_) return false;
  if (closer_.joinable()) {
    closer_.join();
    client_ = nullptr;
    ports_.clear();
    appeared_.clear();
  }
  return true;
}

std::string JackClient::lossReason() const {
  const std::lock_guard guard(mutex_);
  return lossReason_;
}

double JackClient::load() const noexcept { return isAlive() ? jack_cpu_load(client_) / 100.0 : 0.0; }

bool JackClient::isRealTime() const noexcept {
  int policy = SCHED_OTHER;
  sched_param parameters{};
  return isAlive() && pthread_getschedparam(jack_client_thread_id(client_), &policy, &parameters) == 0 &&
         policy != SCHED_OTHER;
}

std::vector<std::string> JackClient::candidates(Role role) const {
  const RoleFacts& facts = kRoles[role];
  return portNames(client_, facts.type, facts.flags);
}

// The ports that a role connects to, in the server's order.
std::vector<std::string> JackClient::fitting(Role role) const {
  const RoleFacts& facts = kRoles[role];
  if (!patterns_[role]) {
    if (role == kMidi || role == kMidiOut || !wishes_.connects) return {};
    return portNames(client_, facts.type, facts.flags | JackPortIsPhysical);
  }
  std::vector<std::string> names = candidates(role);
  std::erase_if(names, [this, role](const std::string& name) {
    return !fits(jack_port_by_name(client_, name.c_str()), name, *patterns_[role]);
  });
  return names;
}

// A single input uses the first port, and a single output the first two; two inputs or outputs use one port each. The
// MIDI ports use all.
std::vector<JackClient::Connection> JackClient::wanted() const {
  std::vector<Connection> result;
  for (const Role role : kAllRoles) {
    std::vector<std::string> names = fitting(role);
    if (names.empty()) continue;
    std::vector<std::size_t> own;
    for (std::size_t i = 0; i < ports_.size(); ++i) {
      if (ports_[i].role == role) own.push_back(i);
    }
    const std::size_t most = role == kInput ? own.size() : 2;
    if ((role == kInput || role == kOutput) && names.size() > most) names.resize(most);
    for (std::size_t i = 0; i < std::max(own.size(), names.size()); ++i) {
      result.emplace_back(own[std::min(i, own.size() - 1)], names[std::min(i, names.size() - 1)]);
    }
  }
  return result;
}

std::vector<JackClient::Connection> JackClient::current() const {
  std::vector<Connection> result;
  for (std::size_t i = 0; i < ports_.size(); ++i) {
    const std::unique_ptr<const char*, void (*)(const char**)> names(
        jack_port_get_all_connections(client_, ports_[i].handle), [](const char** list) { jack_free(list); });
    for (const char* const* name = names.get(); name != nullptr && *name != nullptr; ++name) {
      result.emplace_back(i, *name);
    }
  }
  return result;
}

std::set<std::string> JackClient::allPorts() const {
  std::set<std::string> all;
  for (const Role role : kAllRoles) {
    for (const std::string& name : candidates(role)) all.insert(name);
  }
  return all;
}

bool JackClient::connect(const Connection& connection) const {
  const Port& port = ports_[connection.first];
  const char* const own = jack_port_name(port.handle);
  const char* const other = connection.second.c_str();
  const bool isOut = port.role == kOutput || port.role == kMidiOut;
  const int result = isOut ? jack_connect(client_, own, other) : jack_connect(client_, other, own);
  return result == 0 || result == EEXIST;
}

void JackClient::tend() {
  const auto now = Clock::now();
  const unsigned periods = periods_;
  const auto sinceLast = std::min<Clock::duration>(now - std::exchange(tendTime_, now), kLongestTick);
  silence_ = std::exchange(periodsSeen_, periods) == periods ? silence_ + sinceLast : Clock::duration{};
  if (hasStalled()) return;
  if (graphChanged_.exchange(false)) callsToWait_ = kCallsToSettle;
  if (isAlive() && callsToWait_ > 0 && --callsToWait_ == 0) lookAround();
}

void JackClient::lookAround() {
  const std::vector<Connection> before = current();
  const std::set<std::string> there = allPorts();
  {
    const std::lock_guard guard(mutex_);  // ports that disappeared and came back in between count as new
    for (const std::string& name : std::exchange(appeared_, {})) known_.erase(name);
  }
  std::vector<Connection> made;  // the server reports them in its next period
  std::set<std::string> failed;
  const std::vector<Connection> wishes = wanted();
  for (const Connection& one : wishes) {
    const Role role = ports_[one.first].role;
    const bool isMidi = role == kMidi || role == kMidiOut;
    // Connected to a port that is not among its wishes: from before, or made by hand.
    const bool isTaken = !isMidi && std::any_of(before.begin(), before.end(), [&](const Connection& b) {
      return b.first == one.first && std::find(wishes.begin(), wishes.end(), b) == wishes.end();
    });
    if (known_.count(one.second) != 0 || isTaken) continue;
    if (connect(one)) {
      made.push_back(one);
    } else {
      failed.insert(one.second);
    }
  }
  std::erase_if(missing_, [&](const Connection& one) {
    if (there.count(one.second) == 0 || !connect(one)) return false;
    made.push_back(one);
    return true;
  });
  if (!isAlive()) return;
  known_ = there;
  for (const std::string& name : failed) known_.erase(name);
  if (!failed.empty()) callsToWait_ = kCallsToRetry;
  for (const Connection& one : missing_) known_.insert(one.second);
  std::set<Connection> all(made.begin(), made.end());
  for (const auto& more : {current(), missing_}) all.insert(more.begin(), more.end());
  const std::vector<Connection> old = std::exchange(connections_, {all.begin(), all.end()});
  const bool isNewlyHeard = std::any_of(connections_.begin(), connections_.end(), [&](const Connection& one) {
    return ports_[one.first].role == kMidiOut && std::find(old.begin(), old.end(), one) == old.end();
  });
  if (isNewlyHeard) player_.reportAgain();
}

std::vector<std::string> JackClient::misfits() const {
  std::vector<std::string> texts;
  for (const Role role : kAllRoles) {
    if (!isAlive() || !patterns_[role] || !fitting(role).empty()) continue;
    texts.push_back(std::string(kRoles[role].option) + ": no " + kRoles[role].kind + " fits \"" + pattern(role) +
                    "\"; there are: " + join(candidates(role), "none"));
  }
  return texts;
}

bool JackClient::lacksSound() const {
  return isAlive() &&
         ((patterns_[kInput] && fitting(kInput).empty()) || (patterns_[kOutput] && fitting(kOutput).empty()));
}

std::string JackClient::connectionsText() const {
  std::vector<std::string> sides[2];
  for (const auto& [port, other] : connections_) {
    const Role role = port < ports_.size() ? ports_[port].role : kMidi;
    const bool isMissing = std::find(missing_.begin(), missing_.end(), Connection(port, other)) != missing_.end();
    if (role == kMidi || role == kMidiOut || isMissing) continue;
    std::vector<std::string>& side = sides[role == kInput ? 0 : 1];
    if (std::find(side.begin(), side.end(), other) == side.end()) side.push_back(other);
  }
  return join(sides[0], "nothing") + " > " + name_ + " > " + join(sides[1], "nothing");
}
