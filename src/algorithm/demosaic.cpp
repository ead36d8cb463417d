// SPDX-License-Identifier: MIT
#include "algorithm/demosaic.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "algorithm/bayer_cell.h"
#include "algorithm/rgb_convert.h"
#include "algorithm/vectors/demosaic_run.h"

namespace orvik {
namespace {

/// Whether the vector routine can apply these gains. Others are applied with their tables.
bool isArithmetic(WhiteBalance balance) {
  const auto fits = [](int gain) { return gain >= 1 && gain <= 99; };
  return fits(balance.red) && fits(balance.blue);
}

/// The distance of the second column or row of a cell from the first: 1; where the frame ends, the
/// one before the first (-1); in a frame of one, the first itself (0).
int secondFrom(int first, int size) { return first + 1 < size ? 1 : (first > 0 ? -1 : 0); }

/// Fills the pixels of a cell that the edge of the frame cuts off: the copy worker fills a
/// temporary whole cell, of which the pixels inside the frame are copied.
template <CellWorker kCopy>
void copyCutCell(const std::uint8_t* row, std::uint8_t* bgr, int x, int y, int width, int height,
                 const GainTables& gains) {
  const std::ptrdiff_t right = secondFrom(x, width);
  const std::ptrdiff_t below = secondFrom(y, height) * std::ptrdiff_t{width};
  const std::uint8_t* const first = row + x;
  const std::array<std::uint8_t, 4> cellRaw{first[0], first[right], first[below],
                                            first[below + right]};
  std::array<std::uint8_t, 12> cellBgr;
  kCopy(cellRaw.data(), cellBgr.data(), 0, 0, 2, gains);

  const int columnsLeft = std::min(2, width - x);
  const int rowsLeft = std::min(2, height - y);
  for (int n = 0; n < rowsLeft; ++n) {
    std::copy_n(cellBgr.data() + std::ptrdiff_t{6} * n, 3 * columnsLeft,
                bgr + 3 * (std::ptrdiff_t{n} * width + x));
  }
}

template <CellWorker kCopy>
void copyBorderCell(const std::uint8_t* row, std::uint8_t* bgr, int x, int y, int width, int height,
                    const GainTables& gains) {
  if (x + 1 < width && y + 1 < height) {
    kCopy(row, bgr, x, 0, width, gains);
  } else {
    copyCutCell<kCopy>(row, bgr, x, y, width, height, gains);
  }
}

}  // namespace

struct CellRowDemosaic::Making {
  /// @tparam kRedX, kRedY column and row, 0 or 1, of a cell's red site
  template <CellWorker kBilinear, CellWorker kCopy, int kRedX, int kRedY>
  static void cells(const CellRowDemosaic& self, const std::uint8_t* row, int y,
                    std::uint8_t* bgr) {
    const int width = self.width_;
    const int lastX = (width - 1) / 2 * 2;
    const auto copy = [&](int x) {
      copyBorderCell<kCopy>(row, bgr, x, y, width, self.height_, self.gains_);
    };
    if (self.isBorder(y)) {
      for (int x = 0; x <= lastX; x += 2) copy(x);
      return;
    }
    copy(0);
    const CellRun run = {row + 2, bgr + 6, width, lastX - 2, kRedX, kRedY};
    if (!self.inVectors_ || !demosaicRun(run, self.balance_)) {
      for (int x = 2; x < lastX; x += 2) kBilinear(row, bgr, x, 0, width, self.gains_);
    }
    if (lastX > 0) copy(lastX);
  }

  template <CellWorker kCopy, int kRedX, int kRedY>
  static bool innerLuminance(const CellRowDemosaic& self, const std::uint8_t* row, int y,
                             std::uint8_t* bgr, std::uint8_t* out) {
    const int width = self.width_;
    const int lastX = (width - 1) / 2 * 2;
    const CellRun run = {row + 2, out + 2, width, lastX - 2, kRedX, kRedY};
    if (self.isBorder(y) || !self.inVectors_ || !mosaicLuminanceRun(run, self.balance_)) {
      return false;
    }
    for (const int x : {0, lastX}) {
      copyBorderCell<kCopy>(row, bgr, x, y, width, self.height_, self.gains_);
      for (const std::ptrdiff_t at : {std::ptrdiff_t{x}, std::ptrdiff_t{x} + width}) {
        luminance(bgr + 3 * at, out + at, std::min(2, width - x), 1);
      }
    }
    return true;
  }

  static void nothing(const CellRowDemosaic&, const std::uint8_t*, int, std::uint8_t*) {}
  static bool noLuminance(const CellRowDemosaic&, const std::uint8_t*, int, std::uint8_t*,
                          std::uint8_t*) {
    return false;
  }

  struct Routines {
    Make make;
    MakeLuminance innerLuminance;
  };

  static Routines of(BayerPattern pattern) {
    // The names of the workers spell the cell from the opposite corner.
    switch (pattern) {
      case BAYER_RG:
        return {cells<BayerBilinear_BG, BayerCopy_BG, 0, 0>, innerLuminance<BayerCopy_BG, 0, 0>};
      case BAYER_BG:
        return {cells<BayerBilinear_RG, BayerCopy_RG, 1, 1>, innerLuminance<BayerCopy_RG, 1, 1>};
      case BAYER_GR:
        return {cells<BayerBilinear_GB, BayerCopy_GB, 1, 0>, innerLuminance<BayerCopy_GB, 1, 0>};
      case BAYER_GB:
        return {cells<BayerBilinear_GR, BayerCopy_GR, 0, 1>, innerLuminance<BayerCopy_GR, 0, 1>};
    }
    return {nothing, noLuminance};
  }
};

CellRowDemosaic::CellRowDemosaic(BayerPattern pattern, int width, int height,
                                 WhiteBalance balance) noexcept
    : make_(Making::of(pattern).make),
      makeInnerLuminance_(Making::of(pattern).innerLuminance),
      width_(width),
      height_(height),
      balance_(balance),
      inVectors_(isArithmetic(balance)),
      gains_(balance) {}

void CellRowDemosaic::makeLuminance(const std::uint8_t* raw, int y, std::uint8_t* bgr,
                                    std::uint8_t* out) const noexcept {
  if (makeInnerLuminance_(*this, raw + std::ptrdiff_t{y} * width_, y, bgr, out)) return;
  make(raw, y, bgr);
  luminance(bgr, out, width_, rowsAt(y));
}

void demosaic(const std::uint8_t* raw, std::uint8_t* bgr, BayerPattern pattern, int width,
              int height, WhiteBalance balance) noexcept {
  if (width < 1 || height < 1) return;
  const CellRowDemosaic rows(pattern, width, height, balance);
  for (int y = 0; y < height; y += 2) rows.make(raw, y, bgr + std::ptrdiff_t{3} * width * y);
}

}  // namespace orvik
