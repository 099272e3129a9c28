// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "cli/render/RenderSettings.h"

// Renders every file into `directory` under its own name (with the ending of settings.container, if that is given), as
// many side by side as settings.jobs says. The folder is made if it is missing, and goes again when nothing came into
// it. A file that fails is reported and leaves the others alone; a summary comes at the end. Throws Failure when the
// list makes no sense, or at the end when files failed.
void renderFolder(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& files,
                  const std::string& directory);
