// SPDX-License-Identifier: MIT
// brumbler_bench [Google Benchmark's options]: the time of every measurement.
// brumbler_bench --ratios [rounds [group]]: the tables of bench/README.md, or what begins with `group` of them.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include "bench/Measurement.h"

int main(int argc, char** argv) {
  const std::vector<Measurement> all = measurements();
  if (argc > 1 && std::strcmp(argv[1], "--ratios") == 0) {
    printRatios(all, argc > 2 ? std::atoi(argv[2]) : 1500, argc > 3 ? argv[3] : "");
    return 0;
  }
  for (const Measurement& m : all) {
    benchmark::RegisterBenchmark((m.group + "/" + m.name).c_str(), [&m](benchmark::State& state) {
      for (auto _ : state) m.run();
      state.counters["each"] =
          benchmark::Counter(m.units, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    });
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
