// SPDX-License-Identifier: MIT
// The command `brumbler`: a host of the effect for the command line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/Commands.h"
#include "cli/files/PendingFile.h"
#include "cli/help/HelpFormatter.h"
#include "cli/help/completion.h"
#include "cli/help/usageError.h"
#include "cli/text/Failure.h"
#include "cli/text/printable.h"

namespace {

int complain(const std::string& message, int status) {
  std::fprintf(stderr, "brumbler: %s\n", printable(message).c_str());
  return status;
}

int run(int argc, char** argv) {
  CLI::App app("Brumbler, a fuzz for guitar and bass: plays recordings through the effect.", "brumbler");
  app.formatter(std::make_shared<HelpFormatter>());
  app.set_version_flag("--version", std::string("brumbler ") + BRUMBLER_VERSION);
  app.require_subcommand(1);
  app.footer("Example: brumbler riff riff.wav && brumbler render riff.wav fuzzed.wav --fuzz 8");
  addRenderCommand(app);
  addLiveCommand(app);
  addInfoCommand(app);
  addRiffCommand(app);
  addBankCommand(app);
  addPlotCommand(app);
  addCompareCommand(app);
  app.set_help_all_flag("--help-all", "Print the help of all subcommands and exit");
  if (argc > 1 && std::strcmp(argv[1], "complete") == 0) {  // hidden: the shells' completion scripts call it
    printCompletions(app, {argv + 2, argv + argc});
    return 0;
  }
  std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  if (!arguments.empty() && arguments.front() == "help") {  // "help render" is "render --help"
    arguments.erase(arguments.begin());
    arguments.emplace_back("--help");
  }
  std::reverse(arguments.begin(), arguments.end());  // the order that CLI11 expects
  try {
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return complain(explainUsageError(app, error), Failure::usage);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  PendingFile::installSignalCleanup();
  int status = 0;
  try {
    status = run(argc, argv);
  } catch (const Failure& failure) {
    status = complain(failure.what(), failure.status);
  } catch (const std::bad_alloc&) {
    status = complain("out of memory; close other programs, or give a smaller --block", Failure::failed);
  } catch (const std::exception& error) {
    status = complain(error.what(), Failure::failed);
  }
  if (std::fflush(stdout) != 0 && status == 0) {
    status = complain("standard output cannot be written (" + systemError(errno) + "); check where it goes",
                      Failure::failed);
  }
  return status;
}
