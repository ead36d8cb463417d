// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "orvik/orvik.h"
#include "tools/orvikctl/capture/cooling_options.h"
#include "tools/orvikctl/common_options.h"

namespace orvik::ctl {

/// Options of `snap` and `video` as typed; an empty text leaves the camera as it is.
struct CaptureOptions : CommonOptions {
  std::map<Orvik_CONTROL_TYPE, std::string> controls;  ///< of the controls with an option
  std::string whiteBalance;                            ///< "RED,BLUE[:auto]"
  std::string hotPixels;                               ///< "on" or "off"

  std::string region;
  int bin = 1;
  std::string type;

  std::optional<std::int64_t> count;
  std::string output;
  std::string format;  ///< "" where the extension of the output says it
  bool overwrite = false;
  bool startFromDefaults = false;
  bool quiet = false;

  CoolingOptions cooling;

  std::string frameKind = "light";
  std::string filter;
  std::string object;
  std::string observer;
  std::string telescope;
};

/// Adds `--roi` and `--bin`; `options` must live as long as `app`.
void addRegionOptions(CLI::App& app, CaptureOptions& options, const char* group);

/// Adds all options; `options` must live as long as `app`.
void addCaptureOptions(CLI::App& app, CaptureOptions& options);

/// Adds those of a command whose steps say themselves how many images of which kind and exposure
/// they take, and into which files.
void addStepOptions(CLI::App& app, CaptureOptions& options);

}  // namespace orvik::ctl
