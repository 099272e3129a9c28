// SPDX-License-Identifier: MIT
#include "lv2/window/Panel.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace {

constexpr int kNone = PedalState::kNone;
constexpr unsigned kDoubleClick = 350;  // milliseconds
constexpr double kFine = 10.0;          // how much finer Shift makes a turn
constexpr int kStepsOfWheel = 2;        // as on the page
constexpr std::size_t kMostTyped = 8;

const catalog::Parameter& parameterOf(int control) { return catalog::kParameters[control]; }
bool isKnob(int control) { return control >= 0 && control < PedalState::kNumControls && control != catalog::kOn; }
double rangeOf(int control) { return parameterOf(control).maximum - parameterOf(control).minimum; }
double stepOf(int control) { return rangeOf(control) / (parameterOf(control).steps - 1); }

// Within the control's range; NaN is the lowest value.
float withinRange(int control, double value) {
  const catalog::Parameter& parameter = parameterOf(control);
  if (!(value > parameter.minimum)) return static_cast<float>(parameter.minimum);
  if (parameter.scale == catalog::Scale::toggle) return static_cast<float>(parameter.maximum);
  return static_cast<float>(std::min(value, parameter.maximum));
}

// On a position where the control clicks, or on a tenth of one.
double snapped(int control, double value, bool isFine) {
  const double step = stepOf(control) / (isFine ? kFine : 1.0);
  return std::round(value / step) * step;
}

}  // namespace

void Panel::setValue(int control, float value) {
  if (control == held_) return;
  const float inRange = withinRange(control, static_cast<double>(value));
  float& mine = state_.values[static_cast<std::size_t>(control)];
  if (mine == inRange) return;
  mine = inRange;
  mark(control);
  mark(PedalState::kPresets);
}

void Panel::setLevel(int meter, float level) {
  const float inRange = level > 0.0F ? std::min(level, 1.0F) : 0.0F;
  float& mine = state_.levels[static_cast<std::size_t>(meter)];
  if (mine == inRange) return;
  mine = inRange;
  mark(layout::kMeterIn + meter);
}

void Panel::change(int control, float value) {
  float& mine = state_.values[static_cast<std::size_t>(control)];
  if (mine == value) return;
  mine = value;
  mark(control);
  mark(PedalState::kPresets);
  host_.write(control, value);
}

void Panel::changeBriefly(int control, double value) {
  const bool wasHeld = control == held_;
  if (!wasHeld) host_.touch(control, true);
  change(control, withinRange(control, value));
  if (wasHeld) {
    dragValue_ = static_cast<double>(state_.valueOf(control));
  } else {
    host_.touch(control, false);
  }
}

void Panel::step(int control, double steps, bool isFine) {
  const double value = static_cast<double>(state_.valueOf(control)) + steps * stepOf(control) / (isFine ? kFine : 1.0);
  changeBriefly(control, snapped(control, value, isFine));
}

void Panel::setFocus(int control) {
  if (control == state_.focus) return;
  endTyping(true);
  mark(state_.focus);
  mark(control);
  state_.focus = control;
}

void Panel::setKeyboard(bool isHere) {
  if (!isHere) endTyping(false);
  state_.showsFocus = isHere;
  mark(state_.focus);
}

void Panel::press(layout::Point at, unsigned time) {
  if (state_.menuIsOpen) {
    const int preset = layout::presetAt(at);
    setMenu(false, 0);
    if (preset != kNone) loadPreset(preset);
    return;
  }
  if (const int shown = layout::valueAt(at); shown != kNone) {
    setFocus(shown);
    state_.isTyping = true;
    mark(shown);
    return;
  }
  endTyping(true);
  const int control = layout::controlAt(at);
  const bool isDouble = control == clicked_ && time - clickTime_ < kDoubleClick;
  clicked_ = isDouble ? kNone : control;
  clickTime_ = time;
  if (control == kNone) return;
  setFocus(control);
  if (control == PedalState::kPresets) {
    setMenu(true, state_.preset());
  } else if (control == catalog::kOn) {
    step(control, state_.valueOf(control) > 0.0F ? -1 : 1, false);
  } else {
    if (held_ != kNone) release();
    held_ = control;
    dragY_ = at.y;
    dragValue_ = static_cast<double>(state_.valueOf(control));
    host_.touch(control, true);
    if (isDouble) changeBriefly(control, parameterOf(control).initial);
  }
}

void Panel::move(layout::Point at, bool isFine) {
  if (state_.menuIsOpen) {
    const int preset = layout::presetAt(at);
    if (preset != kNone && preset != state_.highlighted) setMenu(true, preset);
  }
  if (held_ == kNone || at.y == dragY_) return;
  clicked_ = kNone;
  dragValue_ += (dragY_ - at.y) / catalog::pedal::kTravel * rangeOf(held_) / (isFine ? kFine : 1.0);
  dragValue_ = std::clamp(dragValue_, parameterOf(held_).minimum, parameterOf(held_).maximum);
  dragY_ = at.y;
  change(held_, withinRange(held_, snapped(held_, dragValue_, isFine)));
}

void Panel::release() {
  if (held_ != kNone) host_.touch(std::exchange(held_, kNone), false);
}

void Panel::turnWheel(layout::Point at, int steps, bool isFine) {
  if (state_.menuIsOpen) return;
  int control = layout::controlAt(at);
  if (control == kNone) control = layout::valueAt(at);
  if (!isKnob(control)) return;
  endTyping(false);
  step(control, isFine ? steps : steps * kStepsOfWheel, isFine);
}

bool Panel::type(int key, bool isFine) {
  if (state_.menuIsOpen) return typeInMenu(key);
  if (key == kTab || key == kBackTab) {
    const auto& order = layout::kFocusOrder;
    const auto* const here = std::find(order.begin(), order.end(), state_.focus);
    const std::size_t place =
        here == order.end() ? (key == kTab ? order.size() - 1 : 0) : static_cast<std::size_t>(here - order.begin());
    setFocus(order[(place + (key == kTab ? 1 : order.size() - 1)) % order.size()]);
    return true;
  }
  if (isKnob(state_.focus) && typeNumber(key)) return true;
  if (state_.focus == PedalState::kPresets) {
    if (key != kEnter && key != kUp && key != kDown) return false;
    setMenu(true, state_.preset());
    return true;
  }
  return state_.focus != kNone && typeAtControl(key, isFine);
}

bool Panel::typeAtControl(int key, bool isFine) {
  const int control = state_.focus;
  const double lowest = parameterOf(control).minimum, highest = parameterOf(control).maximum;
  if (control == catalog::kOn && key == kEnter) {
    step(control, state_.valueOf(control) > 0.0F ? -1 : 1, false);
    return true;
  }
  switch (key) {
    case kUp: step(control, 1, isFine); return true;
    case kDown: step(control, -1, isFine); return true;
    case kPageUp: step(control, rangeOf(control) / 10 / stepOf(control), false); return true;
    case kPageDown: step(control, -rangeOf(control) / 10 / stepOf(control), false); return true;
    case kHome: changeBriefly(control, lowest); return true;
    case kEnd: changeBriefly(control, highest); return true;
    case kDelete: changeBriefly(control, parameterOf(control).initial); return true;
    default: return false;
  }
}

// A digit, sign or decimal point begins to type over the value, Enter takes it, Escape leaves the old one.
bool Panel::typeNumber(int key) {
  const bool isNumber = (key >= '0' && key <= '9') || key == '.' || key == ',' || key == '-';
  if (!isNumber && !state_.isTyping) return false;
  if (isNumber) {
    state_.isTyping = true;
    if (state_.typed.size() < kMostTyped) state_.typed += key == ',' ? '.' : static_cast<char>(key);
  } else if (key == kBackspace) {
    if (!state_.typed.empty()) state_.typed.pop_back();
  } else if (key == kEnter || key == kEscape) {
    endTyping(key == kEnter);
  } else {
    return key >= ' ' && key <= '~' && key != ' ';  // swallowed: a slip of the finger must not be the host's shortcut
  }
  mark(state_.focus);
  return true;
}

void Panel::endTyping(bool keep) {
  if (!std::exchange(state_.isTyping, false)) return;
  const std::string typed = std::exchange(state_.typed, {});
  double value = 0.0;
  const auto [end, error] = std::from_chars(typed.data(), typed.data() + typed.size(), value);
  if (keep && error == std::errc() && end == typed.data() + typed.size()) {
    changeBriefly(state_.focus, std::round(value * 100.0) / 100.0);
  }
  mark(state_.focus);
}

void Panel::setMenu(bool isOpen, int highlighted) {
  state_.menuIsOpen = isOpen;
  state_.highlighted = std::max(highlighted, 0);
  menuChanged_ = true;
}

bool Panel::typeInMenu(int key) {
  constexpr int kLast = layout::kNumPresets - 1;
  const int here = state_.highlighted;
  switch (key) {
    case kUp: setMenu(true, std::max(here - 1, 0)); return true;
    case kDown: setMenu(true, std::min(here + 1, kLast)); return true;
    case kHome: setMenu(true, 0); return true;
    case kEnd: setMenu(true, kLast); return true;
    case kEnter:
      setMenu(false, 0);
      loadPreset(here);
      return true;
    case kEscape: setMenu(false, 0); return true;
    case kTab:
    case kBackTab: setMenu(false, 0); return type(key, false);
    default: return false;
  }
}

void Panel::loadPreset(int preset) {
  for (const int knob : layout::kKnobs) changeBriefly(knob, catalog::kPresets[preset].values[knob]);
}

Panel::Changes Panel::takeChanges() {
  // An open menu covers other parts, so it is drawn with all of them.
  const Changes changes{changed_, menuChanged_ || state_.menuIsOpen};
  changed_.reset();
  menuChanged_ = false;
  return changes;
}
