// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/exposure_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace orvik::ctl {
namespace {

using State = ExposureSearch::State;
using std::chrono::microseconds;

/// A sensor under steady light: linear from a black level to saturation, in steps, with noise.
struct Sensor {
  double perSecond;  ///< of the range
  double black = 0.003;
  int steps = 4095;
  double noise = 0.001;
  std::mt19937 random{7};

  double level(microseconds exposure) {
    const double seconds = std::chrono::duration<double>(exposure).count();
    const double exact = black + perSecond * seconds;
    const double noisy = exact * (1 + noise * std::normal_distribution<>()(random));
    return std::round(std::clamp(noisy, 0.0, 1.0) * steps) / steps;
  }
};

constexpr ExposureSearch::Limits kLimits{microseconds(32), microseconds(30'000'000)};

State search(ExposureSearch& exposures, Sensor& sensor, int& trials) {
  for (trials = 1;; ++trials) {
    const State state = exposures.tell(sensor.level(exposures.exposure()));
    if (state != State::kSearching) return state;
  }
}

TEST(ExposureSearch, FindsTheExposure) {
  for (const double wanted : {0.06, 0.5, 0.9}) {
    for (double perSecond = 0.035; perSecond < 1300; perSecond *= 1.7) {
      for (const auto& [black, steps] : {std::pair(0.0, 65535), {0.04, 4095}, {0.02, 255}}) {
        const double exact = (wanted - black) / perSecond;
        if (exact < 40e-6) continue;  // the shortest exposure is too bright
        Sensor sensor{.perSecond = perSecond, .black = black, .steps = steps};
        ExposureSearch exposures(wanted, kLimits);
        int trials = 0;
        EXPECT_EQ(search(exposures, sensor, trials), State::kFound)
            << wanted << ' ' << perSecond << ' ' << steps;
        EXPECT_NEAR(std::chrono::duration<double>(exposures.exposure()).count() / exact, 1, 0.12)
            << wanted << ' ' << perSecond << ' ' << steps;
        EXPECT_LE(trials, 8);
      }
    }
  }
}

TEST(ExposureSearch, SaysWhatIsWrongWithTheLight) {
  int trials = 0;
  for (const double perSecond : {0.0, 1e-5, 0.001, 0.014}) {
    Sensor weak{.perSecond = perSecond};
    ExposureSearch exposures(0.5, kLimits);
    EXPECT_EQ(search(exposures, weak, trials), State::kTooDark) << perSecond;
  }
  for (const double perSecond : {2e4, 1e9}) {
    Sensor strong{.perSecond = perSecond};
    ExposureSearch exposures(0.5, kLimits);
    EXPECT_EQ(search(exposures, strong, trials), State::kTooBright) << perSecond;
    EXPECT_EQ(trials, 1);
  }
  ExposureSearch exposures(0.5, kLimits);
  State state = State::kSearching;
  for (int n = 0; n < 20 && state == State::kSearching; ++n) {
    state = exposures.tell(n % 2 == 0 ? 0.01 : 0.95);
  }
  EXPECT_EQ(state, State::kUnsteady);
}

TEST(ExposureSearch, FollowsTheDusk) {
  Sensor sensor{.perSecond = 10};
  ExposureSearch exposures(0.4, kLimits);
  int trials = 0;
  ASSERT_EQ(search(exposures, sensor, trials), State::kFound);
  const auto before = exposures.exposure();
  EXPECT_EQ(exposures.follow(0.43), State::kFound);
  EXPECT_EQ(exposures.exposure(), before) << "less than a tenth";
  for (; sensor.perSecond > 0.02; sensor.perSecond *= 0.88) {
    const double level = sensor.level(exposures.exposure());
    EXPECT_NEAR(level, 0.4, 0.4 * 0.24) << "two steps of an eighth at most";
    ASSERT_EQ(exposures.follow(level), State::kFound) << sensor.perSecond;
  }
  sensor.perSecond = 0.01;
  EXPECT_EQ(exposures.follow(sensor.level(exposures.exposure())), State::kTooDark);
}

TEST(Level, IsOfSixteenBitsOrPercent) {
  EXPECT_DOUBLE_EQ(*parseLevel("50%"), 0.5);
  EXPECT_DOUBLE_EQ(*parseLevel("13107"), 0.2);
  for (const char* bad : {"", "%", "50 %", "0.5", "95%", "4%", "70000", "nan%", "1e9999", "x"}) {
    EXPECT_FALSE(parseLevel(bad)) << bad;
  }
}

}  // namespace
}  // namespace orvik::ctl
