// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "tools/orvikctl/common_options.h"
#include "tools/orvikctl/terminal/picture_text.h"

namespace orvik::ctl {

/// Options of commands that show pictures in a terminal.
struct ScreenOptions {
  std::string mode = "auto";
  std::string colours = "auto";
  std::string size;
};

/// Adds `--mode`, `--colours` and `--size`; `options` must live as long as `app`.
void addScreenOptions(CLI::App& app, ScreenOptions& options);

/// How pictures are shown on standard output.
struct Screen {
  bool isTerminal = false;
  PictureMode mode = PictureMode::kBlocks;
  Colours colours = Colours::kNone;

  /// The room that there is now: that of `--size`, else the terminal's, else 80 x 24.
  [[nodiscard]] TerminalSize size() const;

  std::optional<TerminalSize> wanted;
};

/// Chooses by the options, the environment and, if these say nothing of graphics, by asking the
/// terminal.
///
/// @throws Failure (kUsage) if an option makes no sense
Screen screenOf(const ScreenOptions& options);

}  // namespace orvik::ctl
