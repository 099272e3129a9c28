// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>

// The texts of --help, for a terminal of 80 columns.
class HelpFormatter : public CLI::Formatter {
 public:
  // Without the options that another excludes: they would break the columns, and the error says it.
  std::string make_option_opts(const CLI::Option* option) const override;

  std::string make_option_desc(const CLI::Option* option) const override;
};
