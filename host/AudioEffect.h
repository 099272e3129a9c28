// SPDX-License-Identifier: MIT
#pragma once

#include "host/AEffEditor.h"
#include "host/AEffect.h"
#include "host/Opcodes.h"

// The effect's side of the interface: embeds the host record, routes the host's calls to virtual operations, and wraps
// the host callback. Fields and virtual operations stand in the order of the binary interface; the numbers beside the
// groups are slots of the virtual table.
//
// Threads: there is no lock here. An operation runs on the thread from which the host calls; each group says which. A
// host must not overlap close with any other call for the same effect.
//
// Bad input: a null text or record is ignored, never dereferenced.
class AudioEffect {
 public:
  // `audioMaster` may be null: host services then give the neutral answers stated beside them.
  AudioEffect(audioMasterCallback audioMaster, int32 numPrograms, int32 numParams);
  AudioEffect(const AudioEffect&) = delete;
  AudioEffect& operator=(const AudioEffect&) = delete;

  virtual ~AudioEffect();  // 0, 1: deletes the editor

  // 2. Answers an EffectOpcode; 0 for those it does not know.
  virtual intptr dispatcher(int32 opcode, int32 index, intptr value, void* ptr, float opt);

  // 3-8: life and set-up, the host's main thread.
  virtual void open();
  virtual void close();
  virtual void suspend();
  virtual void resume();
  virtual void setSampleRate(float sampleRate);  // Hz
  virtual void setBlockSize(int32 blockSize);    // the longest block announced, in samples

  // 9, 10: the audio thread. One array of `sampleFrames` samples for each channel, in and out.
  virtual void processReplacing(float** inputs, float** outputs, int32 sampleFrames) = 0;
  virtual void processDoubleReplacing(double** inputs, double** outputs, int32 sampleFrames);

  // 11-22: parameters (values 0 to 1), programs and texts, any thread. Chunks are not used.
  virtual void setParameter(int32 index, float value);
  virtual float getParameter(int32 index);
  virtual void setParameterAutomated(int32 index, float value);  // sets it, then tells the host
  virtual int32 getProgram();
  virtual void setProgram(int32 program);
  virtual void setProgramName(char* name);  // only read
  virtual void getProgramName(char* name);
  virtual void getParameterLabel(int32 index, char* label);
  virtual void getParameterDisplay(int32 index, char* text);
  virtual void getParameterName(int32 index, char* text);
  virtual int32 getChunk(void** data, bool isPreset);
  virtual int32 setChunk(void* data, int32 byteSize, bool isPreset);

  // 23-29: set what the record tells the host, during construction.
  virtual void setUniqueID(int32 id);
  virtual void setNumInputs(int32 inputs);
  virtual void setNumOutputs(int32 outputs);
  virtual void canProcessReplacing(bool state);
  virtual void canDoubleReplacing(bool state);
  virtual void programsAreChunks(bool state);
  virtual void setInitialDelay(int32 delay);  // samples

  // 30-33.
  virtual AEffEditor* getEditor();
  virtual AEffect* getAeffect();
  virtual float getSampleRate();  // Hz
  virtual int32 getBlockSize();   // samples

  // 34-38: host services.
  virtual int32 getMasterVersion();  // the host's interface version, at least 1
  virtual int32 getCurrentUniqueId();
  virtual int32 masterIdle();
  virtual bool isInputConnected(int32 input);  // true without a host
  virtual bool isOutputConnected(int32 output);

  // 39-43: numbers as text, any thread. They write at most `maxLen` characters and a terminating zero, and always a
  // zero at text[maxLen]. A null text or a negative `maxLen` writes nothing. Except where a line says otherwise, a
  // value that does not fit gives "Huge!", and NaN reads as 0.
  virtual void dB2string(float value, char* text, int32 maxLen);     // linear gain as decibels; "-Inf" unless above 0
  virtual void Hz2string(float samples, char* text, int32 maxLen);   // period in samples as a frequency; 0 for 0
  virtual void ms2string(float samples, char* text, int32 maxLen);   // length in samples as milliseconds
  virtual void float2string(float value, char* text, int32 maxLen);  // blank or "-", digits, ".", up to two decimals
  virtual void int2string(int32 value, char* text, int32 maxLen);

  // 44-50: deprecated.
  virtual void __processDeprecated(float** inputs, float** outputs, int32 sampleFrames);
  virtual float __getVuDeprecated();
  virtual void __hasVuDeprecated(bool state);
  virtual void __hasClipDeprecated(bool state);
  virtual void __canMonoDeprecated(bool state);
  virtual void __setRealtimeQualitiesDeprecated(int32 qualities);
  virtual void __setOfflineQualitiesDeprecated(int32 qualities);

  // Attaches an editor, which the effect then owns, or none (null). The caller owns the previous editor again.
  void setEditor(AEffEditor* newEditor);

  // The entries that the record holds. Each finds the effect through the record; a record without one is ignored.
  static intptr dispatchEffectClass(AEffect* e, int32 opcode, int32 index, intptr value, void* ptr, float opt);
  static void processClassReplacing(AEffect* e, float** inputs, float** outputs, int32 sampleFrames);
  static void processClassDoubleReplacing(AEffect* e, double** inputs, double** outputs, int32 sampleFrames);
  static void __processClassDeprecated(AEffect* e, float** inputs, float** outputs, int32 sampleFrames);
  static void setParameterClass(AEffect* e, int32 index, float value);
  static float getParameterClass(AEffect* e, int32 index);

 protected:
  // Asks the host; 0 when there is none.
  intptr callHost(HostOpcode opcode, int32 index = 0, intptr value = 0, void* ptr = nullptr, float opt = 0.0F);
  void setFlag(EffectFlag flag, bool state);

  audioMasterCallback audioMaster;
  AEffEditor* editor = nullptr;
  float sampleRate = 44100.0F;
  int32 blockSize = 1024;
  int32 numPrograms;
  int32 numParams;
  int32 curProgram = 0;
  AEffect cEffect = {};

  friend struct FieldOffsets;
  friend struct LayoutCheck;
};
