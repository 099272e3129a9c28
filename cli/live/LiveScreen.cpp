// SPDX-License-Identifier: MIT
#include "cli/live/LiveScreen.h"

#define NCURSES_NOMACROS  // its macros would replace std::move and others
#include <curses.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "cli/effect/EffectParameter.h"
#include "cli/text/printable.h"
#include "player/decibels.h"

namespace {

enum Pair : short { kPlain = 0, kGreen = 1, kYellow, kRed, kBlue };

constexpr double kFallPerSecond = 24.0;  // dB
constexpr double kHoldSeconds = 2.0;
constexpr int kLabelWidth = 10;   // columns before a bar
constexpr int kValueWidth = 16;   // and after it
constexpr int kWideColumns = 56;  // from here up the program has one row for all
constexpr int kTunerColumn = 24;  // of its scale
constexpr double kInTune = 3.0;   // cents, either way

int barWidth() {
  const int width = COLS - kLabelWidth - kValueWidth;
  return width < 5 ? 0 : width;
}

attr_t attribute(int pair) { return static_cast<attr_t>(COLOR_PAIR(pair)); }

// The part of `line`, in UTF-8, that fits into the row.
void print(int row, int column, attr_t attributes, const std::string& line) {
  if (row < 0 || row >= LINES || column >= COLS) return;
  const std::string text = printable(line);
  int room = COLS - column;
  const auto end = std::find_if(text.begin(), text.end(), [&room](char c) {
    const bool startsCharacter = (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    return startsCharacter && room-- == 0;
  });
  attr_on(attributes, nullptr);
  mvaddnstr(row, column, text.c_str(), static_cast<int>(end - text.begin()));
  attr_off(attributes, nullptr);
}

constexpr const char* kHelp[] = {
    "space        switch the effect on and off",
    "up, down     choose a knob; left, right turn it by 0.1, with shift by 1",
    "1 to 9, 0    programs 1 to 10; Page Up, Page Down the one before and after",
    "t            tuner: mutes, and shows the note that you play",
    "w            write the programs to the bank's file",
    "m            learn which MIDI control does what; Enter skips one, Escape ends",
    "c            clear the clipping lights and the count of late periods",
    "q            fade out and quit",
};
constexpr const char* kKeys = "space on/off   arrows turn   0-9 PgUp PgDn program   t tuner   ? help   q quit";

// Rows of the screen, handed out to what comes first.
class Rows {
 public:
  bool take(int count) {
    if (left_ < count) return false;
    left_ -= count;
    return true;
  }
  int takeUpTo(int count) {
    const int taken = std::min(count, left_);
    left_ -= taken;
    return taken;
  }

 private:
  int left_ = LINES;
};

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
  const bool isNarrow = COLS < kWideColumns;
  const int numLines = static_cast<int>(view.help ? std::size(kHelp) : view.lines.size());
  Rows rows;
  rows.take(1);  // for the program
  const bool hasName = isNarrow && rows.take(1);
  const bool hasTuner = view.isTuning && rows.take(1);
  const int warnings = rows.takeUpTo(static_cast<int>(view.warnings.size()));
  const bool hasMessage = !view.message.empty() && rows.take(1);
  const bool hasKnobs = rows.take(2);
  int lines = view.help ? rows.takeUpTo(numLines) : 0;
  const bool hasMeters = rows.take(2 * view.channels);
  const bool hasHeader = rows.take(1);
  const bool hasKeys = rows.take(1);
  lines += rows.takeUpTo(numLines - lines);
  const auto gap = [&rows] { return rows.takeUpTo(1); };

  erase();
  int row = 0;
  if (hasHeader) drawHeader(row++, view), row += gap();
  drawProgram(row++, view);
  if (hasName) print(row++, 1, A_BOLD, view.programName);
  for (int i = 0; i < warnings; ++i)
    print(row++, 1, A_BOLD | A_REVERSE | attribute(kRed), view.warnings[static_cast<std::size_t>(i)]);
  row += gap();
  if (hasTuner) drawTuner(row++, view), row += gap();
  if (hasKnobs) {
    drawKnob(row++, LivePlayer::kFuzz, view);
    drawKnob(row++, LivePlayer::kVolume, view);
    row += gap();
  }
  if (hasMeters) row = drawMeters(row, view) + gap();
  for (int i = 0; i < lines; ++i) {
    const auto line = static_cast<std::size_t>(i);
    print(row++, view.help ? 3 : 1, view.help ? A_NORMAL : A_DIM, view.help ? kHelp[line] : view.lines[line]);
  }
  if (hasMessage) print(LINES - (hasKeys ? 2 : 1), 1, A_BOLD | attribute(kYellow), view.message);
  if (hasKeys) print(LINES - 1, 1, A_DIM, kKeys);
  refresh();
}

void LiveScreen::drawHeader(int row, const LiveView& view) {
  print(row, 1, A_BOLD | attribute(kYellow), "BRUMBLER");
  std::string server = "no JACK server";
  if (view.isPlaying) {
    const double milliseconds = 1000.0 * view.period / std::max(view.rate, 1);
    server = std::to_string(view.rate) + " Hz, " + std::to_string(view.period) + " samples (" +
             formatted("%.1f ms)", milliseconds) + ", load " + formatted("%.0f %%", 100.0 * view.load);
  }
  print(row, 12, view.isPlaying ? A_DIM : A_BOLD | attribute(kRed), server);
}

void LiveScreen::drawProgram(int row, const LiveView& view) {
  const bool isNarrow = COLS < kWideColumns;
  const bool isOn = view.values[LivePlayer::kOnOff] == 1.0F;
  const attr_t color = A_BOLD | (isOn ? A_REVERSE | attribute(kGreen) : A_DIM);
  print(row, 1, A_BOLD | A_REVERSE, formatted(isNarrow ? "%2.0f" : " %2.0f ", view.program + 1));
  if (!isNarrow) print(row, 7, A_BOLD, view.programName);
  print(row, isNarrow ? 4 : 34, color, isNarrow ? (isOn ? " ON " : " OFF ") : isOn ? "   ON   " : "  OFF   ");
  if (view.latePeriods > 0) {
    print(row, isNarrow ? 10 : 44, A_BOLD | attribute(kRed), std::to_string(view.latePeriods) + " late");
  }
}

// The note, and a scale from 50 cents too low to 50 too high.
void LiveScreen::drawTuner(int row, const LiveView& view) {
  print(row, 1, A_BOLD | A_REVERSE | attribute(kBlue), "TUNER");
  if (!view.note) return print(row, 7, A_DIM, "muted; play a note");
  const bool isInTune = std::fabs(view.note->cents) < kInTune;
  const attr_t color = A_BOLD | attribute(isInTune ? kGreen : kYellow);
  print(row, 7, color, view.note->name());
  print(row, 11, color, formatted("%+4.0f cents", view.note->cents));
  const int width = std::min(COLS - kTunerColumn - 2, 51);
  if (width < 11) return;
  const int middle = width / 2;
  const int at = middle + static_cast<int>(std::lround(view.note->cents / 50.0 * middle));
  for (int i = 0; i < width; ++i) {
    const bool isNeedle = i == at;
    print(row, kTunerColumn + i, isNeedle ? color : A_DIM,
          isNeedle      ? (hasBlocks_ ? "\u2588" : "#")
          : i == middle ? "|"
                        : (hasBlocks_ ? "\u00b7" : "."));
  }
}

void LiveScreen::drawKnob(int row, LivePlayer::Parameter knob, const LiveView& view) {
  const bool isChosen = view.chosenKnob == knob;
  const float value = view.values.at(static_cast<std::size_t>(knob));
  print(row, 1, isChosen ? A_BOLD | attribute(kYellow) : A_BOLD,
        std::string(isChosen ? "> " : "  ") + catalog::kParameters[knob].label);
  const int width = barWidth();
  bar(row, kLabelWidth, width, value, -1.0, view.values[LivePlayer::kOnOff] == 1.0F ? kYellow : kPlain);
  print(row, kLabelWidth + width + 1, A_BOLD, formatted("%4.1f", knobAtValue(value)));
}

// Returns the row below.
int LiveScreen::drawMeters(int row, const LiveView& view) {
  constexpr const char* kSides[] = {" L", " R"};
  const auto draw = [&](const char* name, const auto& meters, bool clipped) {
    for (std::size_t c = 0; c < static_cast<std::size_t>(view.channels); ++c) {
      drawMeter(row++, std::string(name) + (view.channels > 1 ? kSides[c] : ""), meters[c], clipped);
    }
  };
  draw("In", in_, view.clippedIn);
  draw("Out", out_, view.clippedOut);
  return row;
}

void LiveScreen::drawMeter(int row, const std::string& name, const Meter& meter, bool clipped) {
  print(row, 3, A_NORMAL, name);
  const int width = barWidth();
  const auto share = [](double level) { return 1.0 - level / kFloor; };
  bar(row, kLabelWidth, width, share(meter.level), meter.held > kFloor ? share(meter.held) : -1.0,
      meter.level > -3.0   ? kRed
      : meter.level > -9.0 ? kYellow
                           : kGreen);
  const std::string level = meter.held > kFloor ? formatted(" %5.1f", meter.held) : "   -  ";
  print(row, kLabelWidth + width, A_NORMAL, level + " dB");
  if (clipped) print(row, kLabelWidth + width + 10, A_BOLD | A_REVERSE | attribute(kRed), " CLIP ");
}

// A bar filled up to `share`, with a mark at `mark` unless that is negative; both are 0 to 1.
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
