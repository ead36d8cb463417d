// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

/// A subcommand of the program: its options, and what it does once they are read.
struct Command {
  CLI::App* options;
  std::function<ExitCode()> run;
};

/// Options that every subcommand has.
struct CommonOptions {
  std::vector<std::string> virtualCameras;
  std::string camera;
  bool json = false;
};

/// Whether a subcommand works on one camera, which `--camera` then names.
enum class Scope { kAllCameras, kOneCamera };

/// Adds the options; `options` must live as long as `app`.
void addCommonOptions(CLI::App& app, CommonOptions& options, Scope scope);

}  // namespace orvik::ctl
