// SPDX-License-Identifier: MIT
/// The demosaic arithmetic of one 2 x 2 cell of the colour mosaic.
///
/// The name of a worker spells its cell from the bottom right corner: `BayerBilinear_BG` and
/// `BayerCopy_BG` do the cell R G / G B. All take the raw frame, the colour frame (blue, green, red
/// per pixel), the cell's top left pixel (even coordinates), the frame's width in pixels and the
/// gains of the frame. No gain is applied to green.
#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithm/white_balance.h"

namespace orvik {
namespace bayer_cell {

struct Bgr {
  std::uint8_t blue;
  std::uint8_t green;
  std::uint8_t red;
};

inline void put(std::uint8_t* bgr, std::ptrdiff_t pixel, Bgr colour) {
  bgr[3 * pixel] = colour.blue;
  bgr[3 * pixel + 1] = colour.green;
  bgr[3 * pixel + 2] = colour.red;
}

// Means of the neighbours of `site` in a frame with rows of `width` pixels, truncated.

inline std::uint8_t besideMean(const std::uint8_t* site) {
  return static_cast<std::uint8_t>((site[-1] + site[1]) >> 1);
}

inline std::uint8_t aboveBelowMean(const std::uint8_t* site, std::ptrdiff_t width) {
  return static_cast<std::uint8_t>((site[-width] + site[width]) >> 1);
}

inline std::uint8_t crossMean(const std::uint8_t* site, std::ptrdiff_t width) {
  return static_cast<std::uint8_t>((site[-1] + site[1] + site[-width] + site[width]) >> 2);
}

inline std::uint8_t diagonalMean(const std::uint8_t* site, std::ptrdiff_t width) {
  return static_cast<std::uint8_t>(
      (site[-width - 1] + site[-width + 1] + site[width - 1] + site[width + 1]) >> 2);
}

/// The four sites of a cell as pixel numbers in the frame. `kRedX`, `kRedY` (0 or 1) say where in
/// the cell the red site is; the blue one is opposite.
template <int kRedX, int kRedY>
struct Sites {
  Sites(int x, int y, int width)
      : red(pixel(x + kRedX, y + kRedY, width)),
        greenInRedRow(pixel(x + 1 - kRedX, y + kRedY, width)),
        greenInBlueRow(pixel(x + kRedX, y + 1 - kRedY, width)),
        blue(pixel(x + 1 - kRedX, y + 1 - kRedY, width)) {}

  static std::ptrdiff_t pixel(int x, int y, int width) { return std::ptrdiff_t{y} * width + x; }

  std::ptrdiff_t red;
  std::ptrdiff_t greenInRedRow;
  std::ptrdiff_t greenInBlueRow;
  std::ptrdiff_t blue;
};

/// Interpolates the missing colours of a cell from its neighbours on all sides.
template <int kRedX, int kRedY>
inline void bilinear(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                     const GainTables& gains) {
  const Sites<kRedX, kRedY> at(x, y, width);
  const std::uint8_t* const red = raw + at.red;
  const std::uint8_t* const greenInRedRow = raw + at.greenInRedRow;
  const std::uint8_t* const greenInBlueRow = raw + at.greenInBlueRow;
  const std::uint8_t* const blue = raw + at.blue;

  // All four are computed before the first store: after a store to bytes, which may alias anything,
  // the compiler would have to load the samples again.
  const Bgr atRed{gains.blue[diagonalMean(red, width)], crossMean(red, width), gains.red[*red]};
  const Bgr atGreenInRedRow{gains.blue[aboveBelowMean(greenInRedRow, width)], *greenInRedRow,
                            gains.red[besideMean(greenInRedRow)]};
  const Bgr atGreenInBlueRow{gains.blue[besideMean(greenInBlueRow)], *greenInBlueRow,
                             gains.red[aboveBelowMean(greenInBlueRow, width)]};
  const Bgr atBlue{gains.blue[*blue], crossMean(blue, width), gains.red[diagonalMean(blue, width)]};

  put(bgr, at.red, atRed);
  put(bgr, at.greenInRedRow, atGreenInRedRow);
  put(bgr, at.greenInBlueRow, atGreenInBlueRow);
  put(bgr, at.blue, atBlue);
}

/// Fills a cell from its own four samples.
template <int kRedX, int kRedY>
inline void copy(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                 const GainTables& gains) {
  const Sites<kRedX, kRedY> at(x, y, width);
  const std::uint8_t blue = gains.blue[raw[at.blue]];
  const std::uint8_t red = gains.red[raw[at.red]];
  const std::uint8_t greenInRedRow = raw[at.greenInRedRow];
  const std::uint8_t greenInBlueRow = raw[at.greenInBlueRow];
  const auto greenMean = static_cast<std::uint8_t>((greenInRedRow + greenInBlueRow) >> 1);

  put(bgr, at.red, {blue, greenMean, red});
  put(bgr, at.greenInRedRow, {blue, greenInRedRow, red});
  put(bgr, at.greenInBlueRow, {blue, greenInBlueRow, red});
  put(bgr, at.blue, {blue, greenMean, red});
}

}  // namespace bayer_cell

/// The type of all workers below.
using CellWorker = void (*)(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                            const GainTables& gains);

// Interior cells. They read one pixel beyond the cell on every side.

inline void BayerBilinear_BG(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<0, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerBilinear_RG(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<1, 1>(raw, bgr, x, y, width, gains);
}
inline void BayerBilinear_GB(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<1, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerBilinear_GR(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<0, 1>(raw, bgr, x, y, width, gains);
}

// Border cells. They read nothing beyond the cell.

inline void BayerCopy_BG(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<0, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerCopy_RG(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<1, 1>(raw, bgr, x, y, width, gains);
}
inline void BayerCopy_GB(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<1, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerCopy_GR(const std::uint8_t* raw, std::uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<0, 1>(raw, bgr, x, y, width, gains);
}

}  // namespace orvik
