// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "imaging/byte_sink.h"
#include "imaging/image.h"

namespace orvik::imaging {

/// Makes the contents of a file that holds one image. Throws std::invalid_argument unless the
/// image's pixels are as many as its size says, and what the sink throws.
using ImageEncoder = void (*)(const Image&, ByteSink&);

/// The encoder that a file's extension asks for, in capitals or not; null if it names no format of
/// single images.
ImageEncoder encoderFor(const std::filesystem::path& file);

}  // namespace orvik::imaging
