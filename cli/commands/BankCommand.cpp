// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/Commands.h"
#include "cli/commands/EffectOptions.h"
#include "cli/effect/Bank.h"
#include "cli/effect/EffectModule.h"
#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"
#include "cli/text/nearestName.h"
#include "cli/text/numbers.h"

namespace {

struct Options {
  std::string file;
  std::string from;
  std::string module;
  std::vector<std::string> sets;
  bool force = false;
};

// N,KEY=VALUE,… where the keys are volume, fuzz, on and name; the name is the rest of the text.
void applySet(HostedEffect& effect, const std::string& text) {
  const std::size_t comma = text.find(',');
  effect.setProgram(parseWhole("--set: the program", text.substr(0, comma), 1, effect.record().numPrograms) - 1);
  const std::vector<std::string> keys = {"on", "volume", "fuzz", "name"};  // the first three in the parameters' order
  for (std::size_t begin = comma; begin != std::string::npos;) {
    const std::size_t equals = text.find('=', begin + 1);
    const std::string key = text.substr(begin + 1, equals == std::string::npos ? equals : equals - begin - 1);
    std::size_t end = text.find(',', begin + 1);
    if (key == "name" && equals != std::string::npos) {
      const std::string name = text.substr(equals + 1);
      if (name.size() > 23)
        throw Failure("--set: the name \"" + name + "\" has more than 23 characters", Failure::usage);
      effect.setProgramName(name.c_str());
      end = std::string::npos;
    } else {
      const auto known = std::find(keys.begin(), keys.end(), key);
      if (known == keys.end() || equals == std::string::npos) {
        throw Failure("--set takes N,on=0,volume=5,fuzz=5,name=TEXT; \"" + key +
                          "\": " + (known == keys.end() ? suggestName(key, keys) : "needs = and a value"),
                      Failure::usage);
      }
      const std::string value = text.substr(equals + 1, end == std::string::npos ? end : end - equals - 1);
      const std::string what = "--set: " + key;
      effect.setParameter(static_cast<int>(known - keys.begin()),
                          key == "on" ? static_cast<float>(parseWhole(what, value, 0, 1)) : parseKnob(what, value));
    }
    begin = end;
  }
}

void runSave(const Options& options) {
  const EffectModule module(options.module);
  const auto effect = module.createEffect(44100, 1);
  if (!options.from.empty()) Bank(options.from, *effect).restore(*effect);
  for (const std::string& set : options.sets) applySet(*effect, set);
  const std::string text = Bank(*effect).text();
  if (options.file == "-") {
    std::fputs(text.c_str(), stdout);
    return;
  }
  PendingFile file(options.file, options.force);
  file.write(text);
  file.commit();
}

}  // namespace

void addBankCommand(CLI::App& app) {
  CLI::App* const bank = app.add_subcommand("bank", "Save the sixteen programs, names and values");
  bank->require_subcommand(1);
  bank->footer("Example: brumbler bank save mine.json --set 1,volume=4,fuzz=2,name=Warm");
  CLI::App* const save = bank->add_subcommand("save", "Write a bank for `brumbler render --bank`");
  const auto options = std::make_shared<Options>();
  save->add_option("FILE.json", options->file, "The file to write; - is standard output")->type_name("")->required();
  save->add_option("--set", options->sets, "Values of a program, like 3,volume=4,fuzz=10,on=1,name=Lead; repeat it")
      ->type_name("N,KEY=VALUE,...")
      ->allow_extra_args(false);
  save->add_option("--bank", options->from, "Start from this bank instead of the effect's own programs")
      ->type_name("FILE.json");
  save->add_option("--module", options->module, "The module brumbler.so to ask")->type_name("PATH");
  save->add_flag("--force", options->force, "Replace the file if it exists");
  save->footer("Example: brumbler bank save mine.json --set 1,volume=4,fuzz=2,name=Warm --set 2,fuzz=10,name=Lead");
  save->callback([options] { runSave(*options); });
}
