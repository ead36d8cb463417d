// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <ctime>

namespace orvik {

/// Local time to the millisecond.
struct TimeOfDay {
  std::tm local;     ///< as from localtime_r()
  int milliseconds;  ///< 0 to 999
};

/// Writes date and time ("20261121" and "18:05:09:042") into the top left corner of an image, white
/// on black, 8 pixels from its edges: on one line, or on two if the image is too narrow. The part
/// that does not fit into the image is left out.
/// @param image rows without padding, the top row first
/// @param width, height pixels
/// @param bytesPerPixel 1 or 3
/// @par Thread: any.
void drawTimeMark(std::uint8_t* image, int width, int height, int bytesPerPixel,
                  const TimeOfDay& time) noexcept;

}  // namespace orvik
