// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvik::ctl {

/// Lays the help out for a terminal: one column of options, descriptions wrapped beside them.
class HelpText : public CLI::Formatter {
 public:
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
};

/// A validator whose rule the option's own description tells, and the help need not repeat.
template <typename Validator>
CLI::Validator unmentioned(Validator validator) {
  return validator.description("");
}

}  // namespace orvik::ctl
