// SPDX-License-Identifier: MIT
// The built command, as a user runs it.
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <utility>

#include "cli/samples/SampleRateConverter.h"
#include "player/EffectPlayer.h"
#include "tests/PlainChain.h"
#include "tests/cli/CommandLine.h"
#include "tests/cli/Sounds.h"

namespace {

// The chain as it is after a first sample of silence.
PlainChain chain(double rate, float onOff, float volume, float fuzz) {
  PlainChain plain;
  plain.setUp(rate);
  plain.onOff = onOff;
  plain.volume = volume;
  plain.fuzz = fuzz;
  double silence = 0.0;
  plain.process(&silence, &silence, 1);
  return plain;
}

}  // namespace

TEST_CASE("every channel is the effect's own answer, to the bit, whatever the block length") {
  const struct {
    const char* options;
    float on, volume, fuzz;
    int rate;
  } rows[] = {
      {"", 1, 0.5F, 0.5F, 44100},
      {"--block 1", 1, 0.5F, 0.5F, 48000},
      {"--off", 0, 0.5F, 0.5F, 44100},
      {"--block 777 --volume 3.1 --fuzz 9", 1, 0.31F, 0.9F, 44100},
      {"--rate native --volume 10", 1, 1, 0.5F, 32000},
      {"--block 65536 --program 3 --fuzz 0", 1, 0.5F, 0, 44100},
  };
  for (const auto& row : rows) {
    CAPTURE(row.options);
    CommandLine cli;
    std::vector<double> expected(12000);
    const Sound in = guitar(row.rate, 2, 6000);
    for (std::size_t c = 0; c < 2; ++c) {
      PlainChain plain = chain(row.rate, row.on, row.volume, row.fuzz);
      for (std::size_t i = c; i < expected.size(); i += 2) plain.process(&in.samples[i], &expected[i], 1);
    }
    cli.write("in.wav", in);
    CHECK(largestDifference(render(cli, "in.wav --no-tail " + std::string(row.options)), expected) == 0.0);
    CHECK(cli.errText.empty());
  }
}

TEST_CASE("format, rate and channels are kept; a dry integer sample comes back as it was") {
  constexpr int wav = SF_FORMAT_WAV, flac = SF_FORMAT_FLAC, aiff = SF_FORMAT_AIFF;
  const struct {
    int format;
    const char* out;
    int expected;
    bool exact;
  } rows[] = {
      {wav | SF_FORMAT_PCM_U8, "o.wav", wav | SF_FORMAT_PCM_U8, true},
      {wav | SF_FORMAT_PCM_32, "o.AIFF", aiff | SF_FORMAT_PCM_32, true},
      {wav | SF_FORMAT_PCM_24, "o.flac", flac | SF_FORMAT_PCM_24, true},
      {wav | SF_FORMAT_ULAW, "o.flac", flac | SF_FORMAT_PCM_16, true},
      {wav | SF_FORMAT_FLOAT, "o.flac", flac | SF_FORMAT_PCM_24, false},
      {wav | SF_FORMAT_PCM_32, "o.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, false},
      {aiff | SF_FORMAT_PCM_S8, "o.wav", wav | SF_FORMAT_PCM_U8, true},
      {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "o.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, false},
  };
  for (const auto& c : rows) {
    INFO("format ", c.format, ", out ", c.out);
    CommandLine cli;
    Sound in = guitar(22050, 3, 3000, c.format);
    std::fill_n(&in.samples[7], 2, -1.0);
    cli.write("in.wav", in);
    REQUIRE(cli.run("render in.wav --off --no-tail --rate native " + std::string(c.out)) == 0);
    const Sound out = cli.read(c.out);
    CHECK(out.format == c.expected);
    CHECK((out.rate == 22050 && out.channels == 3));
    if (c.exact) CHECK(largestDifference(out.samples, cli.read("in.wav").samples) == 0.0);
    // A note reports a change, except between the two 8-bit formats, or if the format was requested by name.
    const bool isQuiet = (c.expected & SF_FORMAT_SUBMASK) == (c.format & SF_FORMAT_SUBMASK) ||
                         c.format == (aiff | SF_FORMAT_PCM_S8) || c.expected == (SF_FORMAT_OGG | SF_FORMAT_VORBIS);
    CHECK((cli.errText.find("note:") == std::string::npos) == isQuiet);
  }
}

TEST_CASE("bad input: one line that names the culprit, the right status, nothing left and nothing touched") {
  CommandLine cli;
  cli.write("in.wav", guitar(44100, 1, 2000));
  cli.write("slow.wav", guitar(8000, 1, 2000));
  std::string zero = cli.readText("in.wav");
  cli.writeText("zero.wav", zero.replace(zero.find("data") + 4, 4, 4, '\0'));
  fs::create_symlink("in.wav", cli.folder / "link.wav");
  fs::create_symlink("none.wav", cli.folder / "dangling.wav");
  fs::create_directory(cli.folder / "links");
  fs::create_symlink("../in.wav", cli.folder / "links/slow.wav");
  std::string fast = cli.readText("in.wav");
  cli.writeText("lie.wav", fast.replace(24, 4, std::string("\x00\x94\x35\x77", 4)));
  cli.write("in.caf", guitar(44100, 1, 2000, SF_FORMAT_CAF | SF_FORMAT_PCM_16));
  const struct {
    const char *name, *content;
  } files[] = {
      {"there.wav", "precious"},
      {"-dash.wav", "no sound"},
      {"text.wav", "no sound"},
      {"my take.m4a", "no sound"},
      {"empty.wav", ""},
      {"bad.json", "{\n  \"parameters\": {\n    \"FUZ\": []\n  }\n}\n"},
      {"late.json",
       "{\"parameters\": {\"FUZZ\": [\n {\"samples\": 0, \"value\": 0},\n {\"seconds\": 9,"
       "\n \"value\": 1}]}}"},
      {"half.json", "{\"parameters\": {\n\"On/Off\": [{\"percent\": 1, \"value\": 0.5}]}}"},
      {"twice.json", "{\n\"programs\": [],\n\"programs\": []}"},
      {"broken.json", "{\n\"programs\": [\n  {]\n}"},
      {"params.json", R"({"params": {}})"},
      {"named.json", R"({"programs": [{"name": "Lead"}]})"},
      {"switch.json", "{\"programs\": [\n{\"On/Off\": 0.5}]}"},
      {"big.json", "{\"programs\": [{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},\n{}]}"},
  };
  const struct {
    const char* arguments;
    int status;
    const char* culprit;
  } rows[] = {
      {"", 2, "A subcommand is required"},
      {"rendre in.wav o.wav", 2, "did you mean render"},
      {"render in.wav", 2, "IN and OUT"},
      {"render none.wav o.wav", 1, "none.wav"},
      {"render 'my take.m4a' o.wav", 1, "ffmpeg -i 'my take.m4a' -f wav - | brumbler render - OUT.wav"},
      {"render bad.json o.wav", 1, "choose a recording"},
      {"render - o.wav < zero.wav", 1, "length of 0, but more follows"},
      {"render empty.wav o.wav", 1, "is empty"},
      {"render . o.wav", 1, "folder"},
      {"render in.wav o.xyz", 2, ".flac"},
      {"render in.wav none/o.wav", 1, "none/o.wav"},
      {"render in.wav there.wav", 1, "--force"},
      {"render in.wav link.wav --force", 2, "recording itself"},
      {"render text.wav there.wav --force", 1, "text.wav"},
      {"--volume 10.1", 2, "--volume"},
      {"--volume nan", 2, "--volume"},
      {"--fuzz 0,5", 2, "--fuzz"},
      {"--fuz 1", 2, "did you mean --fuzz"},
      {"render -dash.wav o.wav", 2, "write ./-dash.wav"},
      {"--fuzz 1 --fuzz 2", 2, "--fuzz takes one value"},
      {"--fuzz", 2, "--fuzz takes one value"},
      {"info extra", 2, "unexpected argument extra; see brumbler info --help"},
      {"--program 17", 2, "--program takes a whole number from 1 to 16"},
      {"--block 0", 2, "--block"},
      {"--rate 12", 2, "--rate"},
      {"render slow.wav o.wav --rate native", 1, "8000 Hz"},
      {"--trim loud", 2, "--trim"},
      {"--tail 1 --no-tail", 2, "--tail excludes --no-tail"},
      {"--quiet=maybe", 2, "--quiet = maybe"},
      {"compare in.wav", 2, "B is required"},
      {"--module text.wav", 1, "text.wav"},
      {"info --module libm.so.6", 1, "libm.so.6"},
      {"info --module '" BRUMBLER_TESTMODULE "'", 1, "did not create an effect"},
      {"render - o.wav --trim auto < in.wav", 2, "--trim auto"},
      {"render - o.wav --normalize -1 < in.wav", 2, "--norm"},
      {"--automate bad.json", 1, "bad.json, line 3: /parameters/FUZ is unknown; did you mean FUZZ"},
      {"--automate late.json", 1, "late.json, line 3: /parameters/FUZZ/1/seconds"},
      {"render - o.wav --automate late.json < in.wav", 1, "late.json, line 3"},
      {"--automate half.json", 1, "half.json, line 2"},
      {"--automate twice.json", 1, "twice.json, line 3"},
      {"--automate broken.json", 1, "broken.json, line 3"},
      {"--automate params.json", 1, "did you mean parameters"},
      {"--bank big.json", 1, "big.json, line 2: /programs/16"},
      {"riff there.wav", 1, "--force"},
      {"render in.wav --out-dir .", 2, "would replace the recording in.wav"},
      {"render slow.wav in.wav --out-dir links", 2, "would replace the recording in.wav"},
      {"bank save b.json --set 3,fuz=1", 2, "did you mean fuzz"},
      {"bank save b.json --set 17,fuzz=1", 2, "16"},
      {"--preset 'wal of fuzz'", 2, "did you mean Wall of fuzz"},
      {"--preset fuzz", 2, "did you mean Wall of fuzz"},
      {"--dry", 2, "known: --"},
      {"--jobs 2", 2, "--jobs needs --out-dir"},
      {"--quality 5", 2, "only MP3, Ogg and Opus"},
      {"--automate /dev/zero", 1, "not an ordinary file"},
      {"render in.wav .", 1, "is a folder"},
      {"render in.wav /dev/full", 1, "standard output with -"},
      {"render in.wav dangling.wav", 1, "link to a file that does not exist"},
      {"render in.wav $(printf %0300d 0).wav", 1, "name is too long"},
      {"render lie.wav o.wav", 1, "rate of 2000000000 Hz"},
      {"render - o.wav < /dev/null", 1, "standard input"},
      {"info | true; true | '" BRUMBLER_COMMAND "' render - o.wav", 1, "no sound came through the pipe"},
      {"info | true; cat in.caf | '" BRUMBLER_COMMAND "' render - o.wav", 1, "cannot be read from a pipe"},
      {"--program Init", 2, "16 programs are called Init"},
      {"--bank named.json --program laed", 2, "did you mean Lead"},
      {"--bank switch.json", 1, "switch.json, line 2: /programs/0/On/Off must be 0 (off) or 1 (on)"},
      {"bank save b.json --set 3,name=Lead, loud", 2, "loud"},
      {"info > /dev/full", 1, "standard output"},
  };
  for (const auto& file : files) cli.writeText(file.name, file.content);
  const std::set<std::string> before = cli.files();
  for (const auto& row : rows) {
    const std::string arguments = row.arguments;
    CAPTURE(arguments);
    CHECK(cli.run((arguments.rfind("--", 0) == 0 ? "render in.wav o.wav " : "") + arguments) == row.status);
    CAPTURE(cli.errText);
    CHECK(cli.errText.find(row.culprit) != std::string::npos);
    CHECK(std::count(cli.errText.begin(), cli.errText.end(), '\n') == 1);
    CHECK(cli.files() == before);
  }
  CHECK(fs::file_size(cli.folder / "there.wav") == 8);
}

TEST_CASE("completion offers what can follow, for words as bash or zsh splits them") {
  CommandLine cli;
  cli.writeText("mine.json", R"({"programs": [{"name": "Lead tone"}, {"name": "Bass"}]})");
  const struct {
    const char *words, *expected;  // the first line; the candidates follow, comma between, without descriptions
  } rows[] = {
      {"''", "words,render,live,info,riff,bank,plot,compare"},
      {"plot w", "words,wave"},
      {"render --out-", "words,--out-dir,--out-type,--out-rate"},
      {"render --bits ''", "words,16,24,32,float"},
      {"render --bits =", "words,16,24,32,float"},
      {"render --bits = 2", "words,24"},
      {"render --bits=f", "words,float"},
      {"render --trim ''", "words,auto"},
      {"render --preset wall", "words,wall-of-fuzz"},
      {"render --out-type fl", "words,flac"},
      {"render --program 1", "words,1,10,11,12,13,14,15,16"},
      {"render --bank mine.json --program L", "words,Lead tone"},
      {"render --bank none.json --program ''", "words"},
      {"render --fuzz ''", "words"},
      {"render i", "files"},
      {"render --module ''", "files"},
      {"render --out-dir ''", "folders"},
      {"live --bank ''", "json"},
      {"bank save ''", "json"},
      {"none ''", "words,render,live,info,riff,bank,plot,compare"},
  };
  for (const auto& row : rows) {
    CAPTURE(row.words);
    CHECK(cli.run(std::string("complete ") + row.words, "LC_ALL=C") == 0);
    std::istringstream lines(cli.outText);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
      found.append(found.empty() ? "" : ",").append(line, 0, line.find('\t'));
    }
    CHECK(found == row.expected);
  }
}

TEST_CASE("a full disk, a broken sound or a signal leaves nothing") {
  CommandLine cli;
  Sound sound = guitar(44100, 1, 60000);
  cli.write("in.wav", sound);
  sound.samples[44100] = std::nan("");
  cli.write("bad.wav", sound);
  cli.write("many.wav", guitar(44100, 2, 300000));
  cli.writeText("pid", "");
  const std::set<std::string> before = cli.files();
  // Sends the command the start of a sound and then, while it is running, a signal.
  const auto signalling = [](const char* signal) {
    return "{ head -c 9000 in.wav; for i in $(seq 200); do "
           "ls -l /proc/$(cat pid)/fd | grep -q 'deleted\\|unfinished' && echo at work >&2 && break; sleep 0.02; done; "
           "kill -" +
           std::string(signal) + " $(cat pid); sleep 0.1; } | sh -c 'echo $$ >pid; exec \"$0\" \"$@\"'";
  };
  const struct {
    std::string arguments, before, told;
    int status = 1;
  } rows[] = {
      {"render in.wav --off o.wav", "ulimit -f 3;", "make room"},
      {"render in.wav --off o.flac", "ulimit -f 3;", "make room"},
      {"render in.wav --off o.ogg", "ulimit -f 3;", "make room"},
      {"render in.wav --off o.caf", "ulimit -f 3;", "make room"},
      // Reader and player wait for the writer.
      {"render many.wav --off o.wav", "ulimit -f 300; timeout 20", "make room"},
      {"plot curve -o c.svg", "ulimit -f 3;", "make room"},
      {"bank save b.json", "ulimit -f 1;", "make room"},
      {"render bad.wav o.wav", "", "at 1.000 s"},
      {"render - o.wav", "head -c 99999 in.wav |", "ends early"},
      {"render - o.wav", signalling("INT"), "at work", 128 + SIGINT},
      {"render - o.wav", signalling("TERM"), "at work", 128 + SIGTERM},
  };
  for (const auto& row : rows) {
    CAPTURE(row.arguments);
    CHECK(cli.run(row.arguments, row.before) == row.status);
    CHECK(cli.errText.find(row.told) != std::string::npos);
    CHECK(cli.files() == before);
  }
}

TEST_CASE("a stream gives what a file gives, in every type") {
  CommandLine cli;
  cli.write("in.wav", guitar(48000, 2, 20000, SF_FORMAT_WAV | SF_FORMAT_PCM_24));
  const std::vector<double> expected = render(cli, "in.wav");
  for (const std::string type : {"wav", "au", "raw"}) {
    CAPTURE(type);
    REQUIRE(cli.run("render - - --out-type " + type + " > stream", "cat in.wav |") == 0);
    CHECK(cli.errText.find("standard output") == 0);
    const std::string raw = type == "raw" ? " --raw 48000:2:s24" : "";
    REQUIRE(cli.run("render - back.wav --off --no-tail --force" + raw, "cat stream |") == 0);
    CHECK(largestDifference(cli.read("back.wav").samples, expected) == 0.0);
  }
  constexpr int wav = SF_FORMAT_WAV, au = SF_FORMAT_AU, aiff = SF_FORMAT_AIFF;
  const struct {
    int in, out;
    const char* options = "";
  } rows[] = {{wav | SF_FORMAT_PCM_U8, wav | SF_FORMAT_PCM_U8},
              {wav | SF_FORMAT_PCM_U8, au | SF_FORMAT_PCM_S8, "--out-type au"},
              {au | SF_FORMAT_PCM_S8, au | SF_FORMAT_PCM_S8},
              {au | SF_FORMAT_PCM_S8, wav | SF_FORMAT_PCM_U8, "--out-type wav"},
              {aiff | SF_FORMAT_PCM_16, wav | SF_FORMAT_PCM_16},
              {wav | SF_FORMAT_ULAW, wav | SF_FORMAT_FLOAT},
              {wav | SF_FORMAT_DOUBLE, wav | SF_FORMAT_DOUBLE},
              {wav | SF_FORMAT_DOUBLE, wav | SF_FORMAT_PCM_24, "--bits 24"}};
  for (const auto& row : rows) {
    INFO("in ", row.in, ", options ", row.options);
    cli.write("of", guitar(44100, 1, 1000, row.in));
    REQUIRE(cli.run(std::string("render of - ") + row.options + " > stream") == 0);
    CHECK(cli.read("stream").format == row.out);
  }
}

TEST_CASE("automation lands on its sample, in files of any rate") {
  CommandLine cli;
  const Sound in = guitar(44100, 1, 4000);
  cli.write("in.wav", in);
  cli.writeText("a.json", R"({"parameters": {
    "On/Off": [{"samples": 0, "value": 1}, {"samples": 1001, "value": 0}, {"percent": 50, "value": 1}],
    "VOLUME": [{"samples": 0, "value": 2}, {"samples": 1000, "value": 2}, {"samples": 1040, "value": 7}],
    "FUZZ": [{"seconds": 0, "value": 5}]}})");
  // As a host does it by hand: blocks end where something changes; VOLUME glides over the block [1000, 1040), which is
  // cut at 1001 for the switch, and at 1024, a multiple of 64.
  const struct {
    int end;
    float on, volume;
  } blocks[] = {
      {1000, 1, 0.2F}, {1001, 1, 0.2F + 0.5F / 40}, {1024, 0, 0.2F + 0.5F * 24 / 40}, {1040, 0, 0.7F}, {2000, 0, 0.7F},
      {4000, 1, 0.7F}};
  std::vector<double> expected = in.samples;
  PlainChain plain = chain(44100, 1, 0.2F, 0.5F);
  int begin = 0;
  for (const auto& block : blocks) {
    plain.onOff = block.on;
    plain.volume = block.volume;
    plain.process(expected.data() + begin, expected.data() + begin, block.end - begin);
    begin = block.end;
  }
  for (const char* length : {"512", "65536"}) {
    const auto out = render(cli, "in.wav --no-tail --automate a.json --block " + std::string(length));
    CHECK(largestDifference(out, expected) < 1e-9);
  }
}

TEST_CASE("automation moves both channels, and FUZZ in steps of 64 samples") {
  CommandLine cli;
  const Sound in = guitar(44100, 2, 3000);
  cli.write("in.wav", in);
  cli.writeText("a.json", R"({"parameters": {"FUZZ": [{"samples": 128, "value": 2}, {"samples": 2176, "value": 10}]},
                              "programs": [{"samples": 2500, "program": 2}]})");
  std::vector<double> expected(in.samples.size());
  for (std::size_t c = 0; c < 2; ++c) {
    PlainChain plain = chain(44100, 1, 0.5F, 0.2F);
    std::vector<double> channel;
    for (std::size_t i = c; i < in.samples.size(); i += 2) channel.push_back(in.samples[i]);
    for (int begin = 0, end = 128; begin < 3000; begin = std::exchange(end, std::min(3000, (end / 64 + 1) * 64))) {
      plain.fuzz = static_cast<float>(0.2F + std::clamp((begin - 128) / 2048.0, 0.0, 1.0) * (1.0 - 0.2F));
      plain.process(&channel[static_cast<std::size_t>(begin)], &channel[static_cast<std::size_t>(begin)], end - begin);
    }
    for (std::size_t i = 0; i < channel.size(); ++i) expected[2 * i + c] = channel[i];
  }
  CHECK(largestDifference(render(cli, "in.wav --no-tail --automate a.json"), expected) < 1e-9);
}

TEST_CASE("other rates are played at the nearer of 44100 and 48000 Hz, between two conversions") {
  const struct {
    int rate, inner;
  } rows[] = {{8000, 44100}, {46050, 44100}, {46051, 48000}, {88200, 48000}, {96000, 48000}};
  for (const auto& row : rows) {
    CAPTURE(row.rate);
    CommandLine cli;
    const Sound in = guitar(row.rate, 1, 6000);
    cli.write("in.wav", in);
    std::vector<double> padded(in.samples.size() + static_cast<std::size_t>(row.rate)), inside, expected;
    std::copy(in.samples.begin(), in.samples.end(), padded.begin());
    SampleRateConverter(row.rate, row.inner, 1).convert(padded.data(), static_cast<int>(padded.size()), inside);
    EffectPlayer player(getinterface, row.inner, static_cast<int>(inside.size()), 1);
    player.start();
    player.processFrames(inside.data(), static_cast<int>(inside.size()));
    SampleRateConverter(row.inner, row.rate, 1).convert(inside.data(), static_cast<int>(inside.size()), expected);
    REQUIRE(expected.size() >= 6000);
    expected.resize(6000);
    CHECK(largestDifference(render(cli, "in.wav --no-tail"), expected) < 1e-9);
  }
}

TEST_CASE("other rates: no delay, no change of length") {
  for (const int rate : {22050, 88200, 96000}) {
    CAPTURE(rate);
    CommandLine cli;
    Sound in{rate, 2, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, {}};
    for (int i = 0; i < 20001; ++i) {
      const double x = (i - 19600) / 60.0;  // near the end, which a converter outputs late
      in.samples.insert(in.samples.end(), {0.1 * std::exp(-x * x) * std::sin(0.3 * i), 0.0});
    }
    cli.write("in.wav", in);
    CHECK(largestDifference(render(cli, "in.wav --off --no-tail"), in.samples) < 1e-6);
  }
}

TEST_CASE("levels and tails") {
  CommandLine cli;
  Sound in = guitar(44100, 1, 5000);
  cli.write("in.wav", in);
  for (double& sample : in.samples) sample *= 10.0;
  cli.write("hot.wav", in);
  std::vector<double> expected = in.samples;
  EffectPlayer player(getinterface, 44100, 5000, 1);
  player.setTrim(20.5);
  player.start();
  player.processFrames(expected.data(), 5000);
  CHECK(largestDifference(render(cli, "hot.wav --no-tail --trim 20.5"), expected) == 0.0);

  const std::vector<double> loud = render(cli, "hot.wav --normalize -6 --trim auto --tail 0.5");
  CHECK(loud.size() == 5000 + 22050);
  CHECK(largestDifference(loud, std::vector<double>(loud.size())) == doctest::Approx(0.501187).epsilon(1e-5));

  // The first try: a hot recording as it is.
  for (const char* const options : {"", " --preset guitar-straight-in", " --preset soft-edge"}) {
    CHECK(cli.run(std::string("render hot.wav h.wav --force") + options) == 0);
    CHECK(cli.errText.find("--trim 18, or --trim auto") != std::string::npos);
  }
  CHECK((cli.run("render hot.wav in.wav --out-dir hot") == 0 && cli.errText.find("1 of 2") != std::string::npos));
  for (const char* const known :
       {"in.wav", "hot.wav --trim 0", "hot.wav --off", "hot.wav --preset soft-edge --trim auto"}) {
    render(cli, known);
    CHECK(cli.errText.empty());
  }

  CHECK(cli.run("render hot.wav c.flac --trim 30 --volume 10") == 0);
  CHECK(cli.outText.find("samples clipped: lower --volume") != std::string::npos);
}

TEST_CASE("banks, many files and the riff") {
  CommandLine cli;
  REQUIRE(cli.run("riff a.wav && '" BRUMBLER_COMMAND "' riff b.flac") == 0);
  const std::vector<double> riff = cli.read("a.wav").samples;
  CHECK(largestDifference(riff, cli.read("b.flac").samples) == 0.0);
  CHECK(riff.size() > 8 * 44100);
  CHECK(-*std::min_element(riff.begin(), riff.end()) == doctest::Approx(0.1).epsilon(1e-6));

  REQUIRE(cli.run("bank save b.json --set '3,volume=2.5,fuzz=8.1,name=Lead, loud' --set 4,on=0") == 0);
  CHECK(cli.run("info --bank b.json --json") == 0);
  CHECK(cli.outText.find("\"name\": \"Lead, loud\"") != std::string::npos);
  CHECK(cli.outText.find("\"uniqueId\": \"KWBR\"") != std::string::npos);
  CHECK(cli.outText.find("\"VOLUME\": 2.5,") != std::string::npos);
  CHECK(cli.run("bank save again.json --bank b.json && cmp b.json again.json") == 0);
  const std::vector<double> banked = render(cli, "a.wav --bank b.json --program 'lead, LOUD'");
  CHECK(largestDifference(banked, render(cli, "a.wav --volume 2.5 --fuzz 8.1")) == 0.0);

  // A knob option overrides the preset.
  const std::vector<double> wall = render(cli, "a.wav --preset 'wall OF fuzz'");
  CHECK(largestDifference(wall, render(cli, "a.wav --volume 6 --fuzz 10")) == 0.0);
  CHECK(largestDifference(render(cli, "a.wav --preset soft-edge --fuzz 10 --volume 6"), wall) == 0.0);
  CHECK(cli.run("info --bank b.json") == 0);
  for (const char* const line : {"1 in (1 jack), 1 out (1 jack), double precision, latency 0 samples\n",
                                 "      3  Lead, loud                       1       2.5       8.1\n"}) {
    CAPTURE(line);
    CHECK(cli.outText.find(line) != std::string::npos);
  }
  CHECK(cli.run("info --presets") == 0);
  CHECK(cli.outText.find("Wall of fuzz") != std::string::npos);

  CHECK(cli.run("render a.wav none.wav b.flac --out-dir new/folder") == 1);
  CHECK(cli.outText.find("2 of 3 files") == 0);
  REQUIRE(cli.run("render b.flac one.flac && cmp one.flac new/folder/b.flac") == 0);
}
