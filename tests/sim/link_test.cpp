// SPDX-License-Identifier: MIT
// The link between a virtual camera and its host: what it carries, and what it does not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/bench.h"
#include "sim/wire/bus.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

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
