// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// A JSON file and the line number of each of its values, for error messages.
class JsonFile {
 public:
  using Path = nlohmann::json::json_pointer;

  // Throws Failure naming the file, and the line if known, if it cannot be read, is not JSON or has a key twice.
  explicit JsonFile(const std::string& path);

  const nlohmann::json& root() const noexcept { return root_; }

  // Throws Failure saying that the value at `path` is wrong.
  [[noreturn]] void fail(const Path& path, const std::string& message) const;

  // The value under `key` of the object at `path`. Throws Failure when it is missing.
  const nlohmann::json& at(const Path& path, const std::string& key) const;

  // Throws Failure unless the value at `path` is an object with no other keys than `known`.
  void expectObject(const Path& path, const std::vector<std::string>& known) const;
  void expectArray(const Path& path) const;

  // The number at `path`; throws Failure unless it is one within the limits.
  double number(const Path& path, double least, double most) const;

 private:
  std::string name_;
  nlohmann::json root_;
  std::map<std::string, int> lines_;  // by path
};
