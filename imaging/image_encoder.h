// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "imaging/image.h"

namespace orvik::imaging {

/// Makes the contents of a file that holds one image. Throws std::invalid_argument unless the
/// image's pixels are as many as its size says.
using ImageEncoder = std::vector<std::uint8_t> (*)(const Image&);

}  // namespace orvik::imaging
