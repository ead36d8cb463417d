// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/settle_rule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace orvik::ctl {
namespace {

using State = SettleRule::State;

struct Verdict {
  State state = State::kOnTheWay;
  double seconds = 0;
};

/// Lets a ramp go from 10 to -10 degC in 20 s, and the temperature and the power follow functions
/// of the time, until the rule has decided, or for an hour.
Verdict judge(
    std::optional<double> settle, const std::function<double(double)>& temperature,
    const std::function<int(double)>& power = [](double) { return 50; }) {
  SettleRule rule(-10, settle);
  for (double t = 0; t < 3600; ++t) {
    const int target = std::max(-10, static_cast<int>(10 - t));
    const State state = rule.next(
        {.seconds = t, .temperature = temperature(t), .target = target, .power = power(t)});
    if (state != State::kOnTheWay) return {state, t};
  }
  return {};
}

TEST(SettleRule, BeginsAtTheEndOfTheRamp) {
  const Verdict atOnce = judge({}, [](double) { return -10.0; });
  EXPECT_EQ(atOnce.state, State::kHolds);
  EXPECT_EQ(atOnce.seconds, 20) << "a temperature that is reached early waits for its ramp";
  const Verdict later = judge({}, [](double t) { return std::max(-10.0, 10 - t / 2); });
  EXPECT_EQ(later.state, State::kHolds);
  EXPECT_EQ(later.seconds, 38) << "within a degree";
}

TEST(SettleRule, WaitsUntilTheTemperatureHolds) {
  const Verdict still = judge(60, [](double t) { return t < 50 ? -5.0 : -10.0; });
  EXPECT_EQ(still.state, State::kHolds);
  EXPECT_EQ(still.seconds, 110);
  const Verdict disturbed = judge(60, [](double t) { return t < 50 || t == 80 ? -5.0 : -10.0; });
  EXPECT_EQ(disturbed.seconds, 141) << "the time begins anew";
  const Verdict noisy = judge(60, [](double t) { return std::fmod(t, 2) < 1 ? -9.1 : -10.6; });
  EXPECT_EQ(noisy.state, State::kHolds) << "the thermistor's steps do not hinder";
  const Verdict offside = judge(60, [](double t) { return t < 300 ? -9.2 : -9.8; });
  EXPECT_GT(offside.seconds, 300) << "within a degree, but not on average within half of one";
}

TEST(SettleRule, FindsThatATargetIsOutOfReach) {
  const auto full = [](double) { return 100; };
  const Verdict weak = judge(
      {}, [](double) { return -3.0; }, full);
  EXPECT_EQ(weak.state, State::kOutOfReach);
  EXPECT_EQ(weak.seconds, 140) << "two minutes after the ramp";
  const Verdict slow = judge(
      10, [](double t) { return std::max(-10.0, 10 - t / 100); }, full);
  EXPECT_EQ(slow.state, State::kOutOfReach) << "on its way, but after a quarter of an hour";
  EXPECT_NEAR(slow.seconds, 930, 2);
  const Verdict arrives = judge(
      {}, [](double t) { return std::max(-10.0, 10 - t / 40); }, full);
  EXPECT_EQ(arrives.state, State::kHolds) << "gets colder with its full power";
  EXPECT_EQ(judge(
                {}, [](double) { return -30.0; }, [](double) { return 0; })
                .state,
            State::kOutOfReach)
      << "a cooler does not heat";
}

}  // namespace
}  // namespace orvik::ctl
