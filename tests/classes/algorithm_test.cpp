// SPDX-License-Identifier: MIT
// Checks that the members of CAlgorithm pass on their arguments; the kernels have their own tests.
#include "orvik/algorithm.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <limits>
#include <thread>
#include <vector>

namespace orvik::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

class Algorithm : public testing::Test {
 protected:
  void TearDown() override { CAlgorithm::RGBYUV_Init(); }
};

TEST_F(Algorithm, EachPatternHasItsName) {
  const Bytes raw = {10, 20, 30, 40};
  Bytes bgr(12);
  const auto redAndBlue = [&](auto demosaic) {
    demosaic(raw.data(), bgr.data(), 2, 2);
    return std::pair<int, int>(bgr[2], bgr[0]);
  };
  EXPECT_EQ(redAndBlue(CAlgorithm::Bayer2RGB24_RG), std::pair(10, 40));
  EXPECT_EQ(redAndBlue(CAlgorithm::Bayer2RGB24_BG), std::pair(40, 10));
  EXPECT_EQ(redAndBlue(CAlgorithm::Bayer2RGB24_GR), std::pair(20, 30));
  EXPECT_EQ(redAndBlue(CAlgorithm::Bayer2RGB24_GB), std::pair(30, 20));
  CAlgorithm::SetRGBWB(100, 25);
  EXPECT_EQ(redAndBlue(CAlgorithm::Bayer2RGB24_RG), std::pair(20, 20)) << "red comes first";
  CAlgorithm::RGBYUV_Init();
  EXPECT_EQ(redAndBlue(CAlgorithm::Bayer2RGB24_RG), std::pair(10, 40));
}

TEST_F(Algorithm, ArgumentsReachTheirPlaces) {
  Bytes image = {1, 2, 3, 4, 5, 6};
  CAlgorithm::SoftMisc(image.data(), 3, 2, 1, false, true, false);
  EXPECT_EQ(image, (Bytes{4, 5, 6, 1, 2, 3})) << "the vertical flip comes first";
  Words words = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  CAlgorithm::SoftMisc(words.data(), 2, 2, 2, true, false, true);
  EXPECT_EQ(words[0], 4) << "of the frame before binning";
  CAlgorithm::MonoBin(nullptr, words.data(), 2, 2, 2, true);
  EXPECT_EQ(words[0], (4 + 3 + 8 + 7) / 4);
  Bytes mosaic(16, 100);
  CAlgorithm::ColorRAWBin(mosaic.data(), nullptr, 2, 2, 2, false);
  EXPECT_EQ(mosaic[0], 255);
  image = {10, 250};
  const Words dark = {12, 0};
  CAlgorithm::SubtractDark(image.data(), 2, 1, 5, dark.data(), false, 0);
  EXPECT_EQ(image, (Bytes{3, 255}));
  Bytes table(256, 9);
  CAlgorithm::Gamma(image.data(), table.data(), 2, 1);
  EXPECT_EQ(image, (Bytes{9, 9}));
  const Bytes white(6, 255);
  CAlgorithm::RGB2Y8(white.data(), image.data(), 2, 1);
  EXPECT_EQ(image, (Bytes{219, 219}));
  CAlgorithm::RGB2R8(white.data(), image.data(), 2, 1);
  EXPECT_EQ(image, (Bytes{255, 255}));
  Bytes yuv(4);
  CAlgorithm::RGB2YUV2(white.data(), yuv.data(), 2, 1, false);
  EXPECT_EQ(yuv, (Bytes{235, 128, 235, 128}));
}

TEST_F(Algorithm, TimeMarksOnlyInEightBitAndColourImages) {
  Bytes image(300 * 30 * 3, 128);
  const Bytes before = image;
  for (const int type : {-1, 2, 3, 4}) CAlgorithm::AddTimeMark(image.data(), 300, 30, type);
  EXPECT_EQ(image, before);
  CAlgorithm::AddTimeMark(image.data(), 300, 30, 0);
  EXPECT_NE(image, before);
}

TEST_F(Algorithm, NothingHappensWithoutAFrame) {
  constexpr int kHuge = std::numeric_limits<int>::max();
  Bytes bytes(64, 7);
  Words words(64, 7);
  const auto call = [](std::uint8_t* a, std::uint16_t* b, std::uint8_t* c, int width, int height,
                       int bin) {
    CAlgorithm::Bayer2RGB24_RG(a, c, width, height);
    CAlgorithm::RGB2Y8(a, c, width, height);
    CAlgorithm::RGB2R8(a, c, width, height);
    CAlgorithm::RGB2YUV2(a, c, width, height, false);
    CAlgorithm::Gamma(a, c, width, height);
    CAlgorithm::Gamma(b, b, c == nullptr ? 0 : width, height);
    CAlgorithm::SubtractDark(a, width, height, 0, c == nullptr ? nullptr : b, true, 0);
    CAlgorithm::AddTimeMark(a, c == nullptr ? 0 : width, height, 1);
    for (const bool is16 : {false, true}) {
      CAlgorithm::MonoBin(a, b, width, height, bin, is16);
      CAlgorithm::ColorRAWBin(a, b, width, height, bin, is16);
      CAlgorithm::SoftMisc(is16 ? static_cast<void*>(b) : a, width, height, bin, is16, true, true);
    }
  };
  call(nullptr, nullptr, bytes.data(), 2, 2, 2);
  call(bytes.data(), words.data(), nullptr, 2, 2, 0);
  for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-4, 4}, {4, -kHuge}}) {
    call(bytes.data(), words.data(), bytes.data(), width, height, 2);
  }
  CAlgorithm::SoftMisc(bytes.data(), kHuge, kHuge, kHuge, false, true, true);
  CAlgorithm::MonoBin(bytes.data(), nullptr, 1, kHuge, 2, false);
  EXPECT_EQ(bytes, Bytes(64, 7));
  EXPECT_EQ(words, Words(64, 7));
}

/// One thread switches the balance back and forth while another demosaics: there is no race, and no
/// frame mixes two balances.
TEST_F(Algorithm, TheBalanceChangesBetweenFramesNeverWithin) {
  constexpr int kWidth = 64;
  constexpr int kHeight = 32;
  const Bytes raw(kWidth * kHeight, 100);
  std::atomic<bool> stop{false};
  std::atomic<int> changes{0};
  CAlgorithm::SetRGBWB(25, 75);
  std::thread changer([&] {
    while (!stop) {
      CAlgorithm::SetRGBWB(75, 25);
      CAlgorithm::SetRGBWB(25, 75);
      ++changes;
    }
  });
  int mixed = 0;
  Bytes bgr(3 * raw.size());
  for (int frames = 0; frames < 500 || changes < 100; ++frames) {
    CAlgorithm::Bayer2RGB24_GR(raw.data(), bgr.data(), kWidth, kHeight);
    const bool oneWay = bgr[2] == 150;
    const int red = oneWay ? 150 : 50;
    const int blue = oneWay ? 50 : 150;
    for (std::size_t i = 0; i < raw.size(); ++i) {
      mixed += bgr[3 * i] != blue || bgr[3 * i + 1] != 100 || bgr[3 * i + 2] != red ? 1 : 0;
    }
  }
  stop = true;
  changer.join();
  EXPECT_EQ(mixed, 0);
}

}  // namespace
}  // namespace orvik::test
