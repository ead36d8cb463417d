// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "tools/orvikctl/capture/capture_options.h"

namespace orvik::ctl {

/// Options of `video` as typed.
struct VideoOptions : CaptureOptions {
  std::string duration;
  std::size_t bufferMb = 256;  ///< memory for frames that wait to be written
  bool track = false;          ///< whether the region follows the brightest object
  bool noSidecar = false;
  bool resume = false;  ///< whether an unplugged camera is waited for
};

}  // namespace orvik::ctl
