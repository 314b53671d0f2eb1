// The layout of help texts: wrapped to the width of the terminal, without the parser's type names.
#pragma once

#include <CLI/CLI.hpp>

namespace fendrel::host {

class HelpFormat : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_subcommand(const CLI::App* command) const override;
};

}  // namespace fendrel::host
