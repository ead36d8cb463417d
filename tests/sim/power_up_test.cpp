// SPDX-License-Identifier: MIT
// What a virtual camera lacks before its driver has initialised it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "sim/older_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

sim::CameraOptions grey() {
  sim::CameraOptions options = idealOptions();
  options.sceneKind = sim::SceneKind::kGrey;
  return options;
}

struct Look {
  double mean = 0;
  double columns = 0;  ///< deviation of the columns' means
};

Look lookOf(const Bytes& frame, int columns) {
  const auto width = static_cast<std::size_t>(columns);
  const std::size_t rows = frame.size() / 2 / width;
  std::vector<double> means(width);
  Look look;
  for (std::size_t x = 0; x < width; ++x) {
    for (std::size_t y = 2; y + 2 < rows; ++y) means[x] += wordOf(frame, y * width + x) / 16;
    means[x] /= static_cast<double>(rows - 4);
    look.mean += means[x] / static_cast<double>(width);
  }
  // Columns of one colour, so that the mosaic does not show.
  for (std::size_t x = 2; x < width; x += 2) look.columns += std::abs(means[x] - means[x - 2]);
  look.columns /= static_cast<double>(width / 2);
  return look;
}

/// What a frame looks like when register `address` of the sensor is as after power-up; 0 for none.
Look lookWithout(const char* model, int address) {
  Bench bench(grey(), std::make_shared<ManualClock>(), model);
  const Program p{.wide = true, .lineCycles = 700};
  bench.program(p);
  if (address != 0) {
    const int value = bench.in(0xB7, address).value().front();
    bench.sensor(address, value ^ 0x55);
  }
  bench.run();
  return lookOf(bench.fetchFrame(p.frameBytes()), p.columns);
}

TEST(PowerUp, ASensorWithoutItsTableGivesAVisiblyWrongPicture) {
  for (const char* model : {"T15C", "T11C"}) {
    SCOPED_TRACE(model);
    const Look good = lookWithout(model, 0);
    EXPECT_GT(good.mean, 200);
    EXPECT_LT(good.columns, 10);
    EXPECT_GT(lookWithout(model, 0x3016).mean, good.mean + 500) << "the black reference";
    EXPECT_GT(lookWithout(model, 0x309E).columns, good.columns + 50) << "the column amplifiers";
    EXPECT_LT(lookWithout(model, 0x329C).mean, good.mean / 2) << "the converter";
  }
  const Look good = lookWithout("T15C", 0);
  EXPECT_GT(lookWithout("T15C", 0x3114).columns, good.columns + 50) << "of its long list";
}

TEST(PowerUp, NothingComesBeforeClockAndSynchronismAreSet) {
  const Program p{.columns = 1304, .rows = 976, .wide = true};
  const auto sends = [&](const std::function<void(Bench&)>& spoil) {
    Bench bench(grey());
    bench.program(p);
    spoil(bench);
    bench.run();
    return bench.sends(p.frameBytes());
  };
  EXPECT_FALSE(sends([](Bench& b) { b.sensor(0x3002, 0); })) << "the sensor is not the slave";
  EXPECT_FALSE(sends([](Bench& b) { b.sensor(0x3049, 0x0A); })) << "it sends its own syncs";
  EXPECT_FALSE(sends([](Bench& b) { b.sensor(0x305C, 0x0C); })) << "the generator does not lock";

  // A camera that nobody has initialised: registers alone do not make the sensor run.
  Bench bench(grey());
  Program alone = p;
  alone.initialised = false;
  bench.start(alone);
  Fetch fetch = bench.newFetch(p.frameBytes());
  fetch.submit();
  EXPECT_FALSE(fetch.transfer->wait(kQuiet));
  bench.initialise();
  EXPECT_TRUE(fetch.transfer->wait(5s));
}

TEST(PowerUp, WithoutAWindowTheWholeSensorIsReadAndColoursNeedTheirGains) {
  Bench bench(grey());
  const Program p{.wide = true};
  bench.start(p);
  EXPECT_GT(lookOf(bench.fetchFrame(p.frameBytes()), p.columns).mean, 200);
  for (const int gain : {12, 13, 14, 15}) bench.fpga(gain, 0);
  EXPECT_EQ(lookOf(bench.fetchFrame(p.frameBytes()), p.columns).mean, 0);
  bench.sensor(0x3007, 0);
  EXPECT_FALSE(bench.sends(p.frameBytes())) << "more than the FPGA waits for";
}

TEST(PowerUp, OlderSensorsNeedTheirClockToo) {
  for (const char* model : {"T06M", "T02C"}) {
    SCOPED_TRACE(model);
    OlderBench bench(model, grey());
    bench.runSensor(true);
    bench.out(0xA9);
    const std::size_t bytes = static_cast<std::size_t>(sim::findModel(model)->sensor.width) *
                              static_cast<std::size_t>(sim::findModel(model)->sensor.height);
    const int line = sim::findModel(model)->sensor.width + 94;
    bench.fpga(19, line & 0xFF);
    bench.fpga(20, line >> 8);
    Fetch fetch = bench.newFetch(bytes);
    fetch.submit();
    EXPECT_FALSE(fetch.transfer->wait(kQuiet));
    bench.out(0xAF);
    EXPECT_TRUE(fetch.transfer->wait(5s));
  }
}

TEST(PowerUp, RequestsThatComeToNothingAreNoted) {
  Bench bench;
  bench.initialise();
  EXPECT_TRUE(bench.host().strays(bench.id()).empty());
  bench.sensor(0x3FFF, 1);
  bench.sensor(0x3040, 1);
  bench.fpga(3, 1);
  bench.in(0xBC, 200);
  bench.out(0x01);
  const auto strays = bench.host().strays(bench.id());
  ASSERT_EQ(strays.size(), 5U);
  EXPECT_EQ(strays[0].setup.value, 0x3FFF);
  EXPECT_FALSE(strays[3].refused);
  EXPECT_TRUE(strays[4].refused);

  OlderBench older("T03C");
  older.word(0x3012, 1);
  older.word(0x300E, 100);
  older.fpga(12, 1);
  EXPECT_EQ(older.host().strays(older.id()).size(), 2U) << "it has no over-clock";
}

}  // namespace
}  // namespace orvik::test
