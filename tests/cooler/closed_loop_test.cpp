// SPDX-License-Identifier: MIT
// A driver regulates a virtual camera's cooler over the simulated link and in simulated time.
#include <gtest/gtest.h>

#include <algorithm>

#include "cooler/cooled_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

class Loop {
 public:
  explicit Loop(double ambient) {
    sim::CameraOptions options;
    options.ambient = ambient;
    id_ = bench_.plug(options);
    EXPECT_TRUE(camera.open(1) && camera.initialise());
  }

  struct Extremes {
    double coldest = 1000;
    double warmest = -1000;
  };

  /// Advances the simulated time.
  /// @return the lowest and highest sensor temperature, measured once per second
  Extremes run(std::chrono::seconds duration) {
    Extremes shown;
    for (auto second = 0s; second < duration; ++second) {
      if (!bench_.clock->run(1s)) {
        ADD_FAILURE() << "the thread does not sleep";
        break;
      }
      shown.coldest = std::min(shown.coldest, celsius());
      shown.warmest = std::max(shown.warmest, celsius());
    }
    return shown;
  }

  double celsius() { return bench_.bench.host().sensorCelsius(id_).value(); }

 private:
  CooledBench bench_;
  int id_ = 0;

 public:
  T13C_C camera;
};

class ClosedLoop : public ::testing::TestWithParam<double> {};

TEST_P(ClosedLoop, ReachesMinusTenAndHoldsItForAnHour) {
  Loop loop(GetParam());
  loop.camera.cooler().setRegulation(true, -10);
  const auto cooling = loop.run(10min);
  EXPECT_GT(cooling.coldest, -15) << "the swing past the target";
  const auto held = loop.run(1h);
  EXPECT_GT(held.coldest, -10.7);
  EXPECT_LT(held.warmest, -9.3);
  EXPECT_NEAR(loop.camera.temperature(), loop.celsius(), 0.8)
      << "one step of the converter and noise";
}

INSTANTIATE_TEST_SUITE_P(Ambients, ClosedLoop, ::testing::Values(-5.0, 5.0, 15.0, 20.0, 24.0));

TEST(ClosedLoopLimits, ATargetOutOfReachTakesAllPowerAndIsForgottenAtOnce) {
  Loop loop(20);
  loop.camera.cooler().setRegulation(true, -35);
  loop.run(30min);
  EXPECT_EQ(loop.camera.cooler().power(), 100);
  EXPECT_NEAR(loop.celsius(), -15, 0.1) << "35 degrees below the surroundings are the most";

  loop.camera.cooler().setRegulation(true, 0);
  loop.run(10s);
  EXPECT_LT(loop.camera.cooler().power(), 100) << "half an hour at the limit left nothing behind";
  loop.run(10min);
  const auto held = loop.run(10min);
  EXPECT_GT(held.coldest, -0.7);
  EXPECT_LT(held.warmest, 0.7);
}

}  // namespace
}  // namespace orvik::test
