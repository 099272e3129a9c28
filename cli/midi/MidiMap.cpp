// SPDX-License-Identifier: MIT
#include "cli/midi/MidiMap.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/files/JsonFile.h"

namespace {

constexpr double kMostNumber = 127.0;

const char* kindName(MidiControl::Kind kind) { return kind == MidiControl::Kind::note ? "note" : "controller"; }

MidiControl readControl(const JsonFile& file, const JsonFile::Path& path) {
  MidiControl control;
  int found = 0;
  for (const auto kind : {MidiControl::Kind::controller, MidiControl::Kind::note}) {
    if (!file.root().at(path).contains(kindName(kind))) continue;
    const JsonFile::Path number = path / kindName(kind);
    const double value = file.number(number, 0.0, kMostNumber);
    if (value != std::floor(value)) file.fail(number, "must be a whole number");
    control.kind = kind;
    control.number = static_cast<std::uint8_t>(value);
    ++found;
  }
  if (found != 1) file.fail(path, R"(needs one of "controller" and "note")");
  return control;
}

}  // namespace

const std::array<MidiMap::Role, MidiMap::kNumRoles> MidiMap::kRoles = {{
    {"volume", LiveAction::volume, "Move the control for Volume"},
    {"fuzz", LiveAction::fuzz, "Move the control for Fuzz"},
    {"on/off", LiveAction::onOff, "Press the switch for on and off"},
    {"previous", LiveAction::previousProgram, "Press the switch for the previous program"},
    {"next", LiveAction::nextProgram, "Press the switch for the next program"},
}};

std::string MidiControl::text() const { return std::string(kindName(kind)) + " " + std::to_string(number); }

MidiMap::MidiMap() {
  actions_[7] = LiveAction::volume;
  actions_[16] = LiveAction::fuzz;
  actions_[64] = LiveAction::onOff;
  actions_[80] = LiveAction::previousProgram;
  actions_[81] = LiveAction::nextProgram;
}

MidiMap::MidiMap(const std::string& path) {
  const JsonFile file(path);
  std::vector<std::string> keys = {"$schema"};
  for (const Role& role : kRoles) keys.emplace_back(role.key);
  file.expectObject(JsonFile::Path(), keys);
  for (const Role& role : kRoles) {
    if (!file.root().contains(role.key)) continue;
    const JsonFile::Path at = JsonFile::Path() / role.key;
    std::vector<std::string> known = {"controller", "note"};
    if (role.action == LiveAction::onOff) known.emplace_back("toggle");
    file.expectObject(at, known);
    const MidiControl control = readControl(file, at);
    if (actionOf(control) != LiveAction::none) file.fail(at, "has a control that another action has; keep one");
    LiveAction action = role.action;
    if (file.root()[role.key].contains("toggle")) {
      const auto& toggle = file.root()[role.key]["toggle"];
      if (!toggle.is_boolean()) file.fail(at / "toggle", "must be true or false");
      if (toggle.get<bool>()) action = LiveAction::toggle;
    }
    assign(action, control);
  }
}

void MidiMap::assign(LiveAction action, const MidiControl& control) {
  const auto isSameRole = [action](LiveAction other) {
    const auto plain = [](LiveAction a) { return a == LiveAction::toggle ? LiveAction::onOff : a; };
    return plain(other) == plain(action);
  };
  std::replace_if(actions_.begin(), actions_.end(), isSameRole, LiveAction::none);
  actions_[place(control)] = action;
}

std::string MidiMap::text() const {
  nlohmann::ordered_json root = nlohmann::ordered_json::object();
  for (const Role& role : kRoles) {
    for (std::size_t i = 0; i < actions_.size(); ++i) {
      const bool toggles = actions_[i] == LiveAction::toggle && role.action == LiveAction::onOff;
      if (actions_[i] != role.action && !toggles) continue;
      root[role.key][i < 128 ? "controller" : "note"] = i % 128;
      if (toggles) root[role.key]["toggle"] = true;
    }
  }
  return root.dump(2) + "\n";
}
