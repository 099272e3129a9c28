// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What a control does to the effect.
enum class LiveAction : std::uint8_t { none, volume, fuzz, onOff, toggle, previousProgram, nextProgram };

// One control of a MIDI device: a knob, a pedal or a switch that sends a controller or a note.
struct MidiControl {
  enum class Kind : std::uint8_t { controller, note };
  Kind kind = Kind::controller;
  std::uint8_t number = 0;  // 0 to 127
  std::uint8_t value = 0;   // 0 to 127; of a note its velocity, 0 when it ends

  bool isPressed() const noexcept { return value >= (kind == Kind::note ? 1 : 64); }
  bool isSameControl(const MidiControl& other) const noexcept { return kind == other.kind && number == other.number; }
  std::string text() const;  // "controller 7"
};

// Which MIDI control does what: a plain table, so that the audio thread may read it.
class MidiMap {
 public:
  static constexpr std::size_t kNumRoles = 5;
  // What a map's file (docs/midi-map.schema.json) calls the actions, in the order of learning.
  struct Role {
    const char* key;
    LiveAction action;
    const char* request;  // what to do when the map is learned
  };
  static const std::array<Role, kNumRoles> kRoles;

  // Controllers 7 Volume, 16 Fuzz, 64 On/Off, 80 and 81 the previous and next program.
  MidiMap();

  // Reads a file; an action that it leaves out has no control. Throws Failure naming line and key.
  explicit MidiMap(const std::string& path);

  LiveAction actionOf(const MidiControl& control) const noexcept { return actions_[place(control)]; }

  // The control is the only one of `action` from then on, and does nothing else. LiveAction::toggle stands in the place
  // of LiveAction::onOff.
  void assign(LiveAction action, const MidiControl& control);

  // The text of the file.
  std::string text() const;

 private:
  static std::size_t place(const MidiControl& control) noexcept {
    return (control.kind == MidiControl::Kind::note ? 128U : 0U) + (control.number & 127U);
  }

  std::array<LiveAction, 256> actions_{};  // by controller, then by note
};
