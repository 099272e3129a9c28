// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

// One line on why `app` could not parse a command line, and what to do. Call it when `app` has thrown `error`.
std::string explainUsageError(const CLI::App& app, const CLI::ParseError& error);
