// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Which channel is for which speaker: libsndfile's numbers, SF_CHANNEL_MAP_LEFT and so on, in the channels' order.
using ChannelLayout = std::vector<int>;

// The layout that files of a format have by their number of channels alone; empty where there is none. `format` is
// libsndfile's container and sample format, or'ed.
ChannelLayout impliedLayout(int format, int channels);

// The same speakers in the order that WAV files have; as it is when there is one that WAV does not know.
ChannelLayout inWavOrder(ChannelLayout layout);

// The bits of a WAV file's mask for these speakers; nothing when there are none, one twice, or one that WAV does not
// know.
std::optional<std::uint32_t> speakerMask(const ChannelLayout& layout);

// The speakers of a mask, in WAV's order.
ChannelLayout layoutOf(std::uint64_t mask);

// In which order a file of this format holds the speakers of `layout`.
ChannelLayout orderedFor(int format, const ChannelLayout& layout);

// Puts the channels of frames into another order.
class ChannelOrder {
 public:
  ChannelOrder() = default;

  // From one layout to the other. Leaves all as it is unless they have the same speakers, each once.
  ChannelOrder(const ChannelLayout& from, const ChannelLayout& to);

  bool isChange() const noexcept { return !sources_.empty(); }

  // Whole frames, interleaved.
  void apply(std::span<double> samples);

 private:
  std::vector<std::size_t> sources_;  // of each channel; empty: all stay
  std::vector<double> frame_;
};

// From the sound of a recording to a file of this format. `layout` is the sound's own, or empty: then the order of WAV
// is taken for it.
ChannelOrder orderInto(int format, const ChannelLayout& layout, int channels);
