// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What a control does to the effect.
enum class LiveAction : std::uint8_t {
  none,
  volume,
  fuzz,
  onOff,   // on while pressed
  toggle,  // switches over at each press
  previousProgram,
  nextProgram,
  tuner,
  store,
  count
};

// One control of a MIDI device: a knob, a pedal or a switch that sends a controller, a note or a program change.
struct MidiControl {
  static constexpr int kPressed = 64;  // the lowest controller value that counts as pressed
  enum class Kind : std::uint8_t { controller, note, program };
  Kind kind = Kind::controller;
  std::uint8_t number = 0;  // 0 to 127
  std::uint8_t value = 0;   // 0 to 127; for a note its velocity, 0 when it ends

  bool isPressed() const noexcept { return value >= (kind == Kind::note ? 1 : kPressed); }
  bool isSameControl(const MidiControl& other) const noexcept { return kind == other.kind && number == other.number; }
  std::string text() const;  // "controller 7"
};

// Which MIDI control does what: a plain table that the audio thread can read.
class MidiMap {
 public:
  static constexpr std::size_t kNumRoles = 7;
  // What a map's file (docs/midi-map.schema.json) calls the actions, in the order of learning.
  struct Role {
    const char* key;
    LiveAction action;
    const char* request;  // the prompt while the map is learned
  };
  static const std::array<Role, kNumRoles> kRoles;

  // The catalog's default controllers; no tuner, no storing.
  MidiMap();

  // Reads a file; an action that it leaves out has no control. Throws Failure naming line and key.
  explicit MidiMap(const std::string& path);

  LiveAction actionOf(const MidiControl& control) const noexcept { return actions_[place(control)]; }

  // The control that stands for `action` in reports and files; false when the action has none.
  bool findControl(LiveAction action, MidiControl& control) const noexcept;

  // The knob's value, 0 to 1, when a control for Volume or Fuzz is at 0 to 127.
  float valueAt(LiveAction action, int position) const noexcept;

  // Whether a switch is press-only, so that each message of 64 or more is a press. Otherwise a controller counts as
  // pressed when it rises to 64.
  bool sendsPressesOnly(LiveAction action) const noexcept { return pressOnly_[index(action)]; }
  void setPressOnly(LiveAction action, bool pressOnly) noexcept { pressOnly_[index(action)] = pressOnly; }

  // Makes the control the only one of `action`, over the whole range, and removes its other actions. LiveAction::toggle
  // replaces LiveAction::onOff.
  void assign(LiveAction action, const MidiControl& control);

  // The text of the file.
  std::string text() const;

 private:
  static std::size_t place(const MidiControl& control) noexcept {
    return (control.kind == MidiControl::Kind::note ? 128U : 0U) + (control.number & 127U);
  }

  // The index of an action; toggle and onOff share one.
  static std::size_t index(LiveAction action) noexcept {
    return static_cast<std::size_t>(action == LiveAction::toggle ? LiveAction::onOff : action);
  }

  struct Range {
    double from = 0.0;  // the knob at 0, on its scale of 0 to 10
    double to = 10.0;   // and at 127
  };
  static constexpr std::size_t kNumActions = static_cast<std::size_t>(LiveAction::count);

  std::array<LiveAction, 256> actions_{};             // by controller, then by note
  std::array<std::uint8_t, kNumActions> reported_{};  // by action, its place in actions_
  std::array<Range, kNumActions> ranges_{};
  std::array<bool, kNumActions> pressOnly_{};
};
