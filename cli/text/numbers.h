// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// The number that `text` is, from its first character to its last. Throws Failure (usage) naming `option` and the
// limits when it is none or lies outside of them; `unit` follows the limits in that message.
double parseNumber(const std::string& option, const std::string& text, double least, double most,
                   const std::string& unit = "");
int parseWhole(const std::string& option, const std::string& text, int least, int most);

// Six digits, without zeros at the end.
std::string shortText(double value);

// Like "1 file" and "3 files".
inline std::string counted(std::size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}
