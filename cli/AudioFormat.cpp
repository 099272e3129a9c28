// SPDX-License-Identifier: MIT
#include "cli/AudioFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>

#include "cli/Failure.h"

namespace {

struct Ending {
  const char* text;
  int container;
};
constexpr Ending kEndings[] = {
    {"wav", SF_FORMAT_WAV},   {"flac", SF_FORMAT_FLAC}, {"aiff", SF_FORMAT_AIFF}, {"aif", SF_FORMAT_AIFF},
    {"ogg", SF_FORMAT_OGG},   {"oga", SF_FORMAT_OGG},   {"opus", SF_FORMAT_OGG},  {"mp3", SF_FORMAT_MPEG},
    {"au", SF_FORMAT_AU},     {"snd", SF_FORMAT_AU},    {"caf", SF_FORMAT_CAF},   {"w64", SF_FORMAT_W64},
    {"rf64", SF_FORMAT_RF64}, {"raw", SF_FORMAT_RAW},
};

struct SampleFormat {
  int format;
  const char* name;
};
// From the finest to the coarsest. What cannot be kept becomes the last in this list that is no coarser, else the first
// that can be had.
constexpr SampleFormat kByFineness[] = {
    {SF_FORMAT_DOUBLE, "64-bit float"}, {SF_FORMAT_PCM_32, "32-bit"},      {SF_FORMAT_ALAC_32, "32-bit ALAC"},
    {SF_FORMAT_FLOAT, "32-bit float"},  {SF_FORMAT_PCM_24, "24-bit"},      {SF_FORMAT_ALAC_24, "24-bit ALAC"},
    {SF_FORMAT_ALAC_20, "20-bit ALAC"}, {SF_FORMAT_PCM_16, "16-bit"},      {SF_FORMAT_ALAC_16, "16-bit ALAC"},
    {SF_FORMAT_ULAW, "u-law"},          {SF_FORMAT_ALAW, "A-law"},         {SF_FORMAT_VORBIS, "Vorbis"},
    {SF_FORMAT_OPUS, "Opus"},           {SF_FORMAT_MPEG_LAYER_III, "MP3"}, {SF_FORMAT_PCM_S8, "8-bit"},
    {SF_FORMAT_PCM_U8, "8-bit"},
};

bool canBeWritten(const AudioFormat& format) {
  SF_INFO info = {};
  info.samplerate = format.rate;
  info.channels = format.channels;
  info.format = format.format;
  return sf_format_check(&info) != 0;
}

std::string lowerEnding(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  if (!ending.empty()) ending.erase(0, 1);
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ending;
}

AudioFormat with(const AudioFormat& wanted, int container, int sampleFormat) {
  return {wanted.rate, wanted.channels, container | sampleFormat};
}

}  // namespace

int containerFor(const std::string& path) {
  const std::string ending = lowerEnding(path);
  for (const Ending& known : kEndings) {
    if (ending == known.text) return known.container | (ending == "opus" ? SF_FORMAT_OPUS : 0);
  }
  std::string list;
  for (const Ending& known : kEndings) list += std::string(list.empty() ? "." : ", .") + known.text;
  throw Failure(path + ": the name must say the format by one of these endings: " + list, Failure::usage);
}

AudioFormat inContainer(const AudioFormat& wanted, int container, const std::string& path) {
  if ((container & SF_FORMAT_SUBMASK) != 0) {  // the ending names the sample format, too
    if (canBeWritten(with(wanted, container, 0))) return with(wanted, container, 0);
  } else {
    if (canBeWritten(with(wanted, container, wanted.sampleFormat()))) {
      return with(wanted, container, wanted.sampleFormat());
    }
    const auto position = [](int sampleFormat) {
      return std::find_if(std::begin(kByFineness), std::end(kByFineness),
                          [&](const SampleFormat& one) { return one.format == sampleFormat; });
    };
    const SampleFormat* start = position(wanted.sampleFormat());
    if (start == std::end(kByFineness)) start = position(SF_FORMAT_PCM_16);  // holds all that are not listed
    for (const auto* one = start; one >= std::begin(kByFineness); --one) {
      if (canBeWritten(with(wanted, container, one->format))) return with(wanted, container, one->format);
    }
    for (const auto* one = start; one != std::end(kByFineness); ++one) {
      if (canBeWritten(with(wanted, container, one->format))) return with(wanted, container, one->format);
    }
  }
  throw Failure(path + ": this format cannot hold " + std::to_string(wanted.channels) + " channel(s) at " +
                std::to_string(wanted.rate) + " Hz; choose another ending, like .wav");
}

std::string sampleFormatName(int format) {
  for (const SampleFormat& one : kByFineness) {
    if (one.format == (format & SF_FORMAT_SUBMASK)) return one.name;
  }
  return "compressed";
}

int integerBits(int format) noexcept {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return 8;
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ALAC_16: return 16;
    case SF_FORMAT_ALAC_20: return 20;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_24: return 24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32: return 32;
    default: return 0;
  }
}
