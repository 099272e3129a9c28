// SPDX-License-Identifier: MIT
#pragma once

#include <cairo/cairo.h>
#include <xcb/xcb.h>

#include <chrono>
#include <memory>

#include "lv2/window/Keyboard.h"
#include "lv2/window/Panel.h"

// The pedal's window inside one of the host's, with a connection to the X server of its own, so that nothing that
// happens to either can reach the host's. One thread calls everything. XCB, because Xlib ends the process when the host
// destroys the parent window first, or when the connection is lost.
class XWindow {
 public:
  static constexpr double kLeastScale = 0.75;
  static constexpr double kMostScale = 3.0;

  // Opens on the display of the environment variable DISPLAY, in `parent`, or on its own when that is 0. `scale` is
  // pixels for each pixel of the layout; 0 takes the setting Xft.dpi of the server. Throws std::runtime_error with the
  // reason.
  XWindow(Panel& panel, xcb_window_t parent, double scale);
  ~XWindow();
  XWindow(const XWindow&) = delete;
  XWindow& operator=(const XWindow&) = delete;

  xcb_window_t id() const { return window_; }
  int width() const { return width_; }
  int height() const { return height_; }

  // Handles what has happened and draws what has changed, at most 30 times a second and not while the window is hidden.
  // False once the window or the connection is gone. Never waits.
  bool update();

  // In pixels. Takes effect when the server says so.
  void resize(int width, int height);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };
  struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  };
  using Surface = std::unique_ptr<cairo_surface_t, Destroy>;

  double readScale() const;
  xcb_visualtype_t* visual() const;
  void create(xcb_window_t parent);
  void suggestSizes() const;
  void handle(const xcb_generic_event_t& event);
  void handleButton(const xcb_button_press_event_t& event);
  void handleKey(const xcb_key_press_event_t& event);
  void passToHost(xcb_key_press_event_t event) const;
  void fit(int width, int height);
  bool isViewable();
  void draw();
  void drawParts(cairo_t* context, const Panel::Changes& changes) const;

  Panel& panel_;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_screen_t* screen_ = nullptr;
  xcb_window_t parent_ = 0;
  xcb_window_t window_ = 0;
  Keyboard keyboard_;
  Surface surface_;
  Surface box_;  // what never changes, at this size
  int width_ = 0;
  int height_ = 0;
  bool isGone_ = false;
  bool drawsAll_ = true;
  bool isCovered_ = true;   // until the server says otherwise
  bool isViewable_ = true;  // as of the last answer
  bool isAsking_ = false;
  xcb_get_window_attributes_cookie_t question_{};
  std::chrono::steady_clock::time_point nextFrame_{};
};
