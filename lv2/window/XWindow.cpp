// SPDX-License-Identifier: MIT
#include "lv2/window/XWindow.h"

#include <cairo/cairo-xcb.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include "lv2/window/Drawing.h"
#include "lv2/window/Layout.h"

namespace {

namespace pedal = catalog::pedal;
using layout::View;

constexpr auto kFrame = std::chrono::microseconds(33333);
constexpr auto kHiddenLook =
    std::chrono::milliseconds(250);       // between two questions whether the window is still hidden
constexpr unsigned kSurround = 0x15130f;  // behind the pedal's round corners

template <typename Answer>
std::unique_ptr<Answer, decltype(&std::free)> owned(Answer* answer) {
  return {answer, std::free};
}

}  // namespace

XWindow::XWindow(Panel& panel, xcb_window_t parent, double scale) : panel_(panel), parent_(parent) {
  int number = 0;
  connection_.reset(xcb_connect(nullptr, &number));
  if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X server can be reached");
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
  for (; number > 0 && screens.rem > 1; --number) xcb_screen_next(&screens);
  screen_ = screens.data;
  if (!(scale > 0.0)) scale = readScale();
  scale = std::clamp(scale, kLeastScale, kMostScale);
  width_ = static_cast<int>(std::lround(pedal::kWidth * scale));
  height_ = static_cast<int>(std::lround(pedal::kHeight * scale));
  keyboard_.read(connection_.get());
  create(parent != 0 ? parent : screen_->root);
}

XWindow::~XWindow() {
  if (surface_ != nullptr) {
    // Cairo keeps a device for each connection; one that outlives it would be found again under the same address.
    cairo_device_t* const device = cairo_device_reference(cairo_surface_get_device(surface_.get()));
    box_.reset();
    surface_.reset();
    cairo_device_finish(device);
    cairo_device_destroy(device);
  }
  if (window_ != 0 && !isGone_) xcb_destroy_window(connection_.get(), window_);
}

// The parent may have another depth and other colours than the screen, so the window has a border and a colour map of
// its own: the server would otherwise try to copy the parent's and refuse.
void XWindow::create(xcb_window_t parent) {
  xcb_connection_t* const x = connection_.get();
  constexpr std::uint32_t kEvents =
      XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE |
      XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
      XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
  const std::uint32_t values[] = {screen_->black_pixel, kEvents, screen_->default_colormap};
  window_ = xcb_generate_id(x);
  const auto created = xcb_create_window_checked(
      x, screen_->root_depth, window_, parent, 0, 0, static_cast<std::uint16_t>(width_),
      static_cast<std::uint16_t>(height_), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
      XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
  const auto error = owned(xcb_request_check(x, created));
  if (error != nullptr || xcb_connection_has_error(x) != 0) {
    throw std::runtime_error("the X server refused it" +
                             (error != nullptr ? ", error " + std::to_string(error->error_code) : std::string()));
  }
  suggestSizes();
  surface_.reset(cairo_xcb_surface_create(x, window_, visual(), width_, height_));
  if (cairo_surface_status(surface_.get()) != CAIRO_STATUS_SUCCESS) {
    const cairo_status_t status = cairo_surface_status(surface_.get());
    surface_.reset();
    throw std::runtime_error(cairo_status_to_string(status));
  }
  xcb_map_window(x, window_);
  // The host looks for the window through its own connection, so the server must have it when this returns.
  owned(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
}

// WM_NORMAL_HINTS: the least size, the proportions and the best size. Hosts read them, and window managers do.
void XWindow::suggestSizes() const {
  constexpr std::uint32_t kMinimum = 1U << 4, kAspect = 1U << 7, kBase = 1U << 8;
  std::uint32_t hints[18] = {kMinimum | kAspect | kBase};
  hints[5] = static_cast<std::uint32_t>(pedal::kWidth * kLeastScale);
  hints[6] = static_cast<std::uint32_t>(pedal::kHeight * kLeastScale);
  hints[11] = hints[13] = static_cast<std::uint32_t>(pedal::kWidth);
  hints[12] = hints[14] = static_cast<std::uint32_t>(pedal::kHeight);
  hints[15] = static_cast<std::uint32_t>(width_);
  hints[16] = static_cast<std::uint32_t>(height_);
  xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                      XCB_ATOM_WM_SIZE_HINTS, 32, std::size(hints), hints);
}

// Xft.dpi in the server's resources, where desktops put their scale: 96 is 1.
double XWindow::readScale() const {
  const auto reply = owned(xcb_get_property_reply(
      connection_.get(),
      xcb_get_property(connection_.get(), 0, screen_->root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, 65536),
      nullptr));
  if (reply == nullptr) return 1.0;
  std::string resources = "\n";
  resources.append(static_cast<const char*>(xcb_get_property_value(reply.get())),
                   static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
  constexpr const char* kKey = "\nXft.dpi:";
  const std::size_t found = resources.find(kKey);
  const double dpi =
      found == std::string::npos ? 0.0 : std::atof(resources.c_str() + found + std::char_traits<char>::length(kKey));
  return dpi > 0.0 ? dpi / 96.0 : 1.0;
}

xcb_visualtype_t* XWindow::visual() const {
  for (auto depths = xcb_screen_allowed_depths_iterator(screen_); depths.rem > 0; xcb_depth_next(&depths)) {
    for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals)) {
      if (visuals.data->visual_id == screen_->root_visual) return visuals.data;
    }
  }
  throw std::runtime_error("the X server does not describe its colours");
}

bool XWindow::update() {
  xcb_connection_t* const x = connection_.get();
  while (const auto event = owned(xcb_poll_for_event(x))) handle(*event);
  if (xcb_connection_has_error(x) != 0 || isGone_) return false;
  const auto now = std::chrono::steady_clock::now();
  if (now < nextFrame_ || !(drawsAll_ || panel_.hasChanged())) return true;
  if (!isViewable()) {
    nextFrame_ = now + kHiddenLook;
    return true;
  }
  nextFrame_ = std::max(nextFrame_ + kFrame, now);  // a host that is a little late now and then still gets 30 a second
  draw();
  return true;
}

// The server does not say when a window around this one is hidden, but it exposes this one when that is shown again.
// Asks at every frame and takes the answer at the next, so that nothing waits for the server.
bool XWindow::isViewable() {
  xcb_connection_t* const x = connection_.get();
  void* answer = nullptr;
  xcb_generic_error_t* error = nullptr;
  if (isAsking_ && xcb_poll_for_reply(x, question_.sequence, &answer, &error) != 0) {
    isAsking_ = false;
    const auto reply = owned(static_cast<xcb_get_window_attributes_reply_t*>(answer));
    const auto fault = owned(error);
    isViewable_ = reply != nullptr && reply->map_state == XCB_MAP_STATE_VIEWABLE;
  }
  if (!isAsking_) {
    question_ = xcb_get_window_attributes(x, window_);
    isAsking_ = true;
    xcb_flush(x);
  }
  return isViewable_ && !isCovered_;
}

void XWindow::resize(int width, int height) {
  if (isGone_ || width <= 0 || height <= 0) return;
  const std::uint32_t size[] = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
  xcb_configure_window(connection_.get(), window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
  xcb_flush(connection_.get());
}

void XWindow::fit(int width, int height) {
  if (width == width_ && height == height_) return;
  width_ = width;
  height_ = height;
  cairo_xcb_surface_set_size(surface_.get(), width, height);
  box_.reset();
  drawsAll_ = true;
}

void XWindow::draw() {
  Panel::Changes changes = panel_.takeChanges();
  const View view(width_, height_);
  if (box_ == nullptr) {
    box_.reset(cairo_surface_create_similar(surface_.get(), CAIRO_CONTENT_COLOR, width_, height_));
    cairo_t* const context = cairo_create(box_.get());
    cairo_set_source_rgb(context, (kSurround >> 16) / 255.0, (kSurround >> 8 & 255U) / 255.0,
                         (kSurround & 255U) / 255.0);
    cairo_paint(context);
    cairo_translate(context, view.left(), view.top());
    cairo_scale(context, view.scale(), view.scale());
    drawing::drawBox(context);
    cairo_destroy(context);
  }
  if (std::exchange(drawsAll_, false)) changes.drawsAll = true;
  if (changes.drawsAll) changes.parts.set();
  cairo_t* const context = cairo_create(surface_.get());
  if (!changes.drawsAll) {
    for (int part = 0; part < layout::kNumParts; ++part) {
      if (!changes.parts[static_cast<std::size_t>(part)]) continue;
      const layout::Rectangle area = layout::areaOf(part);  // to whole pixels, so that no edge is drawn twice
      const double left = std::floor(view.left() + area.x * view.scale());
      const double top = std::floor(view.top() + area.y * view.scale());
      cairo_rectangle(context, left, top, std::ceil(area.width * view.scale()) + 1,
                      std::ceil(area.height * view.scale()) + 1);
    }
    cairo_clip(context);
  }
  drawParts(context, changes);
  cairo_destroy(context);
  cairo_surface_flush(surface_.get());
  xcb_flush(connection_.get());
}

// Off the screen first, so that nothing flickers.
void XWindow::drawParts(cairo_t* context, const Panel::Changes& changes) const {
  const View view(width_, height_);
  cairo_push_group_with_content(context, CAIRO_CONTENT_COLOR);
  cairo_set_source_surface(context, box_.get(), 0, 0);
  cairo_paint(context);
  cairo_translate(context, view.left(), view.top());
  cairo_scale(context, view.scale(), view.scale());
  for (int part = 0; part < layout::kNumParts; ++part) {
    if (changes.parts[static_cast<std::size_t>(part)]) drawing::drawPart(context, panel_.state(), part);
  }
  if (panel_.state().menuIsOpen) drawing::drawMenu(context, panel_.state());
  cairo_pop_group_to_source(context);
  cairo_paint(context);
}

void XWindow::handle(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7f) {
    case XCB_EXPOSE:
      drawsAll_ = isViewable_ = true;
      nextFrame_ = std::min(nextFrame_, std::chrono::steady_clock::now() + kFrame);
      break;
    case XCB_CONFIGURE_NOTIFY: {
      const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
      fit(configured.width, configured.height);
      break;
    }
    case XCB_VISIBILITY_NOTIFY: {
      const auto& visibility = reinterpret_cast<const xcb_visibility_notify_event_t&>(event);
      isCovered_ = visibility.state == XCB_VISIBILITY_FULLY_OBSCURED;
      break;
    }
    case XCB_DESTROY_NOTIFY: isGone_ = true; break;  // the host destroyed the parent first
    case XCB_MAPPING_NOTIFY: keyboard_.read(connection_.get()); break;
    case XCB_FOCUS_IN: panel_.setKeyboard(true); break;
    case XCB_FOCUS_OUT: panel_.setKeyboard(false); break;
    case XCB_MOTION_NOTIFY: {
      const auto& motion = reinterpret_cast<const xcb_motion_notify_event_t&>(event);
      if ((motion.state & XCB_KEY_BUT_MASK_BUTTON_1) == 0) panel_.release();  // in case the release was not delivered
      panel_.move(View(width_, height_).toPedal(motion.event_x, motion.event_y),
                  (motion.state & XCB_MOD_MASK_SHIFT) != 0);
      break;
    }
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE: handleButton(reinterpret_cast<const xcb_button_press_event_t&>(event)); break;
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE: handleKey(reinterpret_cast<const xcb_key_press_event_t&>(event)); break;
    default: break;
  }
}

void XWindow::handleButton(const xcb_button_press_event_t& event) {
  constexpr xcb_button_t kMain = 1, kWheelUp = 4, kWheelDown = 5;
  const layout::Point at = View(width_, height_).toPedal(event.event_x, event.event_y);
  if ((event.response_type & 0x7f) == XCB_BUTTON_RELEASE) {
    if (event.detail == kMain) panel_.release();
  } else if (event.detail == kMain) {
    xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_PARENT, window_, event.time);
    panel_.press(at, event.time);
  } else if (event.detail == kWheelUp || event.detail == kWheelDown) {
    panel_.turnWheel(at, event.detail == kWheelUp ? 1 : -1, (event.state & XCB_MOD_MASK_SHIFT) != 0);
  }
}

void XWindow::handleKey(const xcb_key_press_event_t& event) {
  const int key = keyboard_.keyOf(event.detail, event.state);
  const bool isPress = (event.response_type & 0x7f) == XCB_KEY_PRESS;
  if (!isPress || key == 0 || !panel_.type(key, (event.state & XCB_MOD_MASK_SHIFT) != 0)) passToHost(event);
}

// A key that the window does not know, Space above all, is the host's. The server gives it to this window alone.
void XWindow::passToHost(xcb_key_press_event_t event) const {
  if (parent_ == 0) return;
  const bool isPress = (event.response_type & 0x7f) == XCB_KEY_PRESS;
  event.event = parent_;
  event.child = window_;
  xcb_send_event(connection_.get(), 1, parent_, isPress ? XCB_EVENT_MASK_KEY_PRESS : XCB_EVENT_MASK_KEY_RELEASE,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection_.get());
}
