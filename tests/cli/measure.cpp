// SPDX-License-Identifier: MIT
// Checks what the command measures, compares and draws with known sounds.
#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "tests/cli/CommandLine.h"

namespace {

double sine(double frequency, int i) { return std::sin(2.0 * std::numbers::pi * frequency * i / 44100.0); }

// A sound that does not resemble itself at any delay.
Sound sweep(int frames, int delay, double gain = 0.1) {
  Sound sound;
  for (int i = 0; i < frames; ++i) {
    const double t = std::max(0, i - delay) / 44100.0;
    sound.samples.push_back(i < delay ? 0.0 : gain * std::sin(500.0 * t + 3000.0 * t * t));
  }
  return sound;
}

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST_CASE("compare finds difference, delay and polarity, and judges by the tolerance") {
  CommandLine cli;
  const Sound a = sweep(40000, 0);
  Sound marked = a;
  marked.samples[31234] += 0.25;
  cli.write("a.wav", a);
  cli.write("marked.wav", marked);
  cli.write("late.wav", sweep(40000, 137));
  cli.write("louder.wav", sweep(40000, 0, -0.2));
  cli.write("short.wav", sweep(39990, 0));
  cli.write("stereo.wav", {44100, 2, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, std::vector<double>(100)});
  cli.write("48k.wav", {48000, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, std::vector<double>(100)});
  const struct {
    const char* arguments;
    int status;
    const char* said;
  } rows[] = {
      {"a.wav a.wav", 0, "difference  none"},
      {"- a.wav <a.wav", 0, "difference  none"},
      {"a.wav marked.wav", 1, "largest     0.25 (-12.0 dB of full scale) at sample 31234\nRMS         -58.1 dB of"},
      {"a.wav marked.wav --tolerance 0.2501", 0, "first       at sample 31234"},
      {"a.wav marked.wav --tolerance 0.2499", 1, "more than --tolerance 0.2499"},
      {"a.wav late.wav", 1, "B comes 137 samples later"},
      {"late.wav a.wav", 1, "B comes 137 samples earlier"},
      {"a.wav louder.wav", 1, "upside down"},
      {"a.wav short.wav --tolerance 1", 1, "40000 and 39990 samples"},
      {"a.wav 48k.wav", 1, "44100 and 48000 Hz"},
      {"a.wav stereo.wav", 1, "1 and 2 channels"},
      {"- -", 2, "only one"},
      {"a.wav a.wav --tolerance -1", 2, "--tolerance"},
  };
  for (const auto& c : rows) {
    CAPTURE(c.arguments);
    CHECK(cli.run(std::string("compare ") + c.arguments) == c.status);
    const std::string said = cli.outText + cli.errText;
    CAPTURE(said);
    CHECK(holds(said, c.said));
  }
}

TEST_CASE("a picture's figures are true, and without gnuplot they are kept") {
  CommandLine cli;
  Sound tone;  // a third harmonic at 5 per cent, a fifth at 2 and a non-harmonic tone at 1
  for (int i = 0; i < 44100; ++i) {
    tone.samples.push_back(0.3 + 0.1 * sine(441, i) + 0.005 * sine(1323, i) + 0.002 * sine(2205, i) +
                           0.001 * sine(1000, i));
  }
  cli.write("tone.wav", tone);
  CHECK(cli.run("plot spectrum tone.wav --frequency 441 -o tone.png", "PATH=/nowhere") == 1);
  CHECK(holds(cli.outText, "fundamental -20.0 dBFS, THD 5.39 % (-25.4 dB), all else -40.0 dB"));
  CHECK(cli.files() == std::set<std::string>{"tone.csv", "tone.wav"});
  CHECK(holds(cli.errText, "tone.csv"));

  // At a low level the gain of a steady tone must equal that measured with an impulse.
  CHECK(cli.run("plot curve --fuzz 0 --frequency 1000 -o c.svg", "PATH=/nowhere") == 1);
  CHECK(cli.run("plot response --fuzz 0 --volume 5 -o r.svg", "PATH=/nowhere") == 1);
  const auto valueAt = [&cli](const std::string& file, const std::string& start) {
    std::ifstream in(cli.folder / file);
    for (std::string line; std::getline(in, line);) {
      if (line.rfind(start, 0) == 0) return std::stod(line.substr(line.rfind(',') + 1));
    }
    return 1e9;
  };
  CHECK(std::fabs(valueAt("c.csv", "\"FUZZ 0\",-100,") + 100.0 - valueAt("r.csv", "\"VOLUME 5\",1002.3")) < 0.3);

  // A band that a tone lies in has its level; a click has the same power everywhere, and all of it counts.
  cli.write("click.wav", {44100, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, {0.5}});
  CHECK(cli.run("plot sounds tone.wav click.wav -o s.svg", "PATH=/nowhere") == 1);
  CHECK(std::fabs(valueAt("s.csv", "\"tone.wav\",439.6") + 20.0) < 0.05);
  const double band = 1001.37 * (std::exp2(1.0 / 24.0) - std::exp2(-1.0 / 24.0));  // Hz
  CHECK(std::fabs(valueAt("s.csv", "\"click.wav\",1001.3") - 10.0 * std::log10(0.25 * 2.0 * band / 22050.0)) < 0.02);

  // The whole range is drawn: levels from -100 dBFS to 0, frequencies from 20 Hz to 20 kHz.
  const auto ends = [&cli](const std::string& file, const std::string& series) {
    std::ifstream in(cli.folder / file);
    std::vector<double> places;
    for (std::string line; std::getline(in, line);) {
      if (line.rfind(series, 0) == 0) places.push_back(std::stod(line.substr(series.size())));
    }
    REQUIRE(places.size() > 2);
    return std::pair(places.front(), places.back());
  };
  CHECK(ends("c.csv", "\"FUZZ 0\",") == std::pair(-100.0, 0.0));
  CHECK(ends("r.csv", "\"VOLUME 5\",").first == doctest::Approx(20.0));
  CHECK(ends("r.csv", "\"VOLUME 5\",").second == doctest::Approx(20000.0).epsilon(0.01));
  CHECK(ends("s.csv", "\"click.wav\",").second == doctest::Approx(20000.0).epsilon(0.03));
  CHECK(std::isfinite(valueAt("s.csv", "\"click.wav\",20,")));

  // Silence is a line.
  cli.write("silence.wav", {44100, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, std::vector<double>(44100)});
  CHECK(cli.run("plot wave silence.wav -o line.svg && grep -c \"stroke='rgb( 68, 119, 170)'\" line.svg") == 0);
  CHECK(cli.outText == "2\n");
  CHECK(cli.run("plot spectrum silence.wav -o n.svg") == 1);
  CHECK(holds(cli.errText, "silence.wav: holds no tone of 220 Hz at 0 s; give the tone's own --frequency"));
  CHECK(cli.run("plot curve -o c.pdf") == 2);
  CHECK(cli.run("plot curve -o c.svg --fuzz 0,11") == 2);
  CHECK(cli.run("plot wave tone.wav --from 2 -o w.svg") == 1);
  CHECK(cli.run("plot spectrum --frequency 30000 -o s.svg") == 2);
  CHECK(cli.files().size() == 8);
}
