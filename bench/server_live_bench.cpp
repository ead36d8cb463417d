// SPDX-License-Identifier: MIT
// What a live view makes of a frame: pictures of half and quarter size, values, stars.
#include <memory>

#include "bench/frames.h"
#include "imaging/stars/star_finder.h"
#include "imaging/view/frame_statistics.h"
#include "imaging/view/render.h"
#include "integrations/server/live/jpeg_encoder.h"

namespace orvik::bench {
namespace {

using imaging::ImageSource;

ImageSource mosaicOf(Size size, bool isWide) {
  if (isWide) {
    const auto& words = skyFrame<std::uint16_t>(size.pixels());
    return {{reinterpret_cast<const std::uint8_t*>(words.data()), 2 * words.size()},
            {size.width, size.height},
            Orvik_IMG_RAW16,
            BAYER_RG};
  }
  return {
      skyFrame<std::uint8_t>(size.pixels()), {size.width, size.height}, Orvik_IMG_RAW8, BAYER_RG};
}

/// A picture whose pixels are made of so many in each direction.
void addRender(const char* name, bool isWide, int factor) {
  addCase(name, isWide ? "16 bit" : "8 bit", isWide ? 2 : 1, [=](Size size) {
    const ImageSource image = mosaicOf(size, isWide);
    const imaging::RenderPlan plan{
        {0, 0, size.width / factor * factor, size.height / factor * factor}, factor};
    return [=, renderer = std::make_shared<imaging::Renderer>(),
            table = std::make_shared<imaging::StretchTable>()] {
      benchmark::DoNotOptimize(renderer->render(image, plan, *table).data());
    };
  });
}

const bool registered = [] {
  for (const bool isWide : {false, true}) {
    addRender("live whole size", isWide, 1);
    addRender("live half size", isWide, 2);
    addRender("live quarter size", isWide, 4);
    addCase("live values", isWide ? "16 bit" : "8 bit", isWide ? 2 : 1, [=](Size size) {
      return [image = mosaicOf(size, isWide), counts = std::make_shared<imaging::ValueCounts>()] {
        counts->count(image);
        benchmark::DoNotOptimize(imaging::statisticsOf(*counts).data());
      };
    });
    addCase("live stars", isWide ? "16 bit" : "8 bit", isWide ? 2 : 1, [=](Size size) {
      return [image = mosaicOf(size, isWide), finder = std::make_shared<imaging::StarFinder>()] {
        benchmark::DoNotOptimize(finder->find(image).data());
      };
    });
  }
  addCase("live JPEG of half size", "24 bit", 1, [](Size size) {
    const imaging::Size half{size.width / 2, size.height / 2};
    return [half, encoder = std::make_shared<server::JpegEncoder>(),
            &pixels = skyFrame<std::uint8_t>(3 * size.pixels() / 4)] {
      benchmark::DoNotOptimize(encoder->encode(pixels, half, true, 85).get());
    };
  });
  return true;
}();

}  // namespace
}  // namespace orvik::bench
