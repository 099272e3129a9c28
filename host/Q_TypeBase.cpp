// SPDX-License-Identifier: MIT
#include "host/Q_TypeBase.h"

Q_TypeBase::Q_TypeBase(audioMasterCallback master, int32 programs, int32 params)
    : AudioEffectX(master, programs, params) {}

int32 Q_TypeBase::getNumOfInJacks() { return 1; }
int32 Q_TypeBase::getNumOfOutJacks() { return 1; }
int32 Q_TypeBase::getNumOfInSig(int32 /*jack*/) { return 2; }
int32 Q_TypeBase::getNumOfOutSig(int32 /*jack*/) { return 1; }
int32 Q_TypeBase::getStartNumInSig(int32 /*jack*/) { return 0; }
int32 Q_TypeBase::getStartNumOutSig(int32 /*jack*/) { return 0; }
int32 Q_TypeBase::getDryInSigNum() { return -1; }
void Q_TypeBase::setListner(Q_VstListner* /*listener*/) {}
void Q_TypeBase::getParameterDisplayOf(int32 /*index*/, float /*value*/, char* /*text*/) {}
int32 Q_TypeBase::getHeaderVersion() { return headerVersion; }
void Q_TypeBase::setTime(float /*time*/) {}
