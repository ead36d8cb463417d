// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "sim/bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

Bench cooledBench(double ambient, bool noise = false) {
  sim::CameraOptions options;
  options.ambient = ambient;
  options.noise = noise;
  return Bench(options, std::make_shared<ManualClock>(), "T13C_C");
}

double celsius(Bench& bench) { return bench.host().sensorCelsius(bench.id()).value(); }

int converterValue(Bench& bench) {
  const Bytes answer = bench.in(0xC7, 0, 0, 2).value();
  EXPECT_EQ(answer[0] & 0x0F, 0);
  EXPECT_EQ(answer[1] & 0xF0, 0);
  return answer[1] * 16 + answer[0] / 16;
}

TEST(Cooler, TheThermistorDividesInHalfAt25Degrees) {
  Bench bench = cooledBench(25);
  EXPECT_THAT(bench.in(0xC7, 0, 0, 2).value(), ElementsAre(0x00, 0x08));
  EXPECT_FALSE(bench.in(0xB3, 0, 0, 2).has_value()) << "it has no thermometer chip";
  int last = 255;
  for (int ambient = -40; ambient <= 60; ambient += 2) {
    Bench at = cooledBench(ambient);
    const int value = converterValue(at);
    EXPECT_LT(value, last) << ambient;
    last = value;
  }
}

TEST(Cooler, MoreDriveIsNeverWarmer) {
  double last = -100;
  for (int drive = 0; drive <= 255; ++drive) {
    Bench bench = cooledBench(20);
    bench.out(0xB2, drive);
    bench.advance(1h);
    const double now = celsius(bench);
    if (drive <= 47) {
      ASSERT_NEAR(now, -15, 1e-6) << "the current source gives no more, at " << drive;
    } else {
      ASSERT_GT(now, last) << drive;
    }
    last = now;
  }
  EXPECT_NEAR(last, 20, 1e-6);
}

TEST(Cooler, FollowsWithAMinutesTimeConstantAndNeverJumps) {
  Bench bench = cooledBench(20);
  bench.out(0xB2, 47);
  bench.advance(60s);
  EXPECT_NEAR(celsius(bench), 20 - 35 * (1 - std::exp(-1)), 0.01);
  double last = celsius(bench);
  for (int second = 0; second < 600; ++second) {
    if (second % 7 == 0) bench.out(0xB2, second % 2 == 0 ? 0 : 255);
    ASSERT_NEAR(celsius(bench), last, 1e-9) << "a change of current alone changes nothing";
    bench.advance(1s);
    ASSERT_LT(std::abs(celsius(bench) - last), 1);
    last = celsius(bench);
  }
}

TEST(Cooler, TheConverterIsALittleNoisyAndReproducible) {
  // Just between two values of the converter, where noise shows most.
  Bench first = cooledBench(20.18, true);
  Bench second = cooledBench(20.18, true);
  Bench quiet = cooledBench(20.18, false);
  std::set<int> values;
  for (int n = 0; n < 200; ++n) {
    const int value = converterValue(first);
    ASSERT_EQ(converterValue(second), value);
    values.insert(value);
    ASSERT_NEAR(value, converterValue(quiet), 1);
  }
  EXPECT_EQ(values.size(), 2U);
}

}  // namespace
}  // namespace orvik::test
