// SPDX-License-Identifier: MIT
#include "lv2/window/Keyboard.h"

#include <cstdlib>
#include <memory>

#include "lv2/window/Panel.h"

namespace {

struct Name {
  xcb_keysym_t symbol;
  int key;
};
// Key symbols of the X protocol, of the main keys and of the keypad.
constexpr Name kNames[] = {
    {0xff09, Panel::kTab},
    {0xfe20, Panel::kBackTab},
    {0xff52, Panel::kUp},
    {0xff53, Panel::kUp},
    {0xff54, Panel::kDown},
    {0xff51, Panel::kDown},
    {0xff55, Panel::kPageUp},
    {0xff56, Panel::kPageDown},
    {0xff50, Panel::kHome},
    {0xff57, Panel::kEnd},
    {0xff0d, Panel::kEnter},
    {0xff1b, Panel::kEscape},
    {0xff08, Panel::kBackspace},
    {0xffff, Panel::kDelete},
    {0xff97, Panel::kUp},
    {0xff98, Panel::kUp},
    {0xff99, Panel::kDown},
    {0xff96, Panel::kDown},
    {0xff9a, Panel::kPageUp},
    {0xff9b, Panel::kPageDown},
    {0xff95, Panel::kHome},
    {0xff9c, Panel::kEnd},
    {0xff8d, Panel::kEnter},
    {0xff9f, Panel::kDelete},
    {0xffac, ','},
    {0xffad, '-'},
    {0xffae, '.'},
};
constexpr xcb_keysym_t kKeypadZero = 0xffb0, kKeypadNine = 0xffb9, kKeypadFirst = 0xff80;

int keyOfSymbol(xcb_keysym_t symbol) {
  if (symbol >= ' ' && symbol <= '~') return static_cast<int>(symbol);
  if (symbol >= kKeypadZero && symbol <= kKeypadNine) return '0' + static_cast<int>(symbol - kKeypadZero);
  for (const Name& name : kNames) {
    if (name.symbol == symbol) return name.key;
  }
  return 0;
}

}  // namespace

void Keyboard::read(xcb_connection_t* connection) {
  const xcb_setup_t* const setup = xcb_get_setup(connection);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> reply(
      xcb_get_keyboard_mapping_reply(connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count),
                                     nullptr),
      std::free);
  if (reply == nullptr) return;
  const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
  symbols_.assign(symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
  first_ = setup->min_keycode;
  width_ = reply->keysyms_per_keycode;
}

// Each of the first two groups (layouts of the keyboard) has two levels: plain, and with Shift.
xcb_keysym_t Keyboard::symbolOf(xcb_keycode_t code, unsigned group, unsigned level) const {
  const unsigned column = 2 * group + level;
  const std::size_t place = static_cast<std::size_t>(code - first_) * width_ + column;
  return code >= first_ && column < width_ && place < symbols_.size() ? symbols_[place] : 0;
}

int Keyboard::keyOf(xcb_keycode_t code, unsigned state) const {
  if ((state & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4)) != 0) return 0;
  unsigned group = state >> 13 & 1U;
  if (symbolOf(code, group, 0) == 0) group = 0;
  const bool hasShift = (state & XCB_MOD_MASK_SHIFT) != 0, hasNumLock = (state & XCB_MOD_MASK_2) != 0;
  const xcb_keysym_t plain = symbolOf(code, group, 0), shifted = symbolOf(code, group, 1);
  const bool isKeypad = shifted >= kKeypadFirst && shifted <= kKeypadNine;
  const bool usesShifted = isKeypad ? hasShift != hasNumLock : hasShift;
  return keyOfSymbol(usesShifted && shifted != 0 ? shifted : plain);
}
