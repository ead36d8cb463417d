// SPDX-License-Identifier: MIT
#include "algorithm/hot_sites.h"

#include <set>

#include "algorithm/frame.h"
#include "algorithm/hot_pixel_table.h"

namespace orvik::test {
namespace {

constexpr int kSensorWidth = 40;
constexpr int kSensorHeight = 32;

struct Pixel {
  int x, y;
};

HotPixelTable tableOf(const std::vector<Pixel>& pixels) {
  HotPixelTable table(hotPixelTableBytes(kSensorWidth, kSensorHeight));
  for (const auto [x, y] : pixels) {
    const int site = y * kSensorWidth + x;
    table[static_cast<size_t>(site / 8)] |= static_cast<std::uint8_t>(1 << site % 8);
  }
  return table;
}

/// Finds the hot samples of a frame by checking for each sample whether one of its pixels is hot.
std::set<int> plainHotSamples(const std::vector<Pixel>& pixels, const FrameRegion& r) {
  std::set<int> hot;
  for (int y = 0; y < r.rows; ++y) {
    for (int x = 0; x < r.columns; ++x) {
      for (int k = 0; k < r.bin * r.bin; ++k) {
        const int i = k % r.bin;
        const int j = k / r.bin;
        const bool mosaic = r.colourStep == 2;
        const int px = r.x + (mosaic ? x / 2 * 2 * r.bin + x % 2 + 2 * i : x * r.bin + i);
        const int py = r.y + (mosaic ? y / 2 * 2 * r.bin + y % 2 + 2 * j : y * r.bin + j);
        for (const auto pixel : pixels) {
          if (pixel.x == px && pixel.y == py) hot.insert(y * r.columns + x);
        }
      }
    }
  }
  return hot;
}

template <typename Sample>
std::vector<Sample> plainCorrection(const std::vector<Sample>& image, const std::set<int>& hot,
                                    const FrameRegion& r) {
  std::vector<Sample> mended = image;
  for (const int index : hot) {
    std::vector<int> good;
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        const int x = index % r.columns + dx * r.colourStep;
        const int y = index / r.columns + dy * r.colourStep;
        if (x < 0 || y < 0 || x >= r.columns || y >= r.rows) continue;
        if (!hot.contains(y * r.columns + x)) {
          good.push_back(image[static_cast<size_t>(y * r.columns + x)]);
        }
      }
    }
    if (good.empty()) continue;
    std::ranges::sort(good);
    const size_t n = good.size();
    const int median = n % 2 == 1 ? good[n / 2] : (good[n / 2 - 1] + good[n / 2]) / 2;
    mended[static_cast<size_t>(index)] = static_cast<Sample>(median);
  }
  return mended;
}

template <typename Sample>
void expectCorrected(const std::vector<Pixel>& pixels, const FrameRegion& region) {
  const HotSites sites = cutHotPixels(tableOf(pixels), kSensorWidth, region);
  const std::set<int> hot = plainHotSamples(pixels, region);
  std::set<int> found;
  for (const auto& site : sites.sites) found.insert(static_cast<int>(site.index));
  ASSERT_EQ(found, hot);
  auto image = Frame<Sample>::random(region.samples(), 17);
  const auto wanted = plainCorrection(image.pixels(), hot, region);
  correctHotPixels(image.data(), sites);
  ASSERT_EQ(image.pixels(), wanted);
  ASSERT_TRUE(image.guardsIntact());
}

TEST(HotSites, EveryRegionBinAndMosaicAgainstAPlainForm) {
  std::mt19937 generator(2);
  const auto below = [&](int end) {
    return static_cast<int>(generator() % static_cast<unsigned>(end));
  };
  // The number ranges from a few hot pixels to so many that most have no good neighbour left.
  for (const int count : {1, 12, 200, 1000}) {
    std::vector<Pixel> pixels;
    for (int i = 0; i < count; ++i) pixels.push_back({below(kSensorWidth), below(kSensorHeight)});
    // Corners and edges are always included.
    pixels.insert(pixels.end(), {{0, 0}, {39, 31}, {39, 0}, {0, 31}, {1, 16}, {38, 15}});
    for (const int step : {1, 2}) {
      for (const int bin : {1, 2, 3, 4}) {
        for (const Pixel start : {Pixel{0, 0}, Pixel{4, 2}, Pixel{8, 6}}) {
          const int columns = (kSensorWidth - start.x) / bin / 4 * 4;
          const int rows = (kSensorHeight - start.y) / bin / 2 * 2;
          SCOPED_TRACE(std::to_string(count) + " pixels, step " + std::to_string(step) + " bin " +
                       std::to_string(bin) + " from " + std::to_string(start.x));
          const FrameRegion region{start.x, start.y, columns, rows, bin, step};
          expectCorrected<std::uint8_t>(pixels, region);
          expectCorrected<std::uint16_t>(pixels, region);
        }
      }
    }
  }
}

}  // namespace
}  // namespace orvik::test
