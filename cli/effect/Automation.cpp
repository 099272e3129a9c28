// SPDX-License-Identifier: MIT
#include "cli/effect/Automation.h"

#include <cmath>
#include <iterator>

#include "catalog/catalog.h"
#include "player/HostedEffect.h"

namespace {

constexpr const char* kUnits[] = {"samples", "seconds", "percent"};
constexpr double kMostTime = 1e12;  // in any unit; keeps sums far from overflow

}  // namespace

Automation::Automation(const std::string& path, const HostedEffect& effect) : file_(path) {
  file_.expectObject(JsonFile::Path(), {"$schema", "parameters", "programs"});
  if (file_.root().contains("parameters")) {
    const std::vector<EffectParameter> known = parametersOf(effect);
    const JsonFile::Path parameters("/parameters");
    file_.expectObject(parameters, namesOf(known));
    for (std::size_t p = 0; p < known.size(); ++p) {
      if (!file_.root()["parameters"].contains(known[p].name)) continue;
      readLane(parameters / known[p].name, static_cast<int>(p), known[p]);
    }
  }
  if (file_.root().contains("programs")) readProgramChanges(effect.record().numPrograms);
}

void Automation::readLane(const JsonFile::Path& path, int index, const EffectParameter& parameter) {
  using Kind = AutomationTrack::Kind;
  file_.expectArray(path);
  const auto& list = file_.root().at(path);
  if (list.empty()) file_.fail(path, "is empty; give at least one keyframe");
  const Kind kind = parameter.isSwitch                                              ? Kind::toggles
                    : parameter.name == catalog::kParameters[catalog::kVolume].name ? Kind::glides
                                                                                    : Kind::steps;
  Lane& lane = lanes_.emplace_back(Lane{index, kind, {}, {}});
  for (std::size_t i = 0; i < list.size(); ++i) {
    const JsonFile::Path keyframe = path / i;
    file_.expectObject(keyframe, {"samples", "seconds", "percent", "value"});
    lane.times.push_back(readTime(keyframe));
    file_.at(keyframe, "value");
    lane.values.push_back(parameter.read(file_, keyframe / "value"));
  }
}

void Automation::readProgramChanges(int numPrograms) {
  const JsonFile::Path path("/programs");
  file_.expectArray(path);
  for (std::size_t i = 0; i < file_.root()["programs"].size(); ++i) {
    const JsonFile::Path change = path / i;
    file_.expectObject(change, {"samples", "seconds", "percent", "program"});
    changeTimes_.push_back(readTime(change));
    file_.at(change, "program");
    const double number = file_.number(change / "program", 1.0, numPrograms);
    if (number != std::floor(number)) file_.fail(change / "program", "must be a whole number");
    programs_.push_back(static_cast<int>(number) - 1);
  }
}

Automation::Time Automation::readTime(const JsonFile::Path& path) const {
  std::optional<Time> time;
  for (std::size_t i = 0; i < std::size(kUnits); ++i) {
    if (!file_.root().at(path).contains(kUnits[i])) continue;
    if (time) file_.fail(path, "has two times; keep one of \"samples\", \"seconds\" and \"percent\"");
    time = {static_cast<Unit>(i), file_.number(path / kUnits[i], 0.0, kMostTime), path / kUnits[i]};
  }
  if (!time) file_.fail(path, R"(lacks a time: "samples", "seconds" or "percent")");
  return *time;
}

AutomationTrack Automation::trackFor(std::optional<std::int64_t> frames, int rate, int effectRate) const {
  std::int64_t last = 0;
  const auto resolve = [&](const Time& time) {
    double soundFrame = time.amount;
    if (time.unit == Unit::seconds) soundFrame *= rate;
    if (time.unit == Unit::percent) {
      if (!frames) file_.fail(time.path, "needs a sound of known length, which a stream is not; use \"seconds\"");
      soundFrame *= static_cast<double>(*frames) / 100.0;
    }
    if (frames && soundFrame > static_cast<double>(*frames)) {
      char length[48];
      std::snprintf(length, sizeof length, "%.3f s", static_cast<double>(*frames) / rate);
      file_.fail(time.path, std::string("is after the end of the sound, which lasts ") + length);
    }
    const auto frame = static_cast<std::int64_t>(std::llround(soundFrame * effectRate / rate));
    if (frame < last) file_.fail(time.path, "is before the one above it; put them in the order of time");
    last = frame;
    return frame;
  };
  AutomationTrack track;
  for (const Lane& lane : lanes_) {
    last = 0;
    AutomationTrack::Lane& to = track.lanes.emplace_back(AutomationTrack::Lane{lane.parameter, lane.kind, {}});
    for (std::size_t i = 0; i < lane.times.size(); ++i)
      to.keyframes.push_back({resolve(lane.times[i]), lane.values[i]});
  }
  last = 0;
  for (std::size_t i = 0; i < programs_.size(); ++i) {
    track.programChanges.push_back({resolve(changeTimes_[i]), programs_[i]});
  }
  return track;
}
