// SPDX-License-Identifier: MIT
#include "algorithm/colour_balance.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace orvik {
namespace {

constexpr int kBlocks = 16;  ///< along either axis
constexpr int kPoints = 10;  ///< of a block, along either axis
constexpr int kBrightest = 255;

enum Colour : std::size_t { kRed, kGreen, kBlue, kColours };

/// Where the colours are in the cell of a mosaic; places are counted row by row.
struct CellPlaces {
  std::size_t red;
  std::size_t blue;
  std::array<std::size_t, 2> green;

  [[nodiscard]] Colour colourAt(std::size_t place) const {
    if (place == red) return kRed;
    return place == blue ? kBlue : kGreen;
  }
};

constexpr CellPlaces placesOf(BayerPattern pattern) {
  switch (pattern) {
    case BAYER_RG:
      return {.red = 0, .blue = 3, .green = {1, 2}};
    case BAYER_BG:
      return {.red = 3, .blue = 0, .green = {1, 2}};
    case BAYER_GR:
      return {.red = 1, .blue = 2, .green = {0, 3}};
    case BAYER_GB:
      break;
  }
  return {.red = 2, .blue = 1, .green = {0, 3}};
}

/// The samples of one block, by colour.
class Samples {
 public:
  void add(Colour colour, std::uint8_t value) { values_[colour][count_[colour]++] = value; }
  /// Adds `count` samples, which the caller stores.
  [[nodiscard]] std::uint8_t* grow(Colour colour, std::size_t count) {
    std::uint8_t* const place = values_[colour].data() + count_[colour];
    count_[colour] += count;
    return place;
  }

  [[nodiscard]] int mean(Colour colour) const {
    int sum = 0;
    for (std::size_t i = 0; i < count_[colour]; ++i) sum += values_[colour][i];
    return sum / divisor(colour);
  }
  [[nodiscard]] int deviation(Colour colour, int mean) const {
    int sum = 0;
    for (std::size_t i = 0; i < count_[colour]; ++i) sum += std::abs(values_[colour][i] - mean);
    return sum / divisor(colour);
  }

 private:
  /// The number of samples plus one, so that a colour without samples does not divide by 0.
  [[nodiscard]] int divisor(Colour colour) const { return static_cast<int>(count_[colour]) + 1; }

  // Two of the four samples of a cell are green.
  static constexpr std::size_t kMostSamples = std::size_t{2} * kPoints * kPoints;
  std::array<std::array<std::uint8_t, kMostSamples>, kColours> values_{};
  std::array<std::size_t, kColours> count_{};
};

/// The points of a block along one axis, counted from its edge.
using Points = std::array<int, kPoints>;

Points pointsOf(int size) {
  const float step = static_cast<float>(size) / kPoints;
  Points points{};
  for (int i = 0; i < kPoints; ++i) {
    points[static_cast<std::size_t>(i)] =
        static_cast<int>(std::lround(static_cast<float>(i) * step));
  }
  return points;
}

/// The points of blocks of one size.
struct Grid {
  Grid(int width, int height) : across(pointsOf(width)), down(pointsOf(height)) {}
  Points across, down;
};

class Mosaic {
 public:
  Mosaic(const RawFrame& frame, BayerPattern pattern) : frame_(frame), places_(placesOf(pattern)) {}

  [[nodiscard]] int columns() const { return frame_.columns; }
  [[nodiscard]] int rows() const { return frame_.rows; }

  void addPoint(int x, int y, Samples& samples) const {
    const std::size_t shift = shiftAt(x, y);
    const std::uint8_t* const upper = frame_.samples + frame_.indexOf(x, y);
    const bool hasRight = x + 1 < frame_.columns;
    samples.add(places_.colourAt(shift), upper[0]);
    if (hasRight) samples.add(places_.colourAt(1 ^ shift), upper[1]);
    if (y + 1 >= frame_.rows) return;
    const std::uint8_t* const lower = upper + frame_.columns;
    samples.add(places_.colourAt(2 ^ shift), lower[0]);
    if (hasRight) samples.add(places_.colourAt(3 ^ shift), lower[1]);
  }

  /// Adds all points of a block if all their cells are whole. @return false if they are not
  [[nodiscard]] bool addWhole(const FrameBlock& block, const Grid& grid, Samples& samples) const {
    const auto fits = [](int first, int last, int size) {
      return first >= 0 && std::int64_t{first} + last + 1 < size;
    };
    if (!fits(block.column, grid.across.back(), frame_.columns) ||
        !fits(block.row, grid.down.back(), frame_.rows)) {
      return false;
    }
    constexpr auto kAll = std::size_t{kPoints} * kPoints;
    std::array<std::uint8_t*, 4> places{};
    places[places_.red] = samples.grow(kRed, kAll);
    places[places_.blue] = samples.grow(kBlue, kAll);
    for (const std::size_t place : places_.green) places[place] = samples.grow(kGreen, kAll);
    std::size_t n = 0;
    for (const int dy : grid.down) {
      const int y = block.row + dy;
      for (const int dx : grid.across) {
        const int x = block.column + dx;
        const std::size_t shift = shiftAt(x, y);
        const std::uint8_t* const upper = frame_.samples + frame_.indexOf(x, y);
        const std::uint8_t* const lower = upper + frame_.columns;
        places[shift][n] = upper[0];
        places[1 ^ shift][n] = upper[1];
        places[2 ^ shift][n] = lower[0];
        places[3 ^ shift][n] = lower[1];
        ++n;
      }
    }
    return true;
  }

 private:
  /// In a cell that begins at an odd column or row, the columns or rows are swapped: the exclusive
  /// or of this with a place.
  static std::size_t shiftAt(int x, int y) {
    return ((y & 1) != 0 ? 2U : 0U) + ((x & 1) != 0 ? 1U : 0U);
  }

  const RawFrame& frame_;
  CellPlaces places_;
};

class Image {
 public:
  Image(const std::uint8_t* bgr, int columns, int rows)
      : bgr_(bgr), columns_(columns), rows_(rows) {}

  [[nodiscard]] int columns() const { return columns_; }
  [[nodiscard]] int rows() const { return rows_; }

  void addPoint(int x, int y, Samples& samples) const {
    const std::uint8_t* const pixel = bgr_ + 3 * (std::ptrdiff_t{y} * columns_ + x);
    samples.add(kBlue, pixel[0]);
    samples.add(kGreen, pixel[1]);
    samples.add(kRed, pixel[2]);
  }
  [[nodiscard]] static bool addWhole(const FrameBlock&, const Grid&, Samples&) { return false; }

 private:
  const std::uint8_t* bgr_;
  int columns_;
  int rows_;
};

int meanAfterBinning(int mean, int hostBin) {
  const std::int64_t samples = std::min<std::int64_t>(std::int64_t{hostBin} * hostBin, kBrightest);
  return static_cast<int>(std::min<std::int64_t>(mean * samples, kBrightest));
}

template <class Frame>
void addEach(const Frame& frame, const FrameBlock& block, const Grid& grid, Samples& samples) {
  for (const int dy : grid.down) {
    const std::int64_t y = std::int64_t{block.row} + dy;
    if (y < 0 || y >= frame.rows()) continue;
    for (const int dx : grid.across) {
      const std::int64_t x = std::int64_t{block.column} + dx;
      if (x < 0 || x >= frame.columns()) continue;
      frame.addPoint(static_cast<int>(x), static_cast<int>(y), samples);
    }
  }
}

/// @param grid of the block's size
template <class Frame>
BlockColours measureBlock(const Frame& frame, const FrameBlock& block, const Grid& grid,
                          int hostBin) {
  Samples samples;
  if (!frame.addWhole(block, grid, samples)) addEach(frame, block, grid, samples);
  const ColourValues mean{samples.mean(kRed), samples.mean(kGreen), samples.mean(kBlue)};
  return {.mean = {.red = meanAfterBinning(mean.red, hostBin),
                   .green = meanAfterBinning(mean.green, hostBin),
                   .blue = meanAfterBinning(mean.blue, hostBin)},
          .deviation = {.red = samples.deviation(kRed, mean.red),
                        .green = samples.deviation(kGreen, mean.green),
                        .blue = samples.deviation(kBlue, mean.blue)}};
}

/// The mean of one colour over all blocks.
class WeightedMean {
 public:
  void add(int mean, int deviation) {
    weighted_ += std::int64_t{mean} * deviation;
    weight_ += deviation;
    plain_ += mean;
  }
  [[nodiscard]] int get() const {
    constexpr double kAllBlocks = kBlocks * kBlocks;
    const double mean = weight_ > 0 ? static_cast<double>(weighted_) / static_cast<double>(weight_)
                                    : static_cast<double>(plain_) / kAllBlocks;
    return static_cast<int>(std::lround(mean));
  }

 private:
  std::int64_t weighted_ = 0;
  std::int64_t weight_ = 0;
  std::int64_t plain_ = 0;
};

template <class Frame>
std::optional<ColourValues> measureColour(const Frame& frame, int hostBin) {
  const int columns = frame.columns();
  const int rows = frame.rows();
  if (columns < 1 || rows < 1) return std::nullopt;
  const Grid grid(columns / kBlocks, rows / kBlocks);
  WeightedMean red;
  WeightedMean green;
  WeightedMean blue;
  for (int down = 0; down < kBlocks; ++down) {
    for (int across = 0; across < kBlocks; ++across) {
      const FrameBlock block{.column = across * columns / kBlocks,
                             .row = down * rows / kBlocks,
                             .width = columns / kBlocks,
                             .height = rows / kBlocks};
      const BlockColours colours = measureBlock(frame, block, grid, hostBin);
      red.add(colours.mean.red, colours.deviation.red);
      green.add(colours.mean.green, colours.deviation.green);
      blue.add(colours.mean.blue, colours.deviation.blue);
    }
  }
  return ColourValues{red.get(), green.get(), blue.get()};
}

/// @param mean of the colour that the value amplifies
int nextValue(int value, int mean, int green) {
  constexpr int kSmall = 5;
  const std::int64_t scaled = std::int64_t{value} * green / (mean + 1);
  const bool stuck = scaled <= value && green > mean && value < kSmall;
  return static_cast<int>(std::clamp<std::int64_t>(stuck ? scaled + 1 : scaled,
                                                   std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

}  // namespace

void storeBlock(const BlockColours& block, const std::array<int*, 3>& deviations,
                const std::array<int*, 3>& means) {
  const auto store = [&](Colour colour, int deviation, int mean) {
    // For a caller that passes 0, the interface defines the deviation of n samples as n / (n + 1),
    // which truncates to 0.
    if (*deviations[colour] != 0) *deviations[colour] = deviation;
    *means[colour] = mean;
  };
  store(kRed, block.deviation.red, block.mean.red);
  store(kGreen, block.deviation.green, block.mean.green);
  store(kBlue, block.deviation.blue, block.mean.blue);
}

BlockColours mosaicBlock(const RawFrame& frame, BayerPattern pattern, const FrameBlock& block,
                         int hostBin) {
  return measureBlock(Mosaic(frame, pattern), block, Grid(block.width, block.height), hostBin);
}

std::optional<ColourValues> mosaicColour(const RawFrame& frame, BayerPattern pattern, int hostBin) {
  return measureColour(Mosaic(frame, pattern), hostBin);
}

BlockColours imageBlock(const std::uint8_t* bgr, int columns, int rows, const FrameBlock& block,
                        int hostBin) {
  return measureBlock(Image(bgr, columns, rows), block, Grid(block.width, block.height), hostBin);
}

std::optional<ColourValues> imageColour(const std::uint8_t* bgr, int columns, int rows,
                                        int hostBin) {
  return measureColour(Image(bgr, columns, rows), hostBin);
}

std::optional<WhiteBalance> nextBalance(const ColourValues& colour, WhiteBalance balance,
                                        bool brightnessChanges) {
  const int redError = std::abs(colour.green - colour.red);
  const int blueError = std::abs(colour.green - colour.blue);
  if (brightnessChanges && redError <= 10 && blueError <= 10) return std::nullopt;
  if (redError < 5 && blueError < 5) return std::nullopt;
  return WhiteBalance{.red = nextValue(balance.red, colour.red, colour.green),
                      .blue = nextValue(balance.blue, colour.blue, colour.green)};
}

}  // namespace orvik
