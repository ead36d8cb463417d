// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <span>

#include "camera/camera.h"

namespace orvik::test {

/// Takes one image, which has to arrive before the timeout.
inline bool takeImage(Camera& camera, std::span<std::uint8_t> image,
                      FrameQueue::Timeout timeout = std::chrono::seconds(20)) {
  return !camera.takeImage(image, timeout);
}

}  // namespace orvik::test
