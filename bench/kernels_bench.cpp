// SPDX-License-Identifier: MIT
// The kernels of the library as the camera classes call them. Kernels that work in place run
// repeatedly over one buffer. Their speed does not depend on its contents, except with the 16-bit
// table, which is chosen so that the frame is restored every second time.
#include <cstdint>

#include "algorithm/demosaic.h"
#include "algorithm/gamma.h"
#include "algorithm/grey10.h"
#include "algorithm/hot_pixel_table.h"
#include "algorithm/hot_sites.h"
#include "algorithm/white_balance.h"
#include "bench/frames.h"
#include "orvik/algorithm.h"

namespace orvik::bench {
namespace {

const std::string kOurs = "orvik";

/// A table that is its own inverse.
template <typename Pixel>
std::vector<Pixel> negative() {
  constexpr std::size_t kMax = std::numeric_limits<Pixel>::max();
  std::vector<Pixel> table(kMax + 1);
  for (std::size_t i = 0; i <= kMax; ++i) table[i] = static_cast<Pixel>(kMax - i);
  return table;
}

template <typename Pixel>
void addGamma(const std::string& name,
              const std::vector<Pixel>& (*frame)(std::size_t) = skyFrame<Pixel>) {
  addCase(name, kOurs, sizeof(Pixel), [frame](Size size) {
    return [size, image = InPlace(frame(size.pixels())), table = negative<Pixel>()]() mutable {
      CAlgorithm::Gamma(image.data(), table.data(), size.width, size.height);
    };
  });
}

template <typename Sample>
void addFlip(const std::string& name, bool vertical, bool horizontal) {
  addCase(name, kOurs, sizeof(Sample), [vertical, horizontal](Size size) {
    return [=, image = InPlace(skyFrame<Sample>(size.pixels()))]() mutable {
      CAlgorithm::SoftMisc(image.data(), size.width, size.height, 1, sizeof(Sample) == 2, vertical,
                           horizontal);
    };
  });
}

using BinRoutine = void (*)(std::uint8_t*, std::uint16_t*, int, int, int, bool) noexcept;

void addBin8(const std::string& name, BinRoutine routine, int bin) {
  addCase(name + std::to_string(bin), kOurs, 1, [routine, bin](Size size) {
    return [=, image = InPlace(skyFrame<std::uint8_t>(size.pixels()), 1.0 / bin / bin)]() mutable {
      routine(image.data(), nullptr, size.width / bin, size.height / bin, bin, false);
    };
  });
}

void addBin16(const std::string& name, BinRoutine routine, int bin) {
  addCase(name + std::to_string(bin), kOurs, 2, [routine, bin](Size size) {
    return [=, image = InPlace(skyFrame<std::uint16_t>(size.pixels()), 1.0 / bin / bin)]() mutable {
      routine(nullptr, image.data(), size.width / bin, size.height / bin, bin, true);
    };
  });
}

void addDark() {
  addCase("dark", kOurs, 1, [](Size size) {
    return [size, image = InPlace(skyFrame<std::uint8_t>(size.pixels())),
            &dark = darkFrame(size.pixels())]() mutable {
      CAlgorithm::SubtractDark(image.data(), size.width, size.height, 7, dark.data(), false, 0);
    };
  });
  addCase("dark of binned", kOurs, 1, [](Size size) {
    return [size, image = InPlace(skyFrame<std::uint8_t>(size.pixels()), 0.25),
            &dark = darkFrame(size.pixels())]() mutable {
      CAlgorithm::SubtractDark(image.data(), size.width, size.height, 7, dark.data(), true, 0);
    };
  });
  // Every 5000th pixel or so.
  constexpr auto kHotPixels = [](Size size) { return size.pixels() / 5000; };
  addCase(
      "hot pixels", kOurs, 1,
      [=](Size size) {
        HotPixelTable table(hotPixelTableBytes(size.width, size.height));
        std::minstd_rand generator(6);
        for (std::size_t i = 0; i < kHotPixels(size); ++i) table[generator() % table.size()] = 4;
        return [image = InPlace(skyFrame<std::uint8_t>(size.pixels()), 1, 1U << 16U),
                sites = cutHotPixels(table, size.width,
                                     {0, 0, size.width, size.height, 1, 2})]() mutable {
          correctHotPixels(image.data(), sites);
        };
      },
      kHotPixels);
}

void addConversions() {
  addCase("demosaic", kOurs, 1, [](Size size) {
    CAlgorithm::SetRGBWB(52, 95);
    return [size, &raw = skyFrame<std::uint8_t>(size.pixels()),
            bgr = Output<std::uint8_t>(3 * size.pixels())]() mutable {
      CAlgorithm::Bayer2RGB24_RG(raw.data(), bgr.data(), size.width, size.height);
    };
  });
  addCase("luminance", kOurs, 3, [](Size size) {
    return [size, &bgr = skyFrame<std::uint8_t>(3 * size.pixels()),
            out = Output<std::uint8_t>(size.pixels())]() mutable {
      CAlgorithm::RGB2Y8(bgr.data(), out.data(), size.width, size.height);
    };
  });
  addCase("luminance of mosaic", kOurs, 1, [](Size size) {
    return [size, &raw = skyFrame<std::uint8_t>(size.pixels()),
            rows = std::vector<std::uint8_t>(6 * static_cast<std::size_t>(size.width)),
            out = std::vector<std::uint8_t>(size.pixels())]() mutable {
      const CellRowDemosaic cells(BAYER_RG, size.width, size.height, {.red = 52, .blue = 95});
      for (int y = 0; y < size.height; y += 2) {
        cells.makeLuminance(raw.data(), y, rows.data(),
                            out.data() + std::ptrdiff_t{y} * size.width);
      }
    };
  });
  addCase("first channel", kOurs, 3, [](Size size) {
    return [size, &bgr = skyFrame<std::uint8_t>(3 * size.pixels()),
            out = Output<std::uint8_t>(size.pixels())]() mutable {
      CAlgorithm::RGB2R8(bgr.data(), out.data(), size.width, size.height);
    };
  });
  addCase("4:2:2", kOurs, 3, [](Size size) {
    return [size, &bgr = skyFrame<std::uint8_t>(3 * size.pixels()),
            out = Output<std::uint8_t>(2 * size.pixels())]() mutable {
      CAlgorithm::RGB2YUV2(bgr.data(), out.data(), size.width, size.height, true);
    };
  });
  addCase("10-bit grey", kOurs, 2, [](Size size) {
    return [&in = skyFrame<std::uint16_t>(size.pixels()),
            out = Output<std::uint8_t>(4 * size.pixels())]() mutable {
      grey10(in.data(), out.data(), in.size());
    };
  });
}

const bool registered = [] {
  addConversions();
  addDark();
  addGamma<std::uint8_t>("table 8");
  addGamma<std::uint16_t>("table 16");
  addGamma<std::uint16_t>("table 16, random pixels", randomFrame<std::uint16_t>);
  addFlip<std::uint8_t>("flip 8 horizontal", false, true);
  addFlip<std::uint8_t>("flip 8 vertical", true, false);
  addFlip<std::uint8_t>("flip 8 both", true, true);
  addFlip<std::uint16_t>("flip 16 horizontal", false, true);
  addFlip<std::uint16_t>("flip 16 vertical", true, false);
  addFlip<std::uint16_t>("flip 16 both", true, true);
  for (const int bin : {2, 3, 4}) addBin8("mono bin 8 x", CAlgorithm::MonoBin, bin);
  for (const int bin : {2, 3, 4}) addBin16("mono bin 16 x", CAlgorithm::MonoBin, bin);
  for (const int bin : {2, 3, 4}) addBin8("mosaic bin 8 x", CAlgorithm::ColorRAWBin, bin);
  for (const int bin : {2, 3, 4}) addBin16("mosaic bin 16 x", CAlgorithm::ColorRAWBin, bin);
  return true;
}();

// Work that is done once per camera or frame, independently of the size of the frame.

void gammaTables(benchmark::State& state) {
  std::vector<std::uint8_t> table8(256);
  std::vector<std::uint16_t> table16(65536);
  for (auto _ : state) {
    buildGammaTables(static_cast<int>(state.range(0)), GammaTable8(table8), GammaTable16(table16));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(gammaTables)->Name("gamma tables")->Arg(1)->Arg(50)->Arg(80);

void gainTables(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(GainTables({.red = 52, .blue = 95}));
  }
}
BENCHMARK(gainTables)->Name("gain tables");

}  // namespace
}  // namespace orvik::bench
