// SPDX-License-Identifier: MIT
#pragma once

#include "algorithm/white_balance.h"
#include "state/camera_state.h"
#include "state/model_row.h"

namespace orvik {

/// The white balance that is left to the host: the camera's own, where its sensor has no gains for
/// colours; else neutral. Every camera has its own, whatever others are set to.
[[nodiscard]] inline WhiteBalance hostBalance(const ModelRow& model, const CameraState& state) {
  if (!model.whiteBalanceOnHost) return {};
  return {.red = state.whiteBalanceRed, .blue = state.whiteBalanceBlue};
}

}  // namespace orvik
