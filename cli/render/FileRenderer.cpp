// SPDX-License-Identifier: MIT
#include "cli/render/FileRenderer.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <thread>

#include "cli/audio/AudioReader.h"
#include "cli/audio/AudioWriter.h"
#include "cli/files/PendingFile.h"
#include "cli/render/OutputStage.h"
#include "cli/render/ReadAhead.h"
#include "cli/render/WriteBehind.h"
#include "cli/samples/SampleRateConverter.h"
#include "cli/samples/samples.h"
#include "cli/text/Failure.h"
#include "cli/text/Progress.h"
#include "player/Tail.h"
#include "player/automaticTrim.h"
#include "player/decibels.h"

namespace {

constexpr int kSilenceFrames = 1024;  // played at a time after the sound, at most
constexpr int kSlowestRate = 16001;   // Hz; the effect's equaliser has sections at 8000 Hz

// From the recording's rate to the effect's, through the effects, and to the result's rate.
class Chain {
 public:
  Chain(EffectChannels& effects, int rate, int effectRate, int outRate, int channels)
      : effects_(effects), channels_(static_cast<std::size_t>(channels)) {
    if (rate != effectRate) there_.emplace(rate, effectRate, channels);
    if (effectRate != outRate) back_.emplace(effectRate, outRate, channels);
  }

  // Returns what is ready at the result's rate, which lags behind if rates are converted. `piece` is changed.
  Piece& play(Piece& piece) {
    Piece& inside = there_ ? convert(*there_, piece, inside_) : piece;
    effects_.process(inside.data(), frames(inside));
    return back_ ? convert(*back_, inside, result_) : inside;
  }

 private:
  Piece& convert(SampleRateConverter& converter, const Piece& from, Piece& to) {
    to.clear();
    converter.convert(from.data(), frames(from), to);
    return to;
  }
  int frames(const Piece& samples) const { return static_cast<int>(samples.size() / channels_); }

  EffectChannels& effects_;
  std::size_t channels_;
  std::optional<SampleRateConverter> there_;
  std::optional<SampleRateConverter> back_;
  Piece inside_;
  Piece result_;
};

// In frames. Pieces are large, because each has a cost, except for a stream, which should be output as it arrives. No
// piece exceeds kPieceSamples after conversion to `highestRate` Hz.
int pieceLength(const AudioReader& reader, int block, int highestRate) {
  constexpr int kPieceSamples = 1 << 15;
  constexpr int kStreamFrames = 512;
  const int growth = std::max((highestRate - 1) / reader.format().rate + 1, 1);
  const int most = std::max(kPieceSamples / growth / reader.format().channels, 1);
  return reader.isRereadable() ? most : std::min(std::max(block, kStreamFrames), most);
}

}  // namespace

std::string clippingText(std::int64_t samples, const RenderSettings& settings) {
  if (samples == 0) return "";
  return ", " + std::to_string(samples) + (samples == 1 ? " sample clipped: " : " samples clipped: ") +
         (settings.normalize ? "give a lower --normalize" : "lower --volume or add --normalize -1");
}

FileRenderer::FileRenderer(const EffectModule& module, const RenderSettings& settings, unsigned jobs)
    : module_(module), settings_(settings), overlaps_(2 * jobs <= cores()) {}

// std::thread::hardware_concurrency() may include cores that this process may not use.
unsigned FileRenderer::cores() noexcept {
  cpu_set_t open;
  CPU_ZERO(&open);
  if (sched_getaffinity(0, sizeof open, &open) != 0) return std::max(std::thread::hardware_concurrency(), 1U);
  return static_cast<unsigned>(std::max(CPU_COUNT(&open), 1));
}

// The rate at which the effect runs for a sound. Throws Failure if it cannot run at that rate.
int FileRenderer::effectRate(const AudioReader& reader) const {
  const int rate = reader.format().rate;
  if (!settings_.nativeRate) return std::abs(rate - 44100) <= std::abs(rate - 48000) ? 44100 : 48000;
  if (rate >= kSlowestRate) return rate;
  throw Failure(reader.name() + ": the effect cannot run at " + std::to_string(rate) + " Hz; remove --rate native");
}

double FileRenderer::trimFor(const std::string& in) const {
  if (!settings_.automaticTrim) return settings_.trim;
  AudioReader reader(in, settings_.raw);
  const int length = pieceLength(reader, settings_.effect.block, reader.format().rate);
  ReadAhead pieces(reader, length, false);
  double peak = 0.0;
  Piece piece;
  do {
    pieces.next(piece);
    peak = std::max(peak, peakOf(piece));
  } while (!piece.empty());
  return automaticTrim(peak);
}

AudioFormat FileRenderer::outputFormat(const AudioReader& reader, const std::string& out) const {
  AudioFormat wanted = reader.format();
  const bool isStream = out == "-";
  const bool canStream =
      wanted.container() == SF_FORMAT_WAV || wanted.container() == SF_FORMAT_AU || wanted.container() == SF_FORMAT_RAW;
  const int container = settings_.container ? *settings_.container
                        : !isStream         ? containerFor(out)
                        : canStream         ? wanted.container()
                                            : SF_FORMAT_WAV;
  wanted.rate = settings_.outRate.value_or(nearestRate(wanted.rate, container));
  if (settings_.sampleFormat) return inContainer(wanted, container, *settings_.sampleFormat, out);
  if (!isStream) return inContainer(wanted, container, out);
  if (!isLinear(wanted.format)) wanted.format = container | SF_FORMAT_FLOAT;
  // WAV has unsigned bytes, AU signed ones; a raw stream keeps what came in.
  if (integerBits(wanted.format) == 8 && container != SF_FORMAT_RAW) {
    wanted.format = container == SF_FORMAT_WAV ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8;
  }
  wanted.format = container | wanted.sampleFormat();
  return wanted;
}

// Call it before anything is read twice or takes long.
void FileRenderer::check(const AudioReader& reader, const std::string& out) const {
  if (!reader.isRereadable() && settings_.automaticTrim) {
    throw Failure("--trim auto needs a file, which can be read twice; give a stream its level, like --trim 20",
                  Failure::usage);
  }
  if (!reader.isRereadable() && settings_.normalize) {
    throw Failure("--normalize needs a file, which can be read twice; leave it off for a stream", Failure::usage);
  }
  if (out != "-") PendingFile::check(out, settings_.writer.replace || settings_.skipExisting);
}

void FileRenderer::announce(const std::string& in, Progress& progress) const {
  std::error_code error;
  if (!std::filesystem::is_regular_file(in, error)) return;  // a pipe cannot be opened twice
  try {
    const AudioReader reader(in, settings_.raw);
    progress.expect(static_cast<double>(reader.frames().value_or(0)) / reader.format().rate);
  } catch (const Failure&) {
    return;  // reported when it is rendered
  }
}

bool FileRenderer::isDone(const std::string& out) const {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(out, error);
  if (error || size == 0) return false;
  if (endingOf(out) == "raw") return true;
  try {
    return AudioReader(out, {}).isWhole();
  } catch (const Failure&) {
    return false;
  }
}

RenderResult FileRenderer::render(const std::string& in, const std::string& out, Progress& progress) const {
  AudioReader reader(in, settings_.raw);
  check(reader, out);
  Metadata metadata = reader.metadata();
  AudioFormat format = outputFormat(reader, out);
  if (settings_.writer.quality && !isLossy(format.format)) {
    throw Failure(out + ": this format has no --quality; only MP3, Ogg and Opus have", Failure::usage);
  }
  const int rate = reader.format().rate;
  if (format.rate != rate) metadata.changeRate(rate, format.rate);
  // Only extensible WAV stores the channel layout.
  if (format.container() == SF_FORMAT_WAV && isLinear(format.format) &&
      (speakerMask(metadata.layout()) || reader.format().container() == SF_FORMAT_WAVEX)) {
    format.format = SF_FORMAT_WAVEX | format.sampleFormat();
  }
  const double trim = trimFor(in);
  double gain = amplitude(trim);
  if (settings_.normalize) {
    AudioReader first(in, settings_.raw);
    OutputStage output(nullptr, format.rate, format.channels, gain, settings_.tail);
    run(first, output, trim, progress);
    if (output.peak() > 0.0) gain *= amplitude(*settings_.normalize) / output.peak();
  }

  std::optional<std::int64_t> longest;
  if (reader.frames()) {
    const double seconds = static_cast<double>(*reader.frames()) / rate;
    longest = std::llround((seconds + settings_.tail.value_or(Tail::kLongestSeconds) + 1.0) * format.rate);
  }
  AudioWriter::Options options = settings_.writer;
  options.replace = options.replace || settings_.skipExisting;  // the existing result is incomplete
  AudioWriter writer(out, format, options, longest, metadata);
  WriteBehind behind(writer, overlaps_ && reader.isRereadable());
  OutputStage output(&behind, format.rate, format.channels, gain, settings_.tail);
  const double peak = run(reader, output, trim, progress);
  behind.finish();
  writer.finish();

  RenderResult result{output.framesKept(), format.rate, output.peak(), writer.clipped(), trim, {}, 0.0};
  const double fitting = automaticTrim(peak);
  if (settings_.advisesTrim && fitting >= kFarAbove) result.missingTrim = fitting;
  const std::string was = sampleFormatName(reader.format().format);
  const std::string is = sampleFormatName(format.format);
  if (!settings_.sampleFormat && !isLossy(format.format) && was != is) {
    result.note = "this format has no " + was + " samples; wrote " + is + " ones";
  } else if (longest && writer.format().container() == SF_FORMAT_RF64 && format.container() != SF_FORMAT_RF64) {
    result.note = "longer than 4 GiB, so it is written as RF64, the WAV for long sounds";
  }
  const auto add = [&note = result.note](const std::string& more) {
    note.append(note.empty() || more.empty() ? "" : "; ").append(more);
  };
  if (!settings_.outRate && format.rate != rate) {
    add("this format has no rate of " + std::to_string(rate) + " Hz; wrote " + std::to_string(format.rate) + " Hz");
  }
  add(reader.note());
  if (!writer.dropped().empty()) add("dropped: " + writer.dropped());
  return result;
}

double FileRenderer::run(AudioReader& reader, OutputStage& output, double trim, Progress& progress) const {
  const int rate = reader.format().rate;
  const int channels = reader.format().channels;
  const int inner = effectRate(reader);
  const int outRate = output.rate();
  AutomationTrack track;
  if (settings_.automation) track = settings_.automation->trackFor(reader.frames(), rate, inner);
  EffectChannels effects(module_, settings_.effect, track, inner, channels);
  Chain chain(effects, rate, inner, outRate, channels);
  if (!reader.frames()) progress.expectUnknown();

  const int length = pieceLength(reader, settings_.effect.block, std::max(inner, outRate));
  ReadAhead pieces(reader, length, overlaps_ && reader.isRereadable());
  Piece piece;
  const auto play = [&] {
    scaleBy(piece, amplitude(-trim));
    output.write(chain.play(piece));
  };

  const double passes = settings_.normalize ? 2.0 : 1.0;
  std::int64_t frames = 0;
  double peak = 0.0;
  for (pieces.next(piece); !piece.empty(); pieces.next(piece)) {
    const auto got = static_cast<std::int64_t>(piece.size()) / channels;
    frames += got;
    peak = std::max(peak, peakOf(piece));
    play();
    progress.add(static_cast<double>(got) / rate / passes);
  }
  if (settings_.automation && !reader.frames()) settings_.automation->trackFor(frames, rate, inner);

  output.endSound(frames * outRate / rate);
  while (!output.isComplete()) {
    piece.assign(static_cast<std::size_t>(std::min(kSilenceFrames, length)) * static_cast<std::size_t>(channels), 0.0);
    play();
  }
  return peak;
}
