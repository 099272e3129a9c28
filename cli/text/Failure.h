// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

#include "cli/text/printable.h"

// An error, in one printable line that names the cause and says what to do. main() prints it and exits with `status`.
class Failure : public std::runtime_error {
 public:
  enum Status : int {
    failed = 1,  // the command was understood but could not be done
    usage = 2,   // the command line itself is wrong
  };

  explicit Failure(const std::string& message, Status exitStatus = failed)
      : std::runtime_error(printable(message)), status(exitStatus) {}

  Status status;
};

// The system's text for an errno. Any thread may call it, unlike std::strerror.
inline std::string systemError(int code) {
  const char* const text = strerrordesc_np(code);
  return text != nullptr ? text : "error " + std::to_string(code);
}
