// SPDX-License-Identifier: MIT
// Opens the bundle's window as an LV2 host does, on the test's own X server, and operates its controls by events.
#define DOCTEST_CONFIG_IMPLEMENT
#include <dlfcn.h>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <lv2/atom/atom.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "lv2/window/Layout.h"

namespace {

using layout::Point;
namespace pedal = catalog::pedal;

// An X server without a screen, which DISPLAY then names.
class Server {
 public:
  explicit Server(int depth) {
    int ends[2] = {};
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    process_ = fork();
    if (process_ == 0) {
      const std::string number = std::to_string(ends[1]), screen = "1200x1500x" + std::to_string(depth);
      const int nowhere = open("/dev/null", O_WRONLY);
      dup2(nowhere, STDERR_FILENO);
      execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp",
             "-noreset", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(ends[1]);
    std::string display(":");
    char letter = 0;
    while (read(ends[0], &letter, 1) == 1 && letter != '\n') display += letter;
    close(ends[0]);
    if (display.size() < 2) throw std::runtime_error("Xvfb does not start");
    setenv("DISPLAY", display.c_str(), 1);
  }
  ~Server() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }

 private:
  pid_t process_;
};

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  return std::string(uri) == LV2_UI__scaleFactor ? 1 : std::string(uri) == LV2_ATOM__Float ? 2 : 3;
}

const LV2UI_Descriptor* descriptorOf(const char* library) {
  void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  REQUIRE_MESSAGE(handle != nullptr, dlerror());
  return reinterpret_cast<LV2UI_DescriptorFunction>(dlsym(handle, "lv2ui_descriptor"))(0);
}

// A host with one window: a connection and a parent of its own, and what the pedal wrote and touched. Ports are those
// of the mono plugin, so a control's port is its row in the catalog behind the two ports of audio.
struct Host {
  explicit Host(double scale = 1.0, int parentDepth = 0, const char* library = BRUMBLER_UI_BINARY)
      : descriptor(descriptorOf(library)), x(xcb_connect(nullptr, nullptr)) {
    REQUIRE(xcb_connection_has_error(x) == 0);
    screen = xcb_setup_roots_iterator(xcb_get_setup(x)).data;
    makeParent(parentDepth != 0 ? parentDepth : screen->root_depth);
    const auto factor = static_cast<float>(scale);
    LV2_URID_Map map{nullptr, mapUri};
    const LV2_Options_Option options[] = {{LV2_OPTIONS_INSTANCE, 0, 1, sizeof factor, 2, &factor}, {}};
    LV2UI_Touch touch{this, [](LV2UI_Feature_Handle host, std::uint32_t port, bool grabbed) {
                        static_cast<Host*>(host)->touches.emplace_back(static_cast<int>(port) - 2, grabbed);
                      }};
    LV2UI_Resize resize{this, [](LV2UI_Feature_Handle host, int width, int height) {
                          static_cast<Host*>(host)->size = {width, height};
                          return 0;
                        }};
    touchFeature = touch;
    const LV2_Feature features[] = {{LV2_UI__parent, reinterpret_cast<void*>(static_cast<std::uintptr_t>(parent))},
                                    {LV2_URID__map, &map},
                                    {LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options)},
                                    {LV2_UI__touch, &touchFeature},
                                    {LV2_UI__resize, &resize}};
    const LV2_Feature* const list[] = {&features[0], &features[1], &features[2], &features[3], &features[4], nullptr};
    LV2UI_Widget widget = nullptr;
    handle = descriptor->instantiate(descriptor, "urn:brumbler:fuzz", "", write, this, &widget, list);
    window = static_cast<xcb_window_t>(reinterpret_cast<std::uintptr_t>(widget));
  }
  ~Host() {
    if (handle != nullptr) descriptor->cleanup(handle);
    xcb_disconnect(x);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  static void write(LV2UI_Controller host, std::uint32_t port, std::uint32_t length, std::uint32_t protocol,
                    const void* value) {
    REQUIRE((length == sizeof(float) && protocol == 0));
    static_cast<Host*>(host)->writes.emplace_back(static_cast<int>(port) - 2, *static_cast<const float*>(value));
  }

  void makeParent(int depth) {
    xcb_visualid_t visual = screen->root_visual;
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem > 0; xcb_depth_next(&depths)) {
      if (depths.data->depth == depth && depth != screen->root_depth)
        visual = xcb_depth_visuals(depths.data)->visual_id;
    }
    const xcb_colormap_t colours = xcb_generate_id(x);
    xcb_create_colormap(x, XCB_COLORMAP_ALLOC_NONE, colours, screen->root, visual);
    parent = xcb_generate_id(x);
    const std::uint32_t values[] = {0, XCB_EVENT_MASK_KEY_PRESS, colours};
    xcb_create_window(x, static_cast<std::uint8_t>(depth), parent, screen->root, 0, 0, 1100, 1450, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual, XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      values);
    xcb_map_window(x, parent);
    sync();
  }

  void sync() const { std::free(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr)); }

  int idle() const { return idleOf(descriptor)->idle(handle); }
  static const LV2UI_Idle_Interface* idleOf(const LV2UI_Descriptor* ui) {
    return static_cast<const LV2UI_Idle_Interface*>(ui->extension_data(LV2_UI__idleInterface));
  }

  // Lets the window handle everything that was sent so far. The server may answer before it has passed all events on,
  // but not twice.
  int handleEvents() const {
    sync();
    sync();
    return idle();
  }

  // Keeps the window going until `condition` holds. False if that takes too long even for a busy machine.
  template <typename Condition>
  bool comesTo(const Condition& condition) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      handleEvents();
    }
    return true;
  }
  bool shows(Point at, unsigned colour) const {
    return comesTo([&] { return pixel(at) == colour; });
  }
  bool isGone() const {
    return comesTo([&] { return idle() != 0; });
  }

  // The same record serves for buttons, motion and keys.
  Host& send(std::uint8_t type, std::uint8_t detail, Point at, std::uint16_t state = 0) {
    xcb_button_press_event_t event{};
    event.response_type = type;
    event.detail = detail;
    event.time = time;
    event.event = window;
    event.state = state;
    event.event_x = static_cast<std::int16_t>(std::lround(at.x * size.first / pedal::kWidth));
    event.event_y = static_cast<std::int16_t>(std::lround(at.y * size.first / pedal::kWidth));
    xcb_send_event(x, 0, window, 0, reinterpret_cast<const char*>(&event));
    return *this;
  }
  Host& click(Point at, unsigned pause = 1000) {
    time += pause;
    return send(XCB_BUTTON_PRESS, 1, at).send(XCB_BUTTON_RELEASE, 1, at, XCB_BUTTON_MASK_1);
  }
  Host& wheel(Point at, bool up, std::uint16_t state = 0) { return send(XCB_BUTTON_PRESS, up ? 4 : 5, at, state); }
  Host& drag(Point from, std::vector<double> ys, std::uint16_t state = 0) {
    time += 1000;
    send(XCB_BUTTON_PRESS, 1, from);
    for (const double y : ys) send(XCB_MOTION_NOTIFY, 0, {from.x, y}, state | XCB_BUTTON_MASK_1);
    return send(XCB_BUTTON_RELEASE, 1, from, XCB_BUTTON_MASK_1);
  }
  // A key by its symbol, or an ASCII character.
  Host& key(xcb_keysym_t symbol, std::uint16_t state = 0) {
    const xcb_setup_t* const setup = xcb_get_setup(x);
    const int first = setup->min_keycode, count = setup->max_keycode - first + 1;
    auto* const map = xcb_get_keyboard_mapping_reply(
        x, xcb_get_keyboard_mapping(x, setup->min_keycode, static_cast<std::uint8_t>(count)), nullptr);
    const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(map);
    for (int code = 0; code < count; ++code) {
      if (symbols[code * map->keysyms_per_keycode] != symbol) continue;
      send(XCB_KEY_PRESS, static_cast<std::uint8_t>(first + code), {}, state);
      break;
    }
    std::free(map);
    return *this;
  }
  template <typename... Symbols>
  Host& keys(Symbols... symbols) {
    return (key(static_cast<xcb_keysym_t>(symbols)), ...);
  }

  Host& setPort(std::uint32_t port, float value) {
    descriptor->port_event(handle, port, sizeof value, 0, &value);
    return *this;
  }

  // 0xRRGGBB of a point, on a screen of 24 bits.
  unsigned pixel(Point at) const {
    const double scale = size.first / pedal::kWidth;
    auto* const image = xcb_get_image_reply(
        x,
        xcb_get_image(x, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<std::int16_t>(std::lround(at.x * scale)),
                      static_cast<std::int16_t>(std::lround(at.y * scale)), 1, 1, ~0U),
        nullptr);
    REQUIRE(image != nullptr);
    const std::uint8_t* const bytes = xcb_get_image_data(image);
    const unsigned colour = static_cast<unsigned>(bytes[2]) << 16 | static_cast<unsigned>(bytes[1]) << 8 | bytes[0];
    std::free(image);
    return colour;
  }

  using Writes = std::vector<std::pair<int, float>>;
  using Touches = std::vector<std::pair<int, bool>>;
  Writes writes;
  Touches touches;
  std::pair<int, int> size;
  const LV2UI_Descriptor* descriptor;
  xcb_connection_t* x;
  xcb_screen_t* screen = nullptr;
  xcb_window_t parent = 0;
  xcb_window_t window = 0;
  LV2UI_Handle handle = nullptr;
  LV2UI_Touch touchFeature{};
  std::uint32_t time = 5000;
};

constexpr xcb_keysym_t kTab = 0xff09, kUp = 0xff52, kDown = 0xff54, kPageUp = 0xff55, kHome = 0xff50, kEnd = 0xff57,
                       kEnter = 0xff0d, kEscape = 0xff1b, kDelete = 0xffff, kBackspace = 0xff08;
constexpr std::uint16_t kShift = XCB_MOD_MASK_SHIFT;
const Point kFuzzKnob = layout::knobCentre(catalog::kFuzz), kTrimKnob = layout::knobCentre(catalog::kTrim);

Point middleOf(const layout::Rectangle& box) { return {box.x + box.width / 2, box.y + box.height / 2}; }
const Point kFuzzValue = middleOf(layout::valueBox(catalog::kFuzz)), kPresetBar = middleOf(layout::kPresetBar);

}  // namespace

TEST_CASE("what is turned by pointer, wheel and keys reaches the host, held while it moves") {
  using catalog::kFuzz;
  using catalog::kOn;
  using catalog::kTrim;
  using catalog::kVolume;
  const catalog::Preset& lead = catalog::kPresets[4];
  const auto valueIn = [&](int control) { return static_cast<float>(lead.values[control]); };
  const Host::Writes allOfLead{{kFuzz, valueIn(kFuzz)}, {kVolume, valueIn(kVolume)}, {kTrim, valueIn(kTrim)}};
  const struct {
    const char* what;
    void (*act)(Host&);
    Host::Writes writes;
  } rows[] = {
      {"up by a tenth of the travel",
       [](Host& h) {
         h.drag(kFuzzKnob, {kFuzzKnob.y - 9, kFuzzKnob.y - 18});
       },
       {{kFuzz, 5.5F}, {kFuzz, 6.0F}}},
      {"with Shift a tenth of that", [](Host& h) { h.drag(kFuzzKnob, {kFuzzKnob.y + 18}, kShift); }, {{kFuzz, 4.9F}}},
      {"further than the range", [](Host& h) { h.drag(kTrimKnob, {kTrimKnob.y + 900}); }, {{kTrim, -30.0F}}},
      {"wheel",
       [](Host& h) { h.wheel(kTrimKnob, true).wheel(kTrimKnob, false, kShift); },
       {{kTrim, 2.0F}, {kTrim, 1.9F}}},
      {"a double click, the default",
       [](Host& h) { h.setPort(2 + kFuzz, 9.0F).click(kFuzzKnob).click(kFuzzKnob, 100); },
       {{kFuzz, 5.0F}}},
      {"two slow clicks, nothing",
       [](Host& h) { h.setPort(2 + kFuzz, 9.0F).click(kFuzzKnob).click(kFuzzKnob, 400); },
       {}},
      {"foot switch", [](Host& h) { h.click(layout::kFoot).click(layout::kFoot, 100); }, {{kOn, 0.0F}, {kOn, 1.0F}}},
      {"Tab, arrows, Page, Home, End, Delete",
       [](Host& h) { h.keys(kTab, kUp, kDown, kPageUp, kHome, kEnd, kDelete); },
       {{kFuzz, 5.1F}, {kFuzz, 5.0F}, {kFuzz, 6.0F}, {kFuzz, 0.0F}, {kFuzz, 10.0F}, {kFuzz, 5.0F}}},
      {"Tab goes on, and back with Shift",
       [](Host& h) { h.keys(kTab, kTab, kTab, kTab, kEnter).key(kTab, kShift).key(kUp); },
       {{kOn, 0.0F}, {kTrim, 1.0F}}},
      {"a number and Enter",
       [](Host& h) { h.keys(kTab, '7', ',', '2', '5', '9', kBackspace, kEnter); },
       {{kFuzz, 7.25F}}},
      {"a number out of range", [](Host& h) { h.keys(kTab, kTab, kTab, '-', '9', '9', kEnter); }, {{kTrim, -30.0F}}},
      {"a number over the value, then Tab", [](Host& h) { h.click(kFuzzValue).keys('3', kTab); }, {{kFuzz, 3.0F}}},
      {"a number and Escape; no number", [](Host& h) { h.keys(kTab, '7', kEscape, '-', '.', kEnter); }, {}},
      {"Space and Control are the host's", [](Host& h) { h.keys(kTab, ' ').key(kUp, XCB_MOD_MASK_CONTROL); }, {}},
      {"a preset from the menu", [](Host& h) { h.click(kPresetBar).click(middleOf(layout::menuRow(4))); }, allOfLead},
      {"a preset by keys",
       [](Host& h) { h.key(kTab, kShift).keys(kEnter, kDown, kDown, kDown, kDown, kUp, kDown, kEnter); }, allOfLead},
      {"a menu that is left",
       [](Host& h) { h.click(kPresetBar).click(kFuzzKnob).click(kPresetBar).keys(kDown, kEscape); },
       {}},
  };
  for (const double scale : {1.0, 2.0}) {
    for (const auto& row : rows) {
      CAPTURE(row.what);
      CAPTURE(scale);
      Host host(scale);
      REQUIRE(host.handle != nullptr);
      row.act(host);
      host.handleEvents();
      REQUIRE(host.writes.size() == row.writes.size());
      for (std::size_t i = 0; i < row.writes.size(); ++i) {
        CHECK(host.writes[i].first == row.writes[i].first);
        CHECK(host.writes[i].second == doctest::Approx(row.writes[i].second));
      }
      // Every hold ends, and nothing moves without one.
      int held = -1;
      for (const auto& [control, grabbed] : host.touches) {
        CHECK(held == (grabbed ? -1 : control));
        held = grabbed ? control : -1;
      }
      CHECK(held == -1);
      CHECK((row.writes.empty() || !host.touches.empty()));
    }
  }
}

TEST_CASE("a key that means nothing to the pedal goes to the host's window") {
  Host host;
  host.key(' ');
  CHECK(host.comesTo([&] {
    bool isKey = false;
    while (xcb_generic_event_t* const event = xcb_poll_for_event(host.x)) {
      isKey |= (event->response_type & 0x7f) == XCB_KEY_PRESS;
      std::free(event);
    }
    return isKey;
  }));
}

TEST_CASE("the host's values, presets and levels are drawn, at every scale, and a held knob stays") {
  const Point lamp{layout::kFoot.x + 2, pedal::kLampY + 2}, pointer{kFuzzKnob.x, kFuzzKnob.y - pedal::kKnobRadius + 5};
  const layout::Rectangle meter = layout::meterBar(1);
  const Point top{meter.x + 6, meter.y + 6};
  for (const double scale : {0.75, 1.0, 1.5, 3.0, 0.1}) {
    CAPTURE(scale);
    Host host(scale);
    CHECK(host.size.first == std::lround(pedal::kWidth * std::max(scale, 0.75)));
    CHECK(host.shows(lamp, pedal::kLampOn));
    CHECK(host.pixel(pointer) == pedal::kPointer);
    CHECK(host.pixel(top) == pedal::kInk);
    host.setPort(2, 0.0F);
    host.setPort(2 + catalog::kFuzz, NAN);
    host.setPort(7, 1.0F);
    host.setPort(99, 1.0F);
    CHECK(host.shows(lamp, pedal::kLampOff));
    CHECK(host.pixel(pointer) == pedal::kKnobRim);
    CHECK((host.pixel(top) >> 16) > 0xc0);
    CHECK(host.writes.empty());
    host.send(XCB_BUTTON_PRESS, 1, kFuzzKnob);
    host.handleEvents();
    host.setPort(2 + catalog::kFuzz, 5.0F);
    host.setPort(2, 1.0F);
    CHECK(host.shows(lamp, pedal::kLampOn));
    CHECK(host.pixel(pointer) == pedal::kKnobRim);
    xcb_unmap_window(host.x, host.parent);
    host.handleEvents();
    host.setPort(2, 0.0F);
    for (int i = 0; i < 3; ++i) host.handleEvents();
    xcb_map_window(host.x, host.parent);
    CHECK(host.shows(lamp, pedal::kLampOff));
  }
}

TEST_CASE("it grows with the host's window, in its proportions") {
  Host host;
  const auto* const resize = static_cast<const LV2UI_Resize*>(host.descriptor->extension_data(LV2_UI__resize));
  resize->ui_resize(host.handle, 1000, 2 * static_cast<int>(pedal::kHeight));
  CHECK(host.comesTo([&] {
    auto* const answer = xcb_get_geometry_reply(host.x, xcb_get_geometry(host.x, host.window), nullptr);
    const bool isThere = answer->width == 1000 && answer->height == 940;
    std::free(answer);
    return isThere;
  }));
  // Twice as large and in the middle: 160 pixels are left at either side.
  host.size.first = static_cast<int>(pedal::kWidth);
  CHECK(host.shows({160 + 2.0 * layout::kFoot.x + 8, 2 * pedal::kLampY + 8}, pedal::kLampOn));
  CHECK(host.pixel({80, 400}) == 0x15130f);
}

TEST_CASE("it outlives its parent and its connection, and says that it is gone") {
  {
    Host host;
    xcb_destroy_window(host.x, host.parent);
    CHECK(host.isGone());
    CHECK(host.idle() != 0);
    host.setPort(2, 0.0F);
    CHECK(host.idle() != 0);
  }
  {
    Host host;
    xcb_kill_client(host.x, host.window);
    host.sync();
    // Not a word from the server since: what is written now is refused by the socket.
    static_cast<const LV2UI_Resize*>(host.descriptor->extension_data(LV2_UI__resize))->ui_resize(host.handle, 500, 500);
    CHECK(host.isGone());
    CHECK(host.idle() != 0);
  }
}

TEST_CASE("a hundred windows, two at once, two copies of the library, a parent of another depth") {
  const std::string copy = std::filesystem::temp_directory_path() / ("brumbler_ui_" + std::to_string(getpid()) + ".so");
  std::filesystem::copy_file(BRUMBLER_UI_BINARY, copy, std::filesystem::copy_options::overwrite_existing);
  for (int i = 0; i < 50; ++i) {
    Host one(0.75, i % 2 == 0 ? 32 : 0), other(1.0, 0, i % 3 == 0 ? copy.c_str() : BRUMBLER_UI_BINARY);
    REQUIRE((one.handle != nullptr && other.handle != nullptr));
    one.click(layout::kFoot);
    for (const Host* host : {&one, &other}) host->handleEvents();
    CHECK(one.writes.size() == 1);
    CHECK(other.writes.empty());
  }
  std::filesystem::remove(copy);
}

TEST_CASE("without an X server, for another plugin or in a window that is none it is refused") {
  const std::string display = std::getenv("DISPLAY");
  LV2UI_Widget widget = nullptr;
  const LV2UI_Descriptor* const ui = descriptorOf(BRUMBLER_UI_BINARY);
  const LV2_Feature none{LV2_UI__parent, reinterpret_cast<void*>(std::uintptr_t{0x7ffffff})};
  const LV2_Feature* const features[] = {&none, nullptr};
  CHECK(ui->instantiate(ui, "urn:brumbler:fuzz", "", Host::write, nullptr, &widget, features) == nullptr);
  CHECK(ui->instantiate(ui, "urn:another", "", Host::write, nullptr, &widget, nullptr) == nullptr);
  setenv("DISPLAY", ":65000", 1);
  CHECK(ui->instantiate(ui, "urn:brumbler:fuzz", "", Host::write, nullptr, &widget, nullptr) == nullptr);
  setenv("DISPLAY", display.c_str(), 1);
}

TEST_CASE("it draws on a screen of 16 bits") {
  const std::string display = std::getenv("DISPLAY");
  {
    const Server server(16);
    Host host;
    REQUIRE(host.handle != nullptr);
    constexpr unsigned kLamp =
        (pedal::kLampOn >> 19 << 11) | ((pedal::kLampOn >> 10 & 0x3fU) << 5) | (pedal::kLampOn >> 3 & 0x1fU);
    CHECK(host.comesTo([&] { return (host.pixel({layout::kFoot.x + 2, pedal::kLampY + 2}) & 0xffff) == kLamp; }));
    host.click(layout::kFoot);
    CHECK(host.handleEvents() == 0);
    CHECK(host.writes.size() == 1);
  }
  setenv("DISPLAY", display.c_str(), 1);
}

int main(int count, char** values) {
  if (std::system("command -v Xvfb >/dev/null") != 0) {
    std::puts("SKIPPED: no Xvfb, so no window was opened");
    return 77;
  }
  doctest::Context context(count, values);
  const Server server(24);
  return context.run();
}
