// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// The number that the whole of `text` represents. Throws Failure (usage) naming `option` and the limits if it is not a
// number or is outside the limits; `unit` follows the limits in that message.
double parseNumber(const std::string& option, const std::string& text, double least, double most,
                   const std::string& unit = "");
int parseWhole(const std::string& option, const std::string& text, int least, int most);

// Up to six digits, without trailing zeros.
std::string shortText(double value);

// Like "1 file" and "3 files".
inline std::string counted(std::size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}
