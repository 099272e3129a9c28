// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "dsp/path/SignalStages.h"
#include "effect/RecursiveMutex.h"
#include "host/Q_TypeBase.h"

class BrumblerProgram;
struct SwitchFader;
struct Taper;

// The fuzz effect: one channel of doubles in, one out, three parameters in sixteen programs.
//
// Threads: processDoubleReplacing holds `lock` for its block, and so does everything that changes what a block reads
// (setParameter, setProgram, setSampleRate, setBlockSize). Changes therefore land between blocks, and a call from
// another thread waits for the block. Texts, names, properties, getParameter, getSampleRate and getBlockSize take no
// lock and may be called at any time. If one thread sets a name while another reads it, the reader may get a mixture of
// both, but always a terminated text. Effects share only the curve, which set-ups of several effects build in turn.
// Overlapping set-ups of one effect leave it set up for the rate of one of them.
//
// Calls into the host: setSampleRate asks for the rate, setParameterAutomated reports the change, and the host services
// of the base classes do what they say; nothing else calls the host. These calls run on the caller's thread and hold no
// lock, so a host may answer under a lock of its own.
//
// A host must not overlap close with any other call for the same effect, and must call what describes the effect (the
// record's fields, the flag and channel setters, setEditor) from one thread at a time. A block's input and output are
// the same array, or two that do not overlap.
//
// Bad input: if a block contains a NaN, an infinity or a sample beyond 1e36, its output is unspecified but finite, and
// the next block starts from silent histories. VOLUME plays limited to -0.8 to 10 and FUZZ to -1.7 to 1.7; NaN plays as
// 0.
//
// Storage: construction, setSampleRate and setBlockSize allocate everything. A block no longer than the announced
// length allocates nothing; a longer one grows the work buffers once. When memory runs out, the effect passes its input
// through until the next setSampleRate (or a shorter block) succeeds.
class Brumbler : public Q_TypeBase {
 public:
  static constexpr int32 kNumPrograms = 16;
  static constexpr int32 kNumParams = 3;
  enum Parameter : int32 { kOnOff = 0, kVolume = 1, kFuzz = 2 };

  // Throws std::bad_alloc when there is no storage for the programs.
  explicit Brumbler(audioMasterCallback audioMaster);
  ~Brumbler() override;

  void resume() override;
  void setSampleRate(float sampleRate) override;  // builds the processing for the rate that the host reports
  void setBlockSize(int32 blockSize) override;
  void processReplacing(float** inputs, float** outputs, int32 sampleFrames) override;  // does nothing
  void processDoubleReplacing(double** inputs, double** outputs, int32 sampleFrames) override;
  void setParameter(int32 index, float value) override;  // any value is stored as it is
  float getParameter(int32 index) override;
  void setProgram(int32 program) override;
  void setProgramName(char* name) override;  // cut to 23 characters
  void getProgramName(char* name) override;
  void getParameterLabel(int32 index, char* label) override;
  void getParameterDisplay(int32 index, char* text) override;
  void getParameterName(int32 index, char* text) override;
  bool getParameterProperties(int32 index, VstParameterProperties* properties) override;
  bool getProgramNameIndexed(int32 category, int32 index, char* text) override;
  bool getEffectName(char* name) override;
  bool getProductString(char* text) override;
  int32 getVendorVersion() override;
  int32 getPlugCategory() override;
  int32 getNumOfInJacks() override;
  int32 getNumOfOutJacks() override;
  int32 getNumOfInSig(int32 jack) override;
  int32 getNumOfOutSig(int32 jack) override;
  int32 getStartNumInSig(int32 jack) override;
  int32 getStartNumOutSig(int32 jack) override;
  int32 getDryInSigNum() override;
  void getParameterDisplayOf(int32 index, float value, char* text) override;

  // The curve table, one for the whole process, and the rate argument it was last built for.
  static Clipper clip[1];
  static double clipSampleRate;

  // The fixed equaliser sections: type code, Hz, dB and q of each.
  static constexpr int32 kNumAdjust = 2;
  static constexpr int32 kNumRev = 5;
  static const int32 num_Adjust[kNumAdjust];
  static const double freq_Adjust[kNumAdjust];
  static const double gain_Adjust[kNumAdjust];
  static const double q_Adjust[kNumAdjust];
  static const int32 num_Rev[kNumRev];
  static const double freq_Rev[kNumRev];
  static const double gain_Rev[kNumRev];
  static const double q_Rev[kNumRev];

 private:
  void setGain();
  void joinStages();
  ClipCurve<double> clipCurve() const noexcept;
  float playedFuzz() const noexcept;
  template <typename Function>
  void forEachHistory(Function function);  // dsp/BrumblerHistories.h
  bool lookIsDue(int32 length) noexcept;
  bool historiesAreGood() noexcept;
  void forgetBlock() noexcept;
  void storeParameter(int32 index, float value);
  void loadProgram(int32 program);

  bool isSetUp() const noexcept { return switchFader != nullptr; }
  bool isSetUpFor(double rate);
  static void buildTable(double rateArgument);
  void setUpFor(float rate);
  bool buildProcessing();
  void releaseProcessing() noexcept;
  bool growWorkBuffers(int32 samples) noexcept;

  static RecursiveMutex clipLock;  // guards `clip` and `clipSampleRate`

  // The order of the fields is documented. Between blocks they are up to date.
  BrumblerProgram* programs = nullptr;  // numPrograms of them
  RecursiveMutex lock;
  int32 sampleRateInt = 44100;  // Hz
  double curSampleRate = -1.0;  // Hz; -1 before the first set-up, NaN after one that failed
  double ovsState[2][6] = {};   // histories of the interpolating and the decimating lowpass
  int32 adjustCount = kNumAdjust;
  int32 revCount = kNumRev;
  double clipOutGain = 0.07269423992141195;
  double outputGain = 0.25118864;
  IIRFilter** adjustFilters = nullptr;
  IIRFilter* fuzzPeak = nullptr;
  IIRFilter* fuzzHighpass = nullptr;
  IIRFilter* lowPeak = nullptr;
  IIRFilter** revFilters = nullptr;
  IIRFilter* dcBlock = nullptr;
  bool firstBlock = true;
  SwitchFader* switchFader = nullptr;
  double* gainBuffer = nullptr;  // cross-fade gain of each sample of the block
  float volume = 1.0F;
  double lastVolume = 0.0;  // VOLUME at the end of the last block
  double toneK = 0.0;
  double toneZ1 = 0.0;
  double toneZ2 = 0.0;
  float fuzz = 1.0F;
  float lastFuzz = -1.0F;  // FUZZ that the gain law last ran for
  Taper* fuzzTaper = nullptr;
  float onOff = 1.0F;
  double ovsA[5] = {};  // feedback coefficients of the oversampling lowpass
  double ovsB[6] = {};  // its feed-forward coefficients
  double clipThrPos = 0.0;
  double clipDrive = 0.0;
  double clipThrNeg = 0.0;
  int32 workBufLen = 0;  // samples that gainBuffer holds; the switch buffer holds at least as many

  std::optional<SignalStages> stages;         // the fields above that the signal path uses, once set up
  static constexpr int32 kLookInterval = 64;  // samples, at least, between two checks of the histories
  int32 samplesToLook = kLookInterval;

  friend struct FieldOffsets;
  friend struct LayoutCheck;
};
