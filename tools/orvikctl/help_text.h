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

/// A validator whose rule is in the option's description, so that the help does not repeat it.
template <typename Validator>
CLI::Validator unmentioned(Validator validator) {
  return validator.description("");
}

}  // namespace orvik::ctl
