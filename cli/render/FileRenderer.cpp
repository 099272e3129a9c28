// SPDX-License-Identifier: MIT
#include "cli/render/FileRenderer.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <vector>

#include "cli/audio/AudioReader.h"
#include "cli/audio/AudioWriter.h"
#include "cli/audio/SampleRateConverter.h"
#include "cli/render/OutputStage.h"
#include "cli/render/Tail.h"
#include "cli/render/automaticTrim.h"
#include "cli/text/Failure.h"
#include "cli/text/Progress.h"
#include "cli/text/numbers.h"

namespace {

constexpr int kSlowestRate = 16001;  // Hz; the effect's equaliser has sections at 8000 Hz

// From the file's rate to the effect's, through the effects, and back.
class Chain {
 public:
  Chain(EffectChannels& effects, int rate, int effectRate, int channels)
      : effects_(effects), channels_(static_cast<std::size_t>(channels)) {
    if (rate == effectRate) return;
    there_.emplace(rate, effectRate, channels);
    back_.emplace(effectRate, rate, channels);
  }

  // Answers what is ready at the file's rate, which lags behind where rates are converted. `block` is changed.
  const std::vector<double>& play(std::vector<double>& block) {
    if (!there_) {
      effects_.process(block.data(), frames(block));
      return block;
    }
    inside_.clear();
    there_->convert(block.data(), frames(block), inside_);
    effects_.process(inside_.data(), frames(inside_));
    result_.clear();
    back_->convert(inside_.data(), frames(inside_), result_);
    return result_;
  }

 private:
  int frames(const std::vector<double>& samples) const { return static_cast<int>(samples.size() / channels_); }

  EffectChannels& effects_;
  std::size_t channels_;
  std::optional<SampleRateConverter> there_;
  std::optional<SampleRateConverter> back_;
  std::vector<double> inside_;
  std::vector<double> result_;
};

void scale(std::vector<double>& samples, double gain) {
  if (gain == 1.0) return;
  for (double& sample : samples) sample *= gain;
}

}  // namespace

std::string clippingText(std::int64_t samples, const RenderSettings& settings) {
  if (samples == 0) return "";
  return ", " + std::to_string(samples) + (samples == 1 ? " sample clipped: " : " samples clipped: ") +
         (settings.normalize ? "give a lower --normalize" : "lower --volume or add --normalize -1");
}

// The rate at which the effect runs for a sound. Throws Failure when it cannot run at it.
int FileRenderer::effectRate(const AudioReader& reader) const {
  const int rate = reader.format().rate;
  if (!settings_.nativeRate) return std::abs(rate - 44100) <= std::abs(rate - 48000) ? 44100 : 48000;
  if (rate >= kSlowestRate) return rate;
  throw Failure(reader.name() + ": the effect cannot run at " + std::to_string(rate) + " Hz; leave --rate native away");
}

double FileRenderer::trimFor(const std::string& in) const {
  if (!settings_.automaticTrim) return settings_.trim;
  AudioReader reader(in, settings_.raw);
  if (!reader.isRereadable()) {
    throw Failure("--trim auto needs a file, which can be read twice; give a stream its level, like --trim 20",
                  Failure::usage);
  }
  constexpr int kPiece = 4096;
  std::vector<double> block(static_cast<std::size_t>(kPiece) * static_cast<std::size_t>(reader.format().channels));
  double peak = 0.0;
  for (int got = kPiece; got == kPiece;) {
    got = reader.read(block.data(), kPiece);
    const auto end = block.begin() + static_cast<std::ptrdiff_t>(got) * reader.format().channels;
    for (auto sample = block.begin(); sample != end; ++sample) peak = std::max(peak, std::fabs(*sample));
  }
  return automaticTrim(peak);
}

AudioFormat FileRenderer::outputFormat(const AudioReader& reader, const std::string& out) const {
  AudioFormat wanted = reader.format();
  if (out != "-") return inContainer(wanted, containerFor(out), out);
  const int container = settings_.streamContainer.value_or(
      wanted.container() == SF_FORMAT_AU || wanted.container() == SF_FORMAT_RAW ? wanted.container() : SF_FORMAT_WAV);
  if (!isLinear(wanted.format)) wanted.format = container | SF_FORMAT_FLOAT;
  // WAV has unsigned bytes, AU signed ones; a raw stream keeps what came in.
  if (integerBits(wanted.format) == 8 && container != SF_FORMAT_RAW) {
    wanted.format = container == SF_FORMAT_WAV ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8;
  }
  wanted.format = container | wanted.sampleFormat();
  return wanted;
}

void FileRenderer::announce(const std::string& in, Progress& progress) const {
  std::error_code error;
  if (!std::filesystem::is_regular_file(in, error)) return;  // a pipe cannot be opened twice
  try {
    const AudioReader reader(in, settings_.raw);
    const double passes = settings_.normalize ? 2.0 : 1.0;
    progress.expect(passes * static_cast<double>(reader.frames().value_or(0)) / reader.format().rate);
  } catch (const Failure&) {
    return;  // told when its turn comes
  }
}

RenderResult FileRenderer::render(const std::string& in, const std::string& out, Progress& progress) const {
  const double trim = trimFor(in);
  double gain = amplitude(trim);
  if (settings_.normalize) {
    AudioReader reader(in, settings_.raw);
    if (!reader.isRereadable()) {
      throw Failure("--normalize needs a file, which can be read twice; leave it away for a stream", Failure::usage);
    }
    OutputStage output(nullptr, reader.format().rate, reader.format().channels, amplitude(trim), settings_.tail);
    run(reader, output, trim, progress);
    if (output.peak() > 0.0) gain *= amplitude(*settings_.normalize) / output.peak();
  }

  AudioReader reader(in, settings_.raw);
  const AudioFormat format = outputFormat(reader, out);
  std::optional<std::int64_t> longest = reader.frames();
  if (longest) *longest += std::llround((settings_.tail.value_or(Tail::kLongestSeconds) + 1.0) * format.rate);
  AudioWriter writer(out, format, settings_.replace, longest);
  writer.copyTexts(reader);
  OutputStage output(&writer, format.rate, format.channels, gain, settings_.tail);
  run(reader, output, trim, progress);
  writer.finish();

  RenderResult result{output.framesKept(), format.rate, output.peak(), writer.clipped(), trim, {}};
  if (writer.format().sampleFormat() != reader.format().sampleFormat()) {
    result.note = out + ": this format has no " + sampleFormatName(reader.format().format) + " samples; wrote " +
                  sampleFormatName(format.format) + " ones";
  } else if (longest && writer.format().container() == SF_FORMAT_RF64 && format.container() != SF_FORMAT_RF64) {
    result.note = out + ": longer than 4 GiB, so it is written as RF64, the WAV for long sounds";
  }
  return result;
}

void FileRenderer::run(AudioReader& reader, OutputStage& output, double trim, Progress& progress) const {
  const int rate = reader.format().rate;
  const int channels = reader.format().channels;
  const int inner = effectRate(reader);
  AutomationTrack track;
  if (settings_.automation) track = settings_.automation->trackFor(reader.frames(), rate, inner);
  EffectChannels effects(module_, settings_.effect, track, inner, channels);
  Chain chain(effects, rate, inner, channels);
  if (!reader.frames()) progress.expectUnknown();

  const int length = settings_.effect.block;
  const std::size_t size = static_cast<std::size_t>(length) * static_cast<std::size_t>(channels);
  std::vector<double> block;
  const auto play = [&] {
    scale(block, amplitude(-trim));
    const std::vector<double>& result = chain.play(block);
    output.write(result.data(), static_cast<std::int64_t>(result.size()) / channels);
  };

  std::int64_t frames = 0;
  for (int got = length; got == length;) {
    block.resize(size);
    got = reader.read(block.data(), length);
    block.resize(static_cast<std::size_t>(got) * static_cast<std::size_t>(channels));
    frames += got;
    play();
    progress.add(static_cast<double>(got) / rate);
  }
  if (settings_.automation && !reader.frames()) settings_.automation->trackFor(frames, rate, inner);

  output.endSound(frames);
  while (!output.isComplete()) {
    block.assign(size, 0.0);
    play();
  }
}
