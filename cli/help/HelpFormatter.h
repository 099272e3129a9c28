// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>

// The texts of --help, for a terminal of 80 columns, and of --help-all, which help2man turns into the manual page.
class HelpFormatter : public CLI::Formatter {
 public:
  // Leaves out the options that this one excludes: they break the columns, and the message of an error names them.
  std::string make_option_opts(const CLI::Option* option) const override;

  std::string make_option_desc(const CLI::Option* option) const override;

  // A subcommand in --help-all: a heading, the description, the options, the examples; then its own subcommands.
  std::string make_expanded(const CLI::App* app) const override;
};
