// SPDX-License-Identifier: MIT
// All vector instruction sets of this processor must give the same result. The kernels' own tests
// compare the result of the best one with the definitions.
#include <gtest/gtest.h>
#include <hwy/highway.h>
#include <hwy/targets.h>

#include <functional>
#include <string>

#include "algorithm/binning.h"
#include "algorithm/dark.h"
#include "algorithm/demosaic.h"
#include "algorithm/flip.h"
#include "algorithm/frame.h"
#include "algorithm/gamma.h"
#include "algorithm/grey10.h"
#include "algorithm/rgb_convert.h"

namespace orvik::test {
namespace {

constexpr Size kSize{538, 12};  // rows that end within a vector of any width

using Bytes = std::vector<std::uint8_t>;
using Kernel = std::function<Bytes()>;

Bytes bytesOf(const Frame<std::uint16_t>& image) {
  Bytes bytes;
  for (const std::uint16_t sample : image.pixels()) {
    bytes.push_back(static_cast<std::uint8_t>(sample));
    bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
  }
  return bytes;
}

template <class Sample>
void binFrame(Sample* image, int width, int height, int bin, bool mosaic) {
  if (mosaic) {
    binMosaic(image, width, height, bin);
  } else {
    binMono(image, width, height, bin);
  }
}

/// @param size the size passed to the kernels; the images have room for kSize
std::vector<std::pair<std::string, Kernel>> kernels(Size size = kSize) {
  const int width = size.width;
  const int height = size.height;
  std::vector<std::pair<std::string, Kernel>> all;
  for (const BayerPattern pattern : {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB}) {
    all.emplace_back("demosaic", [=] {
      const auto raw = Frame<std::uint8_t>::random(area(kSize), 1);
      Frame<std::uint8_t> bgr(3 * area(kSize));
      demosaic(raw.data(), bgr.data(), pattern, width, height, {.red = 52, .blue = 95});
      return bgr.pixels();
    });
  }
  all.emplace_back("luminance of mosaic", [=] {
    const auto raw = Frame<std::uint8_t>::random(area(kSize), 11);
    Frame<std::uint8_t> rows(6 * static_cast<size_t>(kSize.width));
    Frame<std::uint8_t> out(area(kSize));
    const CellRowDemosaic cells(BAYER_RG, width, height, {.red = 52, .blue = 95});
    for (int y = 0; y < height && width > 0; y += 2) {
      cells.makeLuminance(raw.data(), y, rows.data(), out.data() + std::ptrdiff_t{y} * width);
    }
    return out.pixels();
  });
  all.emplace_back("gamma", [] {
    Frame<std::uint8_t> table8(256);
    Frame<std::uint16_t> table16(65536);
    buildGammaTables(77, GammaTable8(table8.data(), 256), GammaTable16(table16.data(), 65536));
    return bytesOf(table16);
  });
  all.emplace_back("table", [=] {
    auto image = Frame<std::uint8_t>::random(area(kSize), 2);
    const auto table = Frame<std::uint8_t>::random(256, 3);
    applyTable(image.data(), table.data(), width, height);
    return image.pixels();
  });
  for (const auto routine : {luminance, firstChannel}) {
    all.emplace_back("luminance", [=] {
      // Every green is combined with every blue; red sometimes makes the weighted sum a multiple of
      // 1000.
      Frame<std::uint8_t> bgr(size_t{3} * 65536);
      for (size_t i = 0; i < bgr.size() / 3; ++i) {
        bgr[3 * i] = static_cast<std::uint8_t>(i * 167 >> 3);
        bgr[3 * i + 1] = static_cast<std::uint8_t>(i);
        bgr[3 * i + 2] = static_cast<std::uint8_t>(i >> 8);
      }
      Frame<std::uint8_t> out(65536);
      const Size told = width == kSize.width ? Size{256, 256} : Size{width, height};
      routine(bgr.data(), out.data(), told.width, told.height);
      return out.pixels();
    });
  }
  all.emplace_back("dark", [=] {
    auto image = Frame<std::uint8_t>::random(area(kSize), 4);
    const auto dark = Frame<std::uint16_t>::random(area(kSize), 5, 300);
    subtractDark(image.data(), width, height, 40, dark.data());
    return image.pixels();
  });
  all.emplace_back("binned dark", [=] {
    auto image = Frame<std::uint8_t>::random(area(kSize), 4);
    const auto dark = Frame<std::uint16_t>::random(area(kSize), 5, 300);
    subtractBinnedDark(image.data(), width, height, 40, dark.data(), 0);
    return image.pixels();
  });
  all.emplace_back("yuv", [=] {
    const auto bgr = Frame<std::uint8_t>::random(3 * area(kSize), 10);
    Frame<std::uint8_t> out(2 * area(kSize));
    yuv422(bgr.data(), out.data(), width, height, true);
    return out.pixels();
  });
  all.emplace_back("10-bit grey", [=] {
    // Larger samples, whose bits overlap, as well.
    const auto samples = Frame<std::uint16_t>::random(area(kSize), 12);
    Frame<std::uint8_t> words(4 * area(kSize) + 1);
    const auto count = std::ptrdiff_t{width} * height;
    if (width > 0 && count > 0)
      grey10(samples.data(), words.data() + 1, static_cast<size_t>(count));
    return words.pixels();
  });
  for (const bool vertical : {false, true}) {
    all.emplace_back("flip 8", [=] {
      auto image = Frame<std::uint8_t>::random(area(kSize), 6);
      flip(image.data(), width, height, vertical, true);
      return image.pixels();
    });
    all.emplace_back("flip 16", [=] {
      auto image = Frame<std::uint16_t>::random(area(kSize), 7);
      flip(image.data(), width, height, vertical, true);
      return bytesOf(image);
    });
  }
  for (const int bin : {2, 3, 4}) {
    for (const bool mosaic : {false, true}) {
      all.emplace_back("bin 8", [=] {
        auto image = Frame<std::uint8_t>::random(area(kSize), 8, 100);
        binFrame(image.data(), width / bin, height / bin, bin, mosaic);
        return image.pixels();
      });
      all.emplace_back("bin 16", [=] {
        auto image = Frame<std::uint16_t>::random(area(kSize), 9);
        binFrame(image.data(), width / bin, height / bin, bin, mosaic);
        return bytesOf(image);
      });
    }
  }
  return all;
}

TEST(Vectors, OfEveryKindGiveTheSame) {
  for (const auto& [name, kernel] : kernels()) {
    const Bytes expected = kernel();
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
      hwy::SetSupportedTargetsForTest(target);
      EXPECT_EQ(kernel(), expected) << name << " with " << hwy::TargetName(target);
      hwy::SetSupportedTargetsForTest(0);
    }
  }
}

TEST(Vectors, WithoutPixelsNothingIsTouched) {
  const auto untouched = kernels({0, 0});
  for (const Size size : {Size{4, 0}, Size{0, 4}, Size{-8, 4}, Size{4, -8}, Size{-8, -8}}) {
    const auto all = kernels(size);
    for (size_t n = 0; n < all.size(); ++n) {
      EXPECT_EQ(all[n].second(), untouched[n].second())
          << all[n].first << " of " << size.width << " x " << size.height;
    }
  }
}

}  // namespace
}  // namespace orvik::test
