// SPDX-License-Identifier: MIT
#include "algorithm/binning.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <type_traits>

#include "algorithm/vectors/bin_run.h"

namespace orvik {
namespace {

// Where the bin samples of output column or row `at` lie: from first(at) on, kStep apart.

struct EverySample {
  static constexpr size_t kStep = 1;
  static size_t first(size_t at, size_t bin) { return at * bin; }
};

struct SameColour {
  static constexpr size_t kStep = 2;
  static size_t first(size_t at, size_t bin) { return at / 2 * 2 * bin + at % 2; }
};

// What is done to a sample before, and to the sum after the addition; and the vectors' way.

struct SaturatingSum {
  using Rows = std::span<const uint8_t* const>;
  static size_t binRun(EverySample, Rows rows, uint8_t* out, size_t columns) {
    return binSumRun(rows, out, columns);
  }
  static size_t binRun(SameColour, Rows rows, uint8_t* out, size_t columns) {
    return binMosaicRun(rows, out, columns);
  }
  template <typename Bin>
  static uint32_t term(uint32_t sample, Bin) {
    return sample;
  }
  template <typename Bin>
  static uint32_t result(uint32_t sum, Bin) {
    return std::min<uint32_t>(sum, 255);
  }
};

struct MeanOfSum {
  static size_t binRun(EverySample, std::span<const uint16_t* const> rows, uint16_t* out,
                       size_t columns) {
    return binMeanRun(rows, out, columns);
  }
  template <typename Bin>
  static uint32_t term(uint32_t sample, Bin) {
    return sample;
  }
  template <typename Bin>
  static uint32_t result(uint32_t sum, Bin bin) {
    return sum / bin / bin;
  }
};

struct SumOfQuotients {
  static size_t binRun(SameColour, std::span<const uint16_t* const> rows, uint16_t* out,
                       size_t columns) {
    return binMosaicRun(rows, out, columns);
  }
  template <typename Bin>
  static uint32_t term(uint32_t sample, Bin bin) {
    return sample / bin / bin;
  }
  template <typename Bin>
  static uint32_t result(uint32_t sum, Bin) {
    return sum;  // at most bin * bin * (65535 / bin / bin)
  }
};

/// `at`, or the last coordinate of the same colour where it lies beyond `size`. Only the last even
/// column or row of an odd output reaches beyond, so that one is even, too.
size_t inside(size_t at, size_t size) { return at < size ? at : (size - 1) / 2 * 2; }

/// `Bin` is size_t, or a compile-time constant for the factors that sensors are used with.
template <typename Layout, typename Rule, typename Bin, typename Sample>
class Binner {
 public:
  Binner(Sample* image, size_t width, size_t height, Bin bin)
      : image_(image),
        width_(width),
        height_(height),
        bin_(bin),
        rowLength_(width * bin),
        rows_(height * bin) {}

  void run() {
    for (size_t row = 0; row < height_; ++row) {
      for (size_t x = binInVectors(row); x < width_; x += kChunk) {
        binChunk(row, x, std::min(kChunk, width_ - x));
      }
    }
  }

 private:
  /// The largest factor that vectors do.
  static constexpr size_t kMostRows = 4;

  /// @return how many columns of the row are done: an even number in a mosaic.
  size_t binInVectors(size_t row) {
    if (bin_ > kMostRows) return 0;
    std::array<const Sample*, kMostRows> rows;
    for (size_t j = 0; j < bin_; ++j) rows[j] = image_ + sourceRow(row, j) * rowLength_;
    const size_t columns = width_ / Layout::kStep * Layout::kStep;
    return Rule::binRun(Layout(), std::span<const Sample* const>(rows.data(), bin_),
                        image_ + row * width_, columns);
  }

  [[nodiscard]] size_t sourceRow(size_t row, size_t j) const {
    return inside(Layout::first(row, bin_) + Layout::kStep * j, rows_);
  }

  /// Even, so that a chunk of a mosaic begins with a whole pair.
  static constexpr size_t kChunk = 256;
  using Sums = std::array<uint32_t, kChunk>;

  /// Collects the sums aside, so that the compiler sees that no store changes a sample it has yet
  /// to add. In truth none can: no sample lies before its own result, so all that later results
  /// want lies behind the earlier ones.
  void binChunk(size_t row, size_t x, size_t count) {
    Sums sums{};
    for (size_t j = 0; j < bin_; ++j) {
      addRow(image_ + sourceRow(row, j) * rowLength_, x, count, sums);
    }
    Sample* const out = image_ + row * width_ + x;
    for (size_t i = 0; i < count; ++i) out[i] = static_cast<Sample>(Rule::result(sums[i], bin32()));
  }

  void addRow(const Sample* samples, size_t x, size_t count, Sums& sums) const {
    const bool cutOff = Layout::kStep == 2 && x + count == width_ && width_ % 2 == 1;
    const size_t whole = cutOff ? count - 1 : count;
    addWhole(samples + x * bin_, whole, sums);
    if (cutOff) {
      for (size_t k = 0; k < bin_; ++k) {
        const size_t column =
            inside(Layout::first(width_ - 1, bin_) + Layout::kStep * k, rowLength_);
        sums[whole] += Rule::term(samples[column], bin32());
      }
    }
  }

  /// For output columns whose samples all lie inside. In steps of kStep columns with a fixed inner
  /// loop, for the compiler to see plain strides.
  void addWhole(const Sample* samples, size_t count, Sums& sums) const {
    for (size_t i = 0; i + Layout::kStep <= count;
         i += Layout::kStep, samples += Layout::kStep * bin_) {
      for (size_t k = 0; k < bin_; ++k) {
        for (size_t colour = 0; colour < Layout::kStep; ++colour) {
          sums[i + colour] += Rule::term(samples[Layout::kStep * k + colour], bin32());
        }
      }
    }
  }

  [[nodiscard]] uint32_t bin32() const { return static_cast<uint32_t>(size_t{bin_}); }

  Sample* image_;
  size_t width_;
  size_t height_;
  Bin bin_;
  size_t rowLength_;
  size_t rows_;
};

template <size_t kBin>
using ConstantBin = std::integral_constant<size_t, kBin>;

template <typename Layout, typename Rule, typename Sample>
void binFrame(Sample* image, int width, int height, int bin) {
  if (bin < 2 || width < 1 || height < 1) return;
  const auto run = [&](auto factor) {
    Binner<Layout, Rule, decltype(factor), Sample>(image, static_cast<size_t>(width),
                                                   static_cast<size_t>(height), factor)
        .run();
  };
  switch (bin) {
    case 2:
      return run(ConstantBin<2>{});
    case 3:
      return run(ConstantBin<3>{});
    case 4:
      return run(ConstantBin<4>{});
    default:
      return run(static_cast<size_t>(bin));
  }
}

}  // namespace

void binMono(uint8_t* image, int width, int height, int bin) noexcept {
  binFrame<EverySample, SaturatingSum>(image, width, height, bin);
}

void binMono(uint16_t* image, int width, int height, int bin) noexcept {
  binFrame<EverySample, MeanOfSum>(image, width, height, bin);
}

void binMosaic(uint8_t* image, int width, int height, int bin) noexcept {
  binFrame<SameColour, SaturatingSum>(image, width, height, bin);
}

void binMosaic(uint16_t* image, int width, int height, int bin) noexcept {
  binFrame<SameColour, SumOfQuotients>(image, width, height, bin);
}

}  // namespace orvik
