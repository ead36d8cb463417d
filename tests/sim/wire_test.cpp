// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "seam/identity.h"
#include "sim/bench.h"
#include "support/sleeps_of.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kSoon = 5s;

sim::CameraOptions freeRunning(bool usb3Port = true) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.sceneKind = sim::SceneKind::kGrey;
  options.usb3Port = usb3Port;
  return options;
}

TransferStatus endOf(Fetch& fetch) {
  return fetch.transfer->wait(kSoon) ? fetch.transfer->status() : TransferStatus::kTimedOut;
}

TEST(Host, GivesEachCameraItsPlace) {
  sim::SimHost host;
  const sim::Model& model = *sim::findModel("T15C");
  sim::CameraOptions usb2;
  usb2.usb3Port = false;
  const int a = host.plug(model);
  const int b = host.plug(model);
  const int c = host.plug(model, usb2);
  const auto cameras = host.cameras();
  ASSERT_EQ(cameras.size(), 3U);
  EXPECT_EQ(cameras[0].info.productId, identity::PID_T15C);
  EXPECT_EQ(cameras[0].info.vendorId, identity::kVendorId);
  const seam::DeviceLocation first = cameras[0].info.location;
  const seam::DeviceLocation second = cameras[1].info.location;
  EXPECT_EQ(first.bus, second.bus);
  EXPECT_NE(first.bus, cameras[2].info.location.bus);
  EXPECT_LT(first, second);
  EXPECT_NE(cameras[0].serial, cameras[1].serial);

  EXPECT_TRUE(host.unplug(a));
  EXPECT_FALSE(host.unplug(a));
  EXPECT_EQ(host.open(cameras[0].info), nullptr);
  const int again = host.plug(model);
  EXPECT_GT(again, c);
  const seam::DeviceLocation replugged = host.cameras().back().info.location;
  EXPECT_EQ(replugged.ports, first.ports) << "the free port is used";
  EXPECT_NE(replugged.address, first.address);
  EXPECT_EQ(host.open(cameras[0].info), nullptr) << "the old address is gone for good";
  EXPECT_TRUE(host.unplug(b));
}

TEST(Host, RefusesACameraBeyondTheLastPort) {
  sim::SimHost host;
  const sim::Model& model = *sim::findModel("T15C");
  int plugged = 0;
  while (host.plug(model) != 0) ++plugged;
  EXPECT_EQ(plugged, 126);
  EXPECT_TRUE(host.unplug(host.cameras().front().id));
  EXPECT_NE(host.plug(model), 0);
}

TEST(Port, InterfaceBelongsToOneOpening) {
  Bench bench(freeRunning());
  const auto info = bench.host().devices().front();
  const auto other = bench.host().open(info);
  EXPECT_FALSE(other->claimInterface(0));
  EXPECT_FALSE(bench.port().claimInterface(1));
  EXPECT_TRUE(bench.port().claimInterface(0)) << "again";
  const auto unclaimed = other->newBulkTransfer(0x81);
  Bytes memory(1024);
  EXPECT_EQ(unclaimed->submit({memory, nullptr}), TransferStatus::kError);
  EXPECT_EQ(other->clearHalt(0x81), TransferStatus::kError);

  // The opening lasts as long as its last transfer in flight.
  Fetch fetch = bench.newFetch(1024);
  ASSERT_EQ(fetch.submit(), TransferStatus::kOk);
  bench.dropPort();
  EXPECT_FALSE(other->claimInterface(0));
  fetch.transfer->cancel();
  ASSERT_TRUE(fetch.transfer->wait(kSoon));
  EXPECT_TRUE(other->claimInterface(0));
  EXPECT_EQ(fetch.submit(), TransferStatus::kNoDevice) << "its port is closed";
}

TEST(BulkTransfer, RefusesWhatCannotBe) {
  Bench bench(freeRunning());
  Fetch fetch = bench.newFetch(1024);
  EXPECT_EQ(fetch.transfer->submit({}), TransferStatus::kError) << "no room at all";
  EXPECT_EQ(fetch.submit(), TransferStatus::kOk);
  EXPECT_EQ(fetch.submit(), TransferStatus::kError) << "already in flight";
  EXPECT_EQ(bench.port().clearHalt(0x81), TransferStatus::kError) << "something is in flight";
  EXPECT_EQ(bench.port().reset(), TransferStatus::kError);
  const auto wrong = bench.port().newBulkTransfer(0x82);
  Bytes memory(1024);
  EXPECT_EQ(wrong->submit({memory, nullptr}), TransferStatus::kError);
  EXPECT_LT(sleepsOf([&] {
              for (int n = 0; n < 1000; ++n) EXPECT_FALSE(fetch.transfer->wait(0ms));
            }),
            100)
      << "looking is not waiting";
}

TEST(BulkTransfer, FramesFillTransfersAndEndAtAShortPacket) {
  // 400 x 301 bytes: 117 packets of 1024 bytes and one of 592.
  const Program program{.columns = 400, .rows = 301};
  Bench bench(freeRunning());
  std::vector<Fetch> fetches;
  for (int n = 0; n < 4; ++n) {
    fetches.push_back(bench.newFetch(65536));
    ASSERT_EQ(fetches.back().submit(), TransferStatus::kOk);
  }
  bench.start(program);
  for (Fetch& fetch : fetches) ASSERT_EQ(endOf(fetch), TransferStatus::kOk);
  for (const std::size_t first : {0U, 2U}) {
    Bytes frame = fetches[first].received();
    EXPECT_EQ(frame.size(), 65536U);
    const Bytes rest = fetches[first + 1].received();
    frame.insert(frame.end(), rest.begin(), rest.end());
    EXPECT_EQ(frame.size(), program.frameBytes());
    EXPECT_TRUE(sequenceOf(frame).has_value());
  }
}

TEST(BulkTransfer, FramesOfWholePacketsRunIntoOneAnother) {
  for (const bool usb3 : {true, false}) {
    const Program program{.columns = 64, .rows = 48};  // 3 packets of 1024 bytes, 6 of 512
    Bench bench(freeRunning(usb3));
    bench.start(program);
    Fetch fetch = bench.newFetch(2 * program.frameBytes() + 512);
    fetch.submit();
    if (usb3) {
      // The last packet of 1024 bytes finds room for 512.
      EXPECT_EQ(endOf(fetch), TransferStatus::kOverflow);
      EXPECT_EQ(fetch.transfer->actualBytes(), fetch.memory->size());
    } else {
      EXPECT_EQ(endOf(fetch), TransferStatus::kOk);
    }
    const Bytes all = fetch.received();
    const auto at = [&](std::size_t n) { return all.begin() + static_cast<std::ptrdiff_t>(n); };
    EXPECT_EQ(sequenceOf({at(0), at(program.frameBytes())}), 0);
    EXPECT_EQ(sequenceOf({at(program.frameBytes()), at(2 * program.frameBytes())}), 1);
  }
}

TEST(BulkTransfer, AHaltedEndpointStallsUntilCleared) {
  Bench bench(freeRunning());
  const Program program;
  Fetch waiting = bench.newFetch(program.frameBytes());
  waiting.submit();
  Bytes none;
  std::size_t moved = 0;
  bench.control({0x02, 3, 0, 0x81}, none, moved);  // SET_FEATURE(ENDPOINT_HALT)
  EXPECT_EQ(endOf(waiting), TransferStatus::kStalled);
  bench.start(program);
  EXPECT_EQ(waiting.submit(), TransferStatus::kOk);
  EXPECT_EQ(endOf(waiting), TransferStatus::kStalled);
  EXPECT_EQ(bench.port().clearHalt(0x81), TransferStatus::kOk);
  EXPECT_FALSE(bench.fetchFrame(program.frameBytes()).empty());
}

TEST(BulkTransfer, CancelledOnesKeepTheirOrderAndTheirMemoryAlive) {
  Bench bench(freeRunning());
  const Program program;
  Fetch first = bench.newFetch(program.frameBytes());
  Fetch second = bench.newFetch(program.frameBytes());
  first.submit();
  second.submit();
  std::weak_ptr<Bytes> memory = first.memory;
  first.transfer->cancel();
  EXPECT_EQ(endOf(first), TransferStatus::kCancelled);
  EXPECT_EQ(first.transfer->actualBytes(), 0U);
  EXPECT_EQ(memory.use_count(), 1) << "the host has let go";
  first.transfer->cancel();
  EXPECT_EQ(first.transfer->status(), TransferStatus::kCancelled);

  bench.start(program);
  EXPECT_EQ(endOf(second), TransferStatus::kOk);
  second.submit();
  memory = second.memory;
  second = {};
  EXPECT_EQ(memory.use_count(), 0) << "a transfer dropped in flight is cancelled";
}

/// Both wait for the end of the camera's thread.
TEST(Unplug, MayComeWhileTheLastPortIsClosed) {
  for (int n = 0; n < 300; ++n) {
    Bench bench(freeRunning());
    bench.start({});
    const std::jthread hand([&] { bench.host().unplug(bench.id()); });
    std::this_thread::sleep_for(std::chrono::microseconds(n % 30 * 10));
    bench.dropPort();
  }
}

TEST(Unplug, EndsEverythingAtOnce) {
  for (const bool streaming : {false, true}) {
    Bench bench(freeRunning());
    // Frames of whole packets: they run on through a transfer without ending it.
    const Program program{.columns = 1280, .rows = 960};
    std::vector<Fetch> fetches;
    for (int n = 0; n < 4; ++n) {
      fetches.push_back(bench.newFetch(std::size_t{64} << 20U));
      ASSERT_EQ(fetches.back().submit(), TransferStatus::kOk);
    }
    if (streaming) bench.start(program);
    ASSERT_TRUE(bench.host().unplug(bench.id()));
    int gone = 0;
    for (Fetch& fetch : fetches) {
      ASSERT_TRUE(fetch.transfer->wait(0ms)) << "unplugging must not leave it in flight";
      if (fetch.transfer->status() == TransferStatus::kNoDevice) ++gone;
    }
    EXPECT_GE(gone, streaming ? 1 : 4);
    EXPECT_EQ(fetches[0].submit(), TransferStatus::kNoDevice);
    EXPECT_EQ(bench.out(0xA9), TransferStatus::kNoDevice);
    EXPECT_EQ(bench.port().clearHalt(0x81), TransferStatus::kNoDevice);
    EXPECT_EQ(bench.port().reset(), TransferStatus::kNoDevice);
    EXPECT_FALSE(bench.port().claimInterface(0));
    EXPECT_TRUE(bench.host().devices().empty());
  }
}

TEST(Unplug, PortsMayOutliveTheHost) {
  auto bench = std::make_unique<Bench>(freeRunning());
  const Program program;
  bench->start(program);
  Fetch fetch = bench->newFetch(std::size_t{1} << 26U);
  fetch.submit();
  bench.reset();
  ASSERT_TRUE(fetch.transfer->wait(kSoon));
  EXPECT_EQ(fetch.transfer->status(), TransferStatus::kNoDevice);
  EXPECT_EQ(fetch.submit(), TransferStatus::kNoDevice);
}

}  // namespace
}  // namespace orvik::test
