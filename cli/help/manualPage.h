// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}

// Prints the manual page of `app` and its subcommands to standard output, in roff, from the tables that parse the
// command line. No date: the page is as old as the command, whose version it has.
void printManualPage(const CLI::App& app);
