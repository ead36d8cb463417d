// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

#include "orvik/orvik.h"

namespace orvik::imaging {

/// The names of a mosaic in file headers.
struct Mosaic {
  std::string_view name = "RGGB";  ///< the 2 x 2 cell row by row
  std::int32_t serColourId = 8;
};

/// The table of mosaics. A switch, so that the compiler names a pattern that has no row.
constexpr Mosaic mosaic(BayerPattern pattern) {
  switch (pattern) {
    case BAYER_BG:
      return {.name = "BGGR", .serColourId = 11};
    case BAYER_GR:
      return {.name = "GRBG", .serColourId = 9};
    case BAYER_GB:
      return {.name = "GBRG", .serColourId = 10};
    case BAYER_RG:
      break;
  }
  return {};
}

}  // namespace orvik::imaging
