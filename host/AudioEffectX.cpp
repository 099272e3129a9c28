// SPDX-License-Identifier: MIT
#include "host/AudioEffectX.h"

#include "host/CanDos.h"
#include "host/SharedValue.h"

using Op = EffectOpcode;
using Host = HostOpcode;

namespace {

// A pointer that the host passed as an integer.
template <typename T>
T* asPointer(intptr value) noexcept {
  return reinterpret_cast<T*>(value);  // NOLINT(performance-no-int-to-ptr): the interface hands pointers over so
}

// The key stroke that opcodes 59 and 60 carry in their arguments. A modifier value outside the range of int32 reads as
// 0.
VstKeyCode keyFrom(int32 index, intptr value, float opt) noexcept {
  const bool fits = opt > -2147483648.0F && opt < 2147483648.0F;
  const int32 modifiers = fits ? static_cast<int32>(opt) : 0;
  return {index, static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>(modifiers & 0xFF)};
}

}  // namespace

AudioEffectX::AudioEffectX(audioMasterCallback master, int32 programs, int32 params)
    : AudioEffect(master, programs, params) {}

// One line per opcode, then one per operation or host service.
// clang-format off
intptr AudioEffectX::dispatcher(int32 opcode, int32 index, intptr value, void* ptr, float opt) {
  const auto small = static_cast<int32>(value);
  switch (static_cast<Op>(opcode)) {
    case Op::processEvents: return processEvents(static_cast<VstEvents*>(ptr));
    case Op::canParameterBeAutomated: return canParameterBeAutomated(index);
    case Op::string2parameter: return string2parameter(index, static_cast<char*>(ptr));
    case Op::getProgramNameIndexed: return getProgramNameIndexed(small, index, static_cast<char*>(ptr));
    case Op::getInputProperties: return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
    case Op::getOutputProperties: return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
    case Op::getPlugCategory: return getPlugCategory();
    case Op::offlineNotify: return offlineNotify(static_cast<VstAudioFile*>(ptr), small, index != 0);
    case Op::offlinePrepare: return offlinePrepare(static_cast<VstOfflineTask*>(ptr), small);
    case Op::offlineRun: return offlineRun(static_cast<VstOfflineTask*>(ptr), small);
    case Op::processVariableIo: return processVariableIo(static_cast<VstVariableIo*>(ptr));
    case Op::setSpeakerArrangement: return setSpeakerArrangement(asPointer<VstSpeakerArrangement>(value), static_cast<VstSpeakerArrangement*>(ptr));
    case Op::setBypass: return setBypass(value != 0);
    case Op::getEffectName: return getEffectName(static_cast<char*>(ptr));
    case Op::getVendorString: return getVendorString(static_cast<char*>(ptr));
    case Op::getProductString: return getProductString(static_cast<char*>(ptr));
    case Op::getVendorVersion: return getVendorVersion();
    case Op::vendorSpecific: return vendorSpecific(index, value, ptr, opt);
    case Op::canDo: return canDo(static_cast<char*>(ptr));
    case Op::getTailSize: return getGetTailSize();
    case Op::getParameterProperties: return getParameterProperties(index, static_cast<VstParameterProperties*>(ptr));
    case Op::getVstVersion: return getVstVersion();
    case Op::editorKeyDown: return editor != nullptr && editor->onKeyDown(keyFrom(index, value, opt));
    case Op::editorKeyUp: return editor != nullptr && editor->onKeyUp(keyFrom(index, value, opt));
    case Op::setKnobMode: return editor != nullptr && editor->setKnobMode(small);
    case Op::getMidiProgramName: return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
    case Op::getCurrentMidiProgram: return getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr));
    case Op::getMidiProgramCategory: return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
    case Op::hasMidiProgramsChanged: return hasMidiProgramsChanged(index);
    case Op::getMidiKeyName: return getMidiKeyName(index, static_cast<MidiKeyName*>(ptr));
    case Op::beginSetProgram: return beginSetProgram();
    case Op::endSetProgram: return endSetProgram();
    case Op::getSpeakerArrangement: return getSpeakerArrangement(asPointer<VstSpeakerArrangement*>(value), static_cast<VstSpeakerArrangement**>(ptr));
    case Op::getNextShellPlugin: return getNextShellPlugin(static_cast<char*>(ptr));
    case Op::startProcess: return startProcess();
    case Op::stopProcess: return stopProcess();
    case Op::setTotalSampleToProcess: return setTotalSampleToProcess(small);
    case Op::setPanLaw: return setPanLaw(small, opt);
    case Op::beginLoadBank: return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
    case Op::beginLoadProgram: return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
    case Op::setProcessPrecision: return setProcessPrecision(small);
    case Op::getNumMidiInputChannels: return getNumMidiInputChannels();
    case Op::getNumMidiOutputChannels: return getNumMidiOutputChannels();
    default: return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
  }
}

void AudioEffectX::resume() {
  const bool synth = (cEffect.flags & flagIsSynth) != 0;
  auto* const takesMidi = const_cast<char*>(PlugCanDos::canDoReceiveVstMidiEvent);  // NOLINT(cppcoreguidelines-pro-type-const-cast): only read
  if (synth || canDo(takesMidi) == 1) __wantEventsDeprecated(1);
}

bool AudioEffectX::canParameterBeAutomated(int32 /*index*/) { return true; }
bool AudioEffectX::string2parameter(int32 /*index*/, char* /*text*/) { return false; }
bool AudioEffectX::getParameterProperties(int32 /*index*/, VstParameterProperties* /*properties*/) { return false; }
bool AudioEffectX::beginEdit(int32 index) { return callHost(Host::beginEdit, index) != 0; }
bool AudioEffectX::endEdit(int32 index) { return callHost(Host::endEdit, index) != 0; }
bool AudioEffectX::getProgramNameIndexed(int32 /*category*/, int32 /*index*/, char* /*text*/) { return false; }
bool AudioEffectX::beginSetProgram() { return false; }
bool AudioEffectX::endSetProgram() { return false; }
int32 AudioEffectX::beginLoadBank(VstPatchChunkInfo* /*info*/) { return 0; }
int32 AudioEffectX::beginLoadProgram(VstPatchChunkInfo* /*info*/) { return 0; }

bool AudioEffectX::ioChanged() { return callHost(Host::ioChanged) != 0; }

float AudioEffectX::updateSampleRate() {
  storeShared(sampleRate, 44100.0F);
  const auto answer = static_cast<int32>(callHost(Host::getSampleRate));
  if (answer > 0) storeShared(sampleRate, static_cast<float>(answer));
  return loadShared(sampleRate);
}

int32 AudioEffectX::updateBlockSize() {
  const auto answer = static_cast<int32>(callHost(Host::getBlockSize));
  if (answer > 0) storeShared(blockSize, answer);
  return loadShared(blockSize);
}

int32 AudioEffectX::getInputLatency() { return static_cast<int32>(callHost(Host::getInputLatency)); }
int32 AudioEffectX::getOutputLatency() { return static_cast<int32>(callHost(Host::getOutputLatency)); }
bool AudioEffectX::getInputProperties(int32 /*index*/, VstPinProperties* /*properties*/) { return false; }
bool AudioEffectX::getOutputProperties(int32 /*index*/, VstPinProperties* /*properties*/) { return false; }
bool AudioEffectX::setSpeakerArrangement(VstSpeakerArrangement* /*in*/, VstSpeakerArrangement* /*out*/) { return false; }

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** pluginInput, VstSpeakerArrangement** pluginOutput) {
  if (pluginInput != nullptr) *pluginInput = nullptr;
  if (pluginOutput != nullptr) *pluginOutput = nullptr;
  return false;
}

bool AudioEffectX::setBypass(bool /*onOff*/) { return false; }
bool AudioEffectX::setPanLaw(int32 /*type*/, float /*value*/) { return false; }
bool AudioEffectX::setProcessPrecision(int32 /*precision*/) { return false; }
int32 AudioEffectX::getNumMidiInputChannels() { return 0; }
int32 AudioEffectX::getNumMidiOutputChannels() { return 0; }
VstTimeInfo* AudioEffectX::getTimeInfo(int32 filter) { return asPointer<VstTimeInfo>(callHost(Host::getTime, 0, filter)); }
int32 AudioEffectX::getCurrentProcessLevel() { return static_cast<int32>(callHost(Host::getCurrentProcessLevel)); }
int32 AudioEffectX::getAutomationState() { return static_cast<int32>(callHost(Host::getAutomationState)); }
int32 AudioEffectX::processEvents(VstEvents* /*events*/) { return 0; }
int32 AudioEffectX::startProcess() { return 0; }
int32 AudioEffectX::stopProcess() { return 0; }
bool AudioEffectX::processVariableIo(VstVariableIo* /*variableIo*/) { return false; }
int32 AudioEffectX::setTotalSampleToProcess(int32 value) { return value; }

bool AudioEffectX::getHostVendorString(char* text) { return callHost(Host::getVendorString, 0, 0, text) != 0; }
bool AudioEffectX::getHostProductString(char* text) { return callHost(Host::getProductString, 0, 0, text) != 0; }
int32 AudioEffectX::getHostVendorVersion() { return static_cast<int32>(callHost(Host::getVendorVersion)); }
intptr AudioEffectX::hostVendorSpecific(int32 lArg1, intptr lArg2, void* ptrArg, float floatArg) { return callHost(Host::vendorSpecific, lArg1, lArg2, ptrArg, floatArg); }
bool AudioEffectX::canHostDo(char* text) { return callHost(Host::canDo, 0, 0, text) != 0; }
int32 AudioEffectX::getHostLanguage() { return static_cast<int32>(callHost(Host::getLanguage)); }
void AudioEffectX::isSynth(bool state) { setFlag(flagIsSynth, state); }
void AudioEffectX::noTail(bool state) { setFlag(flagNoTail, state); }
int32 AudioEffectX::getGetTailSize() { return 0; }
void* AudioEffectX::getDirectory() { return asPointer<void>(callHost(Host::getDirectory)); }
bool AudioEffectX::getEffectName(char* /*name*/) { return false; }
bool AudioEffectX::getVendorString(char* /*text*/) { return false; }
bool AudioEffectX::getProductString(char* /*text*/) { return false; }
int32 AudioEffectX::getVendorVersion() { return 0; }
intptr AudioEffectX::vendorSpecific(int32 /*lArg*/, intptr /*lArg2*/, void* /*ptrArg*/, float /*floatArg*/) { return 0; }
int32 AudioEffectX::canDo(char* /*text*/) { return 0; }

int32 AudioEffectX::getVstVersion() { return 2400; }
int32 AudioEffectX::getPlugCategory() { return (cEffect.flags & flagIsSynth) != 0 ? categorySynth : categoryUnknown; }
int32 AudioEffectX::getMidiProgramName(int32 /*channel*/, MidiProgramName* /*name*/) { return 0; }
int32 AudioEffectX::getCurrentMidiProgram(int32 /*channel*/, MidiProgramName* /*name*/) { return -1; }
int32 AudioEffectX::getMidiProgramCategory(int32 /*channel*/, MidiProgramCategory* /*category*/) { return 0; }
bool AudioEffectX::hasMidiProgramsChanged(int32 /*channel*/) { return false; }
bool AudioEffectX::getMidiKeyName(int32 /*channel*/, MidiKeyName* /*name*/) { return false; }

bool AudioEffectX::updateDisplay() { return callHost(Host::updateDisplay) != 0; }
bool AudioEffectX::sizeWindow(int32 width, int32 height) { return callHost(Host::sizeWindow, width, height) != 0; }
bool AudioEffectX::openFileSelector(VstFileSelect* select) { return select != nullptr && callHost(Host::openFileSelector, 0, 0, select) != 0; }
bool AudioEffectX::closeFileSelector(VstFileSelect* select) { return select != nullptr && callHost(Host::closeFileSelector, 0, 0, select) != 0; }
int32 AudioEffectX::getNextShellPlugin(char* /*name*/) { return 0; }

bool AudioEffectX::offlineRead(VstOfflineTask* offline, VstOfflineOption option, bool readSource) { return callHost(Host::offlineRead, readSource ? 1 : 0, option, offline) != 0; }
bool AudioEffectX::offlineWrite(VstOfflineTask* offline, VstOfflineOption option) { return callHost(Host::offlineWrite, 0, option, offline) != 0; }
bool AudioEffectX::offlineStart(VstAudioFile* files, int32 numAudioFiles, int32 numNewAudioFiles) { return callHost(Host::offlineStart, numNewAudioFiles, numAudioFiles, files) != 0; }
int32 AudioEffectX::offlineGetCurrentPass() { return callHost(Host::offlineGetCurrentPass) != 0 ? 1 : 0; }
int32 AudioEffectX::offlineGetCurrentMetaPass() { return callHost(Host::offlineGetCurrentMetaPass) != 0 ? 1 : 0; }
bool AudioEffectX::offlineNotify(VstAudioFile* /*files*/, int32 /*numAudioFiles*/, bool /*start*/) { return false; }
bool AudioEffectX::offlinePrepare(VstOfflineTask* /*offline*/, int32 /*count*/) { return false; }
bool AudioEffectX::offlineRun(VstOfflineTask* /*offline*/, int32 /*count*/) { return false; }
int32 AudioEffectX::offlineGetNumPasses() { return 0; }
int32 AudioEffectX::offlineGetNumMetaPasses() { return 0; }

void AudioEffectX::__wantEventsDeprecated(int32 filter) { callHost(Host::wantEvents, 0, filter); }
int32 AudioEffectX::__tempoAtDeprecated(int32 pos) { return static_cast<int32>(callHost(Host::tempoAt, 0, pos)); }
int32 AudioEffectX::__getNumAutomatableParametersDeprecated() { return static_cast<int32>(callHost(Host::getNumAutomatableParameters)); }
int32 AudioEffectX::__getParameterQuantizationDeprecated() { return static_cast<int32>(callHost(Host::getParameterQuantization)); }
int32 AudioEffectX::__getNumCategoriesDeprecated() { return 1; }
bool AudioEffectX::__copyProgramDeprecated(int32 /*destination*/) { return false; }
bool AudioEffectX::__needIdleDeprecated() { return callHost(Host::needIdle) != 0; }
void* AudioEffectX::__getPreviousPlugDeprecated(int32 /*input*/) { return asPointer<void>(callHost(Host::getPreviousPlug)); }
void* AudioEffectX::__getNextPlugDeprecated(int32 /*output*/) { return asPointer<void>(callHost(Host::getNextPlug)); }
void AudioEffectX::__inputConnectedDeprecated(int32 /*index*/, bool /*state*/) {}
void AudioEffectX::__outputConnectedDeprecated(int32 /*index*/, bool /*state*/) {}
int32 AudioEffectX::__willProcessReplacingDeprecated() { return static_cast<int32>(callHost(Host::willProcessReplacing)); }
void AudioEffectX::__wantAsyncOperationDeprecated(bool state) { setFlag(flagWantsAsyncOperation, state); }
void AudioEffectX::__hasExternalBufferDeprecated(bool state) { setFlag(flagHasExternalBuffer, state); }
int32 AudioEffectX::__reportCurrentPositionDeprecated() { return 0; }
float* AudioEffectX::__reportDestinationBufferDeprecated() { return nullptr; }
void AudioEffectX::__setOutputSamplerateDeprecated(float samplerate) { callHost(Host::setOutputSampleRate, 0, 0, nullptr, samplerate); }
VstSpeakerArrangement* AudioEffectX::__getInputSpeakerArrangementDeprecated() { return asPointer<VstSpeakerArrangement>(callHost(Host::getInputSpeakerArrangement)); }
VstSpeakerArrangement* AudioEffectX::__getOutputSpeakerArrangementDeprecated() { return asPointer<VstSpeakerArrangement>(callHost(Host::getOutputSpeakerArrangement)); }
void* AudioEffectX::__openWindowDeprecated(__VstWindowDeprecated* window) { return asPointer<void>(callHost(Host::openWindow, 0, 0, window)); }
bool AudioEffectX::__closeWindowDeprecated(__VstWindowDeprecated* window) { return callHost(Host::closeWindow, 0, 0, window) != 0; }
void AudioEffectX::__setBlockSizeAndSampleRateDeprecated(int32 size, float rate) {
  storeShared(sampleRate, rate);
  storeShared(blockSize, size);
}
bool AudioEffectX::__getErrorTextDeprecated(char* /*text*/) { return false; }
void* AudioEffectX::__getIconDeprecated() { return nullptr; }
bool AudioEffectX::__setViewPositionDeprecated(int32 /*x*/, int32 /*y*/) { return false; }
int32 AudioEffectX::__fxIdleDeprecated() { return 0; }
bool AudioEffectX::__keysRequiredDeprecated() { return false; }
bool AudioEffectX::__getChunkFileDeprecated(void* path) { return path != nullptr && callHost(Host::getChunkFile, 0, 0, path) != 0; }

bool AudioEffectX::sendVstEventsToHost(VstEvents* events) { return callHost(Host::processEvents, 0, 0, events) == 1; }
// clang-format on
