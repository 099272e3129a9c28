// SPDX-License-Identifier: MIT
#include "host/AudioEffect.h"

#include <algorithm>
#include <limits>

#include "host/SharedValue.h"

using Op = EffectOpcode;

namespace {

AudioEffect* effectOf(AEffect* e) noexcept { return e != nullptr ? static_cast<AudioEffect*>(e->object) : nullptr; }

// A program index from the host. One that is too low for an int32 becomes the lowest int32, which is no program either.
int32 programIndex(intptr value) noexcept {
  return static_cast<int32>(std::max<intptr>(value, std::numeric_limits<int32>::min()));
}

void clearText(char* text) noexcept {
  if (text != nullptr) *text = '\0';
}

}  // namespace

AudioEffect::AudioEffect(audioMasterCallback master, int32 programs, int32 params)
    : audioMaster(master), numPrograms(programs), numParams(params) {
  cEffect.magic = fourCharacterCode("VstP");
  cEffect.dispatcher = dispatchEffectClass;
  cEffect.process = __processClassDeprecated;
  cEffect.setParameter = setParameterClass;
  cEffect.getParameter = getParameterClass;
  cEffect.numPrograms = programs;
  cEffect.numParams = params;
  cEffect.numInputs = 1;
  cEffect.numOutputs = 2;
  cEffect.flags |= flagCanReplacing;
  cEffect.ioRatio = 1.0F;
  cEffect.object = this;
  cEffect.uniqueID = fourCharacterCode("NoEf");
  cEffect.version = 1;
  cEffect.processReplacing = processClassReplacing;
  cEffect.processDoubleReplacing = processClassDoubleReplacing;
}

AudioEffect::~AudioEffect() { delete editor; }

// One line per opcode.
// clang-format off
intptr AudioEffect::dispatcher(int32 opcode, int32 index, intptr value, void* ptr, float opt) {
  switch (static_cast<Op>(opcode)) {
    case Op::open: open(); return 0;
    case Op::close: close(); return 0;
    case Op::setProgram: if (value < numPrograms) setProgram(programIndex(value)); return 0;
    case Op::getProgram: return getProgram();
    case Op::setProgramName: setProgramName(static_cast<char*>(ptr)); return 0;
    case Op::getProgramName: getProgramName(static_cast<char*>(ptr)); return 0;
    case Op::getParameterLabel: getParameterLabel(index, static_cast<char*>(ptr)); return 0;
    case Op::getParameterDisplay: getParameterDisplay(index, static_cast<char*>(ptr)); return 0;
    case Op::getParameterName: getParameterName(index, static_cast<char*>(ptr)); return 0;
    case Op::setSampleRate: setSampleRate(opt); return 0;
    case Op::setBlockSize: setBlockSize(static_cast<int32>(value)); return 0;
    case Op::setProcessing: value == 0 ? suspend() : resume(); return 0;
    case Op::getEditorRectangle: return editor != nullptr && editor->getRectangle(static_cast<void**>(ptr));
    case Op::openEditor: return editor != nullptr && editor->open(ptr);
    case Op::closeEditor: if (editor != nullptr) editor->close(); return 0;
    case Op::idleEditor: if (editor != nullptr) editor->idle(); return 0;
    case Op::identify: return fourCharacterCode("NvEf");
    case Op::getChunk: return getChunk(static_cast<void**>(ptr), index != 0);
    case Op::setChunk: return setChunk(ptr, static_cast<int32>(value), index != 0);
    default: return 0;
  }
}
// clang-format on

void AudioEffect::open() {}
void AudioEffect::close() {}
void AudioEffect::suspend() {}
void AudioEffect::resume() {}
void AudioEffect::setSampleRate(float rate) { storeShared(sampleRate, rate); }
void AudioEffect::setBlockSize(int32 size) { storeShared(blockSize, size); }

void AudioEffect::processDoubleReplacing(double** /*inputs*/, double** /*outputs*/, int32 /*sampleFrames*/) {}

void AudioEffect::setParameter(int32 /*index*/, float /*value*/) {}
float AudioEffect::getParameter(int32 /*index*/) { return 0.0F; }
void AudioEffect::setParameterAutomated(int32 index, float value) {
  setParameter(index, value);
  callHost(HostOpcode::automate, index, 0, nullptr, value);
}
int32 AudioEffect::getProgram() { return loadShared(curProgram); }
void AudioEffect::setProgram(int32 program) { curProgram = program; }
void AudioEffect::setProgramName(char* /*name*/) {}
void AudioEffect::getProgramName(char* name) { clearText(name); }
void AudioEffect::getParameterLabel(int32 /*index*/, char* label) { clearText(label); }
void AudioEffect::getParameterDisplay(int32 /*index*/, char* text) { clearText(text); }
void AudioEffect::getParameterName(int32 /*index*/, char* text) { clearText(text); }
int32 AudioEffect::getChunk(void** /*data*/, bool /*isPreset*/) { return 0; }
int32 AudioEffect::setChunk(void* /*data*/, int32 /*byteSize*/, bool /*isPreset*/) { return 0; }

void AudioEffect::setUniqueID(int32 id) { cEffect.uniqueID = id; }
void AudioEffect::setNumInputs(int32 inputs) { cEffect.numInputs = inputs; }
void AudioEffect::setNumOutputs(int32 outputs) { cEffect.numOutputs = outputs; }
void AudioEffect::canProcessReplacing(bool state) { setFlag(flagCanReplacing, state); }
void AudioEffect::canDoubleReplacing(bool state) { setFlag(flagCanDoubleReplacing, state); }
void AudioEffect::programsAreChunks(bool state) { setFlag(flagProgramChunks, state); }
void AudioEffect::setInitialDelay(int32 delay) { cEffect.initialDelay = delay; }

AEffEditor* AudioEffect::getEditor() { return editor; }
AEffect* AudioEffect::getAeffect() { return &cEffect; }
float AudioEffect::getSampleRate() { return loadShared(sampleRate); }
int32 AudioEffect::getBlockSize() { return loadShared(blockSize); }

int32 AudioEffect::getMasterVersion() {
  const auto version = static_cast<int32>(callHost(HostOpcode::audioMasterVersion));
  return version == 0 ? 1 : version;
}
int32 AudioEffect::getCurrentUniqueId() { return static_cast<int32>(callHost(HostOpcode::currentId)); }
int32 AudioEffect::masterIdle() { return static_cast<int32>(callHost(HostOpcode::idle)); }
bool AudioEffect::isInputConnected(int32 input) { return callHost(HostOpcode::pinConnected, input, 0) == 0; }
bool AudioEffect::isOutputConnected(int32 output) { return callHost(HostOpcode::pinConnected, output, 1) == 0; }

void AudioEffect::__processDeprecated(float** /*inputs*/, float** /*outputs*/, int32 /*sampleFrames*/) {}
float AudioEffect::__getVuDeprecated() { return 0.0F; }
void AudioEffect::__hasVuDeprecated(bool state) { setFlag(flagHasVu, state); }
void AudioEffect::__hasClipDeprecated(bool state) { setFlag(flagHasClip, state); }
void AudioEffect::__canMonoDeprecated(bool state) { setFlag(flagCanMono, state); }
void AudioEffect::__setRealtimeQualitiesDeprecated(int32 qualities) { cEffect.realQualities = qualities; }
void AudioEffect::__setOfflineQualitiesDeprecated(int32 qualities) { cEffect.offQualities = qualities; }

void AudioEffect::setEditor(AEffEditor* newEditor) {
  editor = newEditor;
  setFlag(flagHasEditor, newEditor != nullptr);
}

intptr AudioEffect::dispatchEffectClass(AEffect* e, int32 opcode, int32 index, intptr value, void* ptr, float opt) {
  AudioEffect* const effect = effectOf(e);
  if (effect == nullptr) return 0;
  const intptr answer = effect->dispatcher(opcode, index, value, ptr, opt);
  if (opcode != static_cast<int32>(EffectOpcode::close)) return answer;
  delete effect;
  return 1;
}

void AudioEffect::processClassReplacing(AEffect* e, float** inputs, float** outputs, int32 sampleFrames) {
  if (AudioEffect* const effect = effectOf(e)) effect->processReplacing(inputs, outputs, sampleFrames);
}

void AudioEffect::processClassDoubleReplacing(AEffect* e, double** inputs, double** outputs, int32 sampleFrames) {
  if (AudioEffect* const effect = effectOf(e)) effect->processDoubleReplacing(inputs, outputs, sampleFrames);
}

void AudioEffect::__processClassDeprecated(AEffect* e, float** inputs, float** outputs, int32 sampleFrames) {
  if (AudioEffect* const effect = effectOf(e)) effect->__processDeprecated(inputs, outputs, sampleFrames);
}

void AudioEffect::setParameterClass(AEffect* e, int32 index, float value) {
  if (AudioEffect* const effect = effectOf(e)) effect->setParameter(index, value);
}

float AudioEffect::getParameterClass(AEffect* e, int32 index) {
  AudioEffect* const effect = effectOf(e);
  return effect != nullptr ? effect->getParameter(index) : 0.0F;
}

intptr AudioEffect::callHost(HostOpcode opcode, int32 index, intptr value, void* ptr, float opt) {
  return audioMaster != nullptr ? audioMaster(&cEffect, static_cast<int32>(opcode), index, value, ptr, opt) : 0;
}

void AudioEffect::setFlag(EffectFlag flag, bool state) {
  cEffect.flags = state ? cEffect.flags | flag : cEffect.flags & ~flag;
}
