// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/orvikctl/common_options.h"

namespace orvik::ctl {

/// Options of `snap` and `video` as typed; an empty text leaves the camera as it is.
struct CaptureOptions : CommonOptions {
  std::string exposure;
  std::string gain;
  std::string brightness;
  std::string gamma;
  std::string whiteBalance;  ///< "RED,BLUE[:auto]"
  std::string flip;          ///< "none", "h", "v" or "both"
  std::string bandwidth;
  std::string hardwareBin;  ///< "on" or "off"
  std::string highSpeed;    ///< "on" or "off"

  std::string region;
  int bin = 1;
  std::string type;

  std::optional<std::int64_t> count;
  std::string output;
  bool overwrite = false;
  bool quiet = false;

  std::string frameKind = "light";
  std::string object;
  std::string observer;
  std::string telescope;
};

/// Adds the options; `options` must live as long as `app`.
void addCaptureOptions(CLI::App& app, CaptureOptions& options);

}  // namespace orvik::ctl
