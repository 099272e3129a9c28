// SPDX-License-Identifier: MIT
#pragma once

#include <fstream>

// Debian 13's libc++ for WebAssembly has no files, and declares std::fstream without defining it. doctest needs it to
// compile its option --out, which no test here uses; this one takes its place and writes nothing.
#ifdef _LIBCPP_HAS_NO_FILESYSTEM
#include <sstream>

template <>
class std::basic_fstream<char> : public std::stringstream {
 public:
  void open(const char* /*path*/, std::ios_base::openmode /*mode*/) {}
  bool is_open() const { return false; }
  void close() {}
};
#endif
