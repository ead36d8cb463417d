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

// A layout says where the samples of output column or row `at` lie: from first(at) on, kStep apart.

struct EverySample {
  static constexpr std::size_t kStep = 1;
  static std::size_t first(std::size_t at, std::size_t bin) { return at * bin; }
};

struct SameColour {
  static constexpr std::size_t kStep = 2;
  static std::size_t first(std::size_t at, std::size_t bin) { return at / 2 * 2 * bin + at % 2; }
};

// A rule says what is done to each sample before the addition, to the sum after it, and which
// vector routine does the same.

struct SaturatingSum {
  using Rows = std::span<const std::uint8_t* const>;
  static std::size_t binRun(EverySample, Rows rows, std::uint8_t* out, std::size_t columns) {
    return binSumRun(rows, out, columns);
  }
  static std::size_t binRun(SameColour, Rows rows, std::uint8_t* out, std::size_t columns) {
    return binMosaicRun(rows, out, columns);
  }
  template <typename Bin>
  static std::uint32_t term(std::uint32_t sample, Bin) {
    return sample;
  }
  template <typename Bin>
  static std::uint32_t result(std::uint32_t sum, Bin) {
    return std::min<std::uint32_t>(sum, 255);
  }
};

struct MeanOfSum {
  static std::size_t binRun(EverySample, std::span<const std::uint16_t* const> rows,
                            std::uint16_t* out, std::size_t columns) {
    return binMeanRun(rows, out, columns);
  }
  template <typename Bin>
  static std::uint32_t term(std::uint32_t sample, Bin) {
    return sample;
  }
  template <typename Bin>
  static std::uint32_t result(std::uint32_t sum, Bin bin) {
    return sum / bin / bin;
  }
};

struct SumOfQuotients {
  static std::size_t binRun(SameColour, std::span<const std::uint16_t* const> rows,
                            std::uint16_t* out, std::size_t columns) {
    return binMosaicRun(rows, out, columns);
  }
  template <typename Bin>
  static std::uint32_t term(std::uint32_t sample, Bin bin) {
    return sample / bin / bin;
  }
  template <typename Bin>
  static std::uint32_t result(std::uint32_t sum, Bin) {
    return sum;  // at most bin * bin * (65535 / bin / bin)
  }
};

/// Returns `at`, or the last coordinate of the same colour if `at` lies beyond `size`. Only the
/// last column or row of an odd output reaches beyond; it is even, so the coordinate is even, too.
std::size_t inside(std::size_t at, std::size_t size) { return at < size ? at : (size - 1) / 2 * 2; }

/// `Bin` is std::size_t or a compile-time constant for the factors that sensors are used with.
template <typename Layout, typename Rule, typename Bin, typename Sample>
class Binner {
 public:
  Binner(const Sample* frame, Sample* image, std::size_t width, std::size_t height, Bin bin)
      : frame_(frame),
        image_(image),
        width_(width),
        height_(height),
        bin_(bin),
        rowLength_(width * bin),
        rows_(height * bin) {}

  void run() {
    for (std::size_t row = 0; row < height_; ++row) {
      for (std::size_t x = binInVectors(row); x < width_; x += kChunk) {
        binChunk(row, x, std::min(kChunk, width_ - x));
      }
    }
  }

 private:
  /// The largest factor that the vector routines support.
  static constexpr std::size_t kMostRows = 4;

  /// @return how many columns of the row were done: an even number in a mosaic.
  std::size_t binInVectors(std::size_t row) {
    if (bin_ > kMostRows) return 0;
    std::array<const Sample*, kMostRows> rows;
    for (std::size_t j = 0; j < bin_; ++j) rows[j] = frame_ + sourceRow(row, j) * rowLength_;
    const std::size_t columns = width_ / Layout::kStep * Layout::kStep;
    return Rule::binRun(Layout(), std::span<const Sample* const>(rows.data(), bin_),
                        image_ + row * width_, columns);
  }

  [[nodiscard]] std::size_t sourceRow(std::size_t row, std::size_t j) const {
    return inside(Layout::first(row, bin_) + Layout::kStep * j, rows_);
  }

  /// Even, so that a chunk of a mosaic begins with a whole pair.
  static constexpr std::size_t kChunk = 256;
  using Sums = std::array<std::uint32_t, kChunk>;

  /// Collects the sums in a separate array, so that the compiler sees that no store changes a
  /// sample that is still to be added. In place, none does: no sample lies before its own result,
  /// so the samples of later results lie behind the earlier results.
  void binChunk(std::size_t row, std::size_t x, std::size_t count) {
    Sums sums{};
    for (std::size_t j = 0; j < bin_; ++j) {
      addRow(frame_ + sourceRow(row, j) * rowLength_, x, count, sums);
    }
    Sample* const out = image_ + row * width_ + x;
    for (std::size_t i = 0; i < count; ++i)
      out[i] = static_cast<Sample>(Rule::result(sums[i], bin32()));
  }

  void addRow(const Sample* samples, std::size_t x, std::size_t count, Sums& sums) const {
    const bool cutOff = Layout::kStep == 2 && x + count == width_ && width_ % 2 == 1;
    const std::size_t whole = cutOff ? count - 1 : count;
    addWhole(samples + x * bin_, whole, sums);
    if (cutOff) {
      for (std::size_t k = 0; k < bin_; ++k) {
        const std::size_t column =
            inside(Layout::first(width_ - 1, bin_) + Layout::kStep * k, rowLength_);
        sums[whole] += Rule::term(samples[column], bin32());
      }
    }
  }

  /// For output columns whose samples all lie inside the frame. Goes in steps of kStep columns with
  /// a fixed inner loop, so that the compiler sees plain strides.
  void addWhole(const Sample* samples, std::size_t count, Sums& sums) const {
    for (std::size_t i = 0; i + Layout::kStep <= count;
         i += Layout::kStep, samples += Layout::kStep * bin_) {
      for (std::size_t k = 0; k < bin_; ++k) {
        for (std::size_t colour = 0; colour < Layout::kStep; ++colour) {
          sums[i + colour] += Rule::term(samples[Layout::kStep * k + colour], bin32());
        }
      }
    }
  }

  [[nodiscard]] std::uint32_t bin32() const {
    return static_cast<std::uint32_t>(std::size_t{bin_});
  }

  const Sample* frame_;
  Sample* image_;
  std::size_t width_;
  std::size_t height_;
  Bin bin_;
  std::size_t rowLength_;
  std::size_t rows_;
};

template <std::size_t kBin>
using ConstantBin = std::integral_constant<std::size_t, kBin>;

template <typename Layout, typename Rule, typename Sample>
void binFrame(const Sample* frame, Sample* image, int width, int height, int bin) {
  if (bin < 2 || width < 1 || height < 1) return;
  const auto run = [&](auto factor) {
    Binner<Layout, Rule, decltype(factor), Sample>(frame, image, static_cast<std::size_t>(width),
                                                   static_cast<std::size_t>(height), factor)
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
      return run(static_cast<std::size_t>(bin));
  }
}

}  // namespace

void binMono(const std::uint8_t* frame, std::uint8_t* image, int width, int height,
             int bin) noexcept {
  binFrame<EverySample, SaturatingSum>(frame, image, width, height, bin);
}

void binMono(const std::uint16_t* frame, std::uint16_t* image, int width, int height,
             int bin) noexcept {
  binFrame<EverySample, MeanOfSum>(frame, image, width, height, bin);
}

void binMosaic(const std::uint8_t* frame, std::uint8_t* image, int width, int height,
               int bin) noexcept {
  binFrame<SameColour, SaturatingSum>(frame, image, width, height, bin);
}

void binMosaic(const std::uint16_t* frame, std::uint16_t* image, int width, int height,
               int bin) noexcept {
  binFrame<SameColour, SumOfQuotients>(frame, image, width, height, bin);
}

}  // namespace orvik
