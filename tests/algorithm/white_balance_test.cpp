// SPDX-License-Identifier: MIT
#include "algorithm/white_balance.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>

#include "algorithm/algorithm.h"
#include "algorithm/frame.h"

namespace orvik::test {
namespace {

class Balance : public testing::Test {
 protected:
  void TearDown() override { CAlgorithm::RGBYUV_Init(); }
};

TEST_F(Balance, GainsFarOutsideStayDefined) {
  const GainTables tables(
      {.red = std::numeric_limits<int32_t>::max(), .blue = std::numeric_limits<int32_t>::min()});
  EXPECT_EQ(tables.red[0], 0);
  EXPECT_EQ(tables.red[1], 255);
  EXPECT_EQ(tables.red[255], 255);
  EXPECT_EQ(tables.blue[255], 0);
}

TEST_F(Balance, RedIsTheFirstArgumentAndInitMakesNeutral) {
  CAlgorithm::SetRGBWB(20, 80);
  EXPECT_EQ(whiteBalance().red, 20);
  EXPECT_EQ(whiteBalance().blue, 80);
  CAlgorithm::RGBYUV_Init();
  EXPECT_EQ(whiteBalance().red, 50);
  EXPECT_EQ(whiteBalance().blue, 50);
}

/// One thread turns the balance to and fro while another demosaics: no race, and no frame mixes.
TEST_F(Balance, ChangesBetweenFramesNeverWithin) {
  constexpr Size kSize{64, 32};
  const Frame<uint8_t> raw(area(kSize), 100);
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
  Frame<uint8_t> bgr(3 * area(kSize));
  for (int frames = 0; frames < 500 || changes < 100; ++frames) {
    CAlgorithm::Bayer2RGB24_GR(raw.data(), bgr.data(), kSize.width, kSize.height);
    const bool oneWay = bgr[2] == 150;
    const uint8_t red = oneWay ? 150 : 50;
    const uint8_t blue = oneWay ? 50 : 150;
    for (size_t i = 0; i < area(kSize); ++i) {
      mixed += bgr[3 * i] != blue || bgr[3 * i + 1] != 100 || bgr[3 * i + 2] != red;
    }
  }
  stop = true;
  changer.join();
  EXPECT_EQ(mixed, 0);
}

}  // namespace
}  // namespace orvik::test
