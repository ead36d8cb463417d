// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "imaging/image.h"

namespace orvik::imaging {

/// Flexible Image Transport System: 8 bits, unsigned 16 bits (BITPIX 16 with BZERO 32768), or
/// colour as three planes red, green, blue. Rows are written as delivered, top row first.
std::vector<std::uint8_t> encodeFits(const Image& image);

/// The same image as a further one of a FITS file: what follows the images before it.
std::vector<std::uint8_t> encodeFitsExtension(const Image& image);

}  // namespace orvik::imaging
