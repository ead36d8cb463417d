// SPDX-License-Identifier: MIT
// Any bytes as an image file: either it is rejected, or the image is whole and can be shown.
#include <cstdlib>
#include <vector>

#include "imaging/errors.h"
#include "imaging/read/read_image.h"
#include "imaging/view/frame_statistics.h"
#include "imaging/view/render.h"

namespace {

void show(const orvik::imaging::ReadImage& image) {
  using namespace orvik::imaging;
  const ImageSource source = image.source();
  const std::size_t bytes =
      static_cast<std::size_t>(source.size.width) * static_cast<std::size_t>(source.size.height) *
      static_cast<std::size_t>(source.samplesPerPixel()) * (source.isWide() ? 2 : 1);
  if (bytes == 0 || image.pixels.size() != bytes) std::abort();
  for (const auto& [name, text] : image.facts) {
    for (const char letter : text) {
      if (letter < 0x20 || letter > 0x7E) std::abort();
    }
  }
  constexpr std::size_t kQuick = 1 << 20;
  if (bytes > kQuick) return;
  ValueCounts counts;
  counts.count(source);
  StretchTable table;
  table.set(autoStretch(counts));
  Renderer renderer;
  const RenderPlan plan = planFor(source, std::nullopt, {20, 20}, 1);
  if (plan.size().width > 0 && plan.size().height > 0) renderer.render(source, plan, table);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orvik::imaging::MemoryBytes source("input", std::vector<std::uint8_t>(data, data + size));
  try {
    show(orvik::imaging::readImage(source));
  } catch (const orvik::imaging::FileError&) {
  }
  return 0;
}
