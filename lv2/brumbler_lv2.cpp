// SPDX-License-Identifier: MIT
// The effect for LV2 hosts, as two plug-ins: one for one channel, one for two channels that share their controls. The
// functions are in the order in which a host calls them. The bundle's Turtle files list the same ports.
#include <lv2/core/lv2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "catalog/catalog.h"
#include "lv2/BlockLength.h"
#include "lv2/LevelMeter.h"
#include "player/EffectPlayer.h"

namespace {

// The ports' numbers are the bundle's interface and never change: the inputs, the outputs, a control for each parameter
// of the catalog, and the levels of input and output.
constexpr std::size_t kNumControls = std::size(catalog::kParameters);
constexpr std::size_t kMostChannels = 2;
constexpr std::array<float, kNumControls> kDefaults = [] {
  std::array<float, kNumControls> defaults{};
  for (std::size_t i = 0; i < kNumControls; ++i) defaults[i] = static_cast<float>(catalog::kParameters[i].initial);
  return defaults;
}();

// One instance in one host. Everything but run() and connectPort() may allocate; run() makes no system call, allocates
// nothing and waits for no one, whatever the block length.
class Instance {
 public:
  // `rate` in Hz, `blockLength` in samples. Throws std::bad_alloc when there is no storage.
  Instance(std::int32_t rate, std::int32_t blockLength, std::size_t channels)
      : rate_(rate),
        player_(createPlayer(rate, blockLength, channels)),
        in_(channels),
        out_(channels),
        meters_{LevelMeter(rate), LevelMeter(rate)} {
    for (std::size_t i = 0; i < kNumControls; ++i) controls_[i] = &kDefaults[i];
  }

  // A control that is not connected has its default.
  void connectPort(std::uint32_t port, void* data) noexcept {
    const std::size_t channels = in_.size();
    if (port < channels) {
      in_[port] = static_cast<const float*>(data);
    } else if (port < 2 * channels) {
      out_[port - channels] = static_cast<float*>(data);
    } else if (port < 2 * channels + kNumControls) {
      const std::size_t control = port - 2 * channels;
      controls_[control] = data != nullptr ? static_cast<const float*>(data) : &kDefaults[control];
    } else if (port < 2 * channels + kNumControls + levels_.size()) {
      levels_[port - 2 * channels - kNumControls] = static_cast<float*>(data);
    }
  }

  // Clears all sound. The effect's interface has no reset, so new effects replace those that have played. When out of
  // memory, the old ones stay.
  void activate() noexcept {
    if (fresh_) return;
    try {
      player_ = createPlayer(rate_, player_->blockLength(), in_.size());
    } catch (const std::bad_alloc&) {
      player_->stop();
    }
    fresh_ = true;
  }

  // Control values apply from the start of the run. The run is one block of the effect unless it is longer than was
  // announced; glides then end with the first piece. A run of 0 samples does nothing. Any output may be any input.
  void run(std::uint32_t samples) noexcept {
    if (samples == 0 || !isConnected()) return;
    landParameters();
    if (fresh_) player_->start();  // with the values of the controls at once, whatever the block length
    fresh_ = false;
    for (const float* const in : in_) meters_[0].hear(in, samples);
    std::array<const float*, kMostChannels> in{};
    std::array<float*, kMostChannels> out{};
    for (std::uint32_t first = 0; first < samples;) {
      const std::uint32_t length = std::min(samples - first, static_cast<std::uint32_t>(player_->blockLength()));
      for (std::size_t c = 0; c < in_.size(); ++c) {
        in[c] = in_[c] + first;
        out[c] = out_[c] + first;
      }
      player_->process(in.data(), out.data(), static_cast<std::int32_t>(length));
      first += length;
    }
    for (const float* const heard : out_) meters_[1].hear(heard, samples);
    for (std::size_t i = 0; i < levels_.size(); ++i) {
      const float level = meters_[i].read(samples);
      if (levels_[i] != nullptr) *levels_[i] = level;
    }
  }

 private:
  static std::unique_ptr<EffectPlayer> createPlayer(std::int32_t rate, std::int32_t blockLength, std::size_t channels) {
    auto player = std::make_unique<EffectPlayer>(getinterface, rate, blockLength, static_cast<int>(channels));
    if (!player->exists()) throw std::bad_alloc();
    return player;
  }

  bool isConnected() const noexcept {
    return std::count(in_.begin(), in_.end(), nullptr) + std::count(out_.begin(), out_.end(), nullptr) == 0;
  }

  // The value of a control, limited to its range; NaN becomes the lowest value. A switch is on above 0.
  float position(int control) const noexcept {
    const catalog::Parameter& parameter = catalog::kParameters[control];
    const float value = *controls_[static_cast<std::size_t>(control)];
    const auto lowest = static_cast<float>(parameter.minimum);
    const auto highest = static_cast<float>(parameter.maximum);
    if (!(value > lowest)) return lowest;
    return parameter.scale == catalog::Scale::toggle ? highest : std::min(value, highest);
  }

  void landParameters() noexcept {
    for (int i = 0; i < catalog::kNumEffectParameters; ++i) {
      player_->setParameter(i, position(i) / static_cast<float>(catalog::kParameters[i].maximum));
    }
    player_->setTrim(position(catalog::kTrim));
  }

  std::int32_t rate_;
  std::unique_ptr<EffectPlayer> player_;
  std::vector<const float*> in_;  // by channel; null where nothing is connected
  std::vector<float*> out_;
  bool fresh_ = true;  // the effects have not heard a sample yet
  std::array<const float*, kNumControls> controls_{};
  std::array<LevelMeter, 2> meters_;  // of the input and the output
  std::array<float*, 2> levels_{};    // the host's buffers; null where nothing is connected
};

Instance* instanceOf(LV2_Handle handle) noexcept { return static_cast<Instance*>(handle); }

// Null when out of memory, or for a rate that is not a positive 32-bit number of Hz.
template <std::size_t channels>
LV2_Handle instantiate(const LV2_Descriptor*, double rate, const char*, const LV2_Feature* const* features) {
  if (!(rate >= 1.0 && rate <= std::numeric_limits<std::int32_t>::max())) return nullptr;
  try {
    return new Instance(static_cast<std::int32_t>(std::lround(rate)), BlockLength::announced(features), channels);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void connectPort(LV2_Handle handle, std::uint32_t port, void* data) { instanceOf(handle)->connectPort(port, data); }
void activate(LV2_Handle handle) { instanceOf(handle)->activate(); }
void run(LV2_Handle handle, std::uint32_t samples) { instanceOf(handle)->run(samples); }
void cleanup(LV2_Handle handle) { delete instanceOf(handle); }

template <std::size_t channels>
constexpr LV2_Descriptor describe(const char* uri) {
  return {uri, instantiate<channels>, connectPort, activate, run, nullptr, cleanup, nullptr};
}
constexpr LV2_Descriptor kDescriptors[] = {describe<1>("urn:brumbler:fuzz"), describe<2>("urn:brumbler:fuzz:stereo")};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
  return index < std::size(kDescriptors) ? &kDescriptors[index] : nullptr;
}
