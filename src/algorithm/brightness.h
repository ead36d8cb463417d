// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "algorithm/raw_frame.h"

namespace orvik {

/// How bright the middle of a frame is, 1 to 255: one more than the truncated mean of the upper
/// 8 bits of its samples.
///
/// The samples lie on a grid of 64 x 48 points over the frame; those in the middle 60 percent of
/// either axis count, about a thousand whatever the frame's size.
///
/// @param hostBin bin factor that is left to the host. Binning on the host adds the samples of an
///   8-bit frame up, so the image will be as much brighter; a 16-bit image keeps its brightness.
/// @return none when the frame is so small that no point counts.
/// @par Thread: any.
[[nodiscard]] std::optional<int> measureBrightness(const RawFrame& frame, int hostBin);

}  // namespace orvik
