// SPDX-License-Identifier: MIT
#pragma once

#include "host/AudioEffect.h"
#include "host/VstRecords.h"

// The extended half of the interface: neutral answers to the opcodes 25 to 79, wrappers of the extended host services,
// and the speaker records. An effect overrides what it supports. Continues the virtual table of AudioEffect; the
// numbers beside the groups are slots. "host n" is the HostOpcode that a wrapper sends; without a host it answers 0,
// false or null. Operations whose names end in Deprecated remain because the table keeps their slots.
class AudioEffectX : public AudioEffect {
 public:
  AudioEffectX(audioMasterCallback audioMaster, int32 numPrograms, int32 numParams);

  intptr dispatcher(int32 opcode, int32 index, intptr value, void* ptr, float opt) override;
  void resume() override;  // asks the host for events when the effect is a synth or takes MIDI

  // 51-60: parameters and programs, any thread.
  virtual bool canParameterBeAutomated(int32 index);
  virtual bool string2parameter(int32 index, char* text);
  virtual bool getParameterProperties(int32 index, VstParameterProperties* properties);
  virtual bool beginEdit(int32 index);  // host 43
  virtual bool endEdit(int32 index);    // host 44
  virtual bool getProgramNameIndexed(int32 category, int32 index, char* text);
  virtual bool beginSetProgram();
  virtual bool endSetProgram();
  virtual int32 beginLoadBank(VstPatchChunkInfo* info);
  virtual int32 beginLoadProgram(VstPatchChunkInfo* info);

  // 61-69: connections and set-up, the host's main thread.
  virtual bool ioChanged();          // host 13
  virtual float updateSampleRate();  // host 16; Hz, 44100 when the host has no positive answer
  virtual int32 updateBlockSize();   // host 17; samples, the stored size when the host has no positive answer
  virtual int32 getInputLatency();   // host 18
  virtual int32 getOutputLatency();  // host 19
  virtual bool getInputProperties(int32 index, VstPinProperties* properties);
  virtual bool getOutputProperties(int32 index, VstPinProperties* properties);
  virtual bool setSpeakerArrangement(VstSpeakerArrangement* pluginInput, VstSpeakerArrangement* pluginOutput);
  virtual bool getSpeakerArrangement(VstSpeakerArrangement** pluginInput, VstSpeakerArrangement** pluginOutput);

  // 70-82: processing.
  virtual bool setBypass(bool onOff);
  virtual bool setPanLaw(int32 type, float value);
  virtual bool setProcessPrecision(int32 precision);
  virtual int32 getNumMidiInputChannels();
  virtual int32 getNumMidiOutputChannels();
  virtual VstTimeInfo* getTimeInfo(int32 filter);  // host 7; the host's record
  virtual int32 getCurrentProcessLevel();          // host 23
  virtual int32 getAutomationState();              // host 24
  virtual int32 processEvents(VstEvents* events);
  virtual int32 startProcess();
  virtual int32 stopProcess();
  virtual bool processVariableIo(VstVariableIo* variableIo);
  virtual int32 setTotalSampleToProcess(int32 value);

  // 83-98: identities and capabilities. Text buffers have the interface's sizes.
  virtual bool getHostVendorString(char* text);                                                // host 32
  virtual bool getHostProductString(char* text);                                               // host 33
  virtual int32 getHostVendorVersion();                                                        // host 34
  virtual intptr hostVendorSpecific(int32 lArg1, intptr lArg2, void* ptrArg, float floatArg);  // host 35
  virtual bool canHostDo(char* text);  // host 37; any answer but 0 means yes
  virtual int32 getHostLanguage();     // host 38
  virtual void isSynth(bool state);
  virtual void noTail(bool state);
  virtual int32 getGetTailSize();
  virtual void* getDirectory();  // host 41
  virtual bool getEffectName(char* name);
  virtual bool getVendorString(char* text);
  virtual bool getProductString(char* text);
  virtual int32 getVendorVersion();
  virtual intptr vendorSpecific(int32 lArg, intptr lArg2, void* ptrArg, float floatArg);
  virtual int32 canDo(char* text);  // only read

  // 99-105: version, category, MIDI programs.
  virtual int32 getVstVersion();
  virtual int32 getPlugCategory();
  virtual int32 getMidiProgramName(int32 channel, MidiProgramName* name);
  virtual int32 getCurrentMidiProgram(int32 channel, MidiProgramName* name);
  virtual int32 getMidiProgramCategory(int32 channel, MidiProgramCategory* category);
  virtual bool hasMidiProgramsChanged(int32 channel);
  virtual bool getMidiKeyName(int32 channel, MidiKeyName* name);

  // 106-110: display and shell.
  virtual bool updateDisplay();                           // host 42
  virtual bool sizeWindow(int32 width, int32 height);     // host 15
  virtual bool openFileSelector(VstFileSelect* select);   // host 45
  virtual bool closeFileSelector(VstFileSelect* select);  // host 46
  virtual int32 getNextShellPlugin(char* name);

  // 111-114: speaker records. The caller owns the block whose address allocateArrangement or matchArrangement stored,
  // and frees it with deallocateArrangement. Null arguments give false, except that deallocateArrangement is always
  // true.
  //
  // allocateArrangement frees what `*arrangement` held and stores a zeroed record for `nbChannels` speakers. False, and
  // `*arrangement` is null, when storage ran out or `nbChannels` is negative.
  virtual bool allocateArrangement(VstSpeakerArrangement** arrangement, int32 nbChannels);
  virtual bool deallocateArrangement(VstSpeakerArrangement** arrangement);
  virtual bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from);  // names are cut to 63 characters
  // Makes `*to` a new deep copy of `from` and frees what `*to` held. If `from` is `*to`, nothing changes.
  virtual bool matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from);

  // 115-124: offline processing.
  virtual bool offlineRead(VstOfflineTask* offline, VstOfflineOption option, bool readSource);  // host 26
  virtual bool offlineWrite(VstOfflineTask* offline, VstOfflineOption option);                  // host 27
  virtual bool offlineStart(VstAudioFile* files, int32 numAudioFiles, int32 numNewAudioFiles);  // host 25
  virtual int32 offlineGetCurrentPass();                                                        // host 28
  virtual int32 offlineGetCurrentMetaPass();                                                    // host 29
  virtual bool offlineNotify(VstAudioFile* files, int32 numAudioFiles, bool start);
  virtual bool offlinePrepare(VstOfflineTask* offline, int32 count);
  virtual bool offlineRun(VstOfflineTask* offline, int32 count);
  virtual int32 offlineGetNumPasses();
  virtual int32 offlineGetNumMetaPasses();

  // 125-152: deprecated.
  virtual void __wantEventsDeprecated(int32 filter);        // host 6
  virtual int32 __tempoAtDeprecated(int32 pos);             // host 10
  virtual int32 __getNumAutomatableParametersDeprecated();  // host 11
  virtual int32 __getParameterQuantizationDeprecated();     // host 12
  virtual int32 __getNumCategoriesDeprecated();
  virtual bool __copyProgramDeprecated(int32 destination);
  virtual bool __needIdleDeprecated();                     // host 14
  virtual void* __getPreviousPlugDeprecated(int32 input);  // host 20, without `input`
  virtual void* __getNextPlugDeprecated(int32 output);     // host 21, without `output`
  virtual void __inputConnectedDeprecated(int32 index, bool state);
  virtual void __outputConnectedDeprecated(int32 index, bool state);
  virtual int32 __willProcessReplacingDeprecated();  // host 22
  virtual void __wantAsyncOperationDeprecated(bool state);
  virtual void __hasExternalBufferDeprecated(bool state);
  virtual int32 __reportCurrentPositionDeprecated();
  virtual float* __reportDestinationBufferDeprecated();
  virtual void __setOutputSamplerateDeprecated(float samplerate);            // host 30
  virtual VstSpeakerArrangement* __getInputSpeakerArrangementDeprecated();   // host 49
  virtual VstSpeakerArrangement* __getOutputSpeakerArrangementDeprecated();  // host 31
  virtual void* __openWindowDeprecated(__VstWindowDeprecated* window);       // host 39
  virtual bool __closeWindowDeprecated(__VstWindowDeprecated* window);       // host 40
  virtual void __setBlockSizeAndSampleRateDeprecated(int32 blockSize, float sampleRate);
  virtual bool __getErrorTextDeprecated(char* text);
  virtual void* __getIconDeprecated();
  virtual bool __setViewPositionDeprecated(int32 x, int32 y);
  virtual int32 __fxIdleDeprecated();
  virtual bool __keysRequiredDeprecated();
  virtual bool __getChunkFileDeprecated(void* path);  // host 48

  // Sends MIDI events to the host (host 8); true only when it answers 1.
  bool sendVstEventsToHost(VstEvents* events);
};
