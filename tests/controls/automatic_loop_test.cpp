// SPDX-License-Identifier: MIT
// Automatic exposure, gain and white balance in closed loop with every virtual camera.
#include <gtest/gtest.h>

#include <cstdio>

#include "controls/automatic_bench.h"
#include "models/models.h"

namespace orvik::test {
namespace {

/// Checks that the brightness is within 15 percent of the goal, with a tolerance of two levels for
/// the noise.
void expectGoalReached(AutomaticBench& bench, double goal) {
  const double brightness = bench.means().all;
  EXPECT_GE(brightness, goal * 0.85 - 2);
  EXPECT_LE(brightness, goal * 1.15 + 2);
}

void report(const std::string& what, int rounds) {
  std::printf("[  rounds  ] %s: %d\n", what.c_str(), rounds);
  EXPECT_GE(rounds, 0) << "no rest";
  EXPECT_NE(rounds, 0) << "there was something to do";
}

class AutomaticLoop : public ::testing::TestWithParam<std::string> {
 protected:
  /// The initial settings of a loop and the controls that it may change.
  struct Start {
    const char* name;
    std::uint64_t exposureUs;
    int gainPercent;  ///< percentage of the model's maximum gain
    bool exposureAuto;
    bool gainAuto;
  };

  /// Light in which every model reaches every goal with an exposure below a tenth of a second. With
  /// longer exposures the capture worker follows the frames, and no rounds can be counted.
  static sim::CameraOptions bright() {
    sim::CameraOptions options;
    options.light = 4;
    return options;
  }

  static void runFrom(const Start& start, int goal) {
    SCOPED_TRACE(start.name);
    AutomaticBench bench(GetParam(), bright());
    const ControlRange& gain = bench.camera().model().gain;
    bench.camera().state().autoMaxGain = gain.max;
    bench.camera().state().autoMaxExposure = 30;
    bench.camera().state().autoTargetBrightness = goal;
    bench.camera().setExposure(start.exposureUs, start.exposureAuto);
    bench.camera().setGain(gain.max * start.gainPercent / 100, start.gainAuto);
    bench.start();
    report(GetParam() + " " + start.name, bench.roundsToRest());
    expectGoalReached(bench, goal);
  }
};

TEST_P(AutomaticLoop, ExposureFindsTheGoalFromBlackAndFromWhite) {
  runFrom({"exposure from black", 100, 33, true, false}, 100);
  runFrom({"exposure from white", 95'000, 33, true, false}, 100);
  runFrom({"exposure from black to 160", 100, 33, true, false}, 160);
  runFrom({"exposure from white to 50", 95'000, 33, true, false}, 50);
}

TEST_P(AutomaticLoop, ExposureAndGainFindTheGoalTogether) {
  runFrom({"exposure and gain from black", 100, 0, true, true}, 100);
  runFrom({"exposure and gain from white", 95'000, 100, true, true}, 100);
}

TEST_P(AutomaticLoop, WhiteBalanceMakesAGreyScreenGrey) {
  for (const auto& [name, colour] : {std::pair{"red", sim::LightColour{1, 0.6, 0.6}},
                                     std::pair{"blue", sim::LightColour{0.6, 0.8, 1}}}) {
    SCOPED_TRACE(name);
    sim::CameraOptions options = bright();
    options.colour = colour;
    AutomaticBench bench(GetParam(), options);
    if (!bench.camera().model().colour) GTEST_SKIP() << "a camera without colours";
    bench.setFormat(320, 240, 1, IMAGE_RGB24);
    bench.camera().setWhiteBalance(52, 95, false);
    bench.camera().setExposure(8000, true);
    bench.start();
    ASSERT_GE(bench.roundsToRest(), 0);
    bench.camera().setExposure(bench.now().exposureUs, false);
    bench.camera().setWhiteBalance(52, 95, true);
    const ImageMeans before = bench.means();
    report(GetParam() + " " + name + " light", bench.roundsToRest());
    const ImageMeans after = bench.means();
    EXPECT_GT(std::abs(before.red - before.green) + std::abs(before.blue - before.green), 10);
    EXPECT_NEAR(after.red, after.green, 6);
    EXPECT_NEAR(after.blue, after.green, 6);
    EXPECT_TRUE(bench.now().whiteBalanceAuto);
  }
}

INSTANTIATE_TEST_SUITE_P(, AutomaticLoop, ::testing::ValuesIn(modelsToRun()),
                         [](const auto& instance) { return instance.param; });

TEST(AutomaticLoopT15C, GainAloneFindsTheGoal) {
  for (const int gain : {0, 600}) {
    AutomaticBench bench("T15C");
    bench.camera().state().autoMaxGain = 600;
    bench.camera().state().autoMaxExposure = 30;
    bench.camera().state().autoTargetBrightness = 100;
    bench.camera().setExposure(10000, false);
    bench.camera().setGain(gain, true);
    bench.start();
    report("T15C gain from " + std::to_string(gain), bench.roundsToRest());
    expectGoalReached(bench, 100);
    EXPECT_EQ(bench.now().exposureUs, 10000U);
    EXPECT_TRUE(bench.now().gainAuto);
  }
}

TEST(AutomaticLoopT15C, TheGoalIsTheImagesBrightnessInEveryFormat) {
  struct Format {
    const char* name;
    int bin;
    bool hardwareBin;
    IMAGE_TYPE type;
  };
  for (const Format& format : {Format{"8 bits, binned by the host", 2, false, IMAGE_8BIT},
                               Format{"8 bits, binned on the sensor", 2, true, IMAGE_8BIT},
                               Format{"8 bits, binned in the camera", 3, true, IMAGE_8BIT},
                               Format{"16 bits", 1, false, IMAGE_RAW16},
                               Format{"16 bits, binned by the host", 2, false, IMAGE_RAW16}}) {
    SCOPED_TRACE(format.name);
    AutomaticBench bench("T15C");
    ASSERT_TRUE(bench.camera().setHardwareBin(format.hardwareBin));
    bench.setFormat(320, 240, format.bin, format.type);
    bench.camera().setExposure(200, true);
    bench.start();
    report(format.name, bench.roundsToRest());
    expectGoalReached(bench, 100);
  }
}

}  // namespace
}  // namespace orvik::test
