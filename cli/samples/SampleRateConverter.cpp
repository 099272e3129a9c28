// SPDX-License-Identifier: MIT
#include "cli/samples/SampleRateConverter.h"

#include <soxr.h>

#include <string>

#include "cli/text/Failure.h"

namespace {

constexpr std::size_t kPieceFrames = 4096;

}  // namespace

void SampleRateConverter::Delete::operator()(soxr* converter) const noexcept { soxr_delete(converter); }

SampleRateConverter::SampleRateConverter(int from, int to, int channels)
    : channels_(static_cast<std::size_t>(channels)), piece_(kPieceFrames * channels_) {
  const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
  const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  converter_.reset(soxr_create(from, to, static_cast<unsigned>(channels), &error, &samples, &quality, &oneThread));
  if (error != nullptr) {
    throw Failure("cannot convert from " + std::to_string(from) + " to " + std::to_string(to) + " Hz (" + error +
                  "); try --rate native");
  }
}

void SampleRateConverter::convert(const double* samples, int frames, std::vector<double>& out) {
  if (frames == 0) return;  // the library would take empty input for the end
  const auto count = static_cast<std::size_t>(frames);
  std::size_t given = 0;
  std::size_t ready = 0;
  do {
    std::size_t taken = 0;
    if (const char* const error = soxr_process(converter_.get(), samples + given * channels_, count - given, &taken,
                                               piece_.data(), kPieceFrames, &ready)) {
      throw Failure(std::string("the sample-rate conversion failed (") + error + "); try --rate native");
    }
    given += taken;
    out.insert(out.end(), piece_.begin(), piece_.begin() + static_cast<std::ptrdiff_t>(ready * channels_));
  } while (given < count || ready == kPieceFrames);
}
