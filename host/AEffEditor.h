// SPDX-License-Identifier: MIT
#pragma once

#include "host/VstRecords.h"

// An effect's own window, as the dispatchers call it. This effect has none; an editor would derive from this class. The
// host calls on its user-interface thread.
class AEffEditor {
 public:
  virtual ~AEffEditor() = default;
  virtual bool getRectangle(void** rectangle) = 0;  // stores the address of the editor's rectangle record
  virtual bool open(void* window) = 0;              // `window`: the host's window
  virtual void close() = 0;
  virtual void idle() = 0;
  virtual bool onKeyDown(const VstKeyCode& key) = 0;
  virtual bool onKeyUp(const VstKeyCode& key) = 0;
  virtual bool setKnobMode(int32 mode) = 0;
};
