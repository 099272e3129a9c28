// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

// Print a shell's completion for `app` and its subcommands to standard output, from the tables that parse the command
// line.
void printBashCompletion(const CLI::App& app);
void printZshCompletion(const CLI::App& app);
