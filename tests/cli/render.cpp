// SPDX-License-Identifier: MIT
// Checks the results of `brumbler render`: their ends, levels, formats and metadata.
#include <doctest/doctest.h>

#include <csignal>
#include <cstring>
#include <limits>
#include <memory>

#include "cli/samples/samples.h"
#include "player/Tail.h"
#include "tests/cli/CommandLine.h"
#include "tests/cli/Sounds.h"

namespace {

// The same sound followed by `seconds` of silence.
Sound padded(Sound sound, double seconds) {
  const auto frames = static_cast<std::size_t>(std::llround(seconds * sound.rate));
  sound.samples.insert(sound.samples.end(), frames * static_cast<std::size_t>(sound.channels), 0.0);
  return sound;
}

// Cut off at its loudest.
Sound chord(int rate, int channels, int frames) {
  Sound sound = guitar(rate, channels, frames + 25000);
  sound.samples.erase(sound.samples.begin() + frames * channels, sound.samples.end());
  return sound;
}

}  // namespace

TEST_CASE("a tail is what the effect gives for silence there, to the bit, and as long as it is heard") {
  const struct {
    int rate, channels, frames;
    const char* options;
    bool isPiped = false;
    // clang-format off
  } rows[] = {
      {22050, 1, 20000, ""}, {32000, 2, 20000, ""}, {88200, 1, 40000, ""}, {96000, 2, 40960, "--block 64"},
      {44100, 1, 51200, ""}, {44100, 1, 51201, ""}, {48000, 3, 512, "--block 1"}, {44100, 2, 51200, "--block 65536"},
      {32000, 1, 32000, "--normalize -3 --trim 6"}, {44100, 1, 51200, "--automate a.json"},
      {96000, 1, 51200, "--automate a.json --block 512"}, {44100, 1, 51200, "", true}, {22050, 2, 20480, "", true},
  };
  // clang-format on
  for (const auto& row : rows) {
    INFO("rate ", row.rate, ", frames ", row.frames, ", options ", row.options);
    CommandLine cli;
    cli.writeText("a.json", R"({"parameters": {"VOLUME": [{"samples": 300, "value": 0}, {"samples": 5000, "value": 9}],
                                               "On/Off": [{"samples": 0, "value": 1}]}})");
    const Sound in = chord(row.rate, row.channels, row.frames);
    cli.write("in.wav", in);
    cli.write("padded.wav", padded(in, 2.0));
    const std::string options = row.options;
    const auto play = [&](const std::string& tail) {
      if (!row.isPiped) return render(cli, "in.wav " + options + tail);
      REQUIRE(cli.run("render - --force o.wav " + options + tail, "cat in.wav |") == 0);
      return cli.read("o.wav").samples;
    };
    std::vector<double> expected = render(cli, "padded.wav --no-tail " + options);
    CHECK(largestDifference(play(" --tail 2"), expected) == 0.0);

    const auto isHeard = [](double x) { return std::fabs(x) > std::pow(10.0, -90.0 / 20.0); };
    while (std::none_of(expected.end() - row.channels, expected.end(), isHeard)) {
      expected.erase(expected.end() - row.channels, expected.end());
    }
    REQUIRE(expected.size() > in.samples.size() + 100);
    CHECK(largestDifference(play(""), expected) == 0.0);
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(in.samples.size()), expected.end());
    if (options.find("--normalize") == std::string::npos) CHECK(largestDifference(play(" --no-tail"), expected) == 0.0);
  }
}

TEST_CASE("an open tail waits for a quarter of a second of quiet, two seconds at most") {
  const struct {
    std::vector<std::pair<double, double>> samples;  // seconds and amplitude
    double kept;                                     // seconds
  } rows[] = {
      {{}, 0.0},
      {{{0.2, 3.16e-5}}, 0.0},
      {{{0.2, -3.17e-5}}, 0.2},
      {{{0.249, 1.0}, {0.498, 1.0}}, 0.498},
      {{{0.251, 1.0}}, 0.0},
      {{{0.1, 1.0}, {0.352, 1.0}}, 0.1},
      {{{0.2, 1}, {0.4, 1}, {0.6, 1}, {0.8, 1}, {1.0, 1}, {1.2, 1}, {1.4, 1}, {1.6, 1}, {1.8, 1}, {1.999, 1}, {2.1, 1}},
       1.999},
  };
  constexpr int kRate = 1000;
  for (const auto& row : rows) {
    CAPTURE(row.kept);
    for (const std::size_t piece : {std::size_t{2}, std::size_t{70}, std::size_t{10000}}) {
      Tail tail(kRate, 2, std::nullopt);
      std::vector<double> sound(2 * 3 * kRate);
      for (const auto& [seconds, amplitude] : row.samples) {
        sound[2 * static_cast<std::size_t>(std::llround(seconds * kRate)) - 1] = amplitude;  // in the frame before
      }
      std::size_t kept = 0;
      for (std::size_t at = 0; at < sound.size() && !tail.isComplete(); at += piece) {
        kept += tail.take(std::span(sound).subspan(at, std::min(piece, sound.size() - at))).size();
      }
      CHECK(kept == 2 * static_cast<std::size_t>(std::llround(row.kept * kRate)));
      CHECK(tail.isComplete());
    }
  }
}

TEST_CASE("integers: full scale never wraps, whatever the width, and halves go to the even one") {
  for (const int bits : {8, 16, 24, 32}) {
    CAPTURE(bits);
    const double scale = std::ldexp(1.0, bits - 1);
    const struct {
      double sample, integer;  // both in steps of the format
      bool isClipped = false;
      // clang-format off
    } rows[] = {
        {scale, scale - 1, true}, {scale - 0.5, scale - 1, true}, {scale - 0.51, scale - 1}, {scale - 1, scale - 1},
        {2.5 * scale, scale - 1, true}, {-scale, -scale}, {-scale - 0.5, -scale}, {-scale - 0.51, -scale, true},
        {-1e6 * scale, -scale, true}, {-scale + 0.51, 1 - scale}, {0.5, 0}, {1.5, 2}, {-2.5, -2}, {-0.51, -1},
    };
    // clang-format on
    for (const auto& row : rows) {
      CAPTURE(row.sample);
      for (const std::size_t others : {std::size_t{0}, std::size_t{9}}) {  // a piece in which nothing else clips
        std::vector<double> piece(others + 1, 0.25);
        piece.back() = row.sample / scale;
        std::vector<int> integers(piece.size());
        CHECK(toIntegers(piece, bits, integers.data()) == (row.isClipped ? 1 : 0));
        CHECK(integers.back() / std::ldexp(1.0, 32 - bits) == row.integer);
        if (bits > 16) continue;
        std::vector<short> shorts(piece.size());
        CHECK(toIntegers(piece, bits, shorts.data()) == (row.isClipped ? 1 : 0));
        CHECK(shorts.back() / std::ldexp(1.0, 16 - bits) == row.integer);
      }
    }
  }
}

TEST_CASE("a peak is found, and a sample that is no number, wherever it is") {
  for (std::size_t size = 1; size < 35; ++size) {
    for (std::size_t at = 0; at < size; ++at) {
      std::vector<double> piece(size, 0.1);
      piece[at] = -0.7;
      CHECK(peakOf(piece) == 0.7);
      for (const double bad : {std::nan(""), -std::numeric_limits<double>::infinity()}) {
        piece[at] = bad;
        CHECK(!std::isfinite(peakOf(piece)));
      }
    }
  }
}

TEST_CASE("side by side or one after the other: the same bytes, and an end in every case") {
  CommandLine cli;
  cli.write("short.wav", guitar(44100, 1, 100));
  cli.write("long.wav", guitar(44100, 2, 300000, SF_FORMAT_WAV | SF_FORMAT_PCM_16));
  cli.write("other.flac", guitar(32000, 3, 100000, SF_FORMAT_FLAC | SF_FORMAT_PCM_24));
  cli.writeText("a.json",
                R"({"parameters": {"VOLUME": [{"samples": 0, "value": 0}, {"samples": 90000, "value": 9}]}})");
  const std::string oneCore = "taskset -c $(taskset -pc $$ | grep -o '[0-9]*$')";
  const struct {
    std::string out, arguments;
  } rows[] = {{"a.wav", "short.wav"},
              {"b.wav", "long.wav --block 777"},
              {"b.w64", "long.wav --automate a.json"},
              {"b.flac", "other.flac"},
              {"c.wav", "other.flac --normalize -1 --tail 1"}};
  for (const auto& row : rows) {
    CAPTURE(row.out);
    REQUIRE(cli.run("render " + row.arguments + " " + row.out) == 0);
    const std::string sideBySide = cli.readText(row.out);
    REQUIRE(cli.run("render --force " + row.arguments + " " + row.out, oneCore) == 0);
    CHECK(cli.readText(row.out) == sideBySide);
  }
  // Ctrl-C while all three wait for a player that has stopped reading, and a player that quits.
  CHECK(cli.run("render long.wav - > pipe", "mkfifo pipe; sleep 2 < pipe & timeout -s INT 0.4") == 124);
  CHECK(cli.run("render long.wav - > pipe", "sleep 0.3 < pipe & timeout 20") == 128 + SIGPIPE);
}

TEST_CASE("the output's format, from its name or as it was asked for") {
  constexpr int wav = SF_FORMAT_WAV, flac = SF_FORMAT_FLAC;
  const struct {
    const char *arguments, *out;
    int status, format;
    const char* told = "";
  } rows[] = {
      {"a.wav o.flac --bits 16", "o.flac", 0, flac | SF_FORMAT_PCM_16},
      {"a.wav o.flac --bits 32", "", 1, 0, "o.flac: this format has no 32-bit"},
      {"a.wav o.opus --bits float", "", 1, 0, "o.opus: this format has no"},
      {"a.wav o.dat --out-type w64 --bits float", "o.dat", 0, SF_FORMAT_W64 | SF_FORMAT_FLOAT},
      {"a.wav o.WAV --out-type wav --bits 32", "o.WAV", 0, wav | SF_FORMAT_PCM_32},
      {"a.wav o.wav --out-type flac", "", 2, 0, "another format than --out-type"},
      {"a.wav o.wav --out-type m4a", "", 2, 0, "--out-type takes one of wav"},
      {"a.wav o.wav --bits 20", "", 2, 0, "--bits takes 16"},
      {"a.wav - --out-type flac", "", 2, 0, "standard output takes wav"},
      {"a.wav - --bits 16 > o.wav", "o.wav", 0, wav | SF_FORMAT_PCM_16},
      {"a.wav b.mp3 --out-dir d/e --out-type flac --bits 24", "d/e/b.flac", 0, flac | SF_FORMAT_PCM_24},
      {"b.mp3 --out-dir d --out-type wav", "d/b.wav", 0, wav | SF_FORMAT_PCM_24, "note: b.mp3: this format has no MP3"},
      {"a.wav a.flac --out-dir d --out-type wav", "d/a-2.wav", 0, wav | SF_FORMAT_PCM_16},
      {"a.wav tree --recursive --out-dir d --suffix _x", "d/in/a_x.flac", 0, flac | SF_FORMAT_PCM_16},
      {"a.wav o.opus --quality 2", "o.opus", 0, SF_FORMAT_OGG | SF_FORMAT_OPUS, "44100 Hz; wrote 48000 Hz"},
      {"a.wav o.mp3 --out-rate 44000", "", 1, 0, "cannot hold 1 channel at 44000 Hz"},
      {"text.wav in --out-dir d/e", "", 1, 0, "in: is a folder; name the recordings in it, like in/*.wav"},
      {"text.wav --out-dir d/e", "", 1, 0, "brumbler: text.wav: "},
      {"a.wav text.wav --out-dir d/e --jobs 1", "d/e/a.wav", 1, wav | SF_FORMAT_DOUBLE, "1 of 2 files failed"},
      {"a.flac --out-dir there", "there/a.flac", 1, flac | SF_FORMAT_PCM_16, "brumbler: a.flac: there/a.flac: exists"},
      {"a.wav a.flac --out-dir there --skip-existing --quiet", "there/a.wav", 0, wav | SF_FORMAT_DOUBLE},
      {"a.wav there/a.flac --skip-existing", "there/a.flac", 0, flac | SF_FORMAT_PCM_16},
      {"a.wav --out-dir a.flac/b", "", 1, 0, "a.flac/b: cannot be made"},
      {"a.wav cut.flac --skip-existing", "cut.flac", 0, flac | SF_FORMAT_PCM_24},
  };
  CommandLine cli;
  cli.write("a.wav", guitar(44100, 1, 3000));
  cli.write("a.flac", guitar(44100, 1, 3000, flac | SF_FORMAT_PCM_16));
  cli.write("b.mp3", guitar(44100, 1, 3000, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III));
  cli.writeText("text.wav", "no sound");
  for (const char* folder : {"in", "there"}) fs::create_directory(cli.folder / folder);
  fs::copy(cli.folder / "a.flac", cli.folder / "there");
  fs::create_directories(cli.folder / "tree/in");
  fs::copy(cli.folder / "a.flac", cli.folder / "tree/in");
  cli.writeText("cut.flac", cli.readText("a.flac").substr(0, 2000));
  const std::set<std::string> before = cli.files();
  for (const auto& row : rows) {
    CAPTURE(row.arguments);
    CHECK(cli.run(std::string("render ") + row.arguments) == row.status);
    CAPTURE(cli.errText);
    CHECK(cli.errText.find(row.told) != std::string::npos);
    if (*row.out == '\0') {
      CHECK(cli.files() == before);
      continue;
    }
    CHECK(cli.read(row.out).format == row.format);
    if (fs::path(row.out).parent_path() != "there") fs::remove_all(cli.folder / *fs::path(row.out).begin());
  }
  CHECK(fs::file_size(cli.folder / "there/a.flac") == fs::file_size(cli.folder / "a.flac"));

  Sound loud = guitar(44100, 1, 3000, wav | SF_FORMAT_PCM_16);
  for (double& sample : loud.samples) sample *= 20.0;
  cli.write("loud.wav", loud);
  CHECK(cli.run("render loud.wav a.wav --out-dir d --trim 30 --volume 10") == 0);
  CHECK(cli.errText.find("note: loud.wav: ") != std::string::npos);
  CHECK(cli.errText.find("samples clipped") != std::string::npos);
  CHECK(cli.errText.find("a.wav") == std::string::npos);
  CHECK(cli.run("render loud.wav a.wav --out-dir d --trim 30 --volume 10 --force --quiet") == 0);
  CHECK((cli.errText + cli.outText).empty());
}

TEST_CASE("what a file says beside its sound stays, or is told") {
  constexpr int left = SF_CHANNEL_MAP_LEFT, right = SF_CHANNEL_MAP_RIGHT, rearLeft = SF_CHANNEL_MAP_REAR_LEFT,
                rearRight = SF_CHANNEL_MAP_REAR_RIGHT;
  std::vector<int> layout = {left, right, rearLeft, rearRight};
  CommandLine cli;
  const auto open = [&cli](const std::string& name, int mode, SF_INFO& info) {
    return std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>(sf_open((cli.folder / name).c_str(), mode, &info), sf_close);
  };
  SF_BROADCAST_INFO broadcast = {};
  std::strcpy(broadcast.description, "Take 7");
  broadcast.time_reference_low = 123456789;
  broadcast.version = 2;
  broadcast.loudness_value = -2300;
  SF_CUES cues = {2, {{1, 0, 0x61746164, 0, 0, 1000, ""}, {2, 0, 0x61746164, 0, 0, 2000, ""}}};
  SF_INSTRUMENT instrument = {};
  instrument.loop_count = 1;
  instrument.loops[0] = {SF_LOOP_FORWARD, 10, 500, 0};
  std::string xml = "<a/>\n\n";
  const SF_CHUNK_INFO chunk = {"iXML", 4, 6, xml.data()};
  {
    SF_INFO info{0, 88200, 4, SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 0, 0};
    const auto file = open("all.wav", SFM_WRITE, info);
    sf_set_string(file.get(), SF_STR_TITLE, "Lead");
    sf_command(file.get(), SFC_SET_CHANNEL_MAP_INFO, layout.data(), sizeof(int) * 4);
    sf_command(file.get(), SFC_SET_BROADCAST_INFO, &broadcast, sizeof broadcast);
    sf_command(file.get(), SFC_SET_CUE, &cues, sizeof cues);
    sf_command(file.get(), SFC_SET_INSTRUMENT, &instrument, sizeof instrument);
    sf_set_chunk(file.get(), &chunk);
    sf_writef_double(file.get(), guitar(88200, 4, 3000).samples.data(), 3000);
  }
  const struct {
    const char *arguments, *out, *dropped;
    bool layout = true;
    bool title = true;
    // clang-format off
  } rows[] = {
      {"all.wav o.wav", "o.wav", ""},
      {"o.wav p.rf64", "p.rf64", ""},
      {"p.rf64 p.wav --bits 24", "p.wav", ""},
      {"all.wav o.caf", "o.caf", "broadcast entries, cue points, instrument and loops"},
      {"all.wav o.aiff", "o.aiff", "broadcast entries, cue points, instrument and loops"},
      {"o.aiff q.wav", "q.wav", ""},
      {"all.wav o.flac", "o.flac", "broadcast entries, cue points, iXML, instrument and loops", false},
      {"o.flac r.wav", "r.wav", ""},
      {"r.wav r.ogg", "r.ogg", "", false},
      {"r.wav - > s.wav", "s.wav", "title", true, false},
      {"r.wav o.w64", "o.w64", "channel layout, title", false, false},
  };
  // clang-format on
  for (const auto& row : rows) {
    CAPTURE(row.arguments);
    const int status = cli.run(std::string("render ") + row.arguments);
    CAPTURE(cli.errText);
    REQUIRE(status == 0);
    const std::size_t note = cli.errText.find("dropped: ");
    const std::string dropped = note == std::string::npos ? "" : cli.errText.substr(note + 9);
    CHECK(dropped.substr(0, dropped.find('\n')) == row.dropped);
    SF_INFO info = {};
    const auto file = open(row.out, SFM_READ, info);
    std::vector<int> map(4);
    sf_command(file.get(), SFC_GET_CHANNEL_MAP_INFO, map.data(), sizeof(int) * 4);
    CHECK((map == layout) == row.layout);
    const char* const title = sf_get_string(file.get(), SF_STR_TITLE);
    CHECK((title != nullptr && std::string(title) == "Lead") == row.title);
  }
  SF_INFO info = {};
  const auto file = open("o.wav", SFM_READ, info);
  SF_BROADCAST_INFO broadcastBack = {};
  CHECK(sf_command(file.get(), SFC_GET_BROADCAST_INFO, &broadcastBack, sizeof broadcastBack) == SF_TRUE);
  CHECK(std::string(broadcastBack.description) == "Take 7");
  CHECK(broadcastBack.time_reference_low == 123456789);  // samples at the file's rate, which stays
  CHECK(broadcastBack.loudness_value == 0x7FFF);         // it was the recording's
  SF_CUES cuesBack = {};
  CHECK(sf_command(file.get(), SFC_GET_CUE, &cuesBack, sizeof cuesBack) == SF_TRUE);
  CHECK((cuesBack.cue_count == 2 && cuesBack.cue_points[1].sample_offset == 2000));
  SF_INSTRUMENT instrumentBack = {};
  CHECK(sf_command(file.get(), SFC_GET_INSTRUMENT, &instrumentBack, sizeof instrumentBack) == SF_TRUE);
  CHECK((instrumentBack.loop_count == 1 && instrumentBack.loops[0].end == 500));

  // A picture and a tag of another name.
  std::string flac = cli.readText("o.flac");
  const std::size_t comment = flac.find("=Lead") - 5;
  flac.replace(comment, 5, "moods");  // was the title
  flac.insert(42,
              std::string("\x06\0\0\x29", 4) + std::string(31, '\0') + "\ta picture");  // after the stream's own block
  cli.writeText("picture.flac", flac);
  std::string from = "picture.flac ";
  for (const std::string name : {"t.wav", "t.flac", "t.aiff", "t.ogg", "t.rf64"}) {
    REQUIRE(cli.run("render " + from + name) == 0);
    CHECK(cli.errText.find("dropped") == std::string::npos);
    from = name + " ";
    REQUIRE(cli.run("render " + name + " t.caf --force") == 0);
    CAPTURE(cli.errText);
    CHECK(cli.errText.find("dropped: cover picture, moods\n") != std::string::npos);
  }

  // Chunks of any size, and unknown chunks.
  std::string wav = cli.readText("q.wav");
  const auto append = [&wav](const std::string& id, std::size_t size) {
    const std::string length = {static_cast<char>(size), static_cast<char>(size >> 8), static_cast<char>(size >> 16),
                                0};
    wav += id + length + std::string(size, 'x');
  };
  append("iXML", 200000);
  append("chna", 40);
  append("umid", 64);
  cli.writeText("chunks.wav", wav);
  for (const std::string name : {"u.wav", "u.rf64", "u.aiff"}) {
    REQUIRE(cli.run("render chunks.wav " + name) == 0);
    CHECK(cli.errText.find(name == "u.aiff" ? "dropped: chna, umid\n" : "dropped: umid\n") != std::string::npos);
    CHECK(cli.readText(name).find("iXML") != std::string::npos);
    CHECK(!cli.read(name).samples.empty());
  }
}

TEST_CASE("surround sound comes out of the speakers that it was for") {
  const struct {
    int channels;
    std::vector<int> vorbis;  // WAV's channels in the order of Vorbis
  } rows[] = {{3, {0, 2, 1}},          {4, {0, 1, 2, 3}},          {5, {0, 2, 1, 3, 4}},
              {6, {0, 2, 1, 4, 5, 3}}, {7, {0, 2, 1, 5, 6, 4, 3}}, {8, {0, 2, 1, 6, 7, 4, 5, 3}}};
  for (const auto& row : rows) {
    CAPTURE(row.channels);
    CommandLine cli;
    // Each channel at half the level of the one before.
    Sound in{48000, row.channels, SF_FORMAT_WAV | SF_FORMAT_PCM_16, {}};
    for (int i = 0; i < 24000; ++i) {
      for (int c = 0; c < row.channels; ++c) in.samples.push_back(std::ldexp(0.5, -c) * std::sin(0.0065 * i));
    }
    cli.write("in.wav", in);
    for (const std::string type : {"ogg", "opus"}) {
      CAPTURE(type);
      REQUIRE(cli.run("render in.wav --off o." + type) == 0);
      REQUIRE(cli.run("render o." + type + " --off back.wav --force") == 0);
      CHECK((cli.read("back.wav").format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX);
      for (int c = 0; c < row.channels; ++c) {
        const auto level = [&](const std::string& file) {
          const Sound sound = cli.read(file);
          double power = 0.0;
          for (auto i = static_cast<std::size_t>(c); i < sound.samples.size(); i += in.samples.size() / 24000) {
            power += sound.samples[i] * sound.samples[i] / 12000;
          }
          return std::lround(-std::log2(std::sqrt(power) / 0.5));
        };
        CHECK(level("o." + type) == row.vorbis[static_cast<std::size_t>(c)]);
        CHECK(level("back.wav") == c);
      }
    }
  }
}

TEST_CASE("a recording that was never closed is read to its end") {
  CommandLine cli;
  cli.write("in.wav", guitar(44100, 2, 2000));
  const std::vector<double> whole = render(cli, "in.wav");
  std::ifstream file(cli.folder / "in.wav", std::ios::binary);
  std::string bytes(std::istreambuf_iterator<char>(file), {});
  const std::size_t data = bytes.find("data") + 4;
  cli.writeText("unclosed.wav", bytes.replace(data, 4, 4, '\0'));
  CHECK(largestDifference(render(cli, "unclosed.wav"), whole) == 0.0);
  CHECK(cli.errText.find("note: o.wav: the recording was never closed") != std::string::npos);
  cli.writeText("empty.wav", bytes.substr(0, data + 4) + std::string("LIST\4\0\0\0INFO", 12));
  CHECK(render(cli, "empty.wav --no-tail").empty());
}

TEST_CASE("a recording that was cut off is refused, whatever its format, and a few samples less are told") {
  // The length in a header as the library reports it, for some of these only in the text of its log.
  for (const int format :
       {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_AIFF, SF_FORMAT_RF64, SF_FORMAT_W64, SF_FORMAT_AU, SF_FORMAT_FLAC}) {
    CAPTURE(format);
    CommandLine cli;
    cli.write("in", guitar(44100, 2, 5000, format | SF_FORMAT_PCM_16));
    REQUIRE(cli.run("render in whole.wav") == 0);
    fs::resize_file(cli.folder / "in", fs::file_size(cli.folder / "in") - 40);
    const bool isFew = format != SF_FORMAT_FLAC;  // there it is much more than ten samples
    CHECK(cli.run("render in few.wav") == (isFew ? 0 : 1));
    CHECK((cli.errText.find(" samples more than there are") != std::string::npos) == isFew);
    fs::resize_file(cli.folder / "in", 9000);
    CHECK(cli.run("render in o.wav") == 1);
    CHECK(cli.errText.find("ends early") != std::string::npos);
  }
}
