// SPDX-License-Identifier: MIT
#include "cli/files/JsonFile.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "cli/text/Failure.h"
#include "cli/text/nearestName.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// Walks over the text and counts its lines.
class LineCounter {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  LineCounter(const char* text, int* line) : text_(text), line_(line) {}
  reference operator*() const { return *text_; }
  LineCounter& operator++() {
    // The parser may have read one character past a number, so a line break counts only once the next line has begun.
    if (newlinePassed_) ++*line_;
    newlinePassed_ = *text_ == '\n';
    ++text_;
    return *this;
  }
  bool operator==(const LineCounter& other) const { return text_ == other.text_; }
  bool operator!=(const LineCounter& other) const { return text_ != other.text_; }

 private:
  const char* text_;
  int* line_;
  bool newlinePassed_ = false;
};

// No file of this command comes near these limits. Without them a few kilobytes of brackets would take minutes and
// gigabytes, because every value's path is stored.
constexpr std::size_t kDeepest = 8;
constexpr std::size_t kLongestKey = 64;  // bytes

// Stores the line of every value while the parser walks over the text.
class LineNotes : public json::json_sax_t {
 public:
  LineNotes(const int& line, std::map<std::string, int>& lines) : line_(line), lines_(lines) {}

  bool null() override { return value(); }
  bool boolean(bool /*value*/) override { return value(); }
  bool number_integer(number_integer_t /*value*/) override { return value(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return value(); }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return value(); }
  bool string(string_t& /*value*/) override { return value(); }
  bool binary(binary_t& /*value*/) override { return value(); }
  bool start_object(std::size_t /*size*/) override { return open(false); }
  bool start_array(std::size_t /*size*/) override { return open(true); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool key(string_t& name) override {
    if (name.size() > kLongestKey) return stopAtBeyond();
    levels_.back().path = levels_.back().container / name;
    if (!levels_.back().keys.insert(name).second && twice.empty()) twice = name, twiceLine = line_;
    lines_[levels_.back().path.to_string()] = line_;
    return true;
  }
  bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const json::exception& /*error*/) override {
    badLine = line_;
    return false;
  }

  int badLine = 0;
  int beyondLine = 0;
  std::string twice;
  int twiceLine = 0;

 private:
  struct Level {
    JsonFile::Path container;
    JsonFile::Path path;  // of the value that comes next
    bool isArray;
    std::size_t index = 0;
    std::set<std::string> keys = {};
  };

  bool stopAtBeyond() {
    beyondLine = line_;
    return false;
  }
  JsonFile::Path next() {
    if (levels_.empty()) return JsonFile::Path();
    Level& level = levels_.back();
    return level.isArray ? level.container / level.index++ : level.path;
  }
  bool value() {
    lines_[next().to_string()] = line_;
    return true;
  }
  bool open(bool isArray) {
    if (levels_.size() == kDeepest) return stopAtBeyond();
    const JsonFile::Path path = next();
    lines_[path.to_string()] = line_;
    levels_.push_back({path, path, isArray});
    return true;
  }
  bool close() {
    levels_.pop_back();
    return true;
  }

  const int& line_;
  std::map<std::string, int>& lines_;
  std::vector<Level> levels_;
};

// The pointer's text without its escape for a slash within a key, like the one of On/Off.
std::string readable(const JsonFile::Path& path) {
  std::string text = path.to_string();
  for (std::size_t at = text.find("~1"); at != std::string::npos; at = text.find("~1", at)) text.replace(at, 2, "/");
  return text;
}

// Devices and pipes may never end, and no file of this command comes near kLongest.
std::string readText(const std::string& path) {
  constexpr std::uintmax_t kLongest = 2 << 20;  // bytes
  std::error_code error;
  if (fs::exists(path, error) && !fs::is_regular_file(path, error)) {
    throw Failure(path + ": is not an ordinary file; name a JSON file");
  }
  const std::uintmax_t size = fs::file_size(path, error);
  if (!error && size > kLongest) throw Failure(path + ": is larger than 2 MiB; files of this kind are much smaller");
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Failure(path + ": cannot be read; check the name and its permissions");
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

JsonFile::JsonFile(const std::string& path) : name_(path) {
  const std::string text = readText(path);
  int line = 1;
  LineNotes notes(line, lines_);
  const char* const end = text.data() + text.size();
  const bool parsed = json::sax_parse(LineCounter(text.data(), &line), LineCounter(end, &line), &notes);
  const auto failAt = [&](int where, const std::string& what) {
    throw Failure(path + ", line " + std::to_string(where) + ": " + what);
  };
  if (notes.beyondLine != 0) failAt(notes.beyondLine, "nests deeper or has a longer key than any file of this kind");
  if (!parsed)
    failAt(notes.badLine, "is not valid JSON; look for a missing comma, quote or bracket there or just before");
  if (!notes.twice.empty()) failAt(notes.twiceLine, "\"" + notes.twice + "\" is given twice; keep one");
  root_ = json::parse(text);
}

void JsonFile::fail(const Path& path, const std::string& message) const {
  const auto line = lines_.find(path.to_string());
  throw Failure(name_ + ", line " + std::to_string(line != lines_.end() ? line->second : 1) + ": " +
                (path.empty() ? "" : readable(path) + " ") + message);
}

const json& JsonFile::at(const Path& path, const std::string& key) const {
  const json& object = root_.at(path);
  if (!object.contains(key)) fail(path, "lacks \"" + key + "\"");
  return object.at(key);
}

void JsonFile::expectObject(const Path& path, const std::vector<std::string>& known) const {
  const json& value = root_.at(path);
  if (!value.is_object()) fail(path, "must be an object in { }");
  for (const auto& item : value.items()) {
    if (std::find(known.begin(), known.end(), item.key()) == known.end()) {
      fail(path / item.key(), "is unknown; " + suggestName(item.key(), known));
    }
  }
}

void JsonFile::expectArray(const Path& path) const {
  if (!root_.at(path).is_array()) fail(path, "must be a list in [ ]");
}

double JsonFile::number(const Path& path, double least, double most) const {
  const json& value = root_.at(path);
  if (!value.is_number() || value.get<double>() < least || value.get<double>() > most) {
    char limits[64];
    std::snprintf(limits, sizeof limits, "must be a number from %g to %g", least, most);
    fail(path, limits);
  }
  return value.get<double>();
}
