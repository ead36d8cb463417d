// SPDX-License-Identifier: MIT
// Which frames a virtual camera sends when, and what the link to its host carries of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "sim/bench.h"
#include "sim/wire/bus.h"

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

/// Waits for a transfer that must succeed, and returns its data.
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
        Case{"bus reset", [&] { bench.port().reset(); }, [&] { bench.out(0xA9); }},
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

TEST(Stream, AFilterDoesNotChangeThePicturesThatAreRepeated) {
  sim::CameraOptions options = plain(sim::Pace::kFree);
  options.frameFilter = [](Bytes& frame) {
    frame[100] ^= 0xFFU;
    return true;
  };
  Bench bench(options);
  const Program program;
  bench.start(program);
  Bytes values;
  for (int n = 0; n < 12; ++n) values.push_back(bench.fetchFrame(program.frameBytes()).at(100));
  for (std::size_t n = 4; n < 12; ++n) EXPECT_EQ(values[n], values[n - 4]) << n;
}

TEST(Stream, AFrameWaitsForTheHostAndTheNextOnesAreLost) {
  Bench bench(plain(sim::Pace::kReal));
  const Program program;
  bench.start(program);
  bench.advance(program.frameTime());  // 0 is held
  ASSERT_TRUE(bench.settle());
  bench.advance(2 * program.frameTime());  // 1 and 2 find no room
  ASSERT_TRUE(bench.settle());
  EXPECT_EQ(sequenceOf(bench.fetchFrame(program.frameBytes())), 0);
  bench.advance(program.frameTime());
  EXPECT_EQ(sequenceOf(bench.fetchFrame(program.frameBytes())), 3);
}

TEST(Stream, AMachineTooSlowLosesFramesAndNotTheTime) {
  Bench bench(plain(sim::Pace::kReal));
  const Program program;
  bench.start(program);
  bench.advance(100 * program.frameTime());
  ASSERT_TRUE(bench.settle());
  EXPECT_EQ(sequenceOf(bench.fetchFrame(program.frameBytes())), 0);
  bench.advance(program.frameTime());
  // The last frame before the clock moved is still sent if the host asks early enough.
  EXPECT_THAT(sequenceOf(bench.fetchFrame(program.frameBytes())),
              ::testing::AnyOf(::testing::Optional(99), ::testing::Optional(100)));
}

TEST(Stream, StoppingThrowsTheWaitingFrameAway) {
  Bench bench(plain(sim::Pace::kReal));
  const Program program;
  bench.start(program);
  bench.advance(program.frameTime());
  ASSERT_TRUE(bench.settle());
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

TEST(Bus, GivesEachAnEqualPartAndWhatTheOthersDoNotNeed) {
  sim::Bus bus(40e6);
  const int a = 0;
  const int b = 0;
  const int c = 0;
  EXPECT_DOUBLE_EQ(bus.shareOf(&a), 40e6);
  bus.want(&a, 35e6);
  EXPECT_DOUBLE_EQ(bus.shareOf(&a), 40e6);
  EXPECT_DOUBLE_EQ(bus.shareOf(&b), 20e6);
  bus.want(&b, 5e6);
  EXPECT_DOUBLE_EQ(bus.shareOf(&a), 35e6);
  EXPECT_DOUBLE_EQ(bus.shareOf(&b), 20e6) << "it may ask for more";
  bus.want(&c, 35e6);
  EXPECT_DOUBLE_EQ(bus.shareOf(&a), 17.5e6);
  bus.want(&a, 0);
  bus.want(&c, 0);
  EXPECT_DOUBLE_EQ(bus.shareOf(&b), 40e6);
}

/// 82.9 MB/s while rows come: 1304 bytes in a line of 15.73 us.
constexpr Program kFast{.columns = 1304, .rows = 976, .frameLines = 994};

/// Fetches a frame while time passes in small steps.
/// @return its bytes, and how long after `start` they were there.
std::pair<std::size_t, seam::Clock::Duration> fetchInSteps(Bench& bench, std::size_t bytes) {
  constexpr auto kStep = 100us;
  Fetch fetch = bench.newFetch(bytes);
  EXPECT_EQ(fetch.submit(), TransferStatus::kOk);
  seam::Clock::Duration passed{};
  while (!fetch.transfer->wait(2ms) && passed < 1s) {
    bench.advance(kStep);
    passed += kStep;
  }
  return {fetch.received().size(), passed};
}

sim::CameraOptions onCable(double megabytesPerSecond) {
  sim::CameraOptions options;
  options.sceneKind = sim::SceneKind::kDark;
  options.link = {.rate = sim::LinkOptions::Rate::kOfCable,
                  .bytesPerSecond = megabytesPerSecond * 1e6,
                  .latency = 0us};
  return options;
}

TEST(Link, LosesWhatItsFifoCannotHold) {
  for (const double rate : {100.0, 70.0, 50.0}) {
    SCOPED_TRACE(rate);
    Bench bench(onCable(rate));
    bench.start(kFast);
    const auto [bytes, passed] = fetchInSteps(bench, kFast.frameBytes());
    const double produced = 1304.0 / (292 / 18562e3);
    const double excess = std::max(0.0, 1 - rate * 1e6 / produced);
    const double whole = static_cast<double>(kFast.frameBytes());
    const double lost = std::max(0.0, whole * excess - 256 * 1024);
    // The FIFO is filled in parts of 16 KiB.
    EXPECT_NEAR(static_cast<double>(bytes), whole - lost, 20'000);
    EXPECT_EQ(lost == 0, bytes == kFast.frameBytes());
    // What lay in the FIFO at the end of the frame comes later.
    const double late = std::min(whole * excess, 256.0 * 1024) / (rate * 1e6);
    EXPECT_GE(std::chrono::duration<double>(passed - kFast.frameTime()).count(), late - 200e-6);
  }
}

TEST(Link, AControlRequestTakesItsTime) {
  sim::CameraOptions options = onCable(400);
  options.link.latency = 250us;
  Bench bench(options);
  bench.out(0xB0, 1);
  bench.out(0xAD);  // refused, which takes as long
  bench.out(0xB1, 1);
  const auto log = bench.host().guideLog(bench.id());
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[1].at - log[0].at, 500us);
}

}  // namespace
}  // namespace orvik::test
