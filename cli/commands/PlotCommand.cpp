// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "cli/commands/Commands.h"
#include "cli/effect/EffectModule.h"
#include "cli/effect/EffectParameter.h"
#include "cli/picture/Measurement.h"
#include "cli/picture/Picture.h"
#include "cli/picture/drawSounds.h"
#include "cli/text/Failure.h"
#include "cli/text/numbers.h"
#include "player/decibels.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostCurves = 6;
constexpr double kFloor = -100.0;  // dB below the fundamental, the bottom of the spectrum's picture

struct PlotOptions {
  std::string out, module;
  bool force = false;
  std::vector<std::string> files;
  int rate = 44100;
  int frequency = 220;
  double level = -20.0;                 // dBFS
  std::vector<double> volumes = {5.0};  // as the knobs show them
  std::vector<double> fuzzes = {5.0};
  SoundRange range;
};

// Knob positions, separated by commas.
std::vector<double> parseKnobs(const std::string& option, const std::string& text, std::size_t most) {
  std::vector<double> values;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    values.push_back(parseNumber(option, text.substr(begin, end - begin), 0.0, kKnobMaximum));
    begin = end + 1;
  }
  if (values.size() > most) {
    throw Failure(option + " takes at most " + std::to_string(most) + " value" + (most == 1 ? "" : "s") +
                      " here, not " + std::to_string(values.size()),
                  Failure::usage);
  }
  return values;
}

void checkFrequency(const PlotOptions& options, int rate) {
  if (options.frequency * 2 >= rate) {
    throw Failure("--frequency " + std::to_string(options.frequency) + ": must lie below half the rate of " +
                      std::to_string(rate) + " Hz",
                  Failure::usage);
  }
}

TestSettings testSettings(const PlotOptions& options, double volume, double fuzz) {
  return {options.rate, valueAtKnob(volume), valueAtKnob(fuzz)};
}

Picture drawCurve(const PlotOptions& options) {
  checkFrequency(options, options.rate);
  const EffectModule module(options.module);
  Picture picture;
  Picture::Panel& panel = picture.panels.emplace_back();
  picture.title = "Clipping: steady sine of " + std::to_string(options.frequency) + " Hz, VOLUME " +
                  shortText(options.volumes.front()) + ", " + std::to_string(options.rate) + " Hz";
  panel.across = "peak of the input, dBFS";
  panel.up = "peak of the output, dBFS";
  panel.range = "set xrange [-100:0]";
  for (const double fuzz : options.fuzzes) {
    panel.series.push_back(
        {"FUZZ " + shortText(fuzz),
         measureLevels(module, testSettings(options, options.volumes.front(), fuzz), options.frequency)});
  }
  return picture;
}

Picture drawResponse(const PlotOptions& options) {
  const EffectModule module(options.module);
  Picture picture;
  Picture::Panel& panel = picture.panels.emplace_back();
  picture.title = "Small-signal response: one sample of " + shortText(decibels(kImpulse)) + " dBFS, FUZZ " +
                  shortText(options.fuzzes.front()) + ", " + std::to_string(options.rate) + " Hz";
  panel.across = "Hz";
  panel.up = "gain, dB";
  panel.logarithmic = true;
  panel.range = std::string("set yrange [-60:*]\n") + Picture::kHearingRange;
  for (const double volume : options.volumes) {
    panel.series.push_back({"VOLUME " + shortText(volume),
                            measureResponse(module, testSettings(options, volume, options.fuzzes.front()))});
  }
  return picture;
}

Picture drawSpectrum(const PlotOptions& options) {
  int rate = options.rate;
  std::vector<double> samples;
  Picture picture;
  Picture::Panel& panel = picture.panels.emplace_back();
  if (options.files.empty()) {
    checkFrequency(options, rate);
    const EffectModule module(options.module);
    const double volume = options.volumes.front();
    const double fuzz = options.fuzzes.front();
    samples = playTone(module, testSettings(options, volume, fuzz), options.frequency, amplitude(options.level));
    picture.title = "Sine of " + shortText(options.level) + " dBFS at VOLUME " + shortText(volume) + ", FUZZ " +
                    shortText(fuzz) + ", ";
  } else {
    const std::string& path = options.files.front();
    SoundPart sound(path, {options.range.from, options.range.from + 1.0});
    sound.read([&samples](double x) { samples.push_back(x); });
    rate = sound.rate();
    checkFrequency(options, rate);
    if (static_cast<int>(samples.size()) < rate) {
      throw Failure(path + ": a spectrum needs one second from --from on; give a longer tone");
    }
    samples.resize(static_cast<std::size_t>(rate));
    picture.title = fs::path(path).filename().string() + ", ";
  }
  const Harmonics tone = analyseTone(samples, options.frequency);
  const double fundamental = tone.amplitudes.front();
  if (fundamental < 1e-9) {
    const std::string what = "no tone of " + std::to_string(options.frequency) + " Hz";
    if (options.files.empty()) throw Failure(what + " came out; raise --level or --volume");
    throw Failure(options.files.front() + ": holds " + what + " at " + shortText(options.range.from) +
                  " s; give the tone's own --frequency, or another place with --from");
  }
  char result[96];
  std::snprintf(result, sizeof result, "THD %.2f %% (%.1f dB), all else %.1f dB", 100.0 * tone.distortion,
                decibels(std::max(tone.distortion, 1e-15)), decibels(std::max(tone.rest, 1e-15)));
  picture.title += std::to_string(options.frequency) + " Hz: " + result;
  panel.across = "Hz";
  panel.up = "dB against the fundamental";
  panel.bars = true;
  panel.range = "bottom = -100\nset yrange [bottom:5]\nset xrange [0:" +
                std::to_string(std::min(rate / 2, 40 * options.frequency)) + "]";
  Points points;
  for (std::size_t k = 0; k < tone.amplitudes.size(); ++k) {
    points.emplace_back(static_cast<double>(k + 1) * options.frequency,
                        std::max(kFloor, decibels(std::max(tone.amplitudes[k], 1e-12) / fundamental)));
  }
  panel.series.push_back({"harmonics", points});
  std::printf("%d Hz: fundamental %.1f dBFS, %s\n", options.frequency, decibels(fundamental), result);
  return picture;
}

const SoundRange& checkedRange(const PlotOptions& options) {
  if (options.range.to && *options.range.to <= options.range.from) {
    throw Failure("--to " + shortText(*options.range.to) + ": must come after --from " + shortText(options.range.from),
                  Failure::usage);
  }
  if (options.files.size() > kMostCurves) {
    throw Failure(
        "plot takes at most " + std::to_string(kMostCurves) + " sounds, not " + std::to_string(options.files.size()),
        Failure::usage);
  }
  return options.range;
}

class PlotCommands {
 public:
  explicit PlotCommands(CLI::App& plot) : plot_(plot) {}

  CLI::App& add(const std::string& name, const std::string& help, Picture (*draw)(const PlotOptions&)) {
    CLI::App* const command = plot_.add_subcommand(name, help);
    options_ = std::make_shared<PlotOptions>();
    command->add_option("-o,--output", options_->out, "The picture to draw; its name ends in .png or .svg")
        ->type_name("FILE")
        ->required();
    command->add_flag("-f,--force", options_->force, "Replace the file if it exists");
    command->callback([options = options_, draw] {
      Picture::checkName(options->out);
      if (!options->force && fs::exists(options->out)) {
        throw Failure(options->out + ": exists already; add --force to replace it, or choose another name");
      }
      draw(*options).write(options->out, options->force);
    });
    return *command;
  }

  // The knobs, each with one value or a list of them; a list names its default.
  void addKnobs(CLI::App& command, bool manyVolumes, bool manyFuzzes) {
    if (manyVolumes) options_->volumes = {1.0, 2.5, 5.0, 7.5, 10.0};
    if (manyFuzzes) options_->fuzzes = {0.0, 2.5, 5.0, 7.5, 10.0};
    addKnob(command, "--volume", manyVolumes, "VOLUME", "1,2.5,5,7.5,10", options_->volumes);
    addKnob(command, "--fuzz", manyFuzzes, "FUZZ", "0,2.5,5,7.5,10", options_->fuzzes);
    addText(command, "--rate", "HZ", "Rate at which the effect runs, 16001 to 768000 (default 44100)",
            [](PlotOptions& o, const std::string& text) { o.rate = parseWhole("--rate", text, 16001, 768000); });
    command.add_option("--module", options_->module, "The module brumbler.so to measure")->type_name("PATH");
  }

  void addFrequency(CLI::App& command) {
    addText(command, "--frequency", "HZ", "Frequency of the tone, a whole number from 20 (default 220)",
            [](PlotOptions& o, const std::string& text) { o.frequency = parseWhole("--frequency", text, 20, 384000); });
  }

  template <typename Take>
  void addText(CLI::App& command, const std::string& name, const std::string& type, const std::string& help,
               Take take) {
    command
        .add_option_function<std::string>(
            name, [options = options_, take](const std::string& text) { take(*options, text); }, help)
        ->type_name(type);
  }

  PlotOptions& options() noexcept { return *options_; }

 private:
  void addKnob(CLI::App& command, const std::string& name, bool many, const std::string& knob,
               const std::string& defaults, std::vector<double>& values) {
    const std::string help = many ? "Settings of " + knob + ", 0 to 10, with commas between (default " + defaults + ")"
                                  : "Setting of " + knob + ", 0 to 10 (default 5)";
    command
        .add_option_function<std::string>(
            name,
            [options = options_, name, many, &values](const std::string& text) {
              values = parseKnobs(name, text, many ? kMostCurves : 1);
            },
            help)
        ->type_name(many ? "X,..." : "X");
  }

  CLI::App& plot_;
  std::shared_ptr<PlotOptions> options_;  // of the command added last
};

}  // namespace

void addPlotCommand(CLI::App& app) {
  CLI::App* const plot = app.add_subcommand("plot", "Draw what the effect does, and what sounds look like");
  plot->require_subcommand(1);
  plot->footer("Example: brumbler plot curve -o curve.png");
  PlotCommands commands(*plot);
  const auto seconds = [](const char* name, const std::string& text) {
    return parseNumber(name, text, 0.0, 1e6, "seconds");
  };
  const auto from = [seconds](PlotOptions& o, const std::string& text) { o.range.from = seconds("--from", text); };

  CLI::App& curve = commands.add("curve", "Level out over level in, of a steady tone, at several FUZZ", drawCurve);
  commands.addKnobs(curve, false, true);
  commands.addFrequency(curve);
  curve.footer("Example: brumbler plot curve -o curve.png --fuzz 0,5,10 --frequency 110");

  CLI::App& response =
      commands.add("response", "Gain over frequency for the quietest sounds, at several VOLUME", drawResponse);
  commands.addKnobs(response, true, false);
  response.footer("Example: brumbler plot response -o response.svg --fuzz 2 --rate 48000");

  CLI::App& spectrum = commands.add("spectrum", "Harmonics of a tone and its total harmonic distortion", drawSpectrum);
  spectrum.add_option("FILE", commands.options().files, "A recorded tone, in the place of the effect's answer to one")
      ->type_name("")
      ->expected(0, 1);
  commands.addKnobs(spectrum, false, false);
  commands.addFrequency(spectrum);
  commands.addText(
      spectrum, "--level", "DBFS", "Level of the tone, -120 to 0 (default -20)",
      [](PlotOptions& o, const std::string& text) { o.level = parseNumber("--level", text, -120.0, 0.0, "dBFS"); });
  commands.addText(spectrum, "--from", "SECONDS", "Where in FILE the second that is looked at begins (default 0)",
                   from);
  spectrum.footer("Example: brumbler plot spectrum -o spectrum.png --fuzz 8 --frequency 110 --level -30");

  const auto addSounds = [&](const char* name, const char* help, Picture (*draw)(const PlotOptions&)) -> CLI::App& {
    CLI::App& command = commands.add(name, help, draw);
    command.add_option("FILES", commands.options().files, "The sounds, one to six")->type_name("")->required();
    commands.addText(command, "--from", "SECONDS", "Where the picture begins (default 0)", from);
    commands.addText(command, "--to", "SECONDS", "Where it ends (default: with the sounds)",
                     [seconds](PlotOptions& o, const std::string& text) { o.range.to = seconds("--to", text); });
    return command;
  };
  addSounds("sounds", "Sounds below each other on one scale, and their spectra", [](const PlotOptions& o) {
    return drawSounds(o.files, checkedRange(o));
  }).footer("Example: brumbler plot sounds take.wav fuzzed.wav -o sounds.png");
  addSounds("wave", "Sounds over each other, to compare their waves", [](const PlotOptions& o) {
    return drawWaves(o.files, checkedRange(o));
  }).footer("Example: brumbler plot wave take.wav fuzzed.wav --from 1.2 --to 1.25 -o wave.png");
}
