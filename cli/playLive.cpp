// SPDX-License-Identifier: MIT
// In the executable brumbler-live, which is linked with libjack and ncurses.
#include "cli/commands/Commands.h"
#include "cli/session/LiveSession.h"

void playLive(const EffectModule& module, const LiveSettings& settings) { LiveSession(module, settings).run(); }
