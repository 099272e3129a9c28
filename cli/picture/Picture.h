// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// One or more diagrams below one another, drawn by gnuplot.
struct Picture {
  using Points = std::vector<std::pair<double, double>>;  // across and up

  struct Series {
    std::string title;
    Points points;
    bool isBand = false;                     // two points at each x, the lower and the upper end
    std::optional<std::size_t> colour = {};  // its number; nothing: its place among the panel's series
  };

  struct Panel {
    std::string across, up;  // what the axes show, with units; `across` is empty where the panel below has the numbers
    std::string range;       // gnuplot commands for ranges and ticks
    bool logarithmic = false;  // across
    bool bars = false;         // instead of lines; `range` sets gnuplot's `bottom`, where they begin
    std::vector<Series> series;
    int height = 400;  // pixels, of the area within the axes
  };

  std::string title;
  std::vector<Panel> panels;  // from top to bottom

  // gnuplot commands for the range of hearing, 20 Hz to 20 kHz, with ticks.
  static const char* const kHearingRange;

  // Throws Failure (usage) unless `path` ends in .png or .svg.
  static void checkName(const std::string& path);

  // Draws into `path`. Throws Failure, leaving no picture, if that is not possible; without gnuplot the data are
  // written to a file of the same name that ends in .csv, and the message says so.
  void write(const std::string& path, bool replace) const;

 private:
  std::string script(bool vectors) const;
  std::string table() const;
};
