// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

// A diagram, drawn by gnuplot.
struct Picture {
  struct Series {
    std::string title;
    std::vector<std::pair<double, double>> points;  // across and up
    bool isBand = false;                            // two points at each place across, its lower and its upper end
  };

  std::string title;
  std::string across, up;    // what the axes show, with units
  std::string range;         // gnuplot commands for ranges and ticks
  bool logarithmic = false;  // across
  bool bars = false;         // in the place of lines; `range` sets gnuplot's `bottom`, where they begin
  std::vector<Series> series;

  // Throws Failure (usage) unless `path` ends in .png or .svg.
  static void checkName(const std::string& path);

  // Draws into `path`. Throws Failure, leaving no picture, when that is not possible; where gnuplot is missing the data
  // go to a file of the same name that ends in .csv, and the message says so.
  void write(const std::string& path, bool replace) const;

 private:
  std::string look(const Series& one) const;
  std::string script(bool vectors) const;
  std::string table() const;
};
