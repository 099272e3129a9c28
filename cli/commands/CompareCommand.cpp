// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/audio/AudioReader.h"
#include "cli/commands/Commands.h"
#include "cli/text/Failure.h"
#include "cli/text/numbers.h"
#include "player/decibels.h"

namespace {

constexpr int kBlock = 4096;              // frames read at a time
constexpr int kMostDelay = 8192;          // samples, either way
constexpr int kMatchedFrames = 48000;     // length of the section that is searched for in the other sound
constexpr double kAudible = 1e-5;         // -100 dBFS: where the sound begins
constexpr double kLeastLikeness = 0.9;    // from here on two sections count as the same sound
constexpr double kLikenessMargin = 1e-6;  // by which a longer delay must be better than a shorter one

struct CompareOptions {
  std::string first;
  std::string second;
  double tolerance = 0.0;
};

struct Difference {
  std::int64_t frames = 0;     // compared, the length of the shorter sound
  std::int64_t framesOfA = 0;  // in all
  std::int64_t framesOfB = 0;
  std::int64_t largestAt = 0;           // frame
  std::optional<std::int64_t> firstAt;  // frame; nothing if all are the same
  double largest = 0.0;
  double sumOfSquares = 0.0;
  double sumOfSquaresOfA = 0.0;
  // The first channel of each, from where either becomes audible, for the search for a delay.
  std::vector<double> startOfA, startOfB;
};

struct Delay {
  int samples;      // by which B lags behind A
  double likeness;  // -1 to 1, once both are aligned; independent of the level
};

// Searches for a section from the start of A in B at every delay, shorter delays first.
std::optional<Delay> findDelay(const std::vector<double>& a, const std::vector<double>& b) {
  const int length = static_cast<int>(std::min(a.size(), b.size()));
  // One sample further than is reported: if the best match is there, a longer delay may match better.
  const int most = std::min(kMostDelay + 1, length / 4);
  const int matched = std::min(kMatchedFrames, length - 2 * most);
  if (most < 2) return std::nullopt;
  const double* const stretch = a.data() + most;
  double energyOfA = 0.0;
  for (int i = 0; i < matched; ++i) energyOfA += stretch[i] * stretch[i];
  std::optional<Delay> best;
  for (int step = 0; step <= 2 * most; ++step) {
    const int delay = step % 2 == 0 ? -step / 2 : (step + 1) / 2;
    const double* const other = b.data() + most + delay;
    double product = 0.0;
    double energyOfB = 0.0;
    for (int i = 0; i < matched; ++i) {
      product += stretch[i] * other[i];
      energyOfB += other[i] * other[i];
    }
    const double energy = std::sqrt(energyOfA * energyOfB);
    const double likeness = energy > 0.0 ? product / energy : 0.0;
    if (std::fabs(likeness) > (best ? std::fabs(best->likeness) + kLikenessMargin : kLeastLikeness)) {
      best = Delay{delay, likeness};
    }
  }
  if (best && std::abs(best->samples) == most) return std::nullopt;
  return best;
}

void keepStart(Difference& difference, const std::vector<double>& a, const std::vector<double>& b, int frames,
               std::size_t channels) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
    const double x = a[i * channels];
    const double y = b[i * channels];
    const std::size_t kept = difference.startOfA.size();
    if (kept >= kMatchedFrames + 2 * kMostDelay) return;
    if (kept == 0 && std::max(std::fabs(x), std::fabs(y)) < kAudible) continue;
    if (kept == 0) {  // room for a delay before the first stretch
      difference.startOfA.assign(kMostDelay, 0.0);
      difference.startOfB.assign(kMostDelay, 0.0);
    }
    difference.startOfA.push_back(x);
    difference.startOfB.push_back(y);
  }
}

void compareBlock(Difference& difference, const std::vector<double>& a, const std::vector<double>& b, int frames,
                  std::size_t channels) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(frames) * channels; ++i) {
    const double apart = std::fabs(a[i] - b[i]);
    const std::int64_t frame = difference.frames + static_cast<std::int64_t>(i / channels);
    if (apart != 0.0 && !difference.firstAt) difference.firstAt = frame;
    if (apart > difference.largest) {
      difference.largest = apart;
      difference.largestAt = frame;
    }
    difference.sumOfSquares += apart * apart;
    difference.sumOfSquaresOfA += a[i] * a[i];
  }
  keepStart(difference, a, b, frames, channels);
  difference.frames += frames;
}

// Fills a block, even if a stream arrives in small pieces; it is shorter only at the end.
int readBlock(AudioReader& reader, std::vector<double>& block, std::size_t channels) {
  int frames = 0;
  while (frames < kBlock) {
    const int got = reader.read(block.data() + static_cast<std::size_t>(frames) * channels, kBlock - frames);
    if (got == 0) break;
    frames += got;
  }
  return frames;
}

Difference compareSounds(AudioReader& first, AudioReader& second) {
  const auto channels = static_cast<std::size_t>(first.format().channels);
  std::vector<double> a(kBlock * channels);
  std::vector<double> b(kBlock * channels);
  Difference difference;
  int ofA = 0;
  int ofB = 0;
  do {
    ofA = readBlock(first, a, channels);
    ofB = readBlock(second, b, channels);
    compareBlock(difference, a, b, std::min(ofA, ofB), channels);
    difference.framesOfA += ofA;
    difference.framesOfB += ofB;
  } while (ofA == kBlock || ofB == kBlock);
  return difference;
}

std::string levelText(double power) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f dB", 0.5 * decibels(power));
  return power > 0.0 ? text : "-inf dB";
}

void print(const Difference& d, const AudioFormat& format) {
  const double samples = static_cast<double>(std::max<std::int64_t>(d.frames, 1)) * format.channels;
  std::printf("compared    %lld samples, %d channel%s, %d Hz\n", static_cast<long long>(d.frames), format.channels,
              format.channels == 1 ? "" : "s", format.rate);
  if (!d.firstAt) {
    std::puts("difference  none");
    return;
  }
  std::printf("largest     %.9g (%s of full scale) at sample %lld\n", d.largest,
              levelText(d.largest * d.largest).c_str(), static_cast<long long>(d.largestAt));
  std::printf("RMS         %s of full scale", levelText(d.sumOfSquares / samples).c_str());
  if (d.sumOfSquaresOfA > 0.0) std::printf(", %s of A", levelText(d.sumOfSquares / d.sumOfSquaresOfA).c_str());
  std::printf("\nfirst       at sample %lld, %.6f s\n", static_cast<long long>(*d.firstAt),
              static_cast<double>(*d.firstAt) / format.rate);
  const std::optional<Delay> delay = findDelay(d.startOfA, d.startOfB);
  if (!delay) {
    std::printf("delay       none found up to %d samples\n", kMostDelay);
  } else if (delay->samples == 0) {
    std::printf("delay       none%s (likeness %.4f)\n", delay->likeness < 0.0 ? ", B is upside down" : "",
                std::fabs(delay->likeness));
  } else {
    const int apart = std::abs(delay->samples);
    std::printf("delay       B comes %d sample%s %s%s (likeness %.4f)\n", apart, apart == 1 ? "" : "s",
                delay->samples > 0 ? "later" : "earlier", delay->likeness < 0.0 ? ", upside down" : "",
                std::fabs(delay->likeness));
  }
}

void runCompare(const CompareOptions& options) {
  if (options.first == "-" && options.second == "-") {
    throw Failure("compare: only one of A and B can be standard input; name a file", Failure::usage);
  }
  AudioReader first(options.first, {});
  AudioReader second(options.second, {});
  const std::string names = options.first + " and " + options.second;
  const AudioFormat& a = first.format();
  const AudioFormat& b = second.format();
  if (a.rate != b.rate) {
    throw Failure(names + ": have " + std::to_string(a.rate) + " and " + std::to_string(b.rate) +
                  " Hz; bring them to one rate first, for instance with sox");
  }
  if (a.channels != b.channels) {
    throw Failure(names + ": have " + std::to_string(a.channels) + " and " + std::to_string(b.channels) +
                  " channels; bring them to the same number first, for instance with sox");
  }
  const Difference difference = compareSounds(first, second);
  print(difference, a);
  if (difference.framesOfA != difference.framesOfB) {
    throw Failure(names + ": have " + std::to_string(difference.framesOfA) + " and " +
                  std::to_string(difference.framesOfB) + " samples; only what both have was compared");
  }
  if (difference.largest > options.tolerance) {
    char text[96];
    std::snprintf(text, sizeof text, ": differ by %.9g, more than --tolerance %.9g", difference.largest,
                  options.tolerance);
    throw Failure(names + text);
  }
}

}  // namespace

void addCompareCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("compare", "Tell how far two sounds are apart; status 0 if not too far");
  const auto options = std::make_shared<CompareOptions>();
  command->add_option("A", options->first, "A sound; - is standard input")->type_name("")->required();
  command->add_option("B", options->second, "Another, of the same rate, channels and length")
      ->type_name("")
      ->required();
  command
      ->add_option_function<std::string>(
          "--tolerance",
          [options](const std::string& text) { options->tolerance = parseNumber("--tolerance", text, 0.0, 2.0); },
          "Largest difference of a sample that still passes, full scale being 1 (default 0)")
      ->type_name("X");
  command->footer("Example: brumbler compare take-before.wav take-after.wav --tolerance 0.0001");
  command->callback([options] { runCompare(*options); });
}
