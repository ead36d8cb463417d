// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "imaging/image.h"

namespace orvik::imaging {

inline constexpr std::size_t kSerHeaderBytes = 178;
inline constexpr std::size_t kSerFrameCountOffset = 38;

/// The header of a SER video, version 3.
///
/// @param info of the first frame
/// @param frames number of frames
std::array<std::uint8_t, kSerHeaderBytes> serHeader(const ImageInfo& info, std::int32_t frames);

/// Throws std::invalid_argument unless two frames can be in the same video.
void requireSameFormat(const ImageInfo& first, const ImageInfo& other);

}  // namespace orvik::imaging
