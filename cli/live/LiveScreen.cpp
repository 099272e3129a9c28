// SPDX-License-Identifier: MIT
#include "cli/live/LiveScreen.h"

#define NCURSES_NOMACROS  // they would replace std::move and its like
#include <curses.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "cli/effect/Parameter.h"
#include "player/decibels.h"

namespace {

enum Pair : short { kPlain = 0, kGreen = 1, kYellow, kRed, kBlue };

constexpr double kFallPerSecond = 24.0;  // dB
constexpr double kHoldSeconds = 2.0;
constexpr int kLabelWidth = 10;  // columns before a bar
constexpr int kValueWidth = 16;  // and behind it

attr_t attribute(int pair) { return static_cast<attr_t>(COLOR_PAIR(pair)); }

void print(int row, int column, attr_t attributes, const std::string& text) {
  attr_on(attributes, nullptr);
  mvaddstr(row, column, text.c_str());
  attr_off(attributes, nullptr);
}

std::string formatted(const char* format, double number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

}  // namespace

std::unique_ptr<LiveScreen> LiveScreen::open() {
  const char* const name = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): no thread of ours sets it
  const bool isOurs = isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0 && tcgetpgrp(STDIN_FILENO) == getpgrp();
  if (!isOurs || name == nullptr || std::strcmp(name, "dumb") == 0) return nullptr;
  std::signal(SIGTSTP, SIG_IGN);                             // Ctrl-Z would stop the audio thread as well
  std::setlocale(LC_CTYPE, "");                              // NOLINT(concurrency-mt-unsafe): audio and disk use none
  screen* const terminal = newterm(nullptr, stdout, stdin);  // initscr() would end the process
  return terminal != nullptr ? std::unique_ptr<LiveScreen>(new LiveScreen(terminal)) : nullptr;
}

LiveScreen::LiveScreen(screen* terminal) : terminal_(terminal) {
  hasBlocks_ = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;  // NOLINT(concurrency-mt-unsafe)
  cbreak();
  noecho();
  nodelay(stdscr, TRUE);
  keypad(stdscr, TRUE);
  set_escdelay(25);
  curs_set(0);
  if (has_colors()) {
    start_color();
    use_default_colors();
    init_pair(kGreen, COLOR_GREEN, -1);
    init_pair(kYellow, COLOR_YELLOW, -1);
    init_pair(kRed, COLOR_RED, -1);
    init_pair(kBlue, COLOR_CYAN, -1);
  }
}

LiveScreen::~LiveScreen() {
  endwin();
  delscreen(terminal_);
}

void LiveScreen::giveBack() {
  if (stdscr != nullptr && !isendwin()) endwin();
}

void LiveScreen::Meter::update(float peak, double seconds) {
  const double now = peak > 0.0F ? std::max(decibels(static_cast<double>(peak)), kFloor) : kFloor;
  level = std::max(now, level - kFallPerSecond * seconds);
  heldSeconds += seconds;
  if (now >= held || heldSeconds > kHoldSeconds) {
    held = std::max(now, level);
    heldSeconds = 0.0;
  }
}

void LiveScreen::draw(const LiveView& view, double seconds) {
  for (std::size_t c = 0; c < static_cast<std::size_t>(view.channels); ++c) {
    in_[c].update(view.peaks.in[c], seconds);
    out_[c].update(view.peaks.out[c], seconds);
  }
  const bool isOn = view.values[LivePlayer::kOnOff] == 1.0F;
  erase();
  print(0, 1, A_BOLD | attribute(kYellow), "BRUMBLER");
  std::string server = "no JACK server";
  if (view.isPlaying) {
    const double milliseconds = 1000.0 * view.period / std::max(view.rate, 1);
    server = std::to_string(view.rate) + " Hz, " + std::to_string(view.period) + " samples (" +
             formatted("%.1f ms)", milliseconds) + ", load " + formatted("%.0f %%", 100.0 * view.load);
  }
  server.resize(std::min(server.size(), static_cast<std::size_t>(std::max(0, COLS - 13))));
  print(0, 12, view.isPlaying ? A_DIM : A_BOLD | attribute(kRed), server);
  if (view.latePeriods > 0) {
    print(0, 13 + static_cast<int>(server.size()), A_BOLD | attribute(kRed),
          std::to_string(view.latePeriods) + " late");
  }

  print(2, 1, A_BOLD | A_REVERSE, formatted(" %2.0f ", view.program + 1));
  print(2, 7, A_BOLD, view.programName);
  print(2, 34, A_BOLD | (isOn ? A_REVERSE | attribute(kGreen) : A_DIM), isOn ? "   ON   " : "  OFF   ");

  drawKnob(4, catalog::kParameters[LivePlayer::kFuzz].label, view.values[LivePlayer::kFuzz],
           view.chosenKnob == LivePlayer::kFuzz, isOn);
  drawKnob(5, catalog::kParameters[LivePlayer::kVolume].label, view.values[LivePlayer::kVolume],
           view.chosenKnob == LivePlayer::kVolume, isOn);

  int row = 7;
  const auto drawMeters = [&](const char* name, const auto& meters, bool clipped) {
    constexpr const char* kSides[] = {" L", " R"};
    for (std::size_t c = 0; c < static_cast<std::size_t>(view.channels); ++c) {
      drawMeter(row++, std::string(name) + (view.channels > 1 ? kSides[c] : ""), meters[c], clipped);
    }
  };
  drawMeters("In", in_, view.clippedIn);
  drawMeters("Out", out_, view.clippedOut);

  ++row;
  if (view.help) {
    drawHelp(row);
  } else {
    for (const std::string& line : view.lines)
      print(row++, 1, A_DIM, line.substr(0, static_cast<std::size_t>(COLS - 2)));
  }
  if (!view.message.empty()) {
    print(LINES - 2, 1, A_BOLD | attribute(kYellow), view.message.substr(0, static_cast<std::size_t>(COLS - 2)));
  }
  print(LINES - 1, 1, A_DIM, "space on/off   arrows turn   0-9 PgUp PgDn program   ? help   q quit");
  refresh();
}

void LiveScreen::drawKnob(int row, const char* name, float value, bool isChosen, bool isOn) {
  print(row, 1, isChosen ? A_BOLD | attribute(kYellow) : A_BOLD, std::string(isChosen ? "> " : "  ") + name);
  const int width = std::max(10, COLS - kLabelWidth - kValueWidth);
  bar(row, kLabelWidth, width, value, -1.0, isOn ? kYellow : kPlain);
  print(row, kLabelWidth + width + 1, A_BOLD, formatted("%4.1f", knobAtValue(value)));
}

void LiveScreen::drawMeter(int row, const std::string& name, const Meter& meter, bool clipped) {
  print(row, 3, A_NORMAL, name);
  const int width = std::max(10, COLS - kLabelWidth - kValueWidth);
  const auto share = [](double level) { return 1.0 - level / kFloor; };
  bar(row, kLabelWidth, width, share(meter.level), meter.held > kFloor ? share(meter.held) : -1.0,
      meter.level > -3.0   ? kRed
      : meter.level > -9.0 ? kYellow
                           : kGreen);
  const std::string level = meter.held > kFloor ? formatted(" %5.1f", meter.held) : "   -  ";
  print(row, kLabelWidth + width, A_NORMAL, level + " dB");
  if (clipped) print(row, kLabelWidth + width + 10, A_BOLD | A_REVERSE | attribute(kRed), " CLIP ");
}

// Filled up to `share`, with a stroke at `mark` unless that is negative; both of 0 to 1.
void LiveScreen::bar(int row, int column, int width, double share, double mark, int pair) {
  const auto filled = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width));
  const int marked = mark < 0.0 ? -1 : static_cast<int>(std::lround(std::min(mark, 1.0) * (width - 1)));
  for (int i = 0; i < width; ++i) {
    const bool isFilled = i < filled;
    const char* sign = hasBlocks_ ? (isFilled ? "\u2588" : "\u00b7") : (isFilled ? "#" : ".");
    if (i == marked) sign = hasBlocks_ ? "\u2503" : "|";
    print(row, column + i, isFilled || i == marked ? attribute(pair) : A_DIM, sign);
  }
}

void LiveScreen::drawHelp(int row) {
  constexpr const char* kLines[] = {
      "space        switch the effect on and off",
      "up, down     choose a knob; left, right turn it by 0.1, with shift by 1",
      "1 to 9, 0    programs 1 to 10; Page Up, Page Down the one before and after",
      "w            write the programs to the bank's file",
      "m            learn which MIDI control does what; Enter skips one, Escape ends",
      "c            clear the clipping lights and the count of late periods",
      "q            fade out and quit",
  };
  for (const char* const line : kLines) print(row++, 3, A_NORMAL, line);
}

int LiveScreen::readKey() {
  const int key = getch();
  switch (key) {
    case ERR: return kNone;
    case KEY_UP: return kUp;
    case KEY_DOWN: return kDown;
    case KEY_LEFT: return kLeft;
    case KEY_RIGHT: return kRight;
    case KEY_SLEFT: return kFarLeft;
    case KEY_SRIGHT: return kFarRight;
    case KEY_PPAGE: return kPageUp;
    case KEY_NPAGE: return kPageDown;
    case KEY_ENTER:
    case '\n':
    case '\r': return kEnter;
    case 27: return kEscape;
    default: return key;
  }
}
