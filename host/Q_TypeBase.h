// SPDX-License-Identifier: MIT
#pragma once

#include "host/AudioEffectX.h"

class Q_VstListner;  // belongs to the host; never called or stored here

// The host extension: through these slots a host learns the effect's jacks and signals, and the text for any parameter
// value. A jack is a socket of the device; a signal is one channel of a jack. Continues the virtual table of
// AudioEffectX; any thread may call.
class Q_TypeBase : public AudioEffectX {
 public:
  Q_TypeBase(audioMasterCallback audioMaster, int32 numPrograms, int32 numParams);

  // 153-163.
  virtual int32 getNumOfInJacks();
  virtual int32 getNumOfOutJacks();
  virtual int32 getNumOfInSig(int32 jack);
  virtual int32 getNumOfOutSig(int32 jack);
  virtual int32 getStartNumInSig(int32 jack);
  virtual int32 getStartNumOutSig(int32 jack);
  virtual int32 getDryInSigNum();  // -1: there is no dry input signal
  virtual void setListner(Q_VstListner* listener);
  virtual void getParameterDisplayOf(int32 index, float value, char* text);
  virtual int32 getHeaderVersion();
  virtual void setTime(float time);

 protected:
  int32 headerVersion = 1;

  friend struct FieldOffsets;
  friend struct LayoutCheck;
};
