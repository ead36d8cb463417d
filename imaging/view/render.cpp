// SPDX-License-Identifier: MIT
#include "imaging/view/render.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "orvik/algorithm.h"

namespace orvik::imaging {
namespace {

constexpr int kSmallestPlace = 16;
// The sums of a column of 8-bit samples fit into 16 bits.
constexpr int kLargestFactor = 256;

template <typename Sample>
const Sample* rowOf(const ImageSource& image, int y) {
  if constexpr (std::is_same_v<Sample, std::uint16_t>) {
    return image.row16(y);
  } else {
    return image.row8(y);
  }
}

template <typename Sample, typename Sum>
void addRow(const Sample* row, std::size_t count, Sum* sums) {
  for (std::size_t i = 0; i < count; ++i) sums[i] = static_cast<Sum>(sums[i] + row[i]);
}

/// Looks up means of `count` samples in a table for 16 bits.
class MeanTable {
 public:
  MeanTable(const std::uint8_t* table, int depth, int count)
      : table_(table),
        scale_((std::uint64_t{65535} << kShift) / static_cast<std::uint64_t>(depth) /
               static_cast<std::uint64_t>(count)) {}
  std::uint8_t operator()(std::uint32_t sum) const {
    return table_[(sum * scale_ + (std::uint64_t{1} << (kShift - 1))) >> kShift];
  }

 private:
  static constexpr int kShift = 24;
  const std::uint8_t* table_;
  std::uint64_t scale_;
};

/// Calls a function with a small count as a constant, for which the compiler makes faster code.
template <typename Function>
void withCount(int count, Function function) {
  switch (count) {
    case 1:
      return function(std::integral_constant<int, 1>());
    case 2:
      return function(std::integral_constant<int, 2>());
    default:
      return function(count);
  }
}

/// Adds up every `step`-th of the sums from `from` on, `count` of them.
template <typename Sum, typename Count>
std::uint32_t addUp(const Sum* from, Count count, int step) {
  std::uint32_t sum = 0;
  for (int i = 0; i < count; ++i) sum += from[static_cast<std::ptrdiff_t>(i) * step];
  return sum;
}

/// A row of a picture of a mosaic from the sums of its rows, with `cells` cells for a pixel.
template <typename Sum, typename Count>
std::uint8_t* mosaicRow(const Sum* redRow, const Sum* blueRow, int redX, int width, Count cells,
                        const MeanTable& mean, const MeanTable& meanOfGreen, std::uint8_t* out) {
  for (int x = 0; x < width; ++x, redRow += 2 * cells, blueRow += 2 * cells, out += 3) {
    out[0] = mean(addUp(blueRow + (1 - redX), cells, 2));
    out[1] = meanOfGreen(addUp(redRow + (1 - redX), cells, 2) + addUp(blueRow + redX, cells, 2));
    out[2] = mean(addUp(redRow + redX, cells, 2));
  }
  return out;
}

/// The same without a mosaic.
template <typename Sum, typename Count>
std::uint8_t* plainRow(const Sum* sums, int perPixel, int width, Count factor,
                       const MeanTable& mean, std::uint8_t* out) {
  for (int x = 0; x < width; ++x, sums += factor * perPixel) {
    for (int channel = 0; channel < perPixel; ++channel) {
      *out++ = mean(addUp(sums + channel, factor, perPixel));
    }
  }
  return out;
}

void demosaic(BayerPattern pattern, const std::uint8_t* raw, std::uint8_t* bgr, Size size) {
  switch (pattern) {
    case BAYER_RG:
      return CAlgorithm::Bayer2RGB24_RG(raw, bgr, size.width, size.height);
    case BAYER_BG:
      return CAlgorithm::Bayer2RGB24_BG(raw, bgr, size.width, size.height);
    case BAYER_GR:
      return CAlgorithm::Bayer2RGB24_GR(raw, bgr, size.width, size.height);
    case BAYER_GB:
      return CAlgorithm::Bayer2RGB24_GB(raw, bgr, size.width, size.height);
  }
}

void stretchRow(const ImageSource& image, int y, int x, int width, const StretchTable& table,
                std::uint8_t* to) {
  const std::ptrdiff_t perPixel = image.samplesPerPixel();
  const std::ptrdiff_t samples = width * perPixel;
  if (image.isWide()) {
    const std::uint16_t* const row = image.row16(y) + x * perPixel;
    for (std::ptrdiff_t i = 0; i < samples; ++i) to[i] = table.wide()[row[i]];
    return;
  }
  const std::uint8_t* const row = image.row8(y) + x * perPixel;
  for (std::ptrdiff_t i = 0; i < samples; ++i) to[i] = table.narrow()[row[i]];
}

}  // namespace

RenderPlan planFor(const ImageSource& image, const std::optional<Window>& wanted, Size place,
                   int coarser) {
  const Window window = wanted.value_or(Window{0, 0, image.size.width, image.size.height});
  const int align = image.mosaic ? 2 : 1;
  // Something is shown of each image, even if another one was expected.
  const auto cut = [align](int from, int length, int whole, int& cutFrom, int& cutLength) {
    cutFrom = std::clamp(from, 0, std::max(0, whole - align)) / align * align;
    const std::int64_t end = std::clamp<std::int64_t>(std::int64_t{from} + length, 0, whole);
    cutLength = static_cast<int>(std::max<std::int64_t>(end - cutFrom, std::min(whole, align)));
  };
  RenderPlan plan;
  cut(window.x, window.width, image.size.width, plan.part.x, plan.part.width);
  cut(window.y, window.height, image.size.height, plan.part.y, plan.part.height);

  const auto times = [](int pixels, int available) {
    return static_cast<double>(pixels) / std::max(available, kSmallestPlace);
  };
  const double factor = coarser * std::max(times(plan.part.width, place.width),
                                           times(plan.part.height, place.height));
  if (image.mosaic) {
    plan.factor = factor < 1.5 ? 1 : 2 * std::max(1, static_cast<int>(std::lround(factor / 2)));
  } else {
    plan.factor = std::max(1, static_cast<int>(std::lround(factor)));
  }
  const int most = std::min({plan.part.width, plan.part.height, kLargestFactor});
  if (plan.factor > most) plan.factor = std::max(1, image.mosaic ? most / 2 * 2 : most);
  plan.part.width = plan.part.width / plan.factor * plan.factor;
  plan.part.height = plan.part.height / plan.factor * plan.factor;
  return plan;
}

std::span<const std::uint8_t> Renderer::render(const ImageSource& image, const RenderPlan& plan,
                                               const StretchTable& table) {
  const Size size = plan.size();
  picture_.resize(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
                  (image.isColour() ? 3 : 1));
  if (plan.factor == 1) {
    image.mosaic ? interpolate(image, plan.part, table) : copy(image, plan.part, table);
  } else if (image.isWide()) {
    average<std::uint16_t>(image, plan, table, sums16_);
  } else {
    average<std::uint8_t>(image, plan, table, sums8_);
  }
  return picture_;
}

void Renderer::copy(const ImageSource& image, const Window& part, const StretchTable& table) {
  const std::size_t rowBytes =
      static_cast<std::size_t>(part.width) * static_cast<std::size_t>(image.samplesPerPixel());
  for (int y = 0; y < part.height; ++y) {
    stretchRow(image, part.y + y, part.x, part.width, table,
               picture_.data() + static_cast<std::size_t>(y) * rowBytes);
  }
}

void Renderer::interpolate(const ImageSource& image, const Window& part,
                           const StretchTable& table) {
  // A cell on each side, as far as there is one: it takes part in the interpolation.
  const int left = std::min(part.x, 2);
  const int top = std::min(part.y, 2);
  const Size size{left + part.width + std::min(2, image.size.width - part.x - part.width),
                  top + part.height + std::min(2, image.size.height - part.y - part.height)};
  const auto width = static_cast<std::size_t>(size.width);
  stretched_.resize(width * static_cast<std::size_t>(size.height));
  interpolated_.resize(3 * stretched_.size());
  for (int y = 0; y < size.height; ++y) {
    stretchRow(image, part.y - top + y, part.x - left, size.width, table,
               stretched_.data() + static_cast<std::size_t>(y) * width);
  }
  demosaic(*image.mosaic, stretched_.data(), interpolated_.data(), size);
  const std::size_t rowBytes = 3 * static_cast<std::size_t>(part.width);
  for (int y = 0; y < part.height; ++y) {
    std::memcpy(picture_.data() + static_cast<std::size_t>(y) * rowBytes,
                interpolated_.data() + 3 * (static_cast<std::size_t>(top + y) * width +
                                            static_cast<std::size_t>(left)),
                rowBytes);
  }
}

template <typename Sample, typename Sum>
void Renderer::average(const ImageSource& image, const RenderPlan& plan, const StretchTable& table,
                       std::vector<Sum>& sums) {
  const int factor = plan.factor;
  const int perPixel = image.samplesPerPixel();
  const auto columns =
      static_cast<std::size_t>(plan.part.width) * static_cast<std::size_t>(perPixel);
  const int halves = image.mosaic ? 2 : 1;  // rows of a mosaic: even and odd ones
  const RedSite red = redSite(image.mosaic.value_or(BAYER_RG));
  const int samples = factor * factor;  // of a pixel; of a mosaic those of green are half of them
  const MeanTable mean(table.wide(), image.depth(), image.mosaic ? samples / 4 : samples);
  const MeanTable meanOfGreen(table.wide(), image.depth(), std::max(1, samples / 2));

  std::uint8_t* out = picture_.data();
  const Size size = plan.size();
  for (int y = 0; y < size.height; ++y) {
    sums.assign(columns * static_cast<std::size_t>(halves), 0);
    for (int row = 0; row < factor; ++row) {
      addRow(rowOf<Sample>(image, plan.part.y + y * factor + row) +
                 std::ptrdiff_t{plan.part.x} * perPixel,
             columns, sums.data() + static_cast<std::size_t>(row % halves) * columns);
    }
    withCount(image.mosaic ? factor / 2 : factor, [&](auto count) {
      if (image.mosaic) {
        const Sum* const redRow = sums.data() + static_cast<std::size_t>(red.y) * columns;
        const Sum* const blueRow = sums.data() + static_cast<std::size_t>(1 - red.y) * columns;
        out = mosaicRow(redRow, blueRow, red.x, size.width, count, mean, meanOfGreen, out);
      } else {
        out = plainRow(sums.data(), perPixel, size.width, count, mean, out);
      }
    });
  }
}

}  // namespace orvik::imaging
