// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// A drawing of one or more diagrams below one another, made by gnuplot.
struct Picture {
  using Points = std::vector<std::pair<double, double>>;  // across and up

  struct Series {
    std::string title;
    Points points;
    bool isBand = false;                     // two points at each place across, its lower and its upper end
    std::optional<std::size_t> colour = {};  // its number; nothing: its place among the panel's series
  };

  struct Panel {
    std::string across, up;  // what the axes show, with units; `across` is empty where the panel below has the numbers
    std::string range;       // gnuplot commands for ranges and ticks
    bool logarithmic = false;  // across
    bool bars = false;         // in the place of lines; `range` sets gnuplot's `bottom`, where they begin
    std::vector<Series> series;
    int height = 400;  // pixels, of what the axes frame
  };

  std::string title;
  std::vector<Panel> panels;  // from top to bottom

  // gnuplot commands: what people hear, 20 Hz to 20 kHz, with ticks.
  static const char* const kHearingRange;

  // Throws Failure (usage) unless `path` ends in .png or .svg.
  static void checkName(const std::string& path);

  // Draws into `path`. Throws Failure, leaving no picture, when that is not possible; where gnuplot is missing the data
  // go to a file of the same name that ends in .csv, and the message says so.
  void write(const std::string& path, bool replace) const;

 private:
  std::string script(bool vectors) const;
  std::string table() const;
};
