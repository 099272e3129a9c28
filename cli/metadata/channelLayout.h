// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// The speaker of each channel: libsndfile's numbers, SF_CHANNEL_MAP_LEFT and so on, in the channels' order.
using ChannelLayout = std::vector<int>;

// The layout that files of a format have by their number of channels alone; empty where there is none. `format` is
// libsndfile's container and sample format, or'ed.
ChannelLayout impliedLayout(int format, int channels);

// The same speakers in WAV's order; unchanged if WAV does not know one of them.
ChannelLayout inWavOrder(ChannelLayout layout);

// The bits of a WAV file's mask for these speakers; nothing if there are none, one is there twice, or WAV does not know
// one.
std::optional<std::uint32_t> speakerMask(const ChannelLayout& layout);

// The speakers of a mask, in WAV's order.
ChannelLayout layoutOf(std::uint64_t mask);

// The order in which a file of this format holds the speakers of `layout`.
ChannelLayout orderedFor(int format, const ChannelLayout& layout);

// Reorders the channels of frames.
class ChannelOrder {
 public:
  ChannelOrder() = default;

  // From one layout to the other. Changes nothing unless both have the same speakers, each once.
  ChannelOrder(const ChannelLayout& from, const ChannelLayout& to);

  bool isChange() const noexcept { return !sources_.empty(); }

  // Whole frames, interleaved.
  void apply(std::span<double> samples);

 private:
  std::vector<std::size_t> sources_;  // of each channel; empty: all stay
  std::vector<double> frame_;
};

// From the sound of a recording to a file of this format. `layout` is the sound's own; if empty, WAV's order is
// assumed.
ChannelOrder orderInto(int format, const ChannelLayout& layout, int channels);
