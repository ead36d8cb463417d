// SPDX-License-Identifier: MIT
#include "imaging/processing.h"

#include <system_error>

namespace orvik::imaging {
namespace {

std::optional<int> valueOf(const Camera& camera, Orvik_CONTROL_TYPE type) {
  if (camera.control(type) == nullptr) return std::nullopt;
  std::error_code error;
  const ControlValue value = camera.read(type, error);
  return error ? std::nullopt : std::optional<int>(value.value);
}

}  // namespace

Processing processingOf(const Camera& camera, IMG_TYPE type) {
  Processing processing;
  processing.gamma = valueOf(camera, Orvik_CTL_GAMMA);
  if (camera.info().colour == Orvik_TRUE) {
    processing.whiteBalanceRed = valueOf(camera, Orvik_CTL_WB_R);
    processing.whiteBalanceBlue = valueOf(camera, Orvik_CTL_WB_B);
  }
  std::error_code error;
  const Orvik_HOT_PIXEL_INFO hotPixels = camera.hotPixels().info(error);
  if (!error) {
    processing.hotPixelsMended = hotPixels.isOn == Orvik_TRUE ? hotPixels.inRegion : 0;
  }
  const Orvik_DARK_INFO dark = camera.dark().info(error);
  // Images of 16 bits stay as they are.
  if (!error) processing.isDarkSubtracted = dark.inUse == Orvik_TRUE && type != Orvik_IMG_RAW16;
  return processing;
}

}  // namespace orvik::imaging
