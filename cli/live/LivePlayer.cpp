// SPDX-License-Identifier: MIT
#include "cli/live/LivePlayer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <thread>
#include <utility>

#include "cli/live/TakeRecorder.h"

namespace {

constexpr int kFirstRate = 48000;            // Hz, until a server announces its rate
constexpr int kFirstLength = 1024;           // samples, likewise
constexpr std::size_t kMostChanges = 4096;   // in the queue
constexpr std::size_t kTunerRoom = 1 << 16;  // samples between two reads
constexpr auto relaxed = std::memory_order_relaxed;

// The highest sample so far; reading resets it to 0.
void raise(std::atomic<float>& meter, float peak) noexcept {
  float seen = meter.load(relaxed);
  while (peak > seen && !meter.compare_exchange_weak(seen, peak, relaxed)) {
  }
}

void measure(std::atomic<float>& meter, std::atomic<std::int64_t>& clipped, const float* samples, int count) noexcept {
  float peak = 0.0F;
  std::int64_t over = 0;
  for (int i = 0; i < count; ++i) {
    const float level = std::fabs(samples[i]);
    peak = std::max(peak, level);
    over += level >= 1.0F ? 1 : 0;
  }
  raise(meter, std::min(peak, std::numeric_limits<float>::max()));
  if (over > 0) clipped.fetch_add(over, relaxed);
}

}  // namespace

LivePlayer::Pause::Pause(LivePlayer& player) : player_(player) {
  while (player_.busy_.test_and_set(std::memory_order_acquire)) {
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
}

LivePlayer::Pause::~Pause() { player_.busy_.clear(std::memory_order_release); }

LivePlayer::LivePlayer(const EffectModule& module, int channels, double trim, int midiChannel, const MidiMap& map)
    : player_(module.createPlayer(kFirstRate, kFirstLength, channels)),
      midiChannel_(midiChannel),
      map_(&map),
      changes_(kMostChanges),
      heard_(kMostChanges),
      tuner_(kTunerRoom) {
  player_->setTrim(trim);
}

void LivePlayer::announce(int rate, int longest) {
  const Pause pause(*this);
  const bool isNewRate = rate != rate_;
  if (isNewRate) {  // tails and glides end
    for (int p = 0; p < kNumParameters; ++p) player_->setParameter(p, value(program(), p));
    volumeAt_ = value(program(), kVolume);
    glideLeft_ = 0;
  }
  player_->stop();
  player_->announce(rate, longest);
  player_->start();
  if (!isNewRate) return;
  rate_ = rate;
  rateChangedAt_ = played_.load();
  fadeLength_ = std::max(1, static_cast<int>(kFadeSeconds * rate));
  fadeAt_ = fadeAt_ == 0 ? 0 : fadeLength_;
  dry_ = wet_ = nullptr;
}

void LivePlayer::record(TakeRecorder* dry, TakeRecorder* wet) {
  const Pause pause(*this);
  const auto fitting = [this](TakeRecorder* take) { return take != nullptr && take->rate() == rate_ ? take : nullptr; };
  dry_ = fitting(dry);
  wet_ = fitting(wet);
}

void LivePlayer::setClosed(bool closed) {
  closed_ = closed;
  const Pause untilPeriodIsOver(*this);
}

void LivePlayer::landChanges() {
  const Pause pause(*this);
  for (LiveChange change{}; changes_.read(&change, 1) > 0;) land(change);
}

void LivePlayer::begin(const float* const* in, float* const* out, int frames) noexcept {
  in_ = in;
  out_ = out;
  frames_ = frames;
  position_ = 0;
  entered_ = !closed_ && !busy_.test_and_set(std::memory_order_acquire);
  if (entered_ && closed_) {  // since the last check
    busy_.clear(std::memory_order_release);
    entered_ = false;
  }
  if (!entered_) {
    for (std::size_t c = 0; c < channelCount(); ++c) std::fill_n(out[c], frames, 0.0F);
    if (!closed_) pausedFrames_ += frames;
    return;
  }
  if (pausedFrames_ > 0) {
    pausedTotal_.fetch_add(pausedFrames_, relaxed);
    if (!ended_ && dry_ != nullptr) dry_->skip(pausedFrames_);
    if (!ended_ && wet_ != nullptr) wet_->skip(pausedFrames_);
    pausedFrames_ = 0;
  }
  for (LiveChange change{}; changes_.read(&change, 1) > 0;) land(change);
  for (std::size_t i = 0; i < numWaiting_; ++i) obey(waiting_[i], 0);
  numWaiting_ = 0;
}

void LivePlayer::receive(int frame, const std::uint8_t* bytes, std::size_t size) noexcept {
  if (size < 2 || bytes[0] < 0x80 || bytes[0] >= 0xF0) return;
  Message message{{bytes[0], bytes[1], size > 2 ? bytes[2] : std::uint8_t{0}},
                  static_cast<std::uint8_t>(std::min<std::size_t>(size, 3))};
  if (entered_) return obey(message, frame);
  if (closed_) return;
  if (numWaiting_ < waiting_.size()) {
    waiting_[numWaiting_++] = message;
  } else {
    messagesLost_.fetch_add(1, relaxed);
  }
}

void LivePlayer::obey(const Message& message, int frame) noexcept {
  const int kind = message.bytes[0] & 0xF0;
  const int channel = message.bytes[0] & 0x0F;
  if (midiChannel_ >= 0 && channel != midiChannel_) return;
  const bool isNote = kind == 0x80 || kind == 0x90;
  if (kind != 0xC0 && ((kind != 0xB0 && !isNote) || message.size < 3)) return;
  MidiControl control;
  control.number = message.bytes[1] & 0x7F;
  control.value = kind == 0x80 ? 0 : message.bytes[2] & 0x7F;
  control.kind = isNote         ? MidiControl::Kind::note
                 : kind == 0xC0 ? MidiControl::Kind::program
                                : MidiControl::Kind::controller;
  bool wasPressed = false;
  if (control.kind == MidiControl::Kind::controller) {
    std::uint8_t& position = positions_[static_cast<std::size_t>(channel)][control.number];
    wasPressed = position >= MidiControl::kPressed;
    position = control.value;
  }
  if (listening_.load(relaxed)) {
    heard_.write(&control, 1);
    return;
  }
  if (control.kind == MidiControl::Kind::program) {
    playTo(frame);
    if (control.number < kNumPrograms) select(control.number);
    return;
  }
  const LiveAction action = map_->actionOf(control);
  if (action == LiveAction::none) return;
  playTo(frame);
  act(action, control, control.isPressed() && (!wasPressed || map_->sendsPressesOnly(action)));
}

void LivePlayer::end() noexcept {
  if (!entered_) return;
  playTo(frames_);
  for (std::size_t c = 0; c < channelCount(); ++c) {
    measure(peakIn_[c], clippedIn_, in_[c], frames_);
    measure(peakOut_[c], clippedOut_, out_[c], frames_);
  }
  if (!ended_) {
    if (dry_ != nullptr) dry_->record(in_, frames_);
    if (wet_ != nullptr) wet_->record(out_, frames_);
    played_.fetch_add(frames_, relaxed);
  }
  if (tuning_.load(relaxed)) tuner_.write(in_[0], static_cast<std::size_t>(frames_));
  if (ending_.load(relaxed) && fadeAt_ == 0) ended_ = true;
  busy_.clear(std::memory_order_release);
}

void LivePlayer::land(const LiveChange& change) noexcept {
  const int current = program_.load(relaxed);
  switch (change.kind) {
    case LiveChange::Kind::knob: setKnob(change.index, change.values[0]); break;
    case LiveChange::Kind::turn: {
      const float hundredths = std::round(value(current, change.index) * 100.0F + change.values[0]);
      setKnob(change.index, static_cast<float>(std::clamp(hundredths, 0.0F, 100.0F) / 100.0));
      break;
    }
    case LiveChange::Kind::toggle: setKnob(kOnOff, value(current, kOnOff) == 1.0F ? 0.0F : 1.0F); break;
    case LiveChange::Kind::selectProgram: select(change.index); break;
    case LiveChange::Kind::stepProgram: select((current + change.index + kNumPrograms) % kNumPrograms); break;
    case LiveChange::Kind::storeProgram:
      for (int p = 0; p < kNumParameters; ++p) {
        const float value = change.values[static_cast<std::size_t>(p)];
        if (change.index == current) {
          setKnob(p, value);
        } else {
          values_[static_cast<std::size_t>(change.index)][static_cast<std::size_t>(p)].store(value, relaxed);
        }
      }
      break;
    case LiveChange::Kind::useMap:
      map_ = change.map;
      reportAgain_ = true;
      break;
    case LiveChange::Kind::tuner: tuning_.store(!tuning_.load(relaxed), relaxed); break;
  }
}

void LivePlayer::act(LiveAction action, const MidiControl& control, bool isPress) noexcept {
  switch (action) {
    case LiveAction::volume: return setKnob(kVolume, map_->valueAt(action, control.value));
    case LiveAction::fuzz: return setKnob(kFuzz, map_->valueAt(action, control.value));
    case LiveAction::onOff: return setKnob(kOnOff, control.isPressed() ? 1.0F : 0.0F);
    default: break;
  }
  if (!isPress) return;
  switch (action) {
    case LiveAction::toggle: return land({LiveChange::Kind::toggle});
    case LiveAction::previousProgram: return land({LiveChange::Kind::stepProgram, -1});
    case LiveAction::nextProgram: return land({LiveChange::Kind::stepProgram, 1});
    case LiveAction::tuner: return land({LiveChange::Kind::tuner});
    case LiveAction::store: storeRequests_.fetch_add(1, relaxed); return;
    default: return;
  }
}

bool LivePlayer::nextReport(Report& report) noexcept {
  if (reportAgain_.exchange(false, relaxed)) reportedProgram_ = reportedOn_ = reportedTuning_ = -1;
  if (closed_) return false;
  const auto channel = static_cast<unsigned>(std::max(midiChannel_, 0));
  const int program = program_.load(relaxed);
  if (std::exchange(reportedProgram_, program) != program) {
    report = {{static_cast<std::uint8_t>(0xC0U | channel), static_cast<std::uint8_t>(program), 0}, 2};
    return true;
  }
  const auto changed = [&](int& reported, bool isOn, std::initializer_list<LiveAction> actions) {
    if (std::exchange(reported, isOn ? 1 : 0) == (isOn ? 1 : 0)) return false;
    for (const LiveAction action : actions) {
      MidiControl control;
      if (!map_->findControl(action, control)) continue;
      const unsigned kind = control.kind == MidiControl::Kind::note ? 0x90U : 0xB0U;
      report = {{static_cast<std::uint8_t>(kind | channel), control.number, static_cast<std::uint8_t>(isOn ? 127 : 0)},
                3};
      return true;
    }
    return false;
  };
  return changed(reportedOn_, value(program, kOnOff) == 1.0F, {LiveAction::onOff, LiveAction::toggle}) ||
         changed(reportedTuning_, tuning_.load(relaxed), {LiveAction::tuner});
}

void LivePlayer::setKnob(int parameter, float value) noexcept {
  auto& stored = values_[static_cast<std::size_t>(program_.load(relaxed))][static_cast<std::size_t>(parameter)];
  if (stored.load(relaxed) == value) return;
  stored.store(value, relaxed);
  if (parameter == kVolume) {
    glideLeft_ = kGlide;
  } else {
    player_->setParameter(parameter, value);
  }
}

void LivePlayer::select(int program) noexcept {
  program_.store(program, relaxed);
  player_->setParameter(kOnOff, value(program, kOnOff));
  player_->setParameter(kFuzz, value(program, kFuzz));
  if (value(program, kVolume) != volumeAt_) glideLeft_ = kGlide;
}

void LivePlayer::playTo(int frame) noexcept {
  for (frame = std::min(frame, frames_); position_ < frame;) {
    int length = std::min(frame - position_, player_->blockLength());
    if (glideLeft_ > 0) length = std::min(length, glideLeft_);
    playPiece(length);
  }
}

void LivePlayer::playPiece(int length) noexcept {
  if (glideLeft_ > 0) {
    // The effect moves VOLUME linearly over each piece, so the end of the piece is on the line.
    const double target = value(program_.load(relaxed), kVolume);
    volumeAt_ = length == glideLeft_ ? target : volumeAt_ + (target - volumeAt_) * length / glideLeft_;
    player_->setParameter(kVolume, static_cast<float>(volumeAt_));
    glideLeft_ -= length;
  }
  std::array<const float*, kMostChannels> in{};
  std::array<float*, kMostChannels> out{};
  for (std::size_t c = 0; c < channelCount(); ++c) {
    in[c] = in_[c] + position_;
    out[c] = out_[c] + position_;
  }
  player_->process(in.data(), out.data(), length);
  fade(length);
  position_ += length;
}

// Fades the output linearly to silence at the end and while the tuner is on, and back afterwards.
void LivePlayer::fade(int length) noexcept {
  const bool isOpen = !ending_.load(relaxed) && !tuning_.load(relaxed);
  if (isOpen && fadeAt_ == fadeLength_) return;
  for (int i = 0; i < length; ++i) {
    const float gain = static_cast<float>(fadeAt_) / static_cast<float>(fadeLength_);
    for (std::size_t c = 0; c < channelCount(); ++c) out_[c][position_ + i] *= gain;
    fadeAt_ = std::clamp(fadeAt_ + (isOpen ? 1 : -1), 0, fadeLength_);
  }
}

LivePlayer::Values LivePlayer::values(int program) const noexcept {
  Values values{};
  for (int p = 0; p < kNumParameters; ++p) values[static_cast<std::size_t>(p)] = value(program, p);
  return values;
}

LivePlayer::Peaks LivePlayer::takePeaks() noexcept {
  Peaks peaks;
  for (std::size_t c = 0; c < channelCount(); ++c) {
    peaks.in[c] = peakIn_[c].exchange(0.0F, relaxed);
    peaks.out[c] = peakOut_[c].exchange(0.0F, relaxed);
  }
  return peaks;
}
