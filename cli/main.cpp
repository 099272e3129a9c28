// SPDX-License-Identifier: MIT
// The command `brumbler`: a host of the effect, written for people.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "cli/commands/Commands.h"
#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"
#include "cli/text/nearestName.h"

namespace {

int complain(const std::string& message, int status) {
  std::fprintf(stderr, "brumbler: %s\n", message.c_str());
  return status;
}

// The subcommands in use, each within the one before.
std::vector<const CLI::App*> usedCommands(const CLI::App& app) {
  std::vector<const CLI::App*> used;
  for (auto inner = app.get_subcommands(); !inner.empty(); inner = used.back()->get_subcommands()) {
    used.push_back(inner.front());
  }
  return used;
}

// What to try instead of a word that the subcommand in use does not have; empty when it has them all.
std::string explainUnexpected(const CLI::App& app, const char* const* arguments) {
  const auto used = usedCommands(app);
  const CLI::App& command = used.empty() ? app : *used.back();
  std::vector<std::string> known;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  bool choosesCommand = false;
  for (const CLI::App* one : command.get_subcommands([](const CLI::App*) { return true; })) {
    choosesCommand = true;
    if (!one->get_group().empty()) known.push_back(one->get_name());
  }
  const auto isKnown = [&](const std::string& name) {
    return std::find(known.begin(), known.end(), name) != known.end() ||
           std::any_of(used.begin(), used.end(), [&name](const CLI::App* one) { return one->get_name() == name; });
  };
  for (; *arguments != nullptr; ++arguments) {
    const std::string name = std::string(*arguments).substr(0, std::string(*arguments).find('='));
    const bool isOption = name.size() > 1 && name[0] == '-';
    if (name == "--") return "";
    if ((isOption || choosesCommand) && !isKnown(name)) return name + " is unknown; " + suggestName(name, known);
  }
  return "";
}

int run(int argc, char** argv) {
  CLI::App app("Brumbler, a fuzz for guitar and bass: plays recordings through the effect.", "brumbler");
  app.set_version_flag("--version", std::string("brumbler ") + BRUMBLER_VERSION);
  app.require_subcommand(1);
  app.footer("Example: brumbler riff riff.wav && brumbler render riff.wav fuzzed.wav --fuzz 8");
  addRenderCommand(app);
  addInfoCommand(app);
  addRiffCommand(app);
  addBankCommand(app);
  addPlotCommand(app);
  addCompareCommand(app);
  addManualCommands(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    const auto used = usedCommands(app);
    std::string help = "brumbler ";
    for (const CLI::App* one : used) help += one->get_name() + " ";
    help += "--help";
    std::string message;
    if (used.empty() || !used.back()->get_subcommands([](const CLI::App*) { return true; }).empty() ||
        dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
      message = explainUnexpected(app, argv + 1);
    } else if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
      const std::string what = error.what();
      const std::string name = what.substr(0, what.find(':'));
      const std::string received = " required but received ";
      const std::size_t between = what.find(received);
      if (between == std::string::npos) {
        message = name + " needs a value";
      } else {
        message = name + ":" + CLI::detail::to_lower(what.substr(name.size() + 1, between - name.size() - 1)) +
                  ", not " + what.substr(between + received.size());
      }
      message += "; see " + help;
    }
    if (message.empty()) message = std::string(error.what()) + "; see " + help;
    return complain(message, Failure::usage);
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
