// SPDX-License-Identifier: MIT
#pragma once

#include "imaging/byte_sink.h"
#include "imaging/image.h"

namespace orvik::imaging {

/// Flexible Image Transport System: 8 bits, unsigned 16 bits (BITPIX 16 with BZERO 32768), or
/// colour as three planes red, green, blue. Rows are written as delivered, top row first.
///
/// @throws std::invalid_argument unless the pixels are as many as the size says; what the sink
/// throws
void encodeFits(const Image& image, ByteSink& sink);

/// The same image as a further one of a FITS file: what follows the images before it.
void encodeFitsExtension(const Image& image, ByteSink& sink);

}  // namespace orvik::imaging
