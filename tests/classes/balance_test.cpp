// SPDX-License-Identifier: MIT
// Automatic exposure and white balance in single steps, and the balance that is shared with
// CAlgorithm.
#include <gmock/gmock.h>

#include <array>

#include "classes/class_bench.h"

namespace orvik::test {
namespace {

using ::testing::ElementsAre;

constexpr int kWidth = 320;
constexpr int kHeight = 240;

std::pair<int, int> balanceOf(const CCameraBase& camera) {
  std::pair<int, int> balance;
  camera.GetRGBBalance(&balance.first, &balance.second, nullptr);
  return balance;
}

template <class Class>
void expectBalanceByTheImage(const char* model) {
  ClassBench<Class> bench(model);
  bench.open();
  Class& camera = bench.camera;
  ASSERT_TRUE(camera.SetResolution(kWidth, kHeight, 1, IMAGE_8BIT));
  camera.SetRGBBalance(50, 50, false);
  const int redX = camera.getColorBayer() == BAYER_GR ? 1 : 0;  // the other one is BAYER_GB
  std::vector<std::uint8_t> raw(kWidth * kHeight, 120);
  for (int y = 1 - redX; y < kHeight; y += 2) {
    for (int x = redX; x < kWidth; x += 2) raw[static_cast<std::size_t>(y * kWidth + x)] = 80;
  }
  camera.AutoWhiBal(raw.data());
  EXPECT_EQ(balanceOf(camera).first, 50) << "not on automatic";
  camera.SetRGBBalance(50, 50, true);
  camera.AutoWhiBal(raw.data());
  EXPECT_NEAR(balanceOf(camera).first, 75, 2);
  EXPECT_NEAR(balanceOf(camera).second, 50, 1);
  camera.AutoWhiBal(raw.data());
  EXPECT_NEAR(balanceOf(camera).first, 75, 2) << "the image is grey now, the raw frame is not";

  std::vector<std::uint8_t> image(std::size_t{3} * kWidth * kHeight, 60);
  std::array<int, 3> deviations = {1, 1, 1};
  std::array<int, 3> means{};
  camera.Get_variance_ave(image.data(), 0, 0, 20, 15, kWidth, kHeight, &deviations[0],
                          &deviations[1], &deviations[2], &means[0], &means[1], &means[2]);
  EXPECT_THAT(means, ElementsAre(59, 59, 59));
  for (std::size_t i = 0; i < image.size(); i += 3) image[i] = 90;
  camera.AutoWB(image.data());
  EXPECT_LT(balanceOf(camera).second, 45) << "less blue";
}

TEST(ClassBalance, OnTheHostLooksAtTheImage) {
  expectBalanceByTheImage<CCameraT01C>("T01C");
  expectBalanceByTheImage<CCameraT03C>("T03C");
}

TEST(ClassBalance, ByHandFromRawFrames) {
  ClassBench<CCameraT15C> bench("T15C");
  bench.open();
  CCameraT15C& camera = bench.camera;
  ASSERT_TRUE(camera.SetResolution(kWidth, kHeight, 1, IMAGE_8BIT));
  camera.SetRGBBalance(50, 50, true);
  std::vector<std::uint8_t> raw(kWidth * kHeight, 120);
  for (int y = 0; y < kHeight; y += 2) {
    for (int x = 0; x < kWidth; x += 2) raw[static_cast<std::size_t>(y * kWidth + x)] = 80;
  }
  camera.AutoWB_RAW(raw.data());
  EXPECT_NEAR(balanceOf(camera).first, 75, 2);

  camera.SetGain(200, true);
  camera.AutoExpGain(std::vector<std::uint8_t>(kWidth * kHeight, 5).data());
  EXPECT_GT(camera.GetGain(nullptr), 200);

  for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = i % 8 < 4 ? 40 : 80;
  int redDeviation = 1;
  int greenDeviation = 0;
  int blueDeviation = 1;
  int red = 0;
  int green = 0;
  int blue = 0;
  camera.Get_variance_ave_RAW(raw.data(), 0, 0, 40, 40, 64, 64, &redDeviation, &greenDeviation,
                              &blueDeviation, &red, &green, &blue);
  EXPECT_NEAR(red, 60, 1);
  EXPECT_NEAR(green, 60, 1);
  EXPECT_NEAR(redDeviation, 20, 1);
  EXPECT_EQ(greenDeviation, 0) << "not asked for";
  EXPECT_NEAR(blueDeviation, 20, 1);
}

TEST(ClassBalance, ACamerasOwnAndTheProcesss) {
  VirtualBench bench;
  const std::vector<std::uint8_t> raw(16 * 16, 100);
  std::vector<std::uint8_t> image(3 * raw.size());
  const auto pixel = [&] {
    return std::vector<int>(image.begin() + 3 * 100, image.begin() + 3 * 101);
  };
  const auto pixelOf = [&](const CCameraBase& camera) {
    camera.Bayer2RGB24(raw.data(), image.data(), 16, 16);
    return pixel();
  };
  const auto pixelOfAlgorithm = [&] {
    CAlgorithm::Bayer2RGB24_GR(raw.data(), image.data(), 16, 16);
    return pixel();
  };
  CCameraT01C first;
  CCameraT03C second;
  CCameraT15C balancedInTheCamera;
  first.SetRGBBalance(99, 25, false);
  second.SetRGBBalance(10, 50, false);
  balancedInTheCamera.SetRGBBalance(1, 99, false);
  EXPECT_THAT(pixelOfAlgorithm(), ElementsAre(100, 100, 20)) << "of the host's, the latest";
  EXPECT_THAT(pixelOf(first), ElementsAre(50, 100, 198));
  EXPECT_THAT(pixelOf(second), ElementsAre(100, 100, 20));
  EXPECT_THAT(pixelOf(balancedInTheCamera), ElementsAre(100, 100, 100));
  first.SetControlValue(Orvik_CTL_WB_R, 50, false);
  EXPECT_THAT(pixelOfAlgorithm(), ElementsAre(50, 100, 100));
  const CCameraT06C madeLater;
  EXPECT_THAT(pixelOfAlgorithm(), ElementsAre(100, 100, 100)) << "neutral again";
}

}  // namespace
}  // namespace orvik::test
