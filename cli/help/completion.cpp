// SPDX-License-Identifier: MIT
#include "cli/help/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "catalog/catalog.h"
#include "cli/audio/AudioFormat.h"
#include "cli/effect/Bank.h"
#include "cli/effect/EffectModule.h"
#include "cli/text/Failure.h"

namespace {

using Words = std::vector<std::string>;

struct Candidate {
  std::string word, description;
};

struct Completion {
  const char* kind = "words";
  std::vector<Candidate> candidates;
};

// Program numbers, described by the names in the bank that `words` gives, and those names.
void addPrograms(const Words& words, std::vector<Candidate>& candidates) {
  const auto option = std::find(words.begin(), words.end(), "--bank");
  std::vector<Candidate> named;
  try {
    const EffectModule module("");
    const auto effect = module.createEffect(44100, 1);
    if (option != words.end() && option + 1 != words.end()) Bank(*(option + 1), *effect).restore(*effect);
    const Words names = Bank(*effect).names();
    for (std::size_t i = 0; i < names.size(); ++i) {
      candidates.push_back({std::to_string(i + 1), names[i]});
      if (std::count(names.begin(), names.end(), names[i]) == 1) named.push_back({names[i], ""});
    }
  } catch (const Failure&) {
    return;  // nothing to offer without a module or with an invalid bank
  }
  candidates.insert(candidates.end(), named.begin(), named.end());
}

// The words of a list separated by `separator`, without placeholders like NAME.
void addListed(const std::string& list, const std::string& separator, std::vector<Candidate>& candidates) {
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(separator, begin), list.size());
    if (std::isupper(static_cast<unsigned char>(list[begin])) == 0) {
      candidates.push_back({list.substr(begin, end - begin), ""});
    }
    begin = end + separator.size();
  }
}

// The values of an option or a positional argument. `words` are all words of the line.
Completion valuesOf(const CLI::Option& option, const Words& words) {
  const std::string name = option.get_name();
  const std::string type = option.get_positional() ? name : option.get_type_name();
  Completion completion;
  if (type.size() >= 5 && type.compare(type.size() - 5, 5, ".json") == 0) {
    completion.kind = "json";
  } else if (type == "DIR") {
    completion.kind = "folders";
  } else if (option.get_positional() || type == "PATH" || type.starts_with("FILE") || type.starts_with("TAKE")) {
    completion.kind = "files";
  } else if (name == "--preset") {
    for (const catalog::Preset& preset : catalog::kPresets)
      completion.candidates.push_back({preset.symbol, preset.label});
  } else if (name == "--program") {
    addPrograms(words, completion.candidates);
  } else if (name == "--out-type") {
    addListed(containerNames(), ", ", completion.candidates);
  } else if (type.find('|') != std::string::npos) {
    addListed(type, "|", completion.candidates);
  }
  return completion;
}

Completion complete(const CLI::App& app, const Words& words) {
  const CLI::App* command = &app;
  const CLI::Option* pending = nullptr;  // the option whose value comes next
  for (auto word = words.begin(); word + 1 < words.end(); ++word) {
    if (pending != nullptr) {
      pending = nullptr;
    } else if (const CLI::Option* const option = command->get_option_no_throw(*word); option != nullptr) {
      if (option->get_items_expected_max() > 0) pending = option;
    } else {
      const auto inner = command->get_subcommands([&word](const CLI::App* one) { return one->get_name() == *word; });
      if (!inner.empty()) command = inner.front();
    }
  }
  if (pending != nullptr) return valuesOf(*pending, words);

  const bool wantsOption = words.back()[0] == '-';
  Completion completion;
  if (!wantsOption) {
    for (const CLI::App* one :
         command->get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); })) {
      completion.candidates.push_back({one->get_name(), one->get_description()});
    }
    for (const CLI::Option* option : command->get_options()) {
      if (option->get_positional()) completion = valuesOf(*option, words);
    }
  }
  if (wantsOption || (completion.candidates.empty() && completion.kind == Completion().kind)) {
    for (const CLI::Option* option : command->get_options()) {
      for (const std::string& name : option->get_lnames()) {
        completion.candidates.push_back({"--" + name, option->get_description()});
      }
    }
  }
  return completion;
}

}  // namespace

void printCompletions(const CLI::App& app, Words words) {
  if (words.empty()) words.emplace_back();
  // bash passes the equals sign in --option=value as a separate word; zsh passes the whole as one.
  const bool endsInSign = words.back() == "=";
  words.erase(std::remove(words.begin(), words.end(), "="), words.end());
  if (endsInSign) words.emplace_back();
  const std::size_t sign = words.back().find('=');
  if (words.back().compare(0, 2, "--") == 0 && sign != std::string::npos) {
    words.push_back(words.back().substr(sign + 1));
    words[words.size() - 2].resize(sign);
  }
  const Completion completion = complete(app, words);
  std::puts(completion.kind);
  for (const Candidate& candidate : completion.candidates) {
    if (candidate.word.compare(0, words.back().size(), words.back()) != 0) continue;
    std::printf("%s\t%s\n", candidate.word.c_str(), candidate.description.c_str());
  }
}
