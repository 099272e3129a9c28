// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <algorithm>
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

constexpr const char* kSetExample = "3,on=1,volume=4,fuzz=10,name=Lead, loud";

struct BankOptions {
  std::string file;
  std::string from;
  std::string module;
  std::vector<std::string> sets;
  bool force = false;
};

// N,KEY=VALUE,… where a key is a parameter's symbol or "name"; the name is the rest of the text.
void applySet(HostedEffect& effect, const std::string& text) {
  const std::size_t comma = text.find(',');
  effect.setProgram(parseWhole("--set: the program", text.substr(0, comma), 1, effect.record().numPrograms) - 1);
  std::vector<std::string> keys;  // in the parameters' order
  for (int i = 0; i < catalog::kNumEffectParameters; ++i) keys.emplace_back(catalog::kParameters[i].symbol);
  keys.emplace_back("name");
  for (std::size_t begin = comma; begin != std::string::npos;) {
    const std::size_t equals = text.find('=', begin + 1);
    std::size_t end = text.find(',', begin + 1);
    const std::string key = text.substr(begin + 1, std::min(equals, end) - begin - 1);
    const auto known = std::find(keys.begin(), keys.end(), key);
    if (known == keys.end() || equals >= end) {
      throw Failure("--set: " +
                        (known == keys.end() ? "there is no " + key + "; " + suggestName(key, keys)
                                             : key + " needs = and a value") +
                        "; write " + kSetExample,
                    Failure::usage);
    }
    if (key == "name") {
      const std::string name = text.substr(equals + 1);
      if (name.size() > Bank::kLongestName) {
        throw Failure("--set: the name \"" + name + "\" has more than " + std::to_string(Bank::kLongestName) +
                          " bytes; letters outside of ASCII have two and more",
                      Failure::usage);
      }
      effect.setProgramName(name.c_str());
      return;
    }
    const std::string value = text.substr(equals + 1, end == std::string::npos ? end : end - equals - 1);
    const auto index = static_cast<int>(known - keys.begin());
    const double knob = parseKnob("--set: " + key, value, catalog::kParameters[index]);
    effect.setParameter(index, parametersOf(effect).at(static_cast<std::size_t>(index)).valueAt(knob));
    begin = end;
  }
}

void runSave(const BankOptions& options) {
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
  const auto options = std::make_shared<BankOptions>();
  save->add_option("FILE.json", options->file, "The file to write; - is standard output")->type_name("")->required();
  save->add_option("--set", options->sets,
                   std::string("Values of a program, like '") + kSetExample +
                       "': a name comes last and takes the rest; repeat it")
      ->type_name("N,KEY=VALUE,...")
      ->allow_extra_args(false);
  save->add_option("--bank", options->from, "Start from this bank instead of the effect's own programs")
      ->type_name("FILE.json");
  save->add_option("--module", options->module, "The module brumbler.so to ask")->type_name("PATH");
  save->add_flag("-f,--force", options->force, "Replace the file if it exists");
  save->footer("Example: brumbler bank save mine.json --set 1,volume=4,fuzz=2,name=Warm --set 2,fuzz=10,name=Lead");
  save->callback([options] { runSave(*options); });
}
