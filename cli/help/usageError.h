// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

// What to tell about a command line that `app` could not parse: what is wrong, and what to do. `words` are its words
// after the command's own name. The answer comes from the words and the tables of options; the parser's own message is
// used where they show nothing.
std::string explainUsageError(const CLI::App& app, const std::vector<std::string>& words, const CLI::ParseError& error);
