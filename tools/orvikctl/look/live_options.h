// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "tools/orvikctl/capture/capture_options.h"
#include "tools/orvikctl/capture/capture_setup.h"

namespace orvik::ctl {

/// Options of commands that look at a running camera.
struct LiveOptions : CaptureOptions {
  std::string duration;
};

/// Adds `--exposure`, `--gain`, `--roi`, `--bin`, `--count`, `--duration` and the common options;
/// `options` must live as long as `app`.
void addLiveOptions(CLI::App& app, LiveOptions& options);

/// How long the command runs; nothing for no limit.
///
/// @throws Failure (kUsage) if the option is no length of time
std::optional<std::chrono::microseconds> durationOf(const LiveOptions& options);

/// Long exposures are taken as single images, which have more depth; short ones as a video.
CaptureKind kindOf(const LiveOptions& options);

}  // namespace orvik::ctl
