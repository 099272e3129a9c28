// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// `text` with a question mark in place of each control character (C0, DEL, and C1 in UTF-8), so that names from files
// cannot change a terminal or forge a line of a journal.
std::string printable(const std::string& text);
