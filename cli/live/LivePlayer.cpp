// SPDX-License-Identifier: MIT
#include "cli/live/LivePlayer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <thread>

#include "cli/live/TakeRecorder.h"

namespace {

constexpr int kFirstRate = 48000;           // Hz, until a server tells its own
constexpr int kFirstLength = 1024;          // samples, likewise
constexpr std::size_t kMostChanges = 4096;  // on their way
constexpr auto relaxed = std::memory_order_relaxed;

// The highest sample so far, which the reader sets back to 0.
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
      heard_(kMostChanges) {
  player_->setTrim(trim);
}

void LivePlayer::announce(int rate, int longest) {
  const Pause pause(*this);
  const bool isNewRate = rate != rate_;
  if (isNewRate) {  // nothing rings on, nothing glides on
    for (int p = 0; p < kNumParameters; ++p) player_->setParameter(p, value(program(), p));
    volumeAt_ = value(program(), kVolume);
    glideLeft_ = 0;
  }
  player_->stop();
  player_->announce(rate, longest);
  player_->start();
  if (!isNewRate) return;
  rate_ = rate;
  fadeLength_ = std::max(1, static_cast<int>(kFadeSeconds * rate));
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
  if (entered_ && closed_) {  // since the look before
    busy_.clear(std::memory_order_release);
    entered_ = false;
  }
  if (!entered_) {
    for (std::size_t c = 0; c < channelCount(); ++c) std::fill_n(out[c], frames, 0.0F);
    return;
  }
  for (LiveChange change{}; changes_.read(&change, 1) > 0;) land(change);
}

void LivePlayer::receive(int frame, const std::uint8_t* bytes, std::size_t size) noexcept {
  if (!entered_ || size < 2) return;
  const int kind = bytes[0] & 0xF0;
  const int channel = bytes[0] & 0x0F;
  if (midiChannel_ >= 0 && channel != midiChannel_) return;
  if (kind == 0xC0) {
    playTo(frame);
    if (bytes[1] < kNumPrograms) select(bytes[1]);
  }
  if (size < 3 || kind < 0x80 || kind > 0xB0 || kind == 0xA0) return;
  MidiControl control;
  control.kind = kind == 0xB0 ? MidiControl::Kind::controller : MidiControl::Kind::note;
  control.number = bytes[1] & 0x7F;
  control.value = kind == 0x80 ? 0 : bytes[2] & 0x7F;
  if (listening_.load(relaxed)) {
    heard_.write(&control, 1);
    return;
  }
  const LiveAction action = map_->actionOf(control);
  if (action == LiveAction::none) return;
  playTo(frame);
  act(action, control);
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
  if (fadeLeft_ == 0) ended_ = true;
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
    case LiveChange::Kind::useMap: map_ = change.map; break;
  }
}

void LivePlayer::act(LiveAction action, const MidiControl& control) noexcept {
  const float position = static_cast<float>(control.value) / 127.0F;
  const bool isPressed = control.isPressed();
  switch (action) {
    case LiveAction::none: break;
    case LiveAction::volume: setKnob(kVolume, position); break;
    case LiveAction::fuzz: setKnob(kFuzz, position); break;
    case LiveAction::onOff: setKnob(kOnOff, isPressed ? 1.0F : 0.0F); break;
    case LiveAction::toggle:
      if (isPressed) land({LiveChange::Kind::toggle});
      break;
    case LiveAction::previousProgram:
      if (isPressed) land({LiveChange::Kind::stepProgram, -1});
      break;
    case LiveAction::nextProgram:
      if (isPressed) land({LiveChange::Kind::stepProgram, 1});
      break;
  }
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
    // The effect moves VOLUME evenly over each piece, so the end of the piece lies on the line.
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
  if (ending_.load(relaxed)) fade(length);
  position_ += length;
}

void LivePlayer::fade(int length) noexcept {
  if (fadeLeft_ < 0) fadeLeft_ = fadeLength_;
  for (int i = 0; i < length; ++i) {
    const float gain = static_cast<float>(fadeLeft_) / static_cast<float>(fadeLength_);
    for (std::size_t c = 0; c < channelCount(); ++c) out_[c][position_ + i] *= gain;
    if (fadeLeft_ > 0) --fadeLeft_;
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
