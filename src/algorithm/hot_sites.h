// SPDX-License-Identifier: MIT
/// The correction of hot pixels in a frame.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "algorithm/frame_region.h"

namespace orvik {

/// The hot samples of the frames of one region: where each lies, and which neighbours replace it.
struct HotSites {
  struct Site {
    std::uint32_t index;          ///< in the frame
    std::uint8_t goodNeighbours;  ///< bit n: neighbour n lies in the frame and is not hot itself
  };

  FrameRegion region;
  std::vector<Site> sites;  ///< in the order of the frame
};

/// Finds the hot samples of a region: those that contain a hot sensor pixel.
/// @param table see HotPixelTable
/// @param sensorWidth pixels in a row of the sensor
/// @par Thread: any.
[[nodiscard]] HotSites cutHotPixels(std::span<const std::uint8_t> table, int sensorWidth,
                                    const FrameRegion& region);

/// Replaces each hot sample by the median of the up to eight samples of its colour around it that
/// are not hot themselves; with an even number, the truncated mean of the middle two. A sample
/// without such a neighbour stays as it is. The cost depends on the number of sites, not on the
/// size of the frame.
/// @param image a frame of sites.region
/// @par Thread: any.
void correctHotPixels(std::uint8_t* image, const HotSites& sites) noexcept;
void correctHotPixels(std::uint16_t* image, const HotSites& sites) noexcept;

}  // namespace orvik
