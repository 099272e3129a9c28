// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "cli/render/RenderSettings.h"

// Renders every file into `directory` under its own name (with settings.suffix, and the ending of settings.container if
// that is given), as many at a time as settings.jobs says. With `recursive`, a folder among the paths stands for all
// recordings in it, and in the folders in it, which are made again below `directory`. Folders are created as needed;
// those that stay empty are removed. A file that fails is reported, and the others go on; a summary comes at the end.
// Throws Failure if a result would replace a recording, or at the end if files failed.
void renderFolder(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& paths,
                  const std::string& directory, bool recursive);
