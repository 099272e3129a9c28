// SPDX-License-Identifier: MIT
#include "cli/midi/MidiMap.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "catalog/catalog.h"
#include "cli/files/JsonFile.h"

namespace {

constexpr double kMostNumber = 127.0;
constexpr double kKnobTop = 10.0;

const char* kindName(MidiControl::Kind kind) {
  return kind == MidiControl::Kind::note ? "note" : kind == MidiControl::Kind::program ? "program" : "controller";
}

bool isKnob(LiveAction action) { return action == LiveAction::volume || action == LiveAction::fuzz; }

bool readFlag(const JsonFile& file, const JsonFile::Path& path) {
  if (!file.root().contains(path)) return false;
  const auto& flag = file.root().at(path);
  if (!flag.is_boolean()) file.fail(path, "must be true or false");
  return flag.get<bool>();
}

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
    {"tuner", LiveAction::tuner, "Press the switch for the tuner"},
    {"store", LiveAction::store, "Press the switch that stores the program"},
}};

std::string MidiControl::text() const { return std::string(kindName(kind)) + " " + std::to_string(number); }

MidiMap::MidiMap() {
  constexpr std::pair<catalog::Index, LiveAction> kTurned[] = {
      {catalog::kVolume, LiveAction::volume}, {catalog::kFuzz, LiveAction::fuzz}, {catalog::kOn, LiveAction::onOff}};
  for (const auto& [parameter, action] : kTurned) {
    for (const int controller : catalog::kParameters[parameter].controllers) {
      if (controller > 0) actions_[static_cast<std::size_t>(controller)] = action;
    }
    reported_[index(action)] = static_cast<std::uint8_t>(catalog::kParameters[parameter].controllers[0]);
  }
  actions_[catalog::kPreviousController] = LiveAction::previousProgram;
  actions_[catalog::kNextController] = LiveAction::nextProgram;
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
    for (const char* const key : {"from", "to"}) {
      if (isKnob(role.action)) known.emplace_back(key);
    }
    if (!isKnob(role.action)) known.emplace_back("pressOnly");
    if (role.action == LiveAction::onOff) known.emplace_back("toggle");
    file.expectObject(at, known);
    const MidiControl control = readControl(file, at);
    if (actionOf(control) != LiveAction::none) file.fail(at, "has the control of another action; keep one");
    assign(readFlag(file, at / "toggle") ? LiveAction::toggle : role.action, control);
    setPressOnly(role.action, readFlag(file, at / "pressOnly"));
    Range& range = ranges_[index(role.action)];
    for (auto& [key, end] : {std::pair<const char*, double&>("from", range.from), {"to", range.to}}) {
      if (file.root().contains(at / key)) end = file.number(at / key, 0.0, kKnobTop);
    }
  }
}

bool MidiMap::findControl(LiveAction action, MidiControl& control) const noexcept {
  std::size_t place = reported_[index(action)];
  if (actions_[place] != action) {
    const auto* const found = std::find(actions_.begin(), actions_.end(), action);
    if (found == actions_.end()) return false;
    place = static_cast<std::size_t>(found - actions_.begin());
  }
  control.kind = place < 128 ? MidiControl::Kind::controller : MidiControl::Kind::note;
  control.number = static_cast<std::uint8_t>(place % 128);
  return true;
}

float MidiMap::valueAt(LiveAction action, int position) const noexcept {
  const Range& range = ranges_[index(action)];
  return static_cast<float>((range.from + (range.to - range.from) * position / kMostNumber) / kKnobTop);
}

void MidiMap::assign(LiveAction action, const MidiControl& control) {
  std::replace_if(
      actions_.begin(), actions_.end(), [action](LiveAction other) { return index(other) == index(action); },
      LiveAction::none);
  actions_[place(control)] = action;
  reported_[index(action)] = static_cast<std::uint8_t>(place(control));
  ranges_[index(action)] = {};
  pressOnly_[index(action)] = false;
}

std::string MidiMap::text() const {
  nlohmann::ordered_json root = nlohmann::ordered_json::object();
  for (const Role& role : kRoles) {
    MidiControl control;
    const bool toggles = role.action == LiveAction::onOff && findControl(LiveAction::toggle, control);
    if (!toggles && !findControl(role.action, control)) continue;
    auto& entry = root[role.key];
    entry[kindName(control.kind)] = control.number;
    if (toggles) entry["toggle"] = true;
    if (sendsPressesOnly(role.action)) entry["pressOnly"] = true;
    const Range& range = ranges_[index(role.action)];
    if (range.from != 0.0) entry["from"] = range.from;
    if (range.to != kKnobTop) entry["to"] = range.to;
  }
  return root.dump(2) + "\n";
}
