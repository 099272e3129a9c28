// SPDX-License-Identifier: MIT
#include "cli/metadata/channelLayout.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace {

// By bit of a WAV file's mask.
constexpr int kSpeakers[] = {
    SF_CHANNEL_MAP_LEFT,
    SF_CHANNEL_MAP_RIGHT,
    SF_CHANNEL_MAP_CENTER,
    SF_CHANNEL_MAP_LFE,
    SF_CHANNEL_MAP_REAR_LEFT,
    SF_CHANNEL_MAP_REAR_RIGHT,
    SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER,
    SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER,
    SF_CHANNEL_MAP_REAR_CENTER,
    SF_CHANNEL_MAP_SIDE_LEFT,
    SF_CHANNEL_MAP_SIDE_RIGHT,
    SF_CHANNEL_MAP_TOP_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_LEFT,
    SF_CHANNEL_MAP_TOP_FRONT_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_RIGHT,
    SF_CHANNEL_MAP_TOP_REAR_LEFT,
    SF_CHANNEL_MAP_TOP_REAR_CENTER,
    SF_CHANNEL_MAP_TOP_REAR_RIGHT,
};

// The bit of a speaker in that mask; 18 if it has none.
std::ptrdiff_t bitOf(int speaker) {
  return std::find(std::begin(kSpeakers), std::end(kSpeakers), speaker) - std::begin(kSpeakers);
}

bool isVorbisOrdered(int format) {
  const int sampleFormat = format & SF_FORMAT_SUBMASK;
  return (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG &&
         (sampleFormat == SF_FORMAT_VORBIS || sampleFormat == SF_FORMAT_OPUS);
}

bool isWavOrdered(int format) {
  const int container = format & SF_FORMAT_TYPEMASK;
  return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_RF64 ||
         container == SF_FORMAT_FLAC;
}

bool isEachOnce(ChannelLayout layout) {
  std::sort(layout.begin(), layout.end());
  return std::adjacent_find(layout.begin(), layout.end()) == layout.end();
}

}  // namespace

// From 3 channels on: RFC 9639 and Vorbis I 4.3.9, which Opus follows (RFC 7845, 5.1.1.2).
ChannelLayout impliedLayout(int format, int channels) {
  constexpr int L = SF_CHANNEL_MAP_LEFT, R = SF_CHANNEL_MAP_RIGHT, C = SF_CHANNEL_MAP_CENTER, W = SF_CHANNEL_MAP_LFE,
                BL = SF_CHANNEL_MAP_REAR_LEFT, BR = SF_CHANNEL_MAP_REAR_RIGHT, BC = SF_CHANNEL_MAP_REAR_CENTER,
                SL = SF_CHANNEL_MAP_SIDE_LEFT, SR = SF_CHANNEL_MAP_SIDE_RIGHT;
  static const std::array<ChannelLayout, 6> flac = {{{L, R, C},
                                                     {L, R, BL, BR},
                                                     {L, R, C, BL, BR},
                                                     {L, R, C, W, BL, BR},
                                                     {L, R, C, W, BC, SL, SR},
                                                     {L, R, C, W, BL, BR, SL, SR}}};
  static const std::array<ChannelLayout, 6> ogg = {{{L, C, R},
                                                    {L, R, BL, BR},
                                                    {L, C, R, BL, BR},
                                                    {L, C, R, BL, BR, W},
                                                    {L, C, R, SL, SR, BC, W},
                                                    {L, C, R, SL, SR, BL, BR, W}}};
  if (channels < 3 || channels > 8) return {};
  const auto index = static_cast<std::size_t>(channels - 3);
  if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC) return flac[index];
  if (isVorbisOrdered(format)) return ogg[index];
  return {};
}

ChannelLayout inWavOrder(ChannelLayout layout) {
  if (speakerMask(layout)) {
    std::sort(layout.begin(), layout.end(), [](int one, int other) { return bitOf(one) < bitOf(other); });
  }
  return layout;
}

std::optional<std::uint32_t> speakerMask(const ChannelLayout& layout) {
  if (layout.empty() || !isEachOnce(layout)) return std::nullopt;
  std::uint32_t mask = 0;
  for (const int speaker : layout) {
    if (bitOf(speaker) == std::ssize(kSpeakers)) return std::nullopt;
    mask |= 1U << bitOf(speaker);
  }
  return mask;
}

ChannelLayout layoutOf(std::uint64_t mask) {
  ChannelLayout layout;
  for (const int speaker : kSpeakers) {
    if ((mask >> bitOf(speaker) & 1U) != 0) layout.push_back(speaker);
  }
  return layout;
}

ChannelLayout orderedFor(int format, const ChannelLayout& layout) {
  return isWavOrdered(format) || isVorbisOrdered(format) ? inWavOrder(layout) : layout;
}

ChannelOrder::ChannelOrder(const ChannelLayout& from, const ChannelLayout& to) : frame_(from.size()) {
  if (from == to || !isEachOnce(from) || !std::is_permutation(from.begin(), from.end(), to.begin(), to.end())) return;
  for (const int speaker : to) {
    sources_.push_back(static_cast<std::size_t>(std::find(from.begin(), from.end(), speaker) - from.begin()));
  }
}

void ChannelOrder::apply(std::span<double> samples) {
  if (sources_.empty()) return;
  for (; samples.size() >= frame_.size(); samples = samples.subspan(frame_.size())) {
    std::copy_n(samples.begin(), frame_.size(), frame_.begin());
    for (std::size_t c = 0; c < frame_.size(); ++c) samples[c] = frame_[sources_[c]];
  }
}

ChannelOrder orderInto(int format, const ChannelLayout& layout, int channels) {
  const ChannelLayout sorted = orderedFor(format, layout);
  if (!isVorbisOrdered(format)) return {layout, sorted};
  // Each channel takes the position of the channel with the same rank in WAV's order. So a side speaker, which Vorbis
  // may lack, becomes a rear one.
  const ChannelLayout implied = impliedLayout(format, channels);
  const ChannelLayout ranked = inWavOrder(implied);
  ChannelLayout from = ranked;
  for (std::size_t i = 0; i < std::min(from.size(), layout.size()); ++i) {
    from[i] = ranked[static_cast<std::size_t>(std::find(sorted.begin(), sorted.end(), layout[i]) - sorted.begin())];
  }
  return {from, implied};
}
