// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// "did you mean NAME?" with the known name that takes the fewest changes of a character to get to, whatever the case,
// those that begin with the same four letters before all others; or a list of all known names when none is near.
std::string suggestName(const std::string& given, const std::vector<std::string>& known);

// Where in `names` the text stands, upper and lower case being the same.
std::vector<std::size_t> namesLike(const std::string& text, const std::vector<std::string>& names);
