// SPDX-License-Identifier: MIT
#include "cli/effect/Bank.h"

#include <nlohmann/json.hpp>

#include "cli/files/JsonFile.h"
#include "player/HostedEffect.h"

Bank::Bank(const std::string& path, const HostedEffect& effect) : parameters_(parametersOf(effect)) {
  const JsonFile file(path);
  const JsonFile::Path list("/programs");
  file.expectObject(JsonFile::Path(), {"$schema", "programs"});
  const auto& programs = file.at(JsonFile::Path(), "programs");
  file.expectArray(list);
  const auto most = static_cast<std::size_t>(effect.record().numPrograms);
  if (programs.size() > most) {
    file.fail(list / most, "is one program too many; a bank has " + std::to_string(most));
  }
  std::vector<std::string> keys = namesOf(parameters_);
  keys.emplace_back("name");
  for (std::size_t i = 0; i < programs.size(); ++i) {
    const JsonFile::Path path_i = list / i;
    file.expectObject(path_i, keys);
    Program& program = programs_.emplace_back();
    if (programs[i].contains("name")) {
      if (!programs[i]["name"].is_string()) file.fail(path_i / "name", "must be a text in quotes");
      program.name = programs[i]["name"].get<std::string>();
      if (program.name->size() > kLongestName) {
        file.fail(path_i / "name", "is too long; the effect keeps " + std::to_string(kLongestName) +
                                       " bytes (letters outside of ASCII have two and more)");
      }
    }
    for (std::size_t p = 0; p < parameters_.size(); ++p) {
      const std::string& key = parameters_[p].name;
      if (programs[i].contains(key)) program.values[static_cast<int>(p)] = parameters_[p].read(file, path_i / key);
    }
  }
}

Bank::Bank(HostedEffect& effect) : parameters_(parametersOf(effect)) {
  const auto selected = static_cast<int>(effect.ask(EffectOpcode::getProgram));
  for (int i = 0; i < effect.record().numPrograms; ++i) {
    Program& program = programs_.emplace_back();
    effect.setProgram(i);
    // The indexed name is the one that was stored; the plain one may have a number appended.
    program.name = askText(effect, EffectOpcode::getProgramNameIndexed, i, -1);
    for (int p = 0; p < effect.record().numParams; ++p) program.values[p] = effect.parameter(p);
  }
  effect.setProgram(selected);
}

void Bank::restore(HostedEffect& effect) const {
  for (std::size_t i = 0; i < programs_.size(); ++i) {
    effect.setProgram(static_cast<int>(i));
    for (const auto& [parameter, value] : programs_[i].values) effect.setParameter(parameter, value);
    if (programs_[i].name) effect.setProgramName(programs_[i].name->c_str());
  }
  effect.setProgram(0);
}

std::vector<std::string> Bank::names() const {
  std::vector<std::string> names;
  for (const Program& program : programs_) names.push_back(program.name.value_or(""));
  return names;
}

std::string Bank::text() const {
  auto list = nlohmann::ordered_json::array();
  for (const Program& program : programs_) {
    nlohmann::ordered_json item;
    item["name"] = program.name.value_or("");
    for (const auto& [parameter, value] : program.values) {
      const EffectParameter& one = parameters_[static_cast<std::size_t>(parameter)];
      item[one.name] = one.knobAt(value);
    }
    list.push_back(item);
  }
  const nlohmann::ordered_json root = {{"programs", list}};
  return root.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}
