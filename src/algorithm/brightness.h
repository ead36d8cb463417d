// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "algorithm/raw_frame.h"

namespace orvik {

/// The brightness of the middle of a frame, 1 to 255: the truncated mean of the upper 8 bits of its
/// samples, plus one.
///
/// The samples are taken on a grid of 64 x 48 points over the frame. Those in the middle 60 percent
/// of both axes count: about a thousand, whatever the size of the frame.
///
/// @param hostBin bin factor that the host applies later. It adds up the samples of an 8-bit frame,
///   which makes the image brighter by hostBin squared; a 16-bit image keeps its brightness.
/// @return nothing when the frame is so small that no point counts.
/// @par Thread: any.
[[nodiscard]] std::optional<int> measureBrightness(const RawFrame& frame, int hostBin);

}  // namespace orvik
