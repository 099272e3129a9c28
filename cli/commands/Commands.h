// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

// Each adds one subcommand: its options, its help, and the function that runs when it was given.
void addRenderCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
void addRiffCommand(CLI::App& app);
void addBankCommand(CLI::App& app);
void addPlotCommand(CLI::App& app);
void addCompareCommand(CLI::App& app);
void addLiveCommand(CLI::App& app);
