// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// Section types for filterPrm_tag::type, of which the low 16 bits count. Any other value is a one-pole smoothing
// lowpass.
enum FilterType : std::int32_t {
  FT_LPF1 = 0,      // first-order lowpass
  FT_HPF1 = 1,      // first-order highpass
  FT_LPF2 = 2,      // second-order Butterworth lowpass, q ignored
  FT_HPF2 = 3,      // second-order Butterworth highpass, q ignored
  FT_BPF_BAND = 4,  // band-pass between freqLow and freqHigh
  FT_BEF_BAND = 5,  // band-stop between freqLow and freqHigh
  FT_LPF_Q = 6,     // second-order lowpass, damping sqrt(2)/q
  FT_HPF_Q = 7,     // second-order highpass, damping sqrt(2)/q
  FT_BPF_Q = 8,     // band-pass, 0 dB at the centre
  FT_BEF_Q = 9,     // notch
  FT_PEQ = 10,      // peaking, boost or cut by gain
  FT_LSHELF1 = 11,  // first-order low shelf, gain below freq
  FT_HSHELF1 = 12,  // first-order high shelf, gain above freq
};

// The parameters of a section. A design writes back the `freq` and `q` that it used.
struct filterPrm_tag {
  std::int32_t type;  // FilterType
  double freq;        // corner or centre, Hz; 20 if not above 0; limited to half the sample rate
  double freqLow;     // lower band edge, Hz (types 4 and 5); must be below freqHigh, or the section is unstable
  double freqHigh;    // upper band edge, Hz (types 4 and 5)
  double q;           // quality factor (types 6 to 10); 1 if not above 0
  double gain;        // dB (types 10 to 12)
  double sampleRate;  // Hz
};

// One filter of first or second order: bilinear transform with prewarping, run in transposed direct form II, in double
// precision, one sample at a time and in place. The building block of the whole signal path.
//
// No lock: do not design and filter one section at the same time. Nothing allocates. A design costs three tangents; a
// sample costs five multiplications and four additions.
class IIRFilter {
 public:
  explicit IIRFilter(filterPrm_tag* parameters) noexcept;
  IIRFilter(const IIRFilter&) = default;
  IIRFilter& operator=(const IIRFilter&) = default;
  virtual ~IIRFilter();

  // Designs the section. Keeps the history unless the type changes.
  void FDexcute(filterPrm_tag* parameters) noexcept;

  // Filters one sample (returned), or `length` samples in place. Only for the two-history form, which all types in
  // FilterType have.
  double step(double x) noexcept { return twoHistories(coef, z1, z2, x); }
  void run(double* samples, int length) noexcept;

  // Filters one sample in place, in either form.
  void iirProcessing(double* sample) noexcept { filter(coef, sample); }

  // Designs the section and glides to the new design over `samples` calls of ipIirProcessing, each coefficient in a
  // straight line. If `samples` is below 1, the new design applies at once. iirProcessing does not glide; it uses the
  // new design.
  void ipFDexcute(filterPrm_tag* parameters, int samples) noexcept;
  void ipIirProcessing(double* sample) noexcept;

  // Clears the history.
  void refresh() noexcept;

  // Two-history form: c0 and c1 are the weights of the output in the history updates (the negated denominator), c2, c3
  // and c4 the feed-forward weights. One-pole form: c0 is the weight of the input, c2 that of the history.
  double coef[5];
  double startCoef[5] = {};  // at the start of a glide
  double deltaCoef[5] = {};  // change per sample of a glide
  double z1 = 0.0;
  double z2 = 0.0;
  double pi = 3.141592653589794;  // two units in the last place above the nearest double; the designs rely on it
  std::int16_t type = 0;
  std::int16_t prevType = -1;
  std::int32_t biquad = 0;  // non-zero: two-history form; zero: one-pole form
  double ipCount = 0.0;     // glide position, samples
  double ipLength = 0.0;    // glide length, samples

 private:
  void filter(const double (&c)[5], double* sample) noexcept {
    const double x = *sample;
    if (biquad != 0) {
      *sample = twoHistories(c, z1, z2, x);
    } else {
      *sample = z1 = c[2] * z1 + c[0] * x;
    }
  }

  static double twoHistories(const double (&c)[5], double& z1, double& z2, double x) noexcept {
    const double y = c[2] * x + z1;
    z1 = (c[3] * x + z2) + c[0] * y;
    z2 = c[4] * x + c[1] * y;
    return y;
  }

  void setBiquad(double b0, double b1, double b2, double c0, double c1) noexcept;
  void designSmoother(double frequency, double sampleRate) noexcept;
};
