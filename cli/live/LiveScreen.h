// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/live/LivePlayer.h"
#include "player/PitchDetector.h"

struct screen;

// What the screen shows.
struct LiveView {
  bool isPlaying = false;  // there is a server
  int rate = 0;            // Hz
  int period = 0;          // samples
  double load = 0.0;       // 0 to 1
  int latePeriods = 0;
  int program = 0;  // from 0
  std::string programName;
  LivePlayer::Values values = {};
  int chosenKnob = LivePlayer::kFuzz;
  int channels = 1;
  LivePlayer::Peaks peaks;  // since the last view
  bool clippedIn = false;
  bool clippedOut = false;
  bool isTuning = false;
  std::optional<TunerNote> note;      // being played, while tuning
  std::vector<std::string> lines;     // further information, one line each
  std::vector<std::string> warnings;  // what the player must not miss
  std::string message;                // the newest
  bool help = false;
};

// A player's screen in a terminal, and its keyboard. One thread. While it exists, nothing else may be printed.
//
// If there is not enough room, the least important items are left out first. The program, On/Off and the count of late
// periods stay, down to 20 columns and one row.
class LiveScreen {
 public:
  // A key of the keyboard: a character, or one of these.
  enum Key : int {
    kNone = -1,
    kUp = 1000,
    kDown,
    kLeft,
    kRight,
    kFarLeft,
    kFarRight,
    kPageUp,
    kPageDown,
    kEnter,
    kEscape
  };

  // Null unless standard input and output are a terminal that can show it and this process is in the foreground.
  static std::unique_ptr<LiveScreen> open();
  LiveScreen(const LiveScreen&) = delete;
  LiveScreen& operator=(const LiveScreen&) = delete;
  ~LiveScreen();

  // Restores the terminal without the object, for a process that ends at once. Any thread.
  static void giveBack();

  // `seconds` since the last view, for the falling level meters.
  void draw(const LiveView& view, double seconds);

  // The next key pressed, or kNone; never waits.
  int readKey();

 private:
  // A level that rises at once and falls slowly, and the highest recent level.
  struct Meter {
    double level = kFloor;  // dBFS
    double held = kFloor;
    double heldSeconds = 0.0;
    void update(float peak, double seconds);
  };
  explicit LiveScreen(screen* terminal);

  static constexpr double kFloor = -60.0;  // dBFS, the left end

  void drawHeader(int row, const LiveView& view);
  void drawProgram(int row, const LiveView& view);
  void drawTuner(int row, const LiveView& view);
  void drawKnob(int row, LivePlayer::Parameter knob, const LiveView& view);
  int drawMeters(int row, const LiveView& view);
  void drawMeter(int row, const std::string& name, const Meter& meter, bool clipped);
  void bar(int row, int column, int width, double share, double mark, int pair);

  screen* terminal_;
  std::array<Meter, LivePlayer::kMostChannels> in_;
  std::array<Meter, LivePlayer::kMostChannels> out_;
  bool hasBlocks_;  // the terminal can show more than ASCII
};
