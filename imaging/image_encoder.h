// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "imaging/image.h"

namespace orvik::imaging {

/// Makes the contents of a file that holds one image. Throws std::invalid_argument unless the
/// image's pixels are as many as its size says.
using ImageEncoder = std::vector<std::uint8_t> (*)(const Image&);

/// The encoder that a file's extension asks for, in capitals or not; null if it names no format of
/// single images.
ImageEncoder encoderFor(const std::filesystem::path& file);

}  // namespace orvik::imaging
