// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/Commands.h"
#include "cli/commands/EffectOptions.h"
#include "cli/files/PendingFile.h"
#include "cli/render/FileRenderer.h"
#include "cli/render/renderFolder.h"
#include "cli/text/Failure.h"
#include "cli/text/Progress.h"
#include "cli/text/numbers.h"
#include "cli/text/printable.h"
#include "player/Tail.h"
#include "player/decibels.h"

namespace {

namespace fs = std::filesystem;

struct RenderOptions {
  std::vector<std::string> files;
  std::string out;
  std::string outDirectory;
  bool recursive = false;
  std::string automation;
  bool noTail = false;
  EffectOptions effect;
  RenderSettings settings;
};

// HZ:CHANNELS:SAMPLES, like 48000:2:s24.
AudioFormat parseRaw(const std::string& text) {
  struct Code {
    const char* name;
    int format;
  };
  constexpr Code kCodes[] = {{"u8", SF_FORMAT_PCM_U8},  {"s8", SF_FORMAT_PCM_S8},  {"s16", SF_FORMAT_PCM_16},
                             {"s24", SF_FORMAT_PCM_24}, {"s32", SF_FORMAT_PCM_32}, {"f32", SF_FORMAT_FLOAT},
                             {"f64", SF_FORMAT_DOUBLE}};
  const std::size_t first = text.find(':');
  const std::size_t second = first == std::string::npos ? first : text.find(':', first + 1);
  if (second != std::string::npos) {
    for (const Code& code : kCodes) {
      if (text.substr(second + 1) != code.name) continue;
      return {parseWhole("--raw: the rate", text.substr(0, first), 1000, 10000000),
              parseWhole("--raw: the channels", text.substr(first + 1, second - first - 1), 1, 1024),
              SF_FORMAT_RAW | SF_ENDIAN_LITTLE | code.format};
    }
  }
  throw Failure(
      "--raw takes HZ:CHANNELS:SAMPLES with the samples u8, s8, s16, s24, s32, f32 or f64, like 48000:2:s16, "
      "not \"" +
          text + "\"",
      Failure::usage);
}

int parseContainer(const std::string& text) {
  if (const auto container = containerNamed(text)) return *container;
  throw Failure("--out-type takes one of " + containerNames() + ", not \"" + text + "\"", Failure::usage);
}

int parseBits(const std::string& text) {
  if (text == "16") return SF_FORMAT_PCM_16;
  if (text == "24") return SF_FORMAT_PCM_24;
  if (text == "32") return SF_FORMAT_PCM_32;
  if (text == "float") return SF_FORMAT_FLOAT;
  throw Failure("--bits takes 16, 24, 32 or float, not \"" + text + "\"", Failure::usage);
}

// Checks that the output's name agrees with --out-type.
void checkType(const std::string& out, const RenderSettings& settings) {
  if (!settings.container) {
    if (out != "-") containerFor(out);
    return;
  }
  const int container = *settings.container;
  if (out == "-") {
    if (container == SF_FORMAT_WAV || container == SF_FORMAT_AU || container == SF_FORMAT_RAW) return;
    throw Failure("--out-type: standard output takes wav, au or raw; give the others a file", Failure::usage);
  }
  const auto named = containerNamed(endingOf(out));
  if (named && *named != container) {
    throw Failure(out + ": the name says another format than --out-type; change one of them", Failure::usage);
  }
}

void checkPaths(const RenderOptions& options) {
  if (options.files.size() != 2) {
    throw Failure("render takes IN and OUT, or any number of files with --out-dir DIR; see brumbler render --help",
                  Failure::usage);
  }
  std::error_code error;
  const std::string& in = options.files[0];
  const std::string& out = options.files[1];
  if (in != "-" && out != "-" && fs::equivalent(in, out, error)) {
    throw Failure(out + ": is the recording itself; give the result another name", Failure::usage);
  }
  if (out != "-" && (fs::is_directory(out, error) || fs::is_other(out, error))) PendingFile::check(out, false);
  checkType(out, options.settings);
}

void renderOne(const RenderOptions& options, const EffectModule& module) {
  checkPaths(options);
  const std::string& in = options.files[0];
  const std::string& out = options.files[1];
  const FileRenderer renderer(module, options.settings, 1);
  if (options.settings.skipExisting && out != "-" && renderer.isDone(out)) {
    if (!options.settings.quiet) std::printf("%s: exists already, skipped\n", printable(out).c_str());
    return;
  }
  const auto begin = std::chrono::steady_clock::now();
  Progress progress(!options.settings.quiet);
  renderer.announce(in, progress);
  const RenderResult result = renderer.render(in, out, progress);
  progress.clear();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  if (options.settings.quiet) return;
  const std::string name = out == "-" ? "standard output" : printable(out);
  if (!result.note.empty()) {
    std::fprintf(stderr, "brumbler: note: %s: %s\n", name.c_str(), printable(result.note).c_str());
  }
  if (result.missingTrim > 0.0) {
    std::fprintf(
        stderr,
        "brumbler: note: %s: peaks %.0f dB above a guitar's own level, so the fuzz is quieter than the recording; "
        "--trim %.0f%s makes up for it\n",
        in == "-" ? "standard input" : printable(in).c_str(), result.missingTrim, result.missingTrim,
        in == "-" ? "" : ", or --trim auto,");
  }
  std::FILE* const to = out == "-" ? stderr : stdout;
  std::fprintf(to, "%s: %.2f s in %.2f s, %.0f times real time, ", name.c_str(), result.seconds(), taken.count(),
               result.seconds() / std::max(taken.count(), 1e-6));
  if (result.peak > 0.0) {
    std::fprintf(to, "peak %.1f dBFS", decibels(result.peak));
  } else {
    std::fputs("silent", to);
  }
  if (result.trim != 0.0) std::fprintf(to, ", trim %.1f dB", result.trim);
  std::fprintf(to, "%s\n", clippingText(result.clipped, options.settings).c_str());
}

void runRender(RenderOptions& options) {
  const EffectModule module(options.effect.module());
  RenderSettings& settings = options.settings;
  const int block = settings.effect.block;
  settings.effect = options.effect.settings(module);
  settings.effect.block = block;
  settings.trim = options.effect.trim().value_or(0.0);
  settings.automaticTrim = options.effect.isTrimAutomatic();
  settings.advisesTrim =
      settings.trim == 0.0 && !options.effect.isTrimGiven() && !options.effect.isOff() && !settings.normalize;
  if (options.noTail) settings.tail = 0.0;
  if (!options.automation.empty()) settings.automation.emplace(options.automation, *module.createEffect(44100, 1));
  if (!options.outDirectory.empty()) {
    if (!options.out.empty()) throw Failure("give either --output or --out-dir", Failure::usage);
    return renderFolder(module, settings, options.files, options.outDirectory, options.recursive);
  }
  for (const auto& [isGiven, name] :
       {std::pair(settings.jobs != 0, "--jobs"), std::pair(options.recursive, "--recursive"),
        std::pair(!settings.suffix.empty(), "--suffix")}) {
    if (isGiven) throw Failure(std::string(name) + " needs --out-dir", Failure::usage);
  }
  if (!options.out.empty()) options.files.push_back(options.out);
  renderOne(options, module);
}

}  // namespace

void addRenderCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("render", "Play recordings through the effect");
  const auto options = std::make_shared<RenderOptions>();
  const auto addText = [command](const std::string& name, const std::string& help, const auto& take) {
    return command->add_option_function<std::string>(name, take, help);
  };
  RenderSettings& settings = options->settings;
  command->add_option("FILES", options->files, "IN OUT, or with --out-dir any number of files to read; - is a stream")
      ->type_name("")
      ->required();
  options->effect.addTo(*command, EffectOptions::TrimForm::numberOrAuto);
  command->add_option("--automate", options->automation, "Move parameters and change programs over time")
      ->type_name("FILE.json");
  addText("--normalize", "Bring the result's peak to this level, -120 to 0", [&settings](const std::string& text) {
    settings.normalize = parseNumber("--normalize", text, -120.0, 0.0, "dBFS");
  })->type_name("DBFS");
  auto* const tail = addText(
      "--tail",
      "Seconds to go on after the end (default: until it is silent, at most " + shortText(Tail::kLongestSeconds) + ")",
      [&settings](const std::string& text) { settings.tail = parseNumber("--tail", text, 0.0, 3600.0, "seconds"); });
  tail->type_name("SECONDS");
  command->add_flag("--no-tail", options->noTail, "End where the recording ends")->excludes(tail);
  addText("--rate", "Play at 44100 or 48000 Hz, whichever is nearer (auto, the default), or at the file's own rate",
          [&settings](const std::string& text) {
            if (text != "auto" && text != "native") {
              throw Failure("--rate takes auto or native, not \"" + text + "\"", Failure::usage);
            }
            settings.nativeRate = text == "native";
          })
      ->type_name("auto|native");
  addText("--block", "Samples in each call of the effect, 1 to 65536 (default 512)",
          [&settings](const std::string& text) { settings.effect.block = parseWhole("--block", text, 1, 65536); })
      ->type_name("N");
  command->add_option("-o,--output", options->out, "The file to write, in place of OUT")->type_name("FILE");
  command->add_option("--out-dir", options->outDirectory, "Render all FILES into this folder, several at a time")
      ->type_name("DIR");
  command->add_flag("--recursive", options->recursive,
                    "With --out-dir: render the recordings in the folders among FILES, and keep their structure");
  addText("--suffix", "With --out-dir: add this to each name, like _fuzz", [&settings](const std::string& text) {
    if (text.find('/') != std::string::npos) throw Failure("--suffix: a name cannot hold a /", Failure::usage);
    settings.suffix = text;
  })->type_name("TEXT");
  auto* const force = command->add_flag("-f,--force", settings.writer.replace, "Replace files that exist");
  addText("--raw", "What input without a header holds, like 48000:2:s16 (u8 s8 s16 s24 s32 f32 f64, little-endian)",
          [&settings](const std::string& text) { settings.raw = parseRaw(text); })
      ->type_name("HZ:CHANNELS:SAMPLES");
  addText("--out-type", "Format of the output, like wav or flac (default: what its name says; in a stream the input's)",
          [&settings](const std::string& text) { settings.container = parseContainer(text); })
      ->type_name("TYPE");
  addText("--bits", "Samples of the output (default: the input's)", [&settings](const std::string& text) {
    settings.sampleFormat = parseBits(text);
  })->type_name("16|24|32|float");
  addText("--out-rate", "Rate of the output in Hz (default: the input's, or the nearest that the format can have)",
          [&settings](const std::string& text) { settings.outRate = parseWhole("--out-rate", text, 1000, 10000000); })
      ->type_name("HZ");
  addText("--quality", "Quality of MP3, Ogg and Opus, 0 (small) to 10 (best)", [&settings](const std::string& text) {
    settings.writer.quality = parseNumber("--quality", text, 0.0, 10.0) / 10.0;
  })->type_name("0-10");
  command->add_flag_function(
      "--no-dither", [&settings](std::int64_t /*count*/) { settings.writer.dithers = false; },
      "Round to 16 bits and less without dither");
  addText("--jobs", "With --out-dir: files at a time (default: one for each core)",
          [&settings](const std::string& text) {
            settings.jobs = static_cast<unsigned>(parseWhole("--jobs", text, 1, 1000));
          })
      ->type_name("N");
  command->add_flag("--skip-existing", settings.skipExisting, "Leave outputs that are complete as they are, and go on")
      ->excludes(force);
  command->add_flag("-q,--quiet", settings.quiet, "Print errors only");
  command->footer(
      "Examples:\n"
      "  brumbler render take1.wav take1-fuzz.wav --volume 6 --fuzz 9 --trim auto\n"
      "  brumbler render takes/*.flac --out-dir fuzzed\n"
      "  brumbler render takes --recursive --out-dir fuzzed --suffix _fuzz\n"
      "  brumbler render takes/*.mp3 --out-dir fuzzed --out-type wav --bits 24\n"
      "  sox take1.wav -t wav - | brumbler render - - | play -");
  command->callback([options] { runRender(*options); });
}
