// SPDX-License-Identifier: MIT
// Plays the bundle's shared object as an LV2 host does, against the effect driven through its own interface.
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <dlfcn.h>
#include <doctest/doctest.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/Player.h"
#include "tests/SystemCalls.h"

namespace {

using Floats = std::vector<float>;
constexpr std::uint32_t kOn = 2, kVolume = 3, kFuzz = 4, kTrim = 5;

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  return std::string(uri) == LV2_ATOM__Int ? 1 : std::string(uri) == LV2_BUF_SIZE__maxBlockLength ? 2 : 3;
}

// One instance at 48000 Hz, its controls at their defaults. `announced` is the longest block, 0 says nothing of it.
struct Bundle {
  explicit Bundle(std::int32_t announced = 0) {
    static void* const library = dlopen(BRUMBLER_LV2_BINARY, RTLD_NOW | RTLD_LOCAL);
    REQUIRE(library != nullptr);
    descriptor = reinterpret_cast<LV2_Descriptor_Function>(dlsym(library, "lv2_descriptor"))(0);
    LV2_URID_Map map{nullptr, mapUri};
    LV2_Options_Option options[] = {{LV2_OPTIONS_INSTANCE, 0, 2, sizeof announced, 1, &announced}, {}};
    const LV2_Feature mapFeature{LV2_URID__map, &map};
    const LV2_Feature optionsFeature{LV2_OPTIONS__options, options};
    const LV2_Feature* const features[] = {&mapFeature, announced > 0 ? &optionsFeature : nullptr, nullptr};
    handle = descriptor->instantiate(descriptor, 48000.0, "", features);
    REQUIRE(handle != nullptr);
    for (std::uint32_t port = kOn; port <= kTrim; ++port) descriptor->connect_port(handle, port, &control[port]);
    descriptor->activate(handle);
  }
  ~Bundle() { descriptor->cleanup(handle); }

  // In place, in blocks of the given lengths over and over.
  Floats play(Floats sound, const std::vector<std::size_t>& blocks = {256}) {
    std::size_t turn = 0;
    for (std::size_t begin = 0; begin < sound.size(); ++turn) {
      const std::size_t length = std::min(blocks[turn % blocks.size()], sound.size() - begin);
      descriptor->connect_port(handle, 0, &sound[begin]);
      descriptor->connect_port(handle, 1, &sound[begin]);
      descriptor->run(handle, static_cast<std::uint32_t>(length));
      begin += length;
    }
    return sound;
  }

  const LV2_Descriptor* descriptor;
  LV2_Handle handle;
  float control[6] = {0.0F, 0.0F, 1.0F, 5.0F, 5.0F, 0.0F};
};

Floats noise(std::size_t length, float peak) {
  std::minstd_rand random(1);
  Floats sound(length);
  for (float& sample : sound) sample = peak * std::uniform_real_distribution<float>(-1.0F, 1.0F)(random);
  return sound;
}

}  // namespace

TEST_CASE("with trim 0 the bundle is the effect, to the float, whatever the blocks") {
  constexpr std::size_t kPart = 5120;  // on, off, on
  const Floats in = noise(3 * kPart, 0.3F);
  const auto onAt = [](std::size_t sample) { return sample / kPart == 1 ? 0.0F : 1.0F; };
  Player player(48000);
  player.set(1, 0.7F);
  player.set(2, 0.2F);
  player.play(Sound{});
  Sound expected(in.begin(), in.end());
  for (std::size_t begin = 0; begin < in.size(); begin += 256) {
    player.set(0, onAt(begin));
    player.play(&expected[begin], &expected[begin], 256);
  }
  using Blocks = std::vector<std::size_t>;
  for (const auto& [announced, blocks] : {std::pair{64, Blocks{2560}}, {4, {1}}, {512, {0, 500, 12}}, {0, {100000}}}) {
    Bundle bundle(announced);
    bundle.control[kVolume] = 7.0F;
    bundle.control[kFuzz] = 2.0F;
    Floats out;
    for (std::size_t begin = 0; begin < in.size(); begin += kPart) {
      bundle.control[kOn] = onAt(begin);
      const Floats part = bundle.play(Floats(in.data() + begin, in.data() + begin + kPart), blocks);
      out.insert(out.end(), part.begin(), part.end());
    }
    CHECK(out == Floats(expected.begin(), expected.end()));
  }
}

TEST_CASE("trim leaves dry as it was, moves the level at which the effect works, and glides") {
  Floats in = noise(4096, 1.0F);
  in[7] = std::numeric_limits<float>::max();
  in[8] = std::numeric_limits<float>::denorm_min();
  for (const float trim : {-30.0F, -7.3F, 13.0F, 30.0F, 20.1F}) {
    Bundle dry;
    dry.control[kOn] = 0.0F;
    dry.play(Floats(256));
    dry.control[kTrim] = trim;
    CHECK(dry.play(in) == in);
    CHECK(dry.play({NAN, -INFINITY, 0.5F}) == Floats{0.0F, 0.0F, 0.5F});
  }
  // From the old level to the new one within a block: a trim of 20 dB hears a signal ten times as high.
  Bundle plain, hot;
  for (const float trim : {20.0F, 14.0F}) {
    hot.control[kTrim] = trim;
    const Floats a = plain.play(noise(256, 0.05F)), b = hot.play(noise(256, 0.5F));
    CHECK(b[0] == doctest::Approx(10.0F * a[0]).epsilon(1e-5));
    CHECK((std::fabs(b[255] - 10.0F * a[255]) < 1e-5F) == (trim == 20.0F));
  }
  Bundle steady;  // after the glide the new level holds
  steady.control[kTrim] = 14.0F;
  for (Bundle* each : {&hot, &steady}) each->play(Floats(96000));
  CHECK(hot.play(noise(256, 0.5F))[9] == doctest::Approx(steady.play(noise(256, 0.5F))[9]).epsilon(1e-5));
}

TEST_CASE("activate forgets what was heard; no number in a port does lasting harm") {
  const Floats in = noise(2048, 0.3F);
  Bundle bundle;
  const Floats first = bundle.play(in);
  bundle.play(Floats{NAN, INFINITY, -INFINITY, 3e38F});
  for (const float bad : {NAN, -1e30F, 1e30F}) {
    for (std::uint32_t port = kOn; port <= kTrim; ++port) bundle.control[port] = bad;
    bundle.play(in);
  }
  std::copy_n(Bundle().control, 6, bundle.control);
  bundle.play(Floats(480000));  // the loudest float there is has died away
  CHECK(bundle.play(in)[2047] == doctest::Approx(first[2047]).epsilon(1e-4));
  bundle.descriptor->activate(bundle.handle);
  CHECK(bundle.play(in) == first);
}

#ifdef BRUMBLER_WATCH_LIBRARY
TEST_CASE("run makes no system call") {
  Bundle bundle(64);
  Floats in = noise(1000, 0.3F), out(1000);
  bundle.descriptor->connect_port(bundle.handle, 0, in.data());
  bundle.descriptor->connect_port(bundle.handle, 1, out.data());
  CHECK(makesNoSystemCall([&] {
    for (int i = 0; i < 100; ++i) {
      bundle.control[kOn] = i % 3 == 0 ? 0.0F : 1.0F;
      for (std::uint32_t port = kVolume; port <= kTrim; ++port) bundle.control[port] = static_cast<float>(i % 11);
      bundle.descriptor->run(bundle.handle, static_cast<std::uint32_t>(i * 10));
    }
  }));
}
#endif
