// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "imaging/image.h"

namespace orvik::imaging {

/// Portable Network Graphics: grey of 8 or 16 bits a sample, or colour of 8.
///
/// The file also names the program, the camera, the exposure and, for a raw colour image, the order
/// of the mosaic.
std::vector<std::uint8_t> encodePng(const Image& image);

}  // namespace orvik::imaging
