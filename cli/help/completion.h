// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

// Answers the completion scripts beside this file: prints what can replace the last of `words` to standard output.
// `words` are those of the command line after the command's own name, as the shell splits them; the last one may be
// empty. The first line printed is `files`, `json` or `folders` where the shell is to complete names of those, else
// `words`. Each further line is a candidate and, after a tab, its description, which may be empty.
void printCompletions(const CLI::App& app, std::vector<std::string> words);
