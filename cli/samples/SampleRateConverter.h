// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

struct soxr;

// Converts a stream of interleaved doubles from one sample rate to another at libsoxr's best quality. The filter has
// linear phase, and its delay is removed: frame n of the result is the sound at n / `to` seconds.
class SampleRateConverter {
 public:
  // Rates in Hz. Throws Failure if the library cannot convert between them.
  SampleRateConverter(int from, int to, int channels);

  // Takes `frames` and appends what is ready to `out`, which lags behind by the length of the filter. To get the rest
  // at the end, pass silence.
  void convert(const double* samples, int frames, std::vector<double>& out);

 private:
  struct Delete {
    void operator()(soxr* converter) const noexcept;
  };

  std::size_t channels_;
  std::vector<double> piece_;
  std::unique_ptr<soxr, Delete> converter_;
};
