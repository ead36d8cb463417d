// SPDX-License-Identifier: MIT
// Whatever steps are combined and wherever the last one writes, the image has the bytes that the
// steps give one after the other, each over the whole frame.
#include "delivery/frame_corrections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "algorithm/binning.h"
#include "algorithm/byte_order.h"
#include "algorithm/flip.h"
#include "algorithm/gamma.h"
#include "algorithm/hot_pixel_table.h"

namespace orvik::test {
namespace {

struct Case {
  int width, height, bin;
  bool is16Bits;

  [[nodiscard]] FrameFormat format() const {
    return {.width = width,
            .height = height,
            .bin = bin,
            .is16Bits = is16Bits,
            .rawOutput = true,
            .type = is16Bits ? IMAGE_RAW16 : IMAGE_8BIT};
  }
};

/// Larger than the blocks in which steps are combined, except for the odd and tiny ones.
constexpr Case kCases[] = {{200, 130, 1, false}, {200, 130, 2, false}, {200, 130, 3, false},
                           {200, 130, 1, true},  {200, 130, 2, true},  {100, 90, 4, true},
                           {61, 33, 1, false},   {61, 33, 1, true},    {33, 61, 2, false},
                           {2, 2, 1, false},     {1, 3, 1, true},      {2, 1, 3, true}};

class FrameCorrectionsTest : public ::testing::TestWithParam<Case> {
 protected:
  FrameCorrectionsTest() {
    std::ranges::generate(original_, [this] { return static_cast<std::uint8_t>(random_()); });
    std::vector<std::uint8_t> darkFrame(format_.samples());
    std::ranges::generate(darkFrame, [this] { return static_cast<std::uint8_t>(random_() % 40); });
    dark_.startRecording(1);
    dark_.addFrame(darkFrame, format_.columns(), format_.rows());
    dark_.use(true);
    dark_.follow(region_);
    tables_ = std::make_shared<GammaTables>();
    buildGammaTables(80, GammaTable8(tables_->table8), GammaTable16(tables_->table16));
    HotPixelTable table(hotPixelTableBytes(format_.columns(), format_.rows()));
    for (std::size_t n = 0; n < table.size(); n += 7) table[n] = static_cast<std::uint8_t>(n | 1);
    hot_ = std::make_shared<HotSites>(cutHotPixels(table, format_.columns(), region_));
  }

  /// The steps whose bits are set in `choice`.
  CorrectionSteps stepsOf(unsigned choice) {
    CorrectionSteps steps;
    const auto has = [choice](unsigned bit) { return (choice >> bit & 1U) != 0; };
    steps.flipsHorizontally = has(0);
    steps.flipsVertically = has(1);
    steps.isMosaic = has(2);
    if (has(3)) steps.hotSites = hot_;
    if (has(4)) steps.gamma = tables_;
    if (has(5) && format_.is16Bits) steps.swapsBytes = true;
    if (has(5) && !format_.is16Bits) steps.dark = dark_.subtractionFor(region_);
    return steps;
  }

  template <class Sample>
  void correct(Sample* samples, const CorrectionSteps& steps) {
    const int columns = format_.columns();
    const int rows = format_.rows();
    if constexpr (sizeof(Sample) == 2) {
      if (steps.swapsBytes) swapBytes({samples, format_.samples()});
      if (steps.gamma) applyTable(samples, tables_->table16.data(), columns, rows);
    } else {
      if (steps.dark) dark_.subtract({samples, format_.samples()}, region_);
      if (steps.gamma) applyTable(samples, tables_->table8.data(), columns, rows);
    }
    if (steps.hotSites) correctHotPixels(samples, *hot_);
    flip(samples, columns, rows, steps.flipsVertically, steps.flipsHorizontally);
    const auto bin = steps.isMosaic ? [](Sample* s, int w, int h, int b) { binMosaic(s, w, h, b); }
                                    : [](Sample* s, int w, int h, int b) { binMono(s, w, h, b); };
    bin(samples, format_.width, format_.height, format_.bin);
  }

  /// What the frame holds after every step, each done over all of it.
  std::vector<std::uint8_t> expected(const CorrectionSteps& steps) {
    PageBuffer frame(format_.frameBytes());
    std::ranges::copy(original_, frame.data());
    if (format_.is16Bits) {
      correct(frame.words(), steps);
    } else {
      correct(frame.data(), steps);
    }
    return {frame.data(), frame.data() + format_.imageBytes()};
  }

  void newFrame() { std::ranges::copy(original_, frame_.data()); }
  std::vector<std::uint8_t> contents() {
    return {frame_.data(), frame_.data() + format_.imageBytes()};
  }

  const FrameFormat format_ = GetParam().format();
  std::minstd_rand random_{7};
  std::vector<std::uint8_t> original_ = std::vector<std::uint8_t>(format_.frameBytes());
  PageBuffer frame_{format_.frameBytes()};
  const FrameRegion region_ = format_.regionAt(0, 0, true);
  DarkFrame dark_{format_.columns(), format_.rows()};
  std::shared_ptr<GammaTables> tables_;
  std::shared_ptr<const HotSites> hot_;
};

TEST_P(FrameCorrectionsTest, EveryCombinationGivesTheBytesOfItsStepsInTurn) {
  const std::size_t bytes = format_.imageBytes();
  for (unsigned choice = 0; choice < 64; ++choice) {
    const CorrectionSteps steps = stepsOf(choice);
    const std::vector<std::uint8_t> wanted = expected(steps);
    for (const std::size_t offset : {0U, 1U}) {  // a caller's buffer may begin anywhere
      newFrame();
      FrameCorrections corrections(format_, steps);
      std::vector<std::uint8_t> image(bytes + 2 * sizeof(std::uint16_t), 0xA5);
      corrections.makeImage(frame_, std::span(image).subspan(offset, bytes));
      ASSERT_EQ(std::memcmp(image.data() + offset, wanted.data(), bytes), 0)
          << choice << " at " << offset;
      EXPECT_EQ(image[bytes + offset], 0xA5) << choice << ", behind the image";
      corrections.complete(frame_);
      ASSERT_EQ(contents(), wanted) << choice << ", the frame itself";
      corrections.complete(frame_);
      ASSERT_EQ(contents(), wanted) << choice << ", and only once";
    }
    newFrame();
    FrameCorrections byRows(format_, steps);
    for (int end = 3; end < format_.height + 3; end += 3) {
      byRows.correctRows(frame_, end);
      const std::size_t known = bytes / static_cast<std::size_t>(format_.height) *
                                static_cast<std::size_t>(std::min(end, format_.height));
      ASSERT_EQ(std::memcmp(frame_.data(), wanted.data(), known), 0) << choice << ", to " << end;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, FrameCorrectionsTest, ::testing::ValuesIn(kCases));

}  // namespace
}  // namespace orvik::test
