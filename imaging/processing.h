// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// What changes the samples of an image between the sensor's converter and the file, as headers
/// tell it. Empty where the camera has no such control.
struct Processing {
  std::optional<int> gamma;              ///< 1 to 100; 50 is linear
  std::optional<int> whiteBalanceRed;    ///< 1 to 99; 50 is neutral
  std::optional<int> whiteBalanceBlue;   ///< 1 to 99; 50 is neutral
  std::optional<int> hotPixelsMended;    ///< in the image
  std::optional<bool> isDarkSubtracted;  ///< whether the camera's dark frame was subtracted
};

/// The processing of the images that a camera delivers at present. What cannot be read is left
/// empty. Any thread.
Processing processingOf(const Camera& camera, IMG_TYPE type);

/// The names of the values of #Orvik_CTL_FLIP.
inline constexpr std::array<std::string_view, 4> kFlipNames = {"none", "h", "v", "both"};

/// The values of the controls that leave the samples as the sensor delivers them.
inline constexpr int kNeutralGamma = 50;
inline constexpr int kNeutralWhiteBalance = 50;

}  // namespace orvik::imaging
