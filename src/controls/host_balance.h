// SPDX-License-Identifier: MIT
#pragma once

#include "algorithm/white_balance.h"
#include "state/camera_state.h"
#include "state/model_row.h"

namespace orvik {

/// The white balance that the host applies: that of the camera if its sensor has no colour gains,
/// else neutral.
[[nodiscard]] inline WhiteBalance hostBalance(const ModelRow& model, const CameraState& state) {
  if (!model.whiteBalanceOnHost) return {};
  return {.red = state.whiteBalanceRed, .blue = state.whiteBalanceBlue};
}

}  // namespace orvik
