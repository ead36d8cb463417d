// SPDX-License-Identifier: MIT
// Dark frames and hot pixels through the members of a camera object.
#include <algorithm>

#include "classes/class_bench.h"
#include "support/own_folder.h"

namespace orvik::test {
namespace {

constexpr int kSensorWidth = 1304;
constexpr int kSensorHeight = 976;
constexpr int kHotX = 203;
constexpr int kHotY = 110;
using Bytes = std::vector<std::uint8_t>;

/// Even light, and one pixel that gets three times as much.
class OneBrightPixel final : public sim::Scene {
 public:
  void illuminate(const sim::SensorFormat&, const sim::Area& area,
                  std::span<float> flux) const override {
    const double perStep = sim::findModel("T15C")->pixel.fullScale / 4095 / 0.01;
    std::size_t n = 0;
    for (int y = area.y; y < area.y + area.height; ++y) {
      for (int x = area.x; x < area.x + area.width; ++x) {
        const int code = x == kHotX && y == kHotY ? 60 : 20;
        flux[n++] = static_cast<float>((16.0 * code + 8) * perStep);
      }
    }
  }
};

class ClassCorrections : public ::testing::Test {
 protected:
  static sim::CameraOptions options() {
    sim::CameraOptions options;
    options.scene = std::make_shared<OneBrightPixel>();
    options.noise = false;
    return options;
  }
  void SetUp() override {
    bench_.open();
    camera().SetRGBBalance(50, 50, false);
    camera().SetBrightness(0);
    camera().SetGain(0, false);
    camera().SetExp(10000, false);
  }
  CCameraT15C& camera() { return bench_.camera; }

  ClassBench<CCameraT15C> bench_{"T15C", options()};
  OwnFolder folder_;
};

TEST_F(ClassCorrections, SinglePixelsAreTestedAndMended) {
  constexpr int kWidth = 96;
  constexpr int kHeight = 62;
  for (const int unit : {1, 256}) {
    const bool is16Bits = unit != 1;
    ASSERT_TRUE(camera().SetResolution(kWidth, kHeight, 1, is16Bits ? IMAGE_RAW16 : IMAGE_8BIT));
    camera().SetStartPos(200, 100);
    const Bytes image = bench_.take(std::size_t{is16Bits ? 2U : 1U} * kWidth * kHeight);
    std::uint32_t mended = 0;
    EXPECT_NEAR(camera().PixelNet(3, 10, kWidth, kHeight, 2), 40 * unit, unit / 8);
    camera().DeNoise(4, 10, kWidth, kHeight, &mended);
    EXPECT_EQ(mended, 0U);
    camera().DeNoise(3, 10, kWidth, kHeight, &mended);
    EXPECT_EQ(mended, 1U);
    EXPECT_EQ(camera().PixelNet(3, 10, kWidth, kHeight, 2), 0);
    camera().DeNoise(3, 10, 100 * kWidth, 100 * kHeight, &mended);
    EXPECT_EQ(mended, 1U) << "no frame is as large as that";
  }
}

TEST_F(ClassCorrections, FramesOfTheRegionAreCorrected) {
  ASSERT_TRUE(camera().SetResolution(96, 62, 1, IMAGE_8BIT));
  camera().SetStartPos(200, 100);
  EXPECT_FALSE(camera().ChangeHPCStatus(HPC_ON)) << "no table yet";
  ASSERT_TRUE(camera().ManualHPC(kHotX, kHotY, true));
  EXPECT_FALSE(camera().ManualHPC(kSensorWidth, 0, true));
  ASSERT_TRUE(camera().ChangeHPCStatus(HPC_ON));
  int onSensor = 0;
  int inRegion = 0;
  camera().GetHPSum(&onSensor, &inRegion);
  EXPECT_TRUE(onSensor == 1 && inRegion == 1);
  constexpr std::size_t kHot = 10 * 96 + 3;
  Bytes frame(96 * 62, 20);
  frame[kHot] = 60;
  camera().HandleHotPixels(frame.data(), 96, 31, false);
  EXPECT_EQ(frame[kHot], 60) << "it is not the region's size";
  camera().HandleHotPixels(frame.data(), 96, 62, false);
  EXPECT_EQ(frame[kHot], 20);
  EXPECT_TRUE(camera().SaveHPCTable());
  ASSERT_TRUE(camera().ManualHPC(kHotX, kHotY, false));
  EXPECT_TRUE(camera().LoadHPCTable());
  camera().GetHPSum(&onSensor, nullptr);
  EXPECT_EQ(onSensor, 1);
}

TEST_F(ClassCorrections, ATableIsStoredAndReadBack) {
  Bytes table(kSensorWidth * kSensorHeight / 8);
  for (std::size_t i = 3; i < table.size(); i += 5003) table[i] = 0x24;
  int length = 0;
  const Bytes stored = CCameraBase::Compress(table.data(), static_cast<int>(table.size()), &length);
  ASSERT_LE(static_cast<std::size_t>(length), stored.size());
  EXPECT_EQ(camera().Uncompress(stored.data(), length), table);
}

TEST_F(ClassCorrections, ADarkIsWrittenTakenAndLoaded) {
  const std::string path = folder_.path() / "dark.bmp";
  const Bytes grey(kSensorWidth * kSensorHeight, 20);
  EXPECT_EQ(camera().LoadBMPFromFile(path.c_str()), 6);
  ASSERT_EQ(CCameraBase::CreateBMP(kSensorWidth, kSensorHeight, grey.data(), path.c_str()), 1);
  EXPECT_EQ(camera().LoadBMPFromFile(path.c_str()), 1);
  EXPECT_EQ(camera().GetBMPPath(), path);
  ASSERT_EQ(CCameraBase::CreateBMP(100, 100, grey.data(), path.c_str()), 1);
  EXPECT_EQ(camera().LoadBMPFromFile(path.c_str()), 7);

  ASSERT_TRUE(camera().SetResolution(kSensorWidth, kSensorHeight, 1, IMAGE_8BIT));
  const int frames = camera().GettingDark(true, 0);
  EXPECT_EQ(frames, 5);
  for (int n = 0; n < frames; ++n) {
    EXPECT_FALSE(camera().IsGetDarkOver());
    bench_.take(grey.size());
  }
  EXPECT_TRUE(camera().IsGetDarkOver());
  int taken = 0;
  int wanted = 0;
  camera().GetDarkCount(&taken, &wanted);
  EXPECT_TRUE(taken == frames && wanted == frames);
  camera().UsingDark(true);
  EXPECT_TRUE(camera().IsUsingDark());
  const Bytes image = bench_.take(grey.size());
  const std::size_t hot = std::size_t{kHotY} * kSensorWidth + kHotX;
  EXPECT_NEAR(image[hot], image[hot + 2], 1) << "subtracted";
  EXPECT_TRUE(camera().AutoGetHPC());
  EXPECT_EQ(camera().SaveBMPToFile(path.c_str()), 1);
}

}  // namespace
}  // namespace orvik::test
