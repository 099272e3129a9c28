// SPDX-License-Identifier: MIT
#pragma once

// One program: a value for each parameter and a name. The layout is part of the interface.
class BrumblerProgram {
 public:
  static constexpr int kNameSize = 24;  // bytes, the terminating zero included
  static constexpr const char* kDefaultName = "Init";

  BrumblerProgram() = default;
  BrumblerProgram(const BrumblerProgram&) = delete;
  BrumblerProgram& operator=(const BrumblerProgram&) = delete;
  virtual ~BrumblerProgram();

  float onOff = 1.0F;
  float volume = 0.5F;
  float fuzz = 0.5F;
  char name[kNameSize] = "Init";
};
