// SPDX-License-Identifier: MIT
#include "usb/endpoints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <thread>

#include "fake_host.h"

namespace orvik {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;
using testing::Answer;
using ::testing::ElementsAre;
using testing::FakeDevice;
using testing::FakePort;
using testing::FakeRequest;

constexpr descriptors::Endpoint kBulkIn{.address = 0x81, .attributes = 2, .maxPacketSize = 512};

class Stopwatch {
 public:
  [[nodiscard]] milliseconds elapsed() const {
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start_);
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

class Endpoints : public ::testing::Test {
 protected:
  std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
  std::shared_ptr<FakePort> port = std::make_shared<FakePort>(device);
  CCyControlEndPoint control{port, 64};
  CCyBulkEndPoint bulk{port, kBulkIn};
};

TEST(EffectivePacketBytes, FollowsDescriptorAndCompanion) {
  using descriptors::Companion;
  using descriptors::Endpoint;
  const auto bytes = [](std::uint8_t attributes, std::uint16_t size,
                        std::optional<Companion> companion) {
    return effectivePacketBytes(Endpoint{0x81, attributes, size, 0, companion});
  };
  EXPECT_EQ(bytes(2, 512, {}), 512U);
  EXPECT_EQ(bytes(1, 0x1400, {}), 3072U) << "three packets in a microframe";
  EXPECT_EQ(bytes(2, 1024, Companion{15, 3, 0}), 16384U);
  EXPECT_EQ(bytes(1, 1024, Companion{15, 2, 0}), 49152U);
  EXPECT_EQ(bytes(1, 0xFFFF, Companion{255, 3, 0}), 2047U * 4 * 256 * 4);
}

TEST(HostTimeout, CountsInWholeSeconds) {
  EXPECT_EQ(hostTimeout(0), milliseconds(0));
  EXPECT_EQ(hostTimeout(1), milliseconds(1000));
  EXPECT_EQ(hostTimeout(1999), milliseconds(1000));
  EXPECT_EQ(hostTimeout(2000), milliseconds(2000));
}

TEST_F(Endpoints, ControlOutSendsSetupAndData) {
  control.timeoutMs = 500;
  control.requestCode = 0xC2;
  control.index = 0x700;
  control.value = 0x1234;
  std::array<std::uint8_t, 3> data = {1, 2, 3};
  std::size_t length = 99;
  EXPECT_TRUE(control.transfer(data, length));
  EXPECT_EQ(length, 3U);
  ASSERT_EQ(device->requests.size(), 1U);
  const FakeRequest& request = device->requests[0];
  EXPECT_EQ(request.setup.requestType, 0x40);
  EXPECT_EQ(request.setup.request, 0xC2);
  EXPECT_EQ(request.setup.value, 0x1234);
  EXPECT_EQ(request.setup.index, 0x700);
  EXPECT_EQ(request.timeout, milliseconds(1000));
  EXPECT_THAT(request.data, ElementsAre(1, 2, 3));
}

TEST_F(Endpoints, ControlInReturnsDataAndCount) {
  device->control = [](const FakeRequest&) { return Answer{.data = {7, 8}}; };
  control.direction = CCyControlEndPoint::kDirectionIn;
  control.requestType = 0xFF;  // excess bits are cut off
  control.target = 0xFF;
  std::array<std::uint8_t, 4> data = {1, 2, 3, 4};
  std::size_t length = 0;
  EXPECT_TRUE(control.transfer(data, length));
  EXPECT_EQ(length, 2U);
  EXPECT_THAT(data, ElementsAre(7, 8, 3, 4)) << "bytes that did not come are left alone";
  EXPECT_EQ(device->requests[0].setup.requestType, 0xFF);
  EXPECT_EQ(control.lastStatus(), TransferStatus::kOk);
  EXPECT_EQ(control.bytesTransferred(), 2U);
}

TEST_F(Endpoints, FailuresLeaveTheirStatus) {
  std::size_t length = 0;
  device->control = [](const FakeRequest&) { return Answer{.status = TransferStatus::kStalled}; };
  EXPECT_FALSE(control.transfer({}, length));
  EXPECT_EQ(control.lastStatus(), TransferStatus::kStalled);
  device->control = [](const FakeRequest&) { return Answer{}; };
  std::array<std::uint8_t, 3> data{};
  EXPECT_TRUE(control.transfer(data, length));
  device->control = [](const FakeRequest&) { return Answer{.refusal = TransferStatus::kNoDevice}; };
  EXPECT_FALSE(control.transfer({}, length));
  EXPECT_EQ(control.bytesTransferred(), 0U) << "nothing of the one before";
  EXPECT_EQ(control.lastStatus(), TransferStatus::kNoDevice);
}

TEST_F(Endpoints, ASilentDeviceIsCancelledAfterTheTimeoutAndOnceMore) {
  control.timeoutMs = 100;
  for (const int cancels : {1, 2}) {
    device->control = [cancels](const FakeRequest&) {
      return Answer{.delay = Answer::kNever, .cancelsToEnd = cancels};
    };
    std::size_t length = 0;
    const Stopwatch watch;
    EXPECT_FALSE(control.transfer({}, length));
    EXPECT_GE(watch.elapsed(), milliseconds(50 + 50 * cancels));
    EXPECT_LT(watch.elapsed(), milliseconds(1000));
    EXPECT_EQ(control.lastStatus(), TransferStatus::kCancelled);
  }
}

TEST_F(Endpoints, AnAnswerDuringTheLastWaitCounts) {
  device->control = [](const FakeRequest&) {
    return Answer{.data = {9}, .delay = milliseconds(300), .cancelsToEnd = Answer::kNeverByCancel};
  };
  control.direction = CCyControlEndPoint::kDirectionIn;
  control.timeoutMs = 100;
  std::array<std::uint8_t, 1> data{};
  std::size_t length = 0;
  EXPECT_TRUE(control.transfer(data, length));
  EXPECT_EQ(data[0], 9);
}

TEST_F(Endpoints, ADeafDeviceIsLeftToItself) {
  device->control = [](const FakeRequest&) {
    return Answer{.data = {9}, .delay = Answer::kNever, .cancelsToEnd = Answer::kNeverByCancel};
  };
  control.direction = CCyControlEndPoint::kDirectionIn;
  control.timeoutMs = 100;
  std::size_t length = 0;
  auto data = std::make_unique<std::array<std::uint8_t, 1>>();
  const Stopwatch watch;
  EXPECT_FALSE(control.transfer(*data, length));
  EXPECT_GE(watch.elapsed(), milliseconds(1150));
  EXPECT_LT(watch.elapsed(), milliseconds(2500));
  EXPECT_EQ(control.lastStatus(), TransferStatus::kTimedOut);

  // The device answers after the caller's memory is freed, into memory that the transfer owns.
  data.reset();
  device->flights.at(0)->endNow();

  // The endpoint still works afterwards.
  device->control = [](const FakeRequest&) { return Answer{}; };
  EXPECT_TRUE(control.transfer({}, length));
}

TEST_F(Endpoints, StreamingReadsGoStraightToTheCallersMemory) {
  const auto memory = std::make_shared<std::array<std::uint8_t, 8>>();
  std::uint8_t next = 1;
  device->bulk = [&next](std::uint8_t endpoint) {
    EXPECT_EQ(endpoint, 0x81);
    return Answer{.data = std::vector<std::uint8_t>(4, next++)};
  };
  std::vector<std::unique_ptr<TransferContext>> contexts;
  for (const std::size_t offset : {0U, 4U}) {
    contexts.push_back(bulk.beginTransfer({std::span(*memory).subspan(offset, 4), memory}));
    ASSERT_NE(contexts.back(), nullptr);
  }
  for (auto& context : contexts) {
    EXPECT_TRUE(bulk.waitForTransfer(*context, milliseconds(1000)));
    EXPECT_EQ(context->status(), TransferStatus::kOk);
    EXPECT_EQ(context->actualBytes(), 4U);
    std::size_t length = 0;
    EXPECT_TRUE(bulk.finishTransfer(std::move(context), length));
    EXPECT_EQ(length, 4U);
  }
  EXPECT_THAT(*memory, ElementsAre(1, 1, 1, 1, 2, 2, 2, 2));
  EXPECT_EQ(memory.use_count(), 1);
}

TEST_F(Endpoints, BufferedReadsReachTheCallerOnFinishing) {
  device->bulk = [](std::uint8_t) { return Answer{.data = {6, 7}}; };
  bulk.setTransferMode(TransferMode::kBuffered);
  std::array<std::uint8_t, 4> memory = {1, 2, 3, 4};
  auto context = bulk.beginTransfer({memory, nullptr});
  ASSERT_TRUE(bulk.waitForTransfer(*context, milliseconds(1000)));
  EXPECT_THAT(memory, ElementsAre(1, 2, 3, 4));
  std::size_t length = 0;
  EXPECT_TRUE(bulk.finishTransfer(std::move(context), length));
  EXPECT_THAT(memory, ElementsAre(6, 7, 3, 4));
}

TEST_F(Endpoints, FinishingInFlightFailsAtOnceAndCancels) {
  device->bulk = [](std::uint8_t) { return Answer{.delay = Answer::kNever}; };
  const auto memory = std::make_shared<std::array<std::uint8_t, 8>>();
  auto context = bulk.beginTransfer({*memory, memory});
  EXPECT_FALSE(bulk.waitForTransfer(*context, milliseconds(10)));
  EXPECT_TRUE(context->inFlight()) << "waiting cancels nothing";
  std::size_t length = 99;
  EXPECT_FALSE(bulk.finishTransfer(std::move(context), length));
  EXPECT_EQ(length, 0U);
  EXPECT_TRUE(device->flights.at(0)->wait(milliseconds(0)));
  EXPECT_EQ(device->flights.at(0)->status(), TransferStatus::kCancelled);
  EXPECT_EQ(memory.use_count(), 1);
  EXPECT_FALSE(bulk.finishTransfer(nullptr, length));
}

TEST_F(Endpoints, AbortMayRaceWithBeginFinishAndDrop) {
  device->bulk = [](std::uint8_t) { return Answer{.delay = Answer::kNever}; };
  std::atomic<bool> done{false};
  std::thread aborter([this, &done] {
    while (!done) bulk.abort();
  });
  const auto memory = std::make_shared<std::array<std::uint8_t, 4>>();
  for (int round = 0; round < 2000; ++round) {
    auto finished = bulk.beginTransfer({*memory, memory});
    auto dropped = bulk.beginTransfer({*memory, memory});
    ASSERT_TRUE(bulk.waitForTransfer(*finished, milliseconds(60000)));
    std::size_t length = 0;
    EXPECT_FALSE(bulk.finishTransfer(std::move(finished), length));
  }
  done = true;
  aborter.join();
}

TEST(EndpointLifetime, AContextMayOutliveItsEndpoint) {
  const auto device = std::make_shared<FakeDevice>();
  device->bulk = [](std::uint8_t) { return Answer{.delay = Answer::kNever}; };
  const auto memory = std::make_shared<std::array<std::uint8_t, 4>>();
  std::unique_ptr<TransferContext> context;
  {
    CCyBulkEndPoint endpoint(std::make_shared<FakePort>(device), kBulkIn);
    context = endpoint.beginTransfer({*memory, memory});
  }
  EXPECT_TRUE(context->inFlight());
  context.reset();
  EXPECT_EQ(device->flights.at(0)->wait(milliseconds(0)), true);
}

TEST_F(Endpoints, ResetPipeAbortsFirst) {
  device->bulk = [](std::uint8_t) { return Answer{.delay = Answer::kNever}; };
  std::array<std::uint8_t, 4> memory{};
  auto context = bulk.beginTransfer({memory, nullptr});
  EXPECT_TRUE(bulk.resetPipe());
  EXPECT_FALSE(context->inFlight());
  EXPECT_THAT(device->cleared, ElementsAre(0x81));
}

TEST_F(Endpoints, ResetPipeLeavesAPipeAloneThatWillNotSettle) {
  device->bulk = [](std::uint8_t) {
    return Answer{.delay = Answer::kNever, .cancelsToEnd = Answer::kNeverByCancel};
  };
  std::array<std::uint8_t, 4> memory{};
  auto context = bulk.beginTransfer({memory, nullptr});
  const Stopwatch watch;
  EXPECT_FALSE(bulk.resetPipe());
  EXPECT_LT(watch.elapsed(), milliseconds(2500));
  EXPECT_TRUE(device->cleared.empty());
  device->flights.at(0)->endNow();
}

TEST_F(Endpoints, TransferSizeIsWholePackets) {
  bulk.setTransferSize(0x100000);
  EXPECT_EQ(bulk.transferSize(), 0x100000U);
  bulk.setTransferSize(513);
  EXPECT_EQ(bulk.transferSize(), 1024U);
  CCyBulkEndPoint empty(
      port, {.address = 0x81, .attributes = 2, .maxPacketSize = 0, .interval = 0, .companion = {}});
  empty.setTransferSize(513);
  EXPECT_EQ(empty.transferSize(), 0U);
}

}  // namespace
}  // namespace orvik
