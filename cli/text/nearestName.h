// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// "did you mean NAME?", ignoring case: a known name that contains the given one, else one that begins with the same
// four letters, else the one with the smallest edit distance; or a list of all known names if none is near.
std::string suggestName(const std::string& given, const std::vector<std::string>& known);

// The position of the text in `names`, ignoring case.
std::vector<std::size_t> namesLike(const std::string& text, const std::vector<std::string>& names);
