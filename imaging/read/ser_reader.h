// SPDX-License-Identifier: MIT
#pragma once

#include "imaging/read/read_image.h"

namespace orvik::imaging {

/// Reads a frame of a SER video: grey, a mosaic of red, green and blue, or colour, of 1 to 16 bits.
/// Samples of less than 16 bits in two bytes are brought to the upper bits.
///
/// How many frames there are follows from the length of the file: a recording that was cut short
/// has a smaller length than its header says, or a header that says 0.
///
/// @param frame counted from 1
/// @throws FileError as readImage()
ReadImage readSer(ByteSource& source, int frame);

}  // namespace orvik::imaging
