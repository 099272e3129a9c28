// SPDX-License-Identifier: MIT
#include "cli/picture/drawSounds.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <set>

#include "cli/audio/AudioReader.h"
#include "cli/picture/Outline.h"
#include "cli/picture/PowerSpectrum.h"
#include "cli/text/Failure.h"
#include "cli/text/numbers.h"

namespace {

constexpr int kWaveHeight = 150;       // pixels
constexpr int kSpectrumHeight = 330;   // pixels
constexpr double kSpectrumDepth = 90;  // dB, from the top of the picture to its bottom

// The files' names in the legend; the path if two have the same name.
std::vector<std::string> titlesOf(const std::vector<std::string>& paths) {
  std::vector<std::string> names;
  for (const std::string& path : paths) names.push_back(std::filesystem::path(path).filename().string());
  const bool distinct = std::set<std::string>(names.begin(), names.end()).size() == names.size();
  return distinct ? names : paths;
}

// The part of a picture for one sound.
struct Drawn {
  Picture::Series wave;
  Picture::Points levels;  // only if a spectrum is wanted
  double peak = 0.0;
  double start = 0.0;  // seconds
  double end = 0.0;
};

Drawn draw(const std::string& path, const std::string& title, const SoundRange& range, bool withSpectrum) {
  SoundPart sound(path, range);
  Outline outline;
  std::optional<PowerSpectrum> spectrum;
  if (withSpectrum) spectrum.emplace(sound.rate());
  std::int64_t frames = 0;
  sound.read([&](double x) {
    outline.add(x);
    if (spectrum) spectrum->add(x);
    ++frames;
  });
  const double start = std::floor(range.from * sound.rate()) / sound.rate();
  return {outline.draw(title, start, sound.rate()), spectrum ? spectrum->levels() : Picture::Points(), outline.peak(),
          start, start + static_cast<double>(frames) / sound.rate()};
}

struct DrawnSounds {
  std::vector<std::string> titles;
  std::vector<Drawn> sounds;
  double start = 0.0;  // seconds, of the earliest
  double end = 0.0;    // and of the last
};

DrawnSounds drawAll(const std::vector<std::string>& paths, const SoundRange& range, bool withSpectrum) {
  DrawnSounds all;
  all.titles = titlesOf(paths);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const Drawn& sound = all.sounds.emplace_back(draw(paths[i], all.titles[i], range, withSpectrum));
    all.start = i == 0 ? sound.start : std::min(all.start, sound.start);
    all.end = std::max(all.end, sound.end);
  }
  return all;
}

std::string rangeOf(const char* axis, double from, double to) {
  return std::string("set ") + axis + "range [" + shortText(from) + ":" + shortText(to) + "]\n";
}

}  // namespace

void SoundPart::read(const std::function<void(double)>& take) {
  const auto channels = static_cast<std::size_t>(reader_.format().channels);
  const auto first = static_cast<std::int64_t>(range_.from * rate());
  const std::int64_t end = range_.to ? static_cast<std::int64_t>(std::ceil(*range_.to * rate())) : INT64_MAX;
  std::vector<double> block(4096 * channels);
  std::int64_t frame = 0;
  while (frame < end) {
    const int count = reader_.read(block.data(), 4096);
    if (count == 0) break;
    for (int i = 0; i < count; ++i, ++frame) {
      if (frame >= first && frame < end) take(block[static_cast<std::size_t>(i) * channels]);
    }
  }
  if (frame == 0) throw Failure(reader_.name() + ": has a length of 0; choose a file that holds a sound");
  if (frame <= first) {
    throw Failure(reader_.name() + ": ends at " + shortText(static_cast<double>(frame) / rate()) +
                  " s, before --from " + shortText(range_.from) + "; choose an earlier one");
  }
}

Picture drawWaves(const std::vector<std::string>& paths, const SoundRange& range) {
  DrawnSounds all = drawAll(paths, range, false);
  Picture::Panel panel;
  panel.across = "seconds";
  panel.up = "of full scale";
  for (Drawn& sound : all.sounds) panel.series.push_back(std::move(sound.wave));
  panel.range = rangeOf("x", all.start, all.end) + "set yrange [*<0:0<*]";
  return {paths.size() == 1 ? all.titles.front() : "", {panel}};
}

Picture drawSounds(const std::vector<std::string>& paths, const SoundRange& range) {
  auto [titles, sounds, start, end] = drawAll(paths, range, true);
  double peak = 0.0;
  double loudest = PowerSpectrum::kFloor;
  for (const Drawn& sound : sounds) {
    peak = std::max(peak, sound.peak);
    for (const auto& [frequency, level] : sound.levels) loudest = std::max(loudest, level);
  }
  const double reach = peak > 0.0 ? 1.05 * peak : 1.0;
  const double top = loudest > PowerSpectrum::kFloor ? 10.0 * std::ceil((loudest + 1.0) / 10.0) : 0.0;

  Picture picture;
  Picture::Panel spectra;
  for (std::size_t i = 0; i < sounds.size(); ++i) {
    Picture::Panel& panel = picture.panels.emplace_back();
    panel.up = "of full scale";
    panel.height = kWaveHeight;
    panel.range = rangeOf("x", start, end) + rangeOf("y", -reach, reach);
    panel.series.push_back(std::move(sounds[i].wave));
    panel.series.back().colour = i;
    for (auto& [frequency, level] : sounds[i].levels) level = std::max(level, top - kSpectrumDepth);
    spectra.series.push_back({titles[i], std::move(sounds[i].levels), false, i});
  }
  picture.panels.back().across = "seconds";
  spectra.across = "Hz";
  spectra.up = "dB re full-scale sine, per 1/12 octave";
  spectra.logarithmic = true;
  spectra.height = kSpectrumHeight;
  spectra.range = std::string(Picture::kHearingRange) + "\n" + rangeOf("y", top - kSpectrumDepth, top);
  picture.panels.push_back(std::move(spectra));
  return picture;
}
