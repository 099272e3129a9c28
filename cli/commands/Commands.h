// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

class EffectModule;
struct LiveSettings;

// Plays live until the player ends it. The executable brumbler-live defines it so; in `brumbler` itself it becomes that
// program, with the same arguments. Throws Failure if that cannot be.
void playLive(const EffectModule& module, const LiveSettings& settings);

// Each function adds one subcommand: its options, its help, and the function that runs it.
void addRenderCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
void addRiffCommand(CLI::App& app);
void addBankCommand(CLI::App& app);
void addPlotCommand(CLI::App& app);
void addCompareCommand(CLI::App& app);
void addLiveCommand(CLI::App& app);
