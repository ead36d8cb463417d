// SPDX-License-Identifier: MIT
#pragma once

#include "imaging/read/read_image.h"

namespace orvik::imaging {

/// Reads a PNG image: grey, colour or a palette, of 1 to 16 bits, with or without interlacing. What
/// is transparent lies over black. The texts that this project writes become facts, and the name of
/// a mosaic the mosaic.
///
/// @throws FileError as readImage()
ReadImage readPng(ByteSource& source);

}  // namespace orvik::imaging
