// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

#include "integrations/server/alpaca/exposure_state.h"
#include "integrations/server/alpaca/subframe.h"
#include "integrations/server/camera/frame_store.h"

namespace orvik::server {

/// What a client has asked for.
struct ExposureRequest {
  Subframe subframe;
  IMG_TYPE type = Orvik_IMG_RAW16;  ///< RAW16 or RAW8
  bool isFast = false;              ///< high-speed read-out
  int gain = 0;
  std::optional<int> offset;  ///< empty for a camera without a black level
  std::chrono::microseconds length{0};
};

/// What is told while the exposure goes on.
struct ExposureProgress {
  std::function<void(std::chrono::microseconds length)> begun;
  std::function<void()> storing;
  /// The frame as the camera has delivered it, unless the server has binned it.
  std::function<void(const SharedFrame&)> stored;
};

/// Takes an image with settings of its own, while nothing else captures. The page's dark
/// subtraction is on again when it returns; other settings of the page are not restored.
///
/// @return no image when a stop was requested
/// @throws orvik::Error, AlpacaError
TakenImage takeImage(Camera& camera, const ExposureRequest& request, ImageRoom& room,
                     const std::stop_token& stop, const ExposureProgress& progress);

}  // namespace orvik::server
