// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <map>

#include "bench/Measurement.h"

namespace {

using Minima = std::map<std::string, double>;  // of one group: nanoseconds a unit

// What interrupts a machine only ever adds time: the minimum over many short runs is the work itself.
Minima timeGroup(const std::vector<const Measurement*>& members, int rounds) {
  using Clock = std::chrono::steady_clock;
  Minima minima;
  for (const Measurement* m : members) minima[m->name] = std::numeric_limits<double>::max();
  for (int round = 0; round < rounds; ++round) {
    for (const Measurement* m : members) {
      const auto start = Clock::now();
      m->run();
      const std::chrono::duration<double, std::nano> taken = Clock::now() - start;
      minima[m->name] = std::min(minima[m->name], taken.count() / m->units);
    }
  }
  return minima;
}

}  // namespace

void printRatios(const std::vector<Measurement>& all, int rounds, const std::string& prefix) {
  std::vector<std::string> groups;
  std::map<std::string, std::vector<const Measurement*>> members;
  for (const Measurement& m : all) {
    if (members[m.group].empty()) groups.push_back(m.group);
    members[m.group].push_back(&m);
  }
  for (const std::string& group : groups) {
    if (!group.starts_with(prefix)) continue;
    Minima ns = timeGroup(members[group], rounds);
    std::printf("%-16s", group.c_str());
    for (const Measurement* m : members[group]) std::printf("  %s %.2f", m->name.c_str(), ns[m->name]);
    std::printf(" ns\n%-16s", "");
    const auto ratio = [&](const char* over, const char* under) {
      if (ns.count(over) != 0 && ns.count(under) != 0) {
        std::printf("  %s/%s %.2f", over, under, ns[over] / ns[under]);
      }
    };
    ratio("plain", "effect");
    ratio("plain", "two lanes");
    ratio("effect", "floor");
    ratio("gliding", "resting");
    ratio("64 instances", "one instance");
    if (ns.count("fuzz moving") != 0) {
      std::printf("  a change of FUZZ %.2f us", (ns["fuzz moving"] - ns["fuzz resting"]) / 1000.0);
    }
    const auto [fastest, slowest] =
        std::minmax_element(ns.begin(), ns.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    if (group.starts_with("signal")) std::printf("  slowest/fastest %.3f", slowest->second / fastest->second);
    std::printf("\n");
    std::fflush(stdout);
  }
  std::printf("one instance, blocks of 1024: %zu bytes\n", instanceBytes(1024));
}
