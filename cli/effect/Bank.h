// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "cli/effect/EffectParameter.h"

class HostedEffect;

// The effect's programs, with names and values, as a file stores them (docs/bank.schema.json).
class Bank {
 public:
  static constexpr std::size_t kLongestName = catalog::kLongestProgramName;  // bytes

  // Reads a file; `effect` provides the names of the parameters and the number of programs. The file may have fewer
  // programs, and a program may leave out what is not to change. Throws Failure naming line and key.
  Bank(const std::string& path, const HostedEffect& effect);

  // All programs of `effect`. The selected program stays the same.
  explicit Bank(HostedEffect& effect);

  // Sets the programs of an effect, by program selection, parameters and names, and selects the first one.
  void restore(HostedEffect& effect) const;

  // The programs' names, from the first on; empty where none is known.
  std::vector<std::string> names() const;

  // The text of the file.
  std::string text() const;

 private:
  struct Program {
    std::optional<std::string> name;
    std::map<int, float> values;  // by parameter
  };

  std::vector<EffectParameter> parameters_;
  std::vector<Program> programs_;
};
