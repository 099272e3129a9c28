// SPDX-License-Identifier: MIT
#include "host/CanDos.h"

namespace HostCanDos {
constexpr const char* canDoSendVstEvents = "sendVstEvents";
constexpr const char* canDoSendVstMidiEvent = "sendVstMidiEvent";
constexpr const char* canDoSendVstTimeInfo = "sendVstTimeInfo";
constexpr const char* canDoReceiveVstEvents = "receiveVstEvents";
constexpr const char* canDoReceiveVstMidiEvent = "receiveVstMidiEvent";
constexpr const char* canDoReportConnectionChanges = "reportConnectionChanges";
constexpr const char* canDoAcceptIOChanges = "acceptIOChanges";
constexpr const char* canDoSizeWindow = "sizeWindow";
constexpr const char* canDoOffline = "offline";
constexpr const char* canDoOpenFileSelector = "openFileSelector";
constexpr const char* canDoCloseFileSelector = "closeFileSelector";
constexpr const char* canDoStartStopProcess = "startStopProcess";
constexpr const char* canDoShellCategory = "shellCategory";
constexpr const char* canDoSendVstMidiEventFlagIsRealtime = "sendVstMidiEventFlagIsRealtime";
}  // namespace HostCanDos

namespace PlugCanDos {
constexpr const char* canDoSendVstEvents = HostCanDos::canDoSendVstEvents;
constexpr const char* canDoSendVstMidiEvent = HostCanDos::canDoSendVstMidiEvent;
constexpr const char* canDoReceiveVstEvents = HostCanDos::canDoReceiveVstEvents;
constexpr const char* canDoReceiveVstMidiEvent = HostCanDos::canDoReceiveVstMidiEvent;
constexpr const char* canDoReceiveVstTimeInfo = "receiveVstTimeInfo";
constexpr const char* canDoOffline = HostCanDos::canDoOffline;
constexpr const char* canDoMidiProgramNames = "midiProgramNames";
constexpr const char* canDoBypass = "bypass";
}  // namespace PlugCanDos
