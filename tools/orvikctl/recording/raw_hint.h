// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "imaging/image.h"

namespace orvik::ctl {

/// The layout of raw frames in the words of ffmpeg: "bayer_rggb8", "gray16le", "bgr24".
std::string ffmpegPixelFormat(const imaging::ImageInfo& info);

/// A command line that shows raw frames; their stream itself says nothing of them.
///
/// @param rate frames per second, if known
/// @param input "-" for standard input, or a name
std::string rawHint(const imaging::ImageInfo& info, std::optional<double> rate,
                    const std::string& input);

}  // namespace orvik::ctl
