// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "cli/commands/Commands.h"
#include "cli/text/Failure.h"

#ifdef BRUMBLER_LIVE
#include "cli/commands/EffectOptions.h"
#include "cli/session/LiveSession.h"
#include "cli/text/numbers.h"

namespace {

struct LiveOptions {
  EffectOptions effect;
  LiveSettings settings;
  bool noConnect = false;
};

// So that no file or socket of ours becomes a standard stream that the caller has closed.
void openStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
  }
}

void runLive(const LiveOptions& options) {
  openStandardStreams();
  const EffectModule module(options.effect.module());
  LiveSettings settings = options.settings;
  if (settings.learn && settings.midiMapPath.empty()) {
    throw Failure("--learn needs --midi-map FILE.json, where to write what is learned", Failure::usage);
  }
  settings.effect = options.effect.settings(module);
  settings.bank.path = options.effect.bank();
  if (settings.bank.keep && settings.bank.path.empty()) {
    throw Failure("--keep needs --bank FILE.json, where to keep what was turned", Failure::usage);
  }
  // A preset's trim is not used, because it does not change the guitar's input level.
  settings.trim = options.effect.isTrimGiven() ? options.effect.trim().value_or(0.0) : 0.0;
  settings.jack.connects = !options.noConnect;
  playLive(module, settings);
}

}  // namespace

void addLiveCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("live", "Play live, as a JACK client");
  const auto options = std::make_shared<LiveOptions>();
  LiveSettings& settings = options->settings;
  options->effect.addTo(*command, EffectOptions::TrimForm::number);
  command->add_flag("--stereo", settings.stereo, "Two inputs and two outputs, an effect for each");
  command->add_option("--name", settings.jack.name, "The client's name (default: brumbler)")->type_name("NAME");
  auto* const noConnect = command->add_flag("--no-connect", options->noConnect, "Connect nothing");
  command
      ->add_option("--input", settings.jack.input, "Play what comes from the first port (two with --stereo) that fits")
      ->type_name("PATTERN")
      ->excludes(noConnect);
  command->add_option("--output", settings.jack.output, "Play into the first two ports that fit")
      ->type_name("PATTERN")
      ->excludes(noConnect);
  command->add_option("--midi", settings.jack.midi, "Obey the MIDI ports that fit, whenever they are plugged in")
      ->type_name("PATTERN")
      ->excludes(noConnect);
  command->add_option("--midi-out", settings.jack.midiOut, "Tell the MIDI ports that fit what plays, for their lights")
      ->type_name("PATTERN")
      ->excludes(noConnect);
  command
      ->add_option_function<std::string>(
          "--midi-channel",
          [&settings](const std::string& text) {
            settings.midiChannel = text == "all" ? -1 : parseWhole("--midi-channel", text, 1, 16) - 1;
          },
          "Obey this MIDI channel only, 1 to 16 (default: all)")
      ->type_name("N");
  command->add_option("--midi-map", settings.midiMapPath, "Which MIDI control does what")->type_name("FILE.json");
  command->add_flag("--learn", settings.learn, "Learn the map from the controls as you move them, and write it");
  command->add_flag("--keep", settings.bank.keep, "Write what you turn back to the bank");
  command->add_flag("--wait", settings.wait, "Wait for a JACK server, now and whenever it goes");
  command->add_option("--record", settings.recordPath, "Record what goes out")->type_name("TAKE.wav");
  command->add_option("--record-dry", settings.recordDryPath, "Record what comes in")->type_name("TAKE.wav");
  command->add_flag("--force", settings.replace, "Replace takes that exist");
  command->footer(
      "Examples:\n"
      "  brumbler live --bank mine.json --program 2\n"
      "  brumbler live --input Scarlett --midi FootSwitch --record take.wav\n"
      "  brumbler live --midi . --midi-map pedal.json --learn");
  command->callback([options] { runLive(*options); });
}

#else

void addLiveCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("live", "Play live, as a JACK client (not in this build)");
  command->allow_extras();
  command->callback([] {
    throw Failure(
        "this build cannot play live, because libjack or ncurses was missing when it was made; install "
        "libjack-jackd2-dev and libncurses-dev, and build again");
  });
}

#endif
