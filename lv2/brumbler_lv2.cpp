// SPDX-License-Identifier: MIT
// The effect for LV2 hosts, in the order in which a host calls. The bundle's Turtle files hold the same ports.
#include <lv2/core/lv2.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "host/HostedEffect.h"
#include "lv2/BlockLength.h"
#include "lv2/Trim.h"

namespace {

// The numbers are the bundle's interface: they never change.
enum Port : std::uint32_t { kIn, kOut, kOn, kVolume, kFuzz, kTrim, kNumPorts };

// The effect's.
enum Parameter : std::int32_t { kOnOff, kLoudness, kDirt };

constexpr int kNumControls = kNumPorts - kOn;
constexpr float kKnobTop = 10.0F;   // where the effect's 1.0 stands on the knob
constexpr float kTrimMost = 30.0F;  // dB
constexpr float kDefaults[kNumControls] = {1.0F, 5.0F, 5.0F, 0.0F};

// A control's value, within its range; what is no number becomes the lowest.
float within(float lowest, float value, float highest) noexcept {
  return value > lowest ? std::min(value, highest) : lowest;
}

// One instance in one host. Everything but run() and connectPort() may allocate; run() makes no system call, allocates
// nothing and waits for no one, whatever the block length.
class Instance {
 public:
  // `rate` in Hz, `blockLength` in samples. Throws std::bad_alloc when there is no storage.
  Instance(std::int32_t rate, std::int32_t blockLength)
      : rate_(rate),
        blockLength_(blockLength),
        block_(new double[static_cast<std::size_t>(blockLength)]),
        effect_(std::make_unique<HostedEffect>(getinterface, rate, blockLength)) {
    if (!effect_->exists()) throw std::bad_alloc();
  }

  // A port that is not connected has its default.
  void connectPort(std::uint32_t port, void* data) noexcept {
    if (port == kIn) in_ = static_cast<const float*>(data);
    if (port == kOut) out_ = static_cast<float*>(data);
    if (port >= kOn && port < kNumPorts) {
      controls_[port - kOn] = data != nullptr ? static_cast<const float*>(data) : &kDefaults[port - kOn];
    }
  }

  // Forgets all sound. The interface of the effect has no reset, so a new effect takes the place of one that has
  // played; when there is no storage for it, the old one goes on.
  void activate() noexcept {
    if (!fresh_) {
      std::unique_ptr<HostedEffect> next(new (std::nothrow) HostedEffect(getinterface, rate_, blockLength_));
      if (next != nullptr && next->exists()) effect_ = std::move(next);
    }
    fresh_ = true;
  }

  // Controls land at the start of the run, which is one block of the effect unless it is longer than blockLength_;
  // glides then end with the first piece. A run of 0 samples does nothing. `in` may be `out`.
  void run(std::uint32_t samples) noexcept {
    if (samples == 0 || in_ == nullptr || out_ == nullptr) return;
    landParameters();
    if (fresh_) {
      effect_->start();
      trim_.reset(trimControl());
      fresh_ = false;
    }
    for (std::uint32_t begin = 0; begin < samples;) {
      const auto length =
          static_cast<std::int32_t>(std::min(samples - begin, static_cast<std::uint32_t>(blockLength_)));
      trim_.set(trimControl(), length);
      trim_.takeOff(in_ + begin, block_.get(), length);
      effect_->process(block_.get(), length);
      trim_.putBack(block_.get(), out_ + begin, length);
      begin += static_cast<std::uint32_t>(length);
    }
  }

 private:
  float control(Port port) const noexcept { return *controls_[port - kOn]; }
  float trimControl() const noexcept { return within(-kTrimMost, control(kTrim), kTrimMost); }
  void landParameters() noexcept {
    effect_->setParameter(kOnOff, control(kOn) > 0.0F ? 1.0F : 0.0F);
    effect_->setParameter(kLoudness, within(0.0F, control(kVolume), kKnobTop) / kKnobTop);
    effect_->setParameter(kDirt, within(0.0F, control(kFuzz), kKnobTop) / kKnobTop);
  }

  std::int32_t rate_;
  std::int32_t blockLength_;
  std::unique_ptr<double[]> block_;
  std::unique_ptr<HostedEffect> effect_;
  bool fresh_ = true;  // the effect has not heard a sample yet
  Trim trim_;
  const float* in_ = nullptr;
  float* out_ = nullptr;
  const float* controls_[kNumControls] = {&kDefaults[0], &kDefaults[1], &kDefaults[2], &kDefaults[3]};
};

Instance* instanceOf(LV2_Handle handle) noexcept { return static_cast<Instance*>(handle); }

// Null for a rate that is no positive 32-bit number of Hz, or without storage.
LV2_Handle instantiate(const LV2_Descriptor*, double rate, const char*, const LV2_Feature* const* features) {
  if (!(rate >= 1.0 && rate <= std::numeric_limits<std::int32_t>::max())) return nullptr;
  try {
    return new Instance(static_cast<std::int32_t>(std::lround(rate)), BlockLength::announced(features));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void connectPort(LV2_Handle handle, std::uint32_t port, void* data) { instanceOf(handle)->connectPort(port, data); }
void activate(LV2_Handle handle) { instanceOf(handle)->activate(); }
void run(LV2_Handle handle, std::uint32_t samples) { instanceOf(handle)->run(samples); }
void cleanup(LV2_Handle handle) { delete instanceOf(handle); }

constexpr LV2_Descriptor kDescriptor = {
    "urn:brumbler:fuzz", instantiate, connectPort, activate, run, nullptr, cleanup, nullptr};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
  return index == 0 ? &kDescriptor : nullptr;
}
