// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "sim/bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

sim::CameraOptions plain(sim::Pace pace) {
  sim::CameraOptions options;
  options.pace = pace;
  options.sceneKind = sim::SceneKind::kGrey;
  return options;
}

constexpr auto kSoon = 5s;

/// Waits for the end of a transfer that must end well, and gives what came.
Bytes collect(Fetch& fetch) {
  EXPECT_TRUE(fetch.transfer->wait(kSoon));
  EXPECT_EQ(fetch.transfer->status(), TransferStatus::kOk);
  return fetch.received();
}

TEST(Stream, SequenceWrapsAtSixteenBits) {
  Bench bench(plain(sim::Pace::kFree));
  Program program;
  program.columns = 8;
  program.rows = 2;
  bench.start(program);
  Fetch fetch = bench.newFetch(program.frameBytes());
  int last = -1;
  for (int n = 0; n < 65600; ++n) {
    ASSERT_EQ(fetch.submit(), TransferStatus::kOk);
    ASSERT_TRUE(fetch.transfer->wait(kSoon));
    last = sequenceOf(*fetch.memory).value_or(-1);
    ASSERT_EQ(last, n & 0xFFFF);
  }
}

TEST(Stream, NeedsStreamingAnAwakeSensorAndARunningFpga) {
  Bench bench(plain(sim::Pace::kFree));
  const Program program;
  bench.start(program);
  struct Case {
    const char* name;
    std::function<void()> off, on;
  };
  for (const Case& c :
       {Case{"streaming", [&] { bench.out(0xAA); }, [&] { bench.out(0xA9); }},
        Case{"standby", [&] { bench.sensor(0x3000, 1); }, [&] { bench.sensor(0x3000, 0); }},
        Case{"halt", [&] { bench.fpga(0, 0x31); }, [&] { bench.fpga(0, 0x21); }},
        Case{"idle", [&] { bench.fpga(0, 0x30); }, [&] { bench.fpga(0, 0x21); }},
        Case{"sensor clock", [&] { bench.out(0xAE); }, [&] { bench.out(0xAF); }}}) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(bench.fetchFrame(program.frameBytes()).empty());
    c.off();
    Fetch fetch = bench.newFetch(program.frameBytes());
    ASSERT_EQ(fetch.submit(), TransferStatus::kOk);
    EXPECT_FALSE(fetch.transfer->wait(kQuiet)) << "stays in flight";
    c.on();
    EXPECT_TRUE(sequenceOf(collect(fetch)).has_value());
  }
}

TEST(Stream, AnExposureKeepsTheSettingsOfItsBeginning) {
  Bench bench(plain(sim::Pace::kReal));
  const Program slow{.frameLines = 60000};
  bench.start(slow);
  bench.fpga(16, 1000 & 0xFF);
  bench.fpga(17, 1000 >> 8);
  Fetch fetch = bench.newFetch(slow.frameBytes());
  fetch.submit();
  bench.advance(slow.frameTime() - 1us);
  EXPECT_FALSE(fetch.transfer->wait(kQuiet));
  bench.advance(1us);
  collect(fetch);
  fetch.submit();
  bench.advance(Program{.frameLines = 1000}.frameTime());
  collect(fetch);
}

TEST(Stream, AFrameWaitsForTheHostAndTheNextOnesAreLost) {
  Bench bench(plain(sim::Pace::kReal));
  const Program program;
  bench.start(program);
  const auto settle = [] { std::this_thread::sleep_for(kQuiet); };
  bench.advance(program.frameTime());  // 0 is held
  settle();
  bench.advance(2 * program.frameTime());  // 1 and 2 find no room
  settle();
  EXPECT_EQ(sequenceOf(bench.fetchFrame(program.frameBytes())), 0);
  bench.advance(program.frameTime());
  EXPECT_EQ(sequenceOf(bench.fetchFrame(program.frameBytes())), 3);
}

TEST(Stream, AMachineTooSlowLosesFramesAndNotTheTime) {
  Bench bench(plain(sim::Pace::kReal));
  const Program program;
  bench.start(program);
  bench.advance(100 * program.frameTime());
  std::this_thread::sleep_for(kQuiet);
  EXPECT_EQ(sequenceOf(bench.fetchFrame(program.frameBytes())), 0);
  bench.advance(program.frameTime());
  // The last frame of the slow time still goes out when the host asks early enough.
  EXPECT_THAT(sequenceOf(bench.fetchFrame(program.frameBytes())),
              ::testing::AnyOf(::testing::Optional(99), ::testing::Optional(100)));
}

TEST(Stream, StoppingThrowsTheWaitingFrameAway) {
  Bench bench(plain(sim::Pace::kReal));
  const Program program;
  bench.start(program);
  bench.advance(program.frameTime());
  std::this_thread::sleep_for(kQuiet);
  bench.stop();
  Fetch fetch = bench.newFetch(program.frameBytes());
  fetch.submit();
  EXPECT_FALSE(fetch.transfer->wait(kQuiet));
  bench.start(program);
  bench.advance(program.frameTime());
  EXPECT_EQ(sequenceOf(collect(fetch)), 1) << "frame 0 was lost with the stop";
}

TEST(Stream, LongExposureLastsFromShutterOpenToShutterClosed) {
  sim::CameraOptions options = plain(sim::Pace::kReal);
  options.noise = false;
  options.light = 0.001;
  Bench bench(options);
  const Program program{.wide = true, .run = 0xE1};
  bench.start(program);
  const auto levelAfter = [&](seam::Clock::Duration exposure) {
    Fetch fetch = bench.newFetch(program.frameBytes());
    fetch.submit();
    bench.fpga(0x0B, 1);
    bench.advance(exposure);
    EXPECT_FALSE(fetch.transfer->wait(kQuiet)) << "no frame before the shutter closes";
    bench.fpga(0x0B, 0);
    bench.advance(program.readoutTime() - 1us);
    EXPECT_FALSE(fetch.transfer->wait(kQuiet)) << "a row takes a line to come off the sensor";
    bench.advance(1us);
    const Bytes frame = collect(fetch);
    EXPECT_TRUE(sequenceOf(frame).has_value());
    return wordOf(frame, frame.size() / 4 + 1) / 16;
  };
  const int level = levelAfter(20s);
  EXPECT_GT(level, 100);
  EXPECT_NEAR(levelAfter(60s), 3 * level, 2);

  bench.advance(10s);
  bench.fpga(0x0B, 0);
  bench.advance(10s);
  EXPECT_FALSE(bench.sends(program.frameBytes())) << "a shutter that was not open ends no exposure";
}

}  // namespace
}  // namespace orvik::test
