// SPDX-License-Identifier: MIT
// What each fault does to the transfers of a virtual camera, as its host sees it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <future>
#include <thread>

#include "sim/bench.h"
#include "sim/fault/fault_host.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

fault::Script scriptOf(const char* text) {
  fault::Script script;
  EXPECT_EQ(fault::parseScript(text, script), "");
  return script;
}

sim::CameraOptions struckBy(const char* text) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.sceneKind = sim::SceneKind::kGrey;
  options.faults = scriptOf(text);
  return options;
}

/// Reads of one frame each, under faults.
class Reads {
 public:
  explicit Reads(const char* faults) : bench_(struckBy(faults)) { bench_.start(program_); }

  struct Read {
    TransferStatus status = TransferStatus::kOk;
    Bytes data;
  };
  Read next() {
    Fetch fetch = bench_.newFetch(program_.frameBytes());
    const TransferStatus begun = fetch.submit();
    if (begun != TransferStatus::kOk) return {begun, {}};
    EXPECT_TRUE(fetch.transfer->wait(5s));
    return {fetch.transfer->status(), fetch.received()};
  }
  Bench& bench() { return bench_; }
  [[nodiscard]] std::size_t frameBytes() const { return program_.frameBytes(); }

 private:
  const Program program_;
  Bench bench_;
};

TEST(Fault, ReadsAreDamagedWhereTheScriptSaysSo) {
  Reads reads("bulk short 6 at 2; bulk flip 2 at 3; bulk flip -1 at 4; bulk overflow at 5");
  const std::size_t whole = reads.frameBytes();
  EXPECT_EQ(sequenceOf(reads.next().data), 0);
  EXPECT_EQ(reads.next().data.size(), whole - 6);
  const Bytes otherSequence = reads.next().data;
  EXPECT_EQ(otherSequence.size(), whole);
  EXPECT_EQ(wordOf(otherSequence, 1) ^ wordOf(otherSequence, whole / 2 - 2), 0xFF);
  EXPECT_EQ(wordOf(reads.next().data, whole / 2 - 1), 0x3CF0 ^ 0xFF00);
  EXPECT_EQ(reads.next().status, TransferStatus::kOverflow);
  EXPECT_EQ(sequenceOf(reads.next().data), 5);
}

TEST(Fault, StrayEmptyAndRefusedReadsTakeNoDataFromTheCamera) {
  Reads reads("bulk empty at 1; bulk long 5 at 2; bulk refuse at 3; bulk fail at 4");
  EXPECT_EQ(reads.next().data.size(), 0U);
  EXPECT_EQ(reads.next().data.size(), 5U);
  EXPECT_EQ(reads.next().status, TransferStatus::kNoMemory);
  EXPECT_EQ(reads.next().status, TransferStatus::kError);
  EXPECT_EQ(sequenceOf(reads.next().data), 0);
}

TEST(Fault, AFrameComesTwiceOrTorn) {
  Reads reads("bulk duplicate at 2; bulk tear at 4");
  const Bytes first = reads.next().data;
  EXPECT_EQ(reads.next().data, first);
  const Bytes third = reads.next().data;
  const Bytes torn = reads.next().data;
  const std::size_t whole = reads.frameBytes();
  EXPECT_EQ(wordOf(torn, 1), 3);
  EXPECT_EQ(wordOf(torn, whole / 2 - 2), wordOf(third, 1));
}

TEST(Fault, AStalledPipeStaysHaltedUntilItIsCleared) {
  Reads reads("bulk stall at 2");
  reads.next();
  EXPECT_EQ(reads.next().status, TransferStatus::kStalled);
  EXPECT_EQ(reads.next().status, TransferStatus::kStalled);
  EXPECT_EQ(reads.bench().port().clearHalt(0x81), TransferStatus::kOk);
  EXPECT_EQ(sequenceOf(reads.next().data), 1);
}

TEST(Fault, AHaltAndAnUnplugEndTheReadsInFlight) {
  const Program program;
  Bench bench(struckBy("bulk stall at 3; bulk timeout at 5; control AD replug 50 at 1"));
  Fetch first = bench.newFetch(program.frameBytes());
  Fetch second = bench.newFetch(program.frameBytes());
  for (Fetch* fetch : {&first, &second}) ASSERT_EQ(fetch->submit(), TransferStatus::kOk);
  EXPECT_TRUE(bench.newFetch(program.frameBytes()).submit() == TransferStatus::kOk);
  for (Fetch* fetch : {&first, &second}) {
    EXPECT_TRUE(fetch->transfer->wait(5s));
    EXPECT_EQ(fetch->transfer->status(), TransferStatus::kStalled);
  }
  ASSERT_EQ(bench.port().clearHalt(0x81), TransferStatus::kOk);
  ASSERT_EQ(first.submit(), TransferStatus::kOk);
  ASSERT_EQ(second.submit(), TransferStatus::kOk);  // which is never answered
  auto waiting = std::async(std::launch::async, [&] { return second.transfer->wait(30s); });
  std::this_thread::sleep_for(kQuiet);
  EXPECT_FALSE(bench.in(0xAD, 0, 0, 2));
  EXPECT_EQ(waiting.wait_for(10s), std::future_status::ready) << "the waiter is woken";
  EXPECT_TRUE(first.transfer->wait(5s));
  for (Fetch* fetch : {&first, &second}) {
    EXPECT_EQ(fetch->transfer->status(), TransferStatus::kNoDevice);
  }
}

TEST(Fault, AReadThatIsNeverAnsweredEndsWhenItIsCancelled) {
  Reads reads("bulk timeout at 1; bulk deaf 80 at 2");
  Fetch fetch = reads.bench().newFetch(reads.frameBytes());
  ASSERT_EQ(fetch.submit(), TransferStatus::kOk);
  EXPECT_FALSE(fetch.transfer->wait(20ms));
  fetch.transfer->cancel();
  EXPECT_TRUE(fetch.transfer->wait(0ms));
  EXPECT_EQ(fetch.transfer->status(), TransferStatus::kCancelled);

  ASSERT_EQ(fetch.submit(), TransferStatus::kOk);
  EXPECT_FALSE(fetch.transfer->wait(1ms));
  fetch.transfer->cancel();
  EXPECT_FALSE(fetch.transfer->wait(1ms)) << "deaf to it";
  EXPECT_TRUE(fetch.transfer->wait(5s));
  EXPECT_EQ(fetch.transfer->status(), TransferStatus::kOk);
}

TEST(Fault, ControlTransfersFailByNumberAndByRequest) {
  Bench bench(struckBy("control BC fail at 2; control B6 stall; control short 1 at 4"));
  EXPECT_TRUE(bench.in(0xBC, 29));
  EXPECT_FALSE(bench.in(0xBC, 29));
  EXPECT_EQ(bench.out(0xB6, 0x3000, 1), TransferStatus::kStalled);
  EXPECT_EQ(bench.in(0xBC, 29).value().size(), 0U);
  EXPECT_EQ(bench.in(0xBC, 29).value().size(), 1U);
}

TEST(Fault, AReplugGivesAnotherAddress) {
  sim::SimHost host;
  host.plug(*sim::findModel("T15C"), struckBy("control AD replug 50 at 1; bulk stall at 1"));
  ASSERT_EQ(host.devices().size(), 1U);
  const seam::DeviceInfo before = host.devices().front();
  auto port = host.open(before);
  ASSERT_TRUE(port->claimInterface(0));
  std::array<std::uint8_t, 2> memory{};
  EXPECT_EQ(port->newBulkTransfer(0x81)->submit({memory, nullptr}), TransferStatus::kOk) << "halts";
  EXPECT_EQ(port->newControlTransfer()->submit({0xC0, 0xAD, 0, 0}, {memory, nullptr}, 1s),
            TransferStatus::kNoDevice);
  EXPECT_TRUE(host.devices().empty());
  EXPECT_EQ(host.open(before), nullptr);
  EXPECT_TRUE(host.waitForChange(host.changes()->now(), 5s));
  ASSERT_EQ(host.devices().size(), 1U);
  const seam::DeviceInfo after = host.devices().front();
  EXPECT_EQ(after.location.ports, before.location.ports);
  EXPECT_NE(after.location.address, before.location.address);
  EXPECT_EQ(host.open(before), nullptr) << "nobody has the old address";
  EXPECT_EQ(port->reset(), TransferStatus::kNoDevice) << "who held it holds nothing";
  auto again = host.open(after);
  ASSERT_NE(again, nullptr);
  EXPECT_TRUE(again->claimInterface(0));
  const auto read = again->newBulkTransfer(0x81);
  EXPECT_EQ(read->submit({memory, nullptr}), TransferStatus::kOk);
  EXPECT_FALSE(read->wait(1ms)) << "the halt ended with the unplugging";
}

TEST(Fault, OpeningAndClaimingMayBeRefused) {
  const auto below = std::make_shared<sim::SimHost>();
  below->plug(*sim::findModel("T15C"));
  fault::FaultHost host(below, scriptOf("open refuse at 1; claim refuse at 1"));
  const auto device = host.devices().front();
  EXPECT_EQ(host.open(device), nullptr);
  const auto port = host.open(device);
  ASSERT_NE(port, nullptr);
  EXPECT_FALSE(port->claimInterface(0));
  EXPECT_TRUE(port->claimInterface(0));
}

/// Which of a hundred requests a script lets fail.
std::vector<int> struckRequests(const char* script) {
  Bench bench(struckBy(script));
  std::vector<int> failed;
  for (int n = 0; n < 100; ++n) {
    if (!bench.in(0xBC, 29)) failed.push_back(n + 1);
  }
  return failed;
}

TEST(Fault, StrikesByNumberAndTheSameWayAgainByChance) {
  EXPECT_THAT(struckRequests("control BC fail every 30"), ElementsAre(30, 60, 90));
  EXPECT_THAT(struckRequests("control BC fail from 10 every 40"), ElementsAre(10, 50, 90));
  EXPECT_THAT(struckRequests("control BC fail from 3 to 4; control BC fail at 7"),
              ElementsAre(3, 4, 7));
  const auto chance = struckRequests("control BC fail chance 0.3; seed 5");
  EXPECT_GT(chance.size(), 10U);
  EXPECT_LT(chance.size(), 60U);
  EXPECT_EQ(struckRequests("control BC fail chance 0.3; seed 5"), chance);
  EXPECT_NE(struckRequests("control BC fail chance 0.3; seed 6"), chance);
}

}  // namespace
}  // namespace orvik::test
