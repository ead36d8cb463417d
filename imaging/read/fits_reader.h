// SPDX-License-Identifier: MIT
#pragma once

#include "imaging/read/read_image.h"

namespace orvik::imaging {

/// Reads the first image of a FITS file, in the primary part or in an extension.
///
/// Values of 8 bits, and of 16 bits without a sign, stay as they are. Other values, with BSCALE and
/// BZERO, become 16 bits: floating point from 0 to 1 is spread over the whole depth, what lies
/// between 0 and 65535 is rounded, anything else is brought into this range, the smallest value as
/// 0. What is no number is 0. Three planes are red, green and blue; of other cubes the first plane
/// is read. The first row is at the bottom unless ROWORDER is TOP-DOWN or, as in the files of most
/// capture programs, a mosaic is named without it.
///
/// cfitsio is not used here: it is made for files that are trusted.
///
/// @throws FileError as readImage()
ReadImage readFits(ByteSource& source);

}  // namespace orvik::imaging
