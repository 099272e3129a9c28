// SPDX-License-Identifier: MIT
// Draws the pictures of lv2/modgui/ with the code that draws the window. They are kept in the tree, because fonts
// differ from machine to machine and a cross build cannot run this:
//   cmake --build --preset release --target brumbler_modgui_pictures && build/release/brumbler_modgui_pictures
//   lv2/modgui
#include <cmath>
#include <cstdio>
#include <string>

#include "lv2/window/Drawing.h"
#include "lv2/window/Layout.h"

namespace {

namespace pedal = catalog::pedal;
constexpr int kKnobFrames = 65;  // frames of the strip, from the lowest value to the highest
constexpr int kKnobSize = 90;    // pixels, as in the style sheet

class Picture {
 public:
  Picture(int width, int height, double scale)
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)), context(cairo_create(surface_)) {
    cairo_scale(context, scale, scale);
  }
  ~Picture() {
    cairo_destroy(context);
    cairo_surface_destroy(surface_);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  bool save(const std::string& path) const {
    const bool isSaved = cairo_surface_write_to_png(surface_, path.c_str()) == CAIRO_STATUS_SUCCESS;
    if (!isSaved) std::fprintf(stderr, "cannot write %s\n", path.c_str());
    return isSaved;
  }

 private:
  cairo_surface_t* surface_;

 public:
  cairo_t* const context;
};

// The pedal at a scale. If `drawsAll` is false, leaves out what changes on MOD's page: knobs, values, levels and
// presets.
bool savePedal(const std::string& path, double scale, bool drawsAll) {
  const Picture picture(static_cast<int>(std::lround(pedal::kWidth * scale)),
                        static_cast<int>(std::lround(pedal::kHeight * scale)), scale);
  PedalState state;
  state.values[catalog::kOn] = drawsAll ? 1.0F : 0.0F;
  drawing::drawBox(picture.context);
  for (int part = 0; part < layout::kNumParts; ++part) {
    if (drawsAll || part == catalog::kOn) drawing::drawPart(picture.context, state, part);
  }
  return picture.save(path);
}

bool saveKnobs(const std::string& path) {
  const Picture picture(kKnobFrames * kKnobSize, kKnobSize, 1.0);
  const layout::Point centre = layout::knobCentre(catalog::kFuzz);
  cairo_translate(picture.context, kKnobSize / 2.0 - centre.x, kKnobSize / 2.0 - centre.y);
  for (int frame = 0; frame < kKnobFrames; ++frame) {
    const double highest = catalog::kParameters[catalog::kFuzz].maximum;
    drawing::drawKnob(picture.context, catalog::kFuzz, static_cast<float>(highest * frame / (kKnobFrames - 1)));
    cairo_translate(picture.context, kKnobSize, 0);
  }
  return picture.save(path);
}

}  // namespace

int main(int count, char** values) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", values[0]);
    return 2;
  }
  const std::string folder = values[1];
  const bool isSaved = savePedal(folder + "/box.png", 2.0, false) && saveKnobs(folder + "/knob.png") &&
                       savePedal(folder + "/screenshot-brumbler.png", 1.0, true) &&
                       savePedal(folder + "/thumbnail-brumbler.png", 64.0 / pedal::kHeight, true);
  return isSaved ? 0 : 1;
}
