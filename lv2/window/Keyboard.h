// SPDX-License-Identifier: MIT
#pragma once

#include <xcb/xcb.h>

#include <vector>

// What the keys of an X server mean, for the keys that the window knows.
class Keyboard {
 public:
  // Asks the server; call it again when the mapping changes. A server that does not answer leaves all keys unknown.
  void read(xcb_connection_t* connection);

  // A Panel::Key or an ASCII code; 0 for any other key, and for one that is held with Control, Alt or Super.
  int keyOf(xcb_keycode_t code, unsigned state) const;

 private:
  xcb_keysym_t symbolOf(xcb_keycode_t code, unsigned group, unsigned level) const;

  std::vector<xcb_keysym_t> symbols_;  // `width_` for each code from `first_` on
  unsigned first_ = 0;
  unsigned width_ = 0;
};
