// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <optional>
#include <string>

// What a sound file is made of. `format` is libsndfile's container and sample format, or'ed.
struct AudioFormat {
  int rate = 44100;  // Hz
  int channels = 1;
  int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

  int container() const noexcept { return format & SF_FORMAT_TYPEMASK; }
  int sampleFormat() const noexcept { return format & SF_FORMAT_SUBMASK; }
};

// The container that a file's name asks for. Throws Failure (usage) listing the known endings when the name has none of
// them.
int containerFor(const std::string& path);

// The container that `type`, one of those endings without the dot, stands for; nothing when it is none.
std::optional<int> containerNamed(const std::string& type);

// The ending for a container, the first of those where there are several.
std::string endingFor(int container);

// A path's own ending, in lower case and without the dot.
std::string endingOf(const std::string& path);

// All those endings in a row, each with `before` in front.
std::string containerNames(const std::string& before = "");

// `wanted` in another container: the sample format stays where the container can hold it, else becomes the nearest that
// it can, which is the smallest that loses nothing, or failing that the finest. Throws Failure naming `path` when the
// container cannot hold the channels or the rate in any sample format.
AudioFormat inContainer(const AudioFormat& wanted, int container, const std::string& path);

// `wanted` in another container and in this sample format. Throws Failure naming `path` when the container cannot hold
// that.
AudioFormat inContainer(const AudioFormat& wanted, int container, int sampleFormat, const std::string& path);

// The rate nearest to `rate`, in Hz, that the container can have.
int nearestRate(int rate, int container);

// True for Vorbis, Opus and MP3.
bool isLossy(int format) noexcept;

// In people's words, like "24-bit" or "Vorbis".
std::string sampleFormatName(int format);

// True for integers and floating-point numbers, false for what must be decoded.
bool isLinear(int format) noexcept;

// Bits of an integer format without loss, 0 for all others.
int integerBits(int format) noexcept;
