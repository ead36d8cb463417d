// SPDX-License-Identifier: MIT
#pragma once

#include "imaging/byte_sink.h"
#include "imaging/image.h"

namespace orvik::imaging {

/// Portable Network Graphics: grey of 8 or 16 bits a sample, or colour of 8.
///
/// The file also names the program, the camera, the exposure and, for a raw colour image, the order
/// of the mosaic.
///
/// @throws std::invalid_argument unless the pixels are as many as the size says; what the sink
/// throws
void encodePng(const Image& image, ByteSink& sink);

}  // namespace orvik::imaging
