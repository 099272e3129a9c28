// SPDX-License-Identifier: MIT
#include "cli/picture/Picture.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

// In single quotes for gnuplot, which doubles those within.
std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? "''" : c < ' ' && c >= 0 ? "?" : std::string(1, c);
  return result + "'";
}

// Nothing but the name of a file may hold commas or quotes.
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

// Runs gnuplot on `script`. Answers its wait status and its picture in `picture`, or nothing when it is missing. It
// would not tell a full disk, so it writes into a pipe.
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

}  // namespace

void Picture::checkName(const std::string& path) {
  const std::string ending = fs::path(path).extension().string();
  if (ending != ".png" && ending != ".svg") {
    throw Failure("-o " + path + ": a picture's name ends in .png or .svg", Failure::usage);
  }
}

// Bands let those below them shine through.
std::string Picture::look(const Series& one) const {
  if (one.isBand) return " with filledcurves fs transparent solid 0.6 noborder";
  return bars ? " using 1:(bottom):(0):($2-bottom) with vectors nohead lw 4" : " with lines lw 2";
}

std::string Picture::script(bool vectors) const {
  std::string text = vectors
                         ? "set terminal svg size 900,540 font 'sans,13' background '#ffffff'\n"
                         : "font = 'sans,12'\n"
                           "if (strstrt(GPVAL_TERMINALS, ' pngcairo ')) set terminal pngcairo size 900,540 font font\n"
                           "if (!strstrt(GPVAL_TERMINALS, ' pngcairo ')) set terminal png truecolor size 900,540\n";
  text +=
      "set encoding utf8\nset termoption noenhanced\nset grid lt 1 lc rgb '#dddddd'\nset border 3\nset tics nomirror\n";
  text += "set title " + quoted(title) + "\nset xlabel " + quoted(across) + "\nset ylabel " + quoted(up) + "\n";
  if (series.size() > 1) {
    text += "set key outside right top vertical Left reverse\n";
  } else {
    text += "unset key\n";
  }
  if (logarithmic) text += "set logscale x\n";
  text += range + "\n";
  const std::array<const char*, 6> colours = {"#4477aa", "#cc6633", "#228833", "#aa3377", "#66aacc", "#555555"};
  std::string plot;
  for (std::size_t i = 0; i < series.size(); ++i) {
    const std::string block = "$d" + std::to_string(i);
    text += block + " << EOD\n";
    bool open = false;
    for (const auto& [x, y] : series[i].points) {
      text += (open ? "" : number(x)) + " " + number(y);
      open = series[i].isBand && !open;
      if (!open) text += "\n";
    }
    text += "EOD\n";
    plot += (i == 0 ? "plot " : ", ") + block + look(series[i]) + " lc rgb '" + colours[i % colours.size()] +
            "' title " + quoted(series[i].title);
  }
  return text + plot + "\nset output\n";
}

std::string Picture::table() const {
  std::string text = "series," + field(across) + "," + field(up) + "\n";
  for (const Series& one : series) {
    for (const auto& [x, y] : one.points) text += field(one.title) + "," + number(x) + "," + number(y) + "\n";
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
