// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <optional>
#include <string>

// The format of a sound file. `format` is libsndfile's container and sample format, or'ed.
struct AudioFormat {
  int rate = 44100;  // Hz
  int channels = 1;
  int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

  int container() const noexcept { return format & SF_FORMAT_TYPEMASK; }
  int sampleFormat() const noexcept { return format & SF_FORMAT_SUBMASK; }
};

// The container that a file's name asks for. Throws Failure (usage) listing the known endings if the name has none of
// them.
int containerFor(const std::string& path);

// The container for `type`, one of those endings without the dot; nothing if it is not one of them.
std::optional<int> containerNamed(const std::string& type);

// The ending for a container; if there are several, the first of them.
std::string endingFor(int container);

// A path's own ending, in lower case and without the dot.
std::string endingOf(const std::string& path);

// All those endings in one text, each preceded by `before`.
std::string containerNames(const std::string& before = "");

// `wanted` in another container. If the container does not support the sample format, it becomes the smallest that
// loses nothing or, if there is none, the finest. Throws Failure naming `path` if the container does not support the
// channels or the rate in any sample format.
AudioFormat inContainer(const AudioFormat& wanted, int container, const std::string& path);

// `wanted` in another container and in this sample format. Throws Failure naming `path` if the container does not
// support that.
AudioFormat inContainer(const AudioFormat& wanted, int container, int sampleFormat, const std::string& path);

// The supported rate of the container nearest to `rate`, in Hz.
int nearestRate(int rate, int container);

// True for Vorbis, Opus and MP3.
bool isLossy(int format) noexcept;

// For messages, like "24-bit" or "Vorbis".
std::string sampleFormatName(int format);

// True for integers and floating-point numbers, false for what must be decoded.
bool isLinear(int format) noexcept;

// Bits of an integer format without loss, 0 for all others.
int integerBits(int format) noexcept;
