// SPDX-License-Identifier: MIT
#pragma once

#include <bitset>

#include "lv2/window/Layout.h"
#include "lv2/window/PedalState.h"

// What the pedal does when somebody points at it, drags, types, or when the host moves a control. Knows nothing of X
// and nothing of LV2. One thread, the host's user interface, calls everything.
class Panel {
 public:
  // Where changes go. `control` is a row of catalog::kParameters, `value` is on the scale that people read.
  class Host {
   public:
    virtual ~Host() = default;
    virtual void write(int control, float value) = 0;
    // Somebody takes hold of a control, or lets go of it: automation is recorded in between.
    virtual void touch(int control, bool grabbed) = 0;
  };

  // Keys beside the printable ones, which are their ASCII codes.
  enum Key : int {
    kTab = 256,
    kBackTab,
    kUp,
    kDown,
    kPageUp,
    kPageDown,
    kHome,
    kEnd,
    kEnter,
    kEscape,
    kBackspace,
    kDelete
  };

  explicit Panel(Host& host) : host_(host) { changed_.set(); }

  const PedalState& state() const { return state_; }

  // The host's values. A control that somebody holds stays where it is. What is not finite or out of range is taken
  // into the range.
  void setValue(int control, float value);
  void setLevel(int meter, float level);

  // The main button of the pointer, at a time in milliseconds.
  void press(layout::Point at, unsigned time);
  void move(layout::Point at, bool isFine);
  void release();
  // `steps` of the wheel, up is positive.
  void turnWheel(layout::Point at, int steps, bool isFine);
  // False for a key that means nothing here: it is the host's.
  bool type(int key, bool isFine);
  void setKeyboard(bool isHere);

  // The parts to draw since the last call; all of them when `drawsAll`.
  struct Changes {
    std::bitset<layout::kNumParts> parts;
    bool drawsAll;
  };
  Changes takeChanges();
  bool hasChanged() const { return changed_.any() || menuChanged_; }

 private:
  void change(int control, float value);
  void changeBriefly(int control, double value);
  void step(int control, double steps, bool isFine);
  void setFocus(int control);
  void endTyping(bool keep);
  bool typeNumber(int key);
  void setMenu(bool isOpen, int highlighted);
  void loadPreset(int preset);
  bool typeInMenu(int key);
  bool typeAtControl(int key, bool isFine);
  void mark(int part) {
    if (part >= 0) changed_.set(static_cast<std::size_t>(part));
  }

  Host& host_;
  PedalState state_;
  std::bitset<layout::kNumParts> changed_;
  bool menuChanged_ = false;
  int held_ = PedalState::kNone;
  double dragY_ = 0.0;      // where the pointer was
  double dragValue_ = 0.0;  // the value before it is rounded to a step
  int clicked_ = PedalState::kNone;
  unsigned clickTime_ = 0;
};
