// SPDX-License-Identifier: MIT
#include "algorithm/demosaic.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "algorithm/bayer_cell.h"
#include "algorithm/vectors/demosaic_run.h"

namespace orvik {
namespace {

/// The two coordinates of a cell along one axis; the second is replaced by one of the same colour
/// where it would lie beyond the frame.
std::array<int, 2> coordinatesInside(int first, int size) {
  const int second = first + 1 < size ? first + 1 : first - 1;
  return {first, std::max(second, 0)};
}

struct RedSite {
  int x;
  int y;
};

/// Whether the vectors can do these gains; other ones go through their tables.
bool isArithmetic(WhiteBalance balance) {
  const auto fits = [](int gain) { return gain >= 1 && gain <= 99; };
  return fits(balance.red) && fits(balance.blue);
}

/// Fills what there is of a cell that the frame's edge cuts off: the copy worker fills a whole cell
/// aside, of which the pixels inside the frame are kept.
template <CellWorker kCopy>
void copyCutCell(const uint8_t* raw, uint8_t* bgr, int x, int y, int width, int height,
                 const GainTables& gains) {
  const std::array<int, 2> columns = coordinatesInside(x, width);
  const std::array<int, 2> rows = coordinatesInside(y, height);
  std::array<uint8_t, 4> cellRaw;
  for (size_t i = 0; i < 4; ++i) {
    cellRaw[i] = raw[ptrdiff_t{rows[i / 2]} * width + columns[i % 2]];
  }
  std::array<uint8_t, 12> cellBgr;
  kCopy(cellRaw.data(), cellBgr.data(), 0, 0, 2, gains);

  const int columnsLeft = std::min(2, width - x);
  const int rowsLeft = std::min(2, height - y);
  for (int row = 0; row < rowsLeft; ++row) {
    std::copy_n(cellBgr.data() + ptrdiff_t{6} * row, 3 * columnsLeft,
                bgr + 3 * (ptrdiff_t{y + row} * width + x));
  }
}

template <CellWorker kCopy>
void copyBorderCell(const uint8_t* raw, uint8_t* bgr, int x, int y, int width, int height,
                    const GainTables& gains) {
  if (x + 1 < width && y + 1 < height) {
    kCopy(raw, bgr, x, y, width, gains);
  } else {
    copyCutCell<kCopy>(raw, bgr, x, y, width, height, gains);
  }
}

/// @param red column and row, 0 or 1, of a cell's red site
template <CellWorker kBilinear, CellWorker kCopy>
void demosaicFrame(const uint8_t* raw, uint8_t* bgr, int width, int height, RedSite red,
                   WhiteBalance balance) {
  const GainTables gains(balance);
  const bool inVectors = isArithmetic(balance);
  const int lastX = (width - 1) / 2 * 2;
  const int lastY = (height - 1) / 2 * 2;
  for (int y = 0; y <= lastY; y += 2) {
    if (y == 0 || y == lastY) {
      for (int x = 0; x <= lastX; x += 2) {
        copyBorderCell<kCopy>(raw, bgr, x, y, width, height, gains);
      }
    } else {
      copyBorderCell<kCopy>(raw, bgr, 0, y, width, height, gains);
      const ptrdiff_t first = ptrdiff_t{y} * width + 2;
      const CellRun run = {raw + first, bgr + 3 * first, width, lastX - 2, red.x, red.y};
      if (!inVectors || !demosaicRun(run, balance)) {
        for (int x = 2; x < lastX; x += 2) kBilinear(raw, bgr, x, y, width, gains);
      }
      if (lastX > 0) copyBorderCell<kCopy>(raw, bgr, lastX, y, width, height, gains);
    }
  }
}

}  // namespace

void demosaic(const uint8_t* raw, uint8_t* bgr, BayerPattern pattern, int width, int height,
              WhiteBalance balance) noexcept {
  if (width < 1 || height < 1) return;
  // The workers read their cell from the other corner, hence the crossed names.
  switch (pattern) {
    case BAYER_RG:
      return demosaicFrame<BayerBilinear_BG, BayerCopy_BG>(raw, bgr, width, height, {0, 0},
                                                           balance);
    case BAYER_BG:
      return demosaicFrame<BayerBilinear_RG, BayerCopy_RG>(raw, bgr, width, height, {1, 1},
                                                           balance);
    case BAYER_GR:
      return demosaicFrame<BayerBilinear_GB, BayerCopy_GB>(raw, bgr, width, height, {1, 0},
                                                           balance);
    case BAYER_GB:
      return demosaicFrame<BayerBilinear_GR, BayerCopy_GR>(raw, bgr, width, height, {0, 1},
                                                           balance);
  }
}

}  // namespace orvik
