// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// "did you mean NAME?", whatever the case: a known name that contains the given one, else one that begins with the same
// four letters, else the one that takes the fewest changes of a character; or a list of all known names if none is
// near.
std::string suggestName(const std::string& given, const std::vector<std::string>& known);

// Where in `names` the text stands, upper and lower case being the same.
std::vector<std::size_t> namesLike(const std::string& text, const std::vector<std::string>& names);
