// SPDX-License-Identifier: MIT
// The pedal's window for LV2 hosts, in the order in which a host calls. Everything runs on the host's user-interface
// thread.
#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "lv2/Features.h"
#include "lv2/window/BrokenPipeGuard.h"
#include "lv2/window/Panel.h"
#include "lv2/window/XWindow.h"

namespace {

class Ui final : public Panel::Host {
 public:
  // `firstControl` is the port number of the first parameter. Throws std::runtime_error when no window can be opened.
  Ui(std::uint32_t firstControl, LV2UI_Write_Function writePort, LV2UI_Controller controller,
     const LV2_Feature* const* features)
      : firstControl_(firstControl),
        write_(writePort),
        controller_(controller),
        touch_(static_cast<const LV2UI_Touch*>(findFeature(features, LV2_UI__touch))),
        window_(panel_, parentIn(features), scaleIn(features)) {
    const auto* const resize = static_cast<const LV2UI_Resize*>(findFeature(features, LV2_UI__resize));
    if (resize != nullptr) resize->ui_resize(resize->handle, window_.width(), window_.height());
  }

  // LV2 passes window numbers as pointers.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  LV2UI_Widget widget() const { return reinterpret_cast<LV2UI_Widget>(static_cast<std::uintptr_t>(window_.id())); }

  void portEvent(std::uint32_t port, float value) {
    const std::uint32_t place = port - firstControl_;
    if (place < PedalState::kNumControls) panel_.setValue(static_cast<int>(place), value);
    const std::uint32_t meter = place - PedalState::kNumControls;
    if (meter < 2) panel_.setLevel(static_cast<int>(meter), value);
  }

  int idle() { return window_.update() ? 0 : 1; }
  void resize(int width, int height) { window_.resize(width, height); }

 private:
  void write(int control, float value) override {
    write_(controller_, firstControl_ + static_cast<std::uint32_t>(control), sizeof value, 0, &value);
  }
  void touch(int control, bool grabbed) override {
    if (touch_ != nullptr) touch_->touch(touch_->handle, firstControl_ + static_cast<std::uint32_t>(control), grabbed);
  }

  static xcb_window_t parentIn(const LV2_Feature* const* features) {
    return static_cast<xcb_window_t>(reinterpret_cast<std::uintptr_t>(findFeature(features, LV2_UI__parent)));
  }

  // The option ui:scaleFactor, or 0.
  static double scaleIn(const LV2_Feature* const* features) {
    float scale = 0.0F;
    return readOption(features, LV2_UI__scaleFactor, LV2_ATOM__Float, scale) ? static_cast<double>(scale) : 0.0;
  }

  std::uint32_t firstControl_;
  LV2UI_Write_Function write_;
  LV2UI_Controller controller_;
  const LV2UI_Touch* touch_;
  Panel panel_{*this};
  XWindow window_;
};

Ui* uiOf(void* handle) { return static_cast<Ui*>(handle); }

// Null for an unknown plug-in. Also null, with one line on standard error, when no window can be opened.
LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char* plugin, const char*, LV2UI_Write_Function write,
                         LV2UI_Controller controller, LV2UI_Widget* widget, const LV2_Feature* const* features) {
  const BrokenPipeGuard guard;
  const std::string name = plugin;
  if (name != "urn:brumbler:fuzz" && name != "urn:brumbler:fuzz:stereo") return nullptr;
  try {
    auto ui = std::make_unique<Ui>(name == "urn:brumbler:fuzz" ? 2 : 4, write, controller, features);
    *widget = ui->widget();
    return ui.release();
  } catch (const std::exception& reason) {
    std::fprintf(stderr, "Brumbler cannot open its window: %s\n", reason.what());
    return nullptr;
  }
}

void cleanup(LV2UI_Handle handle) {
  const BrokenPipeGuard guard;
  delete uiOf(handle);
}

void portEvent(LV2UI_Handle handle, std::uint32_t port, std::uint32_t size, std::uint32_t format, const void* data) {
  float value = 0.0F;
  if (format != 0 || size != sizeof value) return;
  std::memcpy(&value, data, sizeof value);
  uiOf(handle)->portEvent(port, value);
}

int idle(LV2UI_Handle handle) {
  const BrokenPipeGuard guard;
  return uiOf(handle)->idle();
}

int resize(LV2UI_Feature_Handle handle, int width, int height) {
  const BrokenPipeGuard guard;
  uiOf(handle)->resize(width, height);
  return 0;
}

const void* extensionData(const char* uri) {
  static constexpr LV2UI_Idle_Interface kIdle{idle};
  static constexpr LV2UI_Resize kResize{nullptr, resize};
  if (std::strcmp(uri, LV2_UI__idleInterface) == 0) return &kIdle;
  return std::strcmp(uri, LV2_UI__resize) == 0 ? &kResize : nullptr;
}

constexpr LV2UI_Descriptor kDescriptor{"urn:brumbler:fuzz#window", instantiate, cleanup, portEvent, extensionData};

}  // namespace

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(std::uint32_t index) {
  return index == 0 ? &kDescriptor : nullptr;
}
