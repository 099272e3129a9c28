// SPDX-License-Identifier: MIT
#include "cli/audio/AudioFormat.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <vector>

#include "cli/text/Failure.h"
#include "cli/text/numbers.h"

namespace {

struct Ending {
  const char* text;
  int format;  // the container, and the sample format if the ending implies one
};
constexpr Ending kEndings[] = {
    {"wav", SF_FORMAT_WAV},
    {"flac", SF_FORMAT_FLAC},
    {"aiff", SF_FORMAT_AIFF},
    {"aif", SF_FORMAT_AIFF},
    {"ogg", SF_FORMAT_OGG},
    {"oga", SF_FORMAT_OGG},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
    {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
    {"au", SF_FORMAT_AU},
    {"snd", SF_FORMAT_AU},
    {"caf", SF_FORMAT_CAF},
    {"w64", SF_FORMAT_W64},
    {"rf64", SF_FORMAT_RF64},
    {"raw", SF_FORMAT_RAW},
};

struct SampleFormat {
  int format;
  const char* name;
};
// Lossless formats from the finest to the coarsest, then lossy ones. A format that is not supported is replaced by the
// last one in this list that is not coarser, or else by the first one that is supported.
constexpr SampleFormat kByFineness[] = {
    {SF_FORMAT_DOUBLE, "64-bit float"}, {SF_FORMAT_PCM_32, "32-bit"},      {SF_FORMAT_ALAC_32, "32-bit ALAC"},
    {SF_FORMAT_FLOAT, "32-bit float"},  {SF_FORMAT_PCM_24, "24-bit"},      {SF_FORMAT_ALAC_24, "24-bit ALAC"},
    {SF_FORMAT_ALAC_20, "20-bit ALAC"}, {SF_FORMAT_PCM_16, "16-bit"},      {SF_FORMAT_ALAC_16, "16-bit ALAC"},
    {SF_FORMAT_PCM_S8, "8-bit"},        {SF_FORMAT_PCM_U8, "8-bit"},       {SF_FORMAT_VORBIS, "Vorbis"},
    {SF_FORMAT_OPUS, "Opus"},           {SF_FORMAT_MPEG_LAYER_III, "MP3"}, {SF_FORMAT_ULAW, "u-law"},
    {SF_FORMAT_ALAW, "A-law"},
};

// Where the search for a container's sample format begins. A decoded sound has its decoder's precision.
int precisionOf(int sampleFormat) {
  switch (sampleFormat) {
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III: return SF_FORMAT_PCM_24;
    case SF_FORMAT_PCM_S8: return SF_FORMAT_PCM_U8;  // prefer the other 8-bit format to a larger one
    default: return integerBits(sampleFormat) != 0 || isLinear(sampleFormat) ? sampleFormat : SF_FORMAT_PCM_16;
  }
}

// The rates of encoders that support only some; empty for the others.
std::vector<int> ratesOf(int container) {
  if ((container & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS) return {8000, 12000, 16000, 24000, 48000};
  if ((container & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG) return {};
  return {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
}

bool canBeWritten(const AudioFormat& format) {
  const std::vector<int> rates = ratesOf(format.format);
  if (!rates.empty() && std::find(rates.begin(), rates.end(), format.rate) == rates.end()) return false;
  SF_INFO info = {};
  info.samplerate = format.rate;
  info.channels = format.channels;
  info.format = format.format;
  return sf_format_check(&info) != 0;
}

AudioFormat with(const AudioFormat& wanted, int container, int sampleFormat) {
  return {wanted.rate, wanted.channels, container | sampleFormat};
}

}  // namespace

int containerFor(const std::string& path) {
  if (const auto container = containerNamed(endingOf(path))) return *container;
  throw Failure(path + ": the name must end in the format, one of " + containerNames(".") + "; or give --out-type",
                Failure::usage);
}

std::optional<int> containerNamed(const std::string& type) {
  for (const Ending& known : kEndings) {
    if (type == known.text) return known.format;
  }
  return std::nullopt;
}

std::string endingOf(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  if (!ending.empty()) ending.erase(0, 1);
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ending;
}

std::string endingFor(int container) {
  for (const Ending& known : kEndings) {
    if (known.format == container) return known.text;
  }
  return "";
}

std::string containerNames(const std::string& before) {
  std::string list;
  for (const Ending& known : kEndings) list += std::string(list.empty() ? "" : ", ") + before + known.text;
  return list;
}

AudioFormat inContainer(const AudioFormat& wanted, int container, int sampleFormat, const std::string& path) {
  const AudioFormat format = with(wanted, container & SF_FORMAT_TYPEMASK, sampleFormat);
  if ((container & SF_FORMAT_SUBMASK) == 0 && canBeWritten(format)) return format;
  throw Failure(path + ": this format has no " + sampleFormatName(sampleFormat) +
                " samples; give other --bits, or another format, like .wav");
}

AudioFormat inContainer(const AudioFormat& wanted, int container, const std::string& path) {
  if ((container & SF_FORMAT_SUBMASK) != 0) {  // the ending implies the sample format
    if (canBeWritten(with(wanted, container, 0))) return with(wanted, container, 0);
  } else {
    // MP3 in a WAV file is possible, but nobody wants it.
    const bool isOwn = wanted.sampleFormat() != SF_FORMAT_MPEG_LAYER_III;
    if (isOwn && canBeWritten(with(wanted, container, wanted.sampleFormat()))) {
      return with(wanted, container, wanted.sampleFormat());
    }
    const SampleFormat* const start = std::find_if(
        std::begin(kByFineness), std::end(kByFineness),
        [precision = precisionOf(wanted.sampleFormat())](const SampleFormat& one) { return one.format == precision; });
    for (const auto* one = start; one >= std::begin(kByFineness); --one) {
      if (canBeWritten(with(wanted, container, one->format))) return with(wanted, container, one->format);
    }
    for (const auto* one = start; one != std::end(kByFineness); ++one) {
      if (canBeWritten(with(wanted, container, one->format))) return with(wanted, container, one->format);
    }
  }
  throw Failure(path + ": this format cannot hold " + counted(static_cast<std::size_t>(wanted.channels), "channel") +
                " at " + std::to_string(wanted.rate) + " Hz; choose another rate, or another format, like .wav");
}

int nearestRate(int rate, int container) {
  const std::vector<int> rates = ratesOf(container);
  if (rates.empty()) return rate;
  return *std::min_element(rates.begin(), rates.end(),
                           [rate](int a, int b) { return std::abs(a - rate) < std::abs(b - rate); });
}

bool isLossy(int format) noexcept {
  const int sampleFormat = format & SF_FORMAT_SUBMASK;
  return sampleFormat == SF_FORMAT_VORBIS || sampleFormat == SF_FORMAT_OPUS || sampleFormat == SF_FORMAT_MPEG_LAYER_III;
}

std::string sampleFormatName(int format) {
  for (const SampleFormat& one : kByFineness) {
    if (one.format == (format & SF_FORMAT_SUBMASK)) return one.name;
  }
  return "compressed";
}

bool isLinear(int format) noexcept {
  const int sampleFormat = format & SF_FORMAT_SUBMASK;
  return sampleFormat >= SF_FORMAT_PCM_S8 && sampleFormat <= SF_FORMAT_DOUBLE;
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
