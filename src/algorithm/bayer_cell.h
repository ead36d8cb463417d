// SPDX-License-Identifier: MIT
/// The demosaic arithmetic of one 2 x 2 cell of the colour mosaic.
///
/// A worker's name reads its cell from the bottom right corner: `BayerBilinear_BG` and
/// `BayerCopy_BG` do the cell R G / G B. All take the raw frame, the colour frame (blue, green, red
/// per pixel), the cell's top left pixel (even coordinates), the frame's width in pixels and the
/// gains of the frame. Green passes through no gain.
#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithm/white_balance.h"

namespace orvik {
namespace bayer_cell {

struct Bgr {
  uint8_t blue;
  uint8_t green;
  uint8_t red;
};

inline void put(uint8_t* bgr, ptrdiff_t pixel, Bgr colour) {
  bgr[3 * pixel] = colour.blue;
  bgr[3 * pixel + 1] = colour.green;
  bgr[3 * pixel + 2] = colour.red;
}

// Averages of the neighbours of `site` in a frame with rows of `width` pixels; all truncate.

inline uint8_t besideMean(const uint8_t* site) {
  return static_cast<uint8_t>((site[-1] + site[1]) >> 1);
}

inline uint8_t aboveBelowMean(const uint8_t* site, ptrdiff_t width) {
  return static_cast<uint8_t>((site[-width] + site[width]) >> 1);
}

inline uint8_t crossMean(const uint8_t* site, ptrdiff_t width) {
  return static_cast<uint8_t>((site[-1] + site[1] + site[-width] + site[width]) >> 2);
}

inline uint8_t diagonalMean(const uint8_t* site, ptrdiff_t width) {
  return static_cast<uint8_t>(
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

  static ptrdiff_t pixel(int x, int y, int width) { return ptrdiff_t{y} * width + x; }

  ptrdiff_t red;
  ptrdiff_t greenInRedRow;
  ptrdiff_t greenInBlueRow;
  ptrdiff_t blue;
};

/// Interpolates the missing colours of a cell from its neighbours on all sides.
template <int kRedX, int kRedY>
inline void bilinear(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                     const GainTables& gains) {
  const Sites<kRedX, kRedY> at(x, y, width);
  const uint8_t* const red = raw + at.red;
  const uint8_t* const greenInRedRow = raw + at.greenInRedRow;
  const uint8_t* const greenInBlueRow = raw + at.greenInBlueRow;
  const uint8_t* const blue = raw + at.blue;

  // All four before the first is stored: a store to bytes would make the compiler load again.
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
inline void copy(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                 const GainTables& gains) {
  const Sites<kRedX, kRedY> at(x, y, width);
  const uint8_t blue = gains.blue[raw[at.blue]];
  const uint8_t red = gains.red[raw[at.red]];
  const uint8_t greenInRedRow = raw[at.greenInRedRow];
  const uint8_t greenInBlueRow = raw[at.greenInBlueRow];
  const auto greenMean = static_cast<uint8_t>((greenInRedRow + greenInBlueRow) >> 1);

  put(bgr, at.red, {blue, greenMean, red});
  put(bgr, at.greenInRedRow, {blue, greenInRedRow, red});
  put(bgr, at.greenInBlueRow, {blue, greenInBlueRow, red});
  put(bgr, at.blue, {blue, greenMean, red});
}

}  // namespace bayer_cell

/// The type of all workers below.
using CellWorker = void (*)(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                            const GainTables& gains);

// Interior cells. They read one pixel beyond the cell on every side.

inline void BayerBilinear_BG(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<0, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerBilinear_RG(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<1, 1>(raw, bgr, x, y, width, gains);
}
inline void BayerBilinear_GB(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<1, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerBilinear_GR(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                             const GainTables& gains) {
  bayer_cell::bilinear<0, 1>(raw, bgr, x, y, width, gains);
}

// Border cells. They read nothing beyond the cell.

inline void BayerCopy_BG(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<0, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerCopy_RG(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<1, 1>(raw, bgr, x, y, width, gains);
}
inline void BayerCopy_GB(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<1, 0>(raw, bgr, x, y, width, gains);
}
inline void BayerCopy_GR(const uint8_t* raw, uint8_t* bgr, int x, int y, int width,
                         const GainTables& gains) {
  bayer_cell::copy<0, 1>(raw, bgr, x, y, width, gains);
}

}  // namespace orvik
