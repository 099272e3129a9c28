// SPDX-License-Identifier: MIT
#include "bench/Measurement.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "bench/allocatedBytes.h"
#include "bench/subjects.h"
#include "dsp/path/SignalPath.h"
#include "dsp/path/laneCount.h"

namespace {

constexpr int kSlice = 1024;  // samples that one run works on, at least

// What no exact rewriting shortens: the recurrences of the two oversampling lowpasses, four steps a sample.
struct Floor {
  static constexpr double kA[5] = {4.7526378444, -9.0699840367, 8.6870494094, -4.1753030355, 0.80557726604};
  static constexpr double kB[6] = {6.0626054296e-06, -8.5218641012e-07, 6.0657532561e-06,
                                   6.0657532561e-06, -8.5218641012e-07, 6.0626054296e-06};

  void process(double* in, double* out, int n) {
    const FlushToZero flushToZero;
    OversamplingFilter<Lanes> filter = kept;
    for (int i = 0; i < n; ++i) {
      const Lanes x = bothLanes(in[i]);
      const Lanes y = filter.step(x);
      filter.step(x);
      filter.step(x);
      filter.step(x);
      out[i] = y[0];
    }
    kept = filter;
  }
  OversamplingFilter<Lanes> kept{kA, kB};
};

// Each stage alone. The skew of the lanes is left open: the work is the same, its results are not used.
struct Stages {
  Instance forItsTable;
  double rate = 44100.0;
  filterPrm_tag peak{FT_PEQ, 2000.0, 0.0, 0.0, 1.4, 6.0, rate};
  std::vector<IIRFilter> sections = std::vector<IIRFilter>(8, IIRFilter(&peak));
  double z1 = 0.0, z2 = 0.0;
  double histories[2][6] = {};

  template <int N, std::size_t... s>
  void cascade(double* in, double* out, int n, std::index_sequence<s...>) {
    IIRFilter* const pointers[N] = {&sections[s]...};
    SectionLanes<N> lanes(pointers);
    for (int i = 0; i < N; ++i) lanes.enter(i);
    for (int i = 0; i < n; ++i) {
      lanes.step(in[i], lanes.output(0));
      out[i] = lanes.output(N - 1);
    }
    for (int i = 0; i < N; ++i) lanes.leave(i);
  }
  void pre(double* in, double* out, int n) { cascade<3>(in, out, n, std::make_index_sequence<3>()); }
  void post(double* in, double* out, int n) { cascade<8>(in, out, n, std::make_index_sequence<8>()); }

  void clip(double* in, double* out, int n) {
    ClipStage stage(Floor::kA, Floor::kB, histories, ClipCurve<double>(Brumbler::clip[0], 0.0035, -0.0028, 190.0));
    stage.enter(0);
    stage.enter(1);
    for (int i = 0; i < n; ++i) {
      stage.step(in[i]);
      out[i] = stage.output();
    }
    stage.leave(0);
    stage.leave(1);
  }

  void tone(double* in, double* out, int n, double volumeStep) {
    const VolumeGlide glide{0.3, volumeStep};
    const double k = 0.1145;
    const auto atRest = ToneCoefficients<double>::forVolume(k, glide.start);
    ToneStage stage(z1, z2);
    stage.enter();
    for (int i = 0; i < n; ++i) {
      stage.step(in[i], volumeStep == 0.0 ? atRest : ToneCoefficients<double>::forVolume(k, glide.at<double>(i)));
      out[i] = stage.output();
    }
    stage.leave();
  }
};

// Walks through a signal block by block, and starts over at its end.
class Walk {
 public:
  Walk(std::vector<double> signal, int blockLength)
      : signal_(std::move(signal)), out_(static_cast<std::size_t>(blockLength)), blockLength_(blockLength) {}

  int blocks() const { return std::max(1, kSlice / blockLength_); }
  double samples() const { return static_cast<double>(blocks()) * blockLength_; }

  template <typename Process>
  void slice(Process& process) {
    for (int b = 0; b < blocks(); ++b) {
      process(signal_.data() + position_, out_.data(), blockLength_);
      position_ += static_cast<std::size_t>(blockLength_);
      if (position_ + static_cast<std::size_t>(blockLength_) > signal_.size()) position_ = 0;
    }
  }

 private:
  std::vector<double> signal_, out_;
  int blockLength_;
  std::size_t position_ = 0;
};

template <typename Sample>
std::vector<double> signal(int length, const Sample& sample) {
  std::vector<double> samples(static_cast<std::size_t>(length));
  for (int i = 0; i < length; ++i) samples[static_cast<std::size_t>(i)] = sample(i);
  return samples;
}

// A measurement of process(in, out, n) in a walk of its own.
template <typename Process>
Measurement walking(std::string group, std::string name, std::vector<double> samples, int blockLength,
                    Process process) {
  const auto walk = std::make_shared<Walk>(std::move(samples), blockLength);
  return {std::move(group), std::move(name), walk->samples(), [walk, process]() mutable { walk->slice(process); }};
}

// The same for something that has a member process(in, out, n).
template <typename Subject>
Measurement walkingSubject(std::string group, std::string name, std::vector<double> samples, int blockLength,
                           std::shared_ptr<Subject> subject) {
  return walking(std::move(group), std::move(name), std::move(samples), blockLength,
                 [subject](double* in, double* out, int n) { subject->process(in, out, n); });
}

void addStages(std::vector<Measurement>& all) {
  const auto stages = std::make_shared<Stages>();
  const auto add = [&](const char* name, auto process) {
    all.push_back(walking("stages", name, noise(0.3), 512, process));
  };
  add("pre", [stages](double* in, double* out, int n) { stages->pre(in, out, n); });
  add("clip", [stages](double* in, double* out, int n) { stages->clip(in, out, n); });
  add("tone resting", [stages](double* in, double* out, int n) { stages->tone(in, out, n, 0.0); });
  add("tone gliding", [stages](double* in, double* out, int n) { stages->tone(in, out, n, 1e-3); });
  add("post", [stages](double* in, double* out, int n) { stages->post(in, out, n); });
  all.push_back(walkingSubject("stages", "floor", noise(0.3), 512, std::make_shared<Floor>()));
}

void addBlocks(std::vector<Measurement>& all) {
  for (const int n : {1, 2, 4, 8, 16, 32, 64, 128, 512, 4096}) {
    const std::string group = "block " + std::to_string(n);
    all.push_back(walkingSubject(group, "effect", noise(0.3), n, std::make_shared<Instance>()));
    all.push_back(walking(group, "two lanes", noise(0.3), n,
                          [effect = std::make_shared<Instance>()](double* in, double* out, int length) {
                            const int widest = std::exchange(laneCount, 2);
                            effect->process(in, out, length);
                            laneCount = widest;
                          }));
    all.push_back(walkingSubject(group, "plain", noise(0.3), n, std::make_shared<LockedPlainChain>()));
    all.push_back(walkingSubject(group, "floor", noise(0.3), n, std::make_shared<Floor>()));
  }
}

// Each signal one slice long, so that every run sees all of it.
void addSignals(std::vector<Measurement>& all) {
  const std::pair<const char*, std::vector<double>> signals[] = {
      {"silence", signal(kSlice, [](int) { return 0.0; })},
      {"tail", signal(kSlice, [](int i) { return 1e-290 * std::exp(-0.08 * i); })},  // to the last denormal
      {"-60 dB", noise(1e-3, kSlice)},
      {"noise", noise(0.3, kSlice)},
      {"square", signal(kSlice, [](int i) { return i / 64 % 2 == 0 ? 1.0 : -1.0; })},
      {"1e30", signal(kSlice, [](int i) { return i % 2 == 0 ? 1e30 : -1e30; })}};
  for (const int n : {16, 64, 512}) {
    for (const auto& [name, samples] : signals) {
      for (const float onOff : {1.0F, 0.0F}) {
        const auto effect = std::make_shared<Instance>();
        effect->setParameter(Brumbler::kOnOff, onOff);
        all.push_back(walkingSubject("signal " + std::to_string(n), name + std::string(onOff == 1.0F ? "" : ", dry"),
                                     samples, n, effect));
      }
    }
  }
}

// Every block with a parameter set before it, to what it was or to something else.
void addParameters(std::vector<Measurement>& all) {
  const auto add = [&](const char* group, const char* name, Brumbler::Parameter parameter, float other, int n) {
    const auto effect = std::make_shared<Instance>();
    all.push_back(walking(group + std::string(" ") + std::to_string(n), name, noise(0.3), n,
                          [=, first = false](double* in, double* out, int length) mutable {
                            first = !first;
                            effect->setParameter(parameter, first ? 0.3F : other);
                            effect->process(in, out, length);
                          }));
  };
  for (const int n : {1, 4, 8, 16, 32, 64, 128, 512, 4096}) {
    add("VOLUME", "resting", Brumbler::kVolume, 0.3F, n);
    add("VOLUME", "gliding", Brumbler::kVolume, 0.8F, n);
  }
  add("FUZZ", "fuzz resting", Brumbler::kFuzz, 0.3F, 64);
  add("FUZZ", "fuzz moving", Brumbler::kFuzz, 0.8F, 64);
  for (std::size_t i = all.size() - 2; i < all.size(); ++i) all[i].units /= 64;  // of blocks
}

// Every instance has its own place in the signal, as a mixer's channels have.
void addInstances(std::vector<Measurement>& all) {
  constexpr int kCount = 64;
  for (const int n : {64, 128, 512}) {
    for (const int count : {1, kCount}) {
      const auto effects = std::make_shared<std::vector<std::unique_ptr<Instance>>>();
      for (int i = 0; i < count; ++i) effects->push_back(std::make_unique<Instance>(n));
      const auto in = std::make_shared<std::vector<double>>(noise(0.3, kCount * n));
      const auto out = std::make_shared<std::vector<double>>(in->size());
      all.push_back({"instances " + std::to_string(n), count == 1 ? "one instance" : "64 instances", kCount, [=] {
                       for (std::size_t i = 0; i < kCount; ++i) {
                         const std::size_t at = i * static_cast<std::size_t>(n);
                         (*effects)[i % effects->size()]->process(in->data() + at, out->data() + at, n);
                       }
                     }});
    }
  }
}

// An instance made, set up for blocks of 1024 and closed, with the table to build and without.
void addSetUp(std::vector<Measurement>& all) {
  all.push_back({"set-up", "first", 1.0, [] {
                   Brumbler::clip[0] = Clipper{};
                   Brumbler::clipSampleRate = -1.0;
                   const Instance instance(1024);
                 }});
  all.push_back({"set-up", "second", 1.0, [] { const Instance instance(1024); }});
}

}  // namespace

std::size_t instanceBytes(int blockSize) {
  const std::size_t before = allocatedBytes();
  const Instance instance(blockSize);
  return allocatedBytes() - before;
}

std::vector<Measurement> measurements() {
  std::vector<Measurement> all;
  addStages(all);
  addBlocks(all);
  addSignals(all);
  addParameters(all);
  addInstances(all);
  addSetUp(all);
  return all;
}
