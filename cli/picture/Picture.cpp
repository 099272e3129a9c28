// SPDX-License-Identifier: MIT
#include "cli/picture/Picture.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"

namespace {

namespace fs = std::filesystem;

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

// In single quotes for gnuplot, with those inside doubled.
std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? "''" : c < ' ' && c >= 0 ? "?" : std::string(1, c);
  return result + "'";
}

// Only the name of a file may contain commas or quotes.
std::string field(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) result += c == '"' ? "\"\"" : std::string(1, c);
  return result + "\"";
}

// Reads until the other end is closed.
std::string readAll(int descriptor) {
  std::string all;
  std::array<char, 65536> piece;
  while (true) {
    const ssize_t got = read(descriptor, piece.data(), piece.size());
    if (got > 0) all.append(piece.data(), static_cast<std::size_t>(got));
    if (got == 0 || (got < 0 && errno != EINTR)) return all;
  }
}

// Runs gnuplot on `script`. Returns its wait status, and its picture in `picture`; nothing if gnuplot is missing.
// gnuplot does not report a full disk, so it writes into a pipe.
std::optional<int> runGnuplot(const std::string& script, std::string& picture) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> input(std::tmpfile(), std::fclose);
  if (!input || std::fwrite(script.data(), 1, script.size(), input.get()) != script.size() ||
      std::fflush(input.get()) != 0) {
    throw Failure("a temporary file cannot be written (" + systemError(errno) + "); make room in /tmp");
  }
  std::rewind(input.get());
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure("gnuplot cannot be run (" + systemError(errno) + ")");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(input.get()), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 1, 0);
  char name[] = "gnuplot";
  std::array<char*, 2> arguments = {name, nullptr};
  pid_t child = 0;
  const int error = posix_spawnp(&child, name, &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (error == 0) picture = readAll(ends[0]);
  close(ends[0]);
  if (error != 0) return std::nullopt;
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

// In pixels.
constexpr int kWidth = 900;
constexpr int kTitle = 45;
constexpr int kLeft = 85;
constexpr int kRight = 30;

constexpr const char* kNameAbove = "set key at graph 1, 1.02 right bottom\n";
constexpr const char* kLegendBelow = "set key inside left bottom vertical Left reverse opaque\n";

// The height of the numbers and the axis title.
int heightBelow(const Picture::Panel& panel) { return panel.across.empty() ? 30 : 75; }

std::string blockName(std::size_t panel, std::size_t series) {
  return "$d" + std::to_string(panel) + "_" + std::to_string(series);
}

std::string data(const std::string& name, const Picture::Series& series) {
  std::string text = name + " << EOD\n";
  bool open = false;
  for (const auto& [x, y] : series.points) {
    text += (open ? "" : number(x)) + " " + number(y);
    open = series.isBand && !open;
    if (!open) text += "\n";
  }
  return text + "EOD\n";
}

// Bands are translucent.
std::string look(const Picture::Panel& panel, const Picture::Series& one) {
  if (one.isBand) return " with filledcurves fs transparent solid 0.5 noborder fc";
  if (panel.bars) return " using 1:(bottom):(0):($2-bottom) with vectors nohead lw 4 lc";
  return one.points.size() == 1 ? " with points pt 7 lc" : " with lines lw 2 lc";
}

std::string drawing(const Picture::Panel& panel, std::size_t index) {
  std::string text = "unset logscale\nset xtics autofreq\nset xrange [*:*]\nset yrange [*:*]\n";
  text += panel.across.empty() ? "set format x ''\n" : "set format x\n";
  text += "set xlabel " + quoted(panel.across) + "\nset ylabel " + quoted(panel.up) + "\n";
  if (panel.logarithmic) text += "set logscale x\n";
  text += panel.range + "\n";
  const std::array<const char*, 6> colours = {"#4477aa", "#cc6633", "#228833", "#aa3377", "#66aacc", "#555555"};
  for (std::size_t i = 0; i < panel.series.size(); ++i) {
    const Picture::Series& one = panel.series[i];
    const std::string colour = std::string(" rgb '") + colours[one.colour.value_or(i) % colours.size()] + "'";
    text += (i == 0 ? "plot " : ", ") + blockName(index, i) + look(panel, one) + colour + " title " + quoted(one.title);
    // The edges make a band visible where it has no height.
    for (const char* const edge : {"2", "3"}) {
      if (one.isBand) text += std::string(", '' using 1:") + edge + " with lines lw 0.6 lc" + colour + " notitle";
    }
  }
  return text + "\n";
}

}  // namespace

const char* const Picture::kHearingRange =
    "set xrange [20:20000]\nset xtics (20, 50, 100, 200, 500, '1k' 1000, '2k' 2000, '5k' 5000, '10k' 10000, "
    "'20k' 20000)";

void Picture::checkName(const std::string& path) {
  const std::string ending = fs::path(path).extension().string();
  if (ending != ".png" && ending != ".svg") {
    throw Failure("-o " + path + ": a picture's name ends in .png or .svg", Failure::usage);
  }
}

std::string Picture::script(bool vectors) const {
  int height = kTitle;
  for (const Panel& panel : panels) height += panel.height + heightBelow(panel);
  const std::string size = std::to_string(kWidth) + "," + std::to_string(height);
  std::string text = vectors ? "set terminal svg size " + size + " font 'sans,13' background '#ffffff'\n"
                             : "font = 'sans,12'\n"
                               "if (strstrt(GPVAL_TERMINALS, ' pngcairo ')) set terminal pngcairo size " +
                                   size +
                                   " font font\n"
                                   "if (!strstrt(GPVAL_TERMINALS, ' pngcairo ')) set terminal png truecolor size " +
                                   size + "\n";
  text +=
      "set encoding utf8\nset termoption noenhanced\nset border 3\nset tics nomirror\n"
      "set grid back lt 1 lw 1 lc rgb '#a8a8a8'\n";
  for (std::size_t p = 0; p < panels.size(); ++p) {
    for (std::size_t i = 0; i < panels[p].series.size(); ++i) text += data(blockName(p, i), panels[p].series[i]);
  }
  const bool isLegendBeside = panels.size() == 1 && panels.front().series.size() > 1;
  text += isLegendBeside ? "set key outside right top vertical Left reverse\n" : "unset key\n";
  text += "set lmargin at screen " + number(1.0 * kLeft / kWidth) + "\n";
  if (!isLegendBeside) text += "set rmargin at screen " + number(1.0 - 1.0 * kRight / kWidth) + "\n";
  text += "set multiplot\nset title " + quoted(title) + "\n";
  int top = kTitle;
  for (std::size_t p = 0; p < panels.size(); ++p) {
    text += "set tmargin at screen " + number(1.0 - 1.0 * top / height) + "\nset bmargin at screen " +
            number(1.0 - 1.0 * (top + panels[p].height) / height) + "\n";
    // If there are several panels, a panel with a single sound has its name above it.
    const bool isSingle = panels[p].series.size() == 1;
    if (panels.size() > 1) text += isSingle ? kNameAbove : kLegendBelow;
    text += drawing(panels[p], p);
    text += "unset title\n";
    top += panels[p].height + heightBelow(panels[p]);
  }
  return text + "unset multiplot\nset output\n";
}

// A panel whose columns differ from the previous one's begins with its own column names.
std::string Picture::table() const {
  std::string text;
  std::string last;
  for (const Panel& panel : panels) {
    const std::string names = "series," + field(panel.across) + "," + field(panel.up) + "\n";
    if (names != last) text += names;
    last = names;
    for (const Series& one : panel.series) {
      for (const auto& [x, y] : one.points) text += field(one.title) + "," + number(x) + "," + number(y) + "\n";
    }
  }
  return text;
}

void Picture::write(const std::string& path, bool replace) const {
  PendingFile file(path, replace);
  std::string picture;
  const std::optional<int> status = runGnuplot(script(fs::path(path).extension() == ".svg"), picture);
  if (status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0) {
    file.write(picture);
    file.commit();
    return;
  }
  if (status && !(WIFEXITED(*status) && WEXITSTATUS(*status) == 127)) {
    throw Failure(path + ": gnuplot could not draw it; check that `gnuplot -e \"set terminal png\"` works");
  }
  const std::string csv = fs::path(path).replace_extension(".csv").string();
  PendingFile data(csv, replace);
  data.write(table());
  data.commit();
  throw Failure(path + ": not drawn, as gnuplot is missing (Debian's gnuplot-nox); the data are in " + csv);
}
