// SPDX-License-Identifier: MIT
#include "cli/text/numbers.h"

#include <charconv>
#include <cstdio>

#include "cli/text/Failure.h"

namespace {

template <typename Number>
bool parse(const std::string& text, Number& number) {
  const char* begin = text.data();
  const char* const end = begin + text.size();
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') ++begin;
  const auto [stop, error] = std::from_chars(begin, end, number);
  return error == std::errc() && stop == end;
}

}  // namespace

double parseNumber(const std::string& option, const std::string& text, double least, double most,
                   const std::string& unit) {
  double number = 0.0;
  if (parse(text, number) && number >= least && number <= most) return number;
  char limits[64];
  std::snprintf(limits, sizeof limits, "%g to %g", least, most);
  throw Failure(option + " takes a number from " + limits + (unit.empty() ? "" : " " + unit) + ", not \"" + text + "\"",
                Failure::usage);
}

int parseWhole(const std::string& option, const std::string& text, int least, int most) {
  int number = 0;
  if (parse(text, number) && number >= least && number <= most) return number;
  throw Failure(option + " takes a whole number from " + std::to_string(least) + " to " + std::to_string(most) +
                    ", not \"" + text + "\"",
                Failure::usage);
}

std::string shortText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}
