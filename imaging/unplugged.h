// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <system_error>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// Whether a camera that was opened has been unplugged since, also if it has come back.
inline bool wasUnplugged(const Camera& camera) {
  if (camera.noFrameReason() == Orvik_NO_FRAME_UNPLUGGED) return true;
  std::error_code error;
  const std::vector<Device> present = devices(error);
  return !error && std::none_of(present.begin(), present.end(), [&](const Device& device) {
    return device.isOpen && device.handle == camera.handle();
  });
}

}  // namespace orvik::imaging
