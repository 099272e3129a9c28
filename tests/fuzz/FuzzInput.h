// SPDX-License-Identifier: MIT
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cstdio>
#include <cstdlib>

// Ends the run, and so reports a fault, unless `held`.
inline void require(bool held, const char* property) {
  if (held) return;
  std::fprintf(stderr, "broken: %s\n", property);
  std::abort();
}

// Reads values from a fuzz driver's input bytes.
class FuzzInput : public FuzzedDataProvider {
 public:
  using FuzzedDataProvider::FuzzedDataProvider;
  int anyInt() { return ConsumeIntegral<int>(); }
  float anyFloat() { return std::bit_cast<float>(ConsumeIntegral<unsigned>()); }
  template <typename T>
  T below(T end) {
    return ConsumeIntegralInRange<T>(0, end - 1);
  }
};
