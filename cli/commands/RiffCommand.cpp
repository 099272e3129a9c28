// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/audio/AudioWriter.h"
#include "cli/commands/Commands.h"
#include "cli/text/printable.h"
#include "player/Riff.h"
#include "player/decibels.h"

namespace {

struct RiffOptions {
  std::string out;
  bool force = false;
};

void runRiff(const RiffOptions& options) {
  const int container = options.out == "-" ? SF_FORMAT_WAV : containerFor(options.out);
  const AudioFormat wanted{Riff::kRate, 1, container | SF_FORMAT_PCM_24};
  const AudioFormat format = inContainer(wanted, container, options.out);
  const std::vector<double> samples = Riff::play();
  AudioWriter writer(options.out, format, {options.force, true, {}}, static_cast<std::int64_t>(samples.size()));
  writer.write(samples);
  writer.finish();
  std::fprintf(options.out == "-" ? stderr : stdout, "%s: %.2f s, peak %.1f dBFS\n",
               options.out == "-" ? "standard output" : printable(options.out).c_str(),
               static_cast<double>(samples.size()) / Riff::kRate, decibels(Riff::kPeak));
}

}  // namespace

void addRiffCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("riff", "Write an example to play with: a few bars of plucked strings");
  const auto options = std::make_shared<RiffOptions>();
  command->add_option("OUT", options->out, "The file to write; its name says the format")->type_name("")->required();
  command->add_flag("-f,--force", options->force, "Replace the file if it exists");
  command->footer("Example: brumbler riff riff.wav");
  command->callback([options] { runRiff(*options); });
}
