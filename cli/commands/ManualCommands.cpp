// SPDX-License-Identifier: MIT
// What the build calls for the manual page and the shells' completions; --help does not show it.
#include <CLI/CLI.hpp>

#include "cli/commands/Commands.h"
#include "cli/help/completion.h"
#include "cli/help/manualPage.h"

void addManualCommands(CLI::App& app) {
  CLI::App* const manual = app.add_subcommand("man", "Print the manual page")->group("");
  manual->footer("Example: brumbler man | man -l -");
  manual->callback([&app] { printManualPage(app); });
  CLI::App* const completion = app.add_subcommand("completion", "Print a shell's completion")->group("");
  completion->require_subcommand(1);
  completion->footer("Example: source <(brumbler completion bash)");
  completion->add_subcommand("bash", "For bash")->callback([&app] { printBashCompletion(app); });
  completion->add_subcommand("zsh", "For zsh")->callback([&app] { printZshCompletion(app); });
}
