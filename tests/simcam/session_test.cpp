// SPDX-License-Identifier: MIT
#include "tools/simcam/session.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "tests/simcam/usbip_client.h"

namespace orvik::simcam {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// Transfers that end only when they are cancelled, and are in flight until somebody has waited.
struct HeldTransfers {
  std::mutex mutex;
  std::condition_variable changed;
  int submitted = 0;
  int waits = 0;
  int inFlight = 0;
};

class HeldTransfer final : public seam::BulkTransfer {
 public:
  explicit HeldTransfer(HeldTransfers& all) : all_(all) {}
  TransferStatus submit(seam::TransferBuffer) override {
    const std::lock_guard lock(all_.mutex);
    ++all_.submitted;
    cancelled_ = ended_ = false;
    ++all_.inFlight;
    all_.changed.notify_all();
    return TransferStatus::kOk;
  }
  void cancel() override {
    const std::lock_guard lock(all_.mutex);
    cancelled_ = true;
    all_.changed.notify_all();
  }
  bool wait(milliseconds limit) override {
    std::unique_lock lock(all_.mutex);
    ++all_.waits;
    all_.changed.notify_all();
    if (!all_.changed.wait_for(lock, limit, [this] { return cancelled_; })) return false;
    if (!std::exchange(ended_, true)) --all_.inFlight;
    // The session's own thread, which waits for a short time only, learns of it last: not before
    // the transfer has been submitted again.
    if (limit < milliseconds(2000)) {
      all_.changed.wait_for(lock, milliseconds(200), [this] { return !cancelled_; });
    }
    return true;
  }
  [[nodiscard]] TransferStatus status() const override { return TransferStatus::kCancelled; }
  [[nodiscard]] std::size_t actualBytes() const override { return 0; }

 private:
  HeldTransfers& all_;
  bool cancelled_ = false, ended_ = false;
};

class HeldPort final : public seam::Port {
 public:
  explicit HeldPort(HeldTransfers& all) : all_(all) {}
  [[nodiscard]] seam::Speed speed() const override { return seam::Speed::kSuper; }
  bool claimInterface(std::uint8_t) override { return true; }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override { return nullptr; }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t) override {
    return std::make_unique<HeldTransfer>(all_);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t) override { return nullptr; }
  TransferStatus clearHalt(std::uint8_t) override { return TransferStatus::kOk; }
  TransferStatus reset() override { return TransferStatus::kOk; }

 private:
  HeldTransfers& all_;
};

class SessionTest : public ::testing::Test {
 protected:
  bool eventually(const std::function<bool()>& holds) {
    std::unique_lock lock(transfers.mutex);
    return transfers.changed.wait_for(lock, std::chrono::seconds(20), holds);
  }

 private:
  static std::array<int, 2> connectedPair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    return ends;
  }
  const std::array<int, 2> ends_ = connectedPair();

 protected:
  HeldTransfers transfers;
  testing::UsbipClient client{testing::UsbipClient::Connected{ends_[0]}};
  const Socket socket{ends_[1]};
  Session session{socket, std::make_unique<HeldPort>(transfers), {}};
  std::thread running{[this] { session.run(); }};
};

TEST_F(SessionTest, EndsWithNoTransferInFlight) {
  for (std::uint32_t i = 1; i <= 3; ++i) client.submit(i, 1, true, 1024);
  EXPECT_TRUE(eventually([&] { return transfers.inFlight == 3; }));
  client.close();
  running.join();
  EXPECT_EQ(transfers.inFlight, 0);
}

TEST_F(SessionTest, AReusedTransferIsNotAnsweredForItsPredecessor) {
  client.submit(1, 1, true, 1024);
  EXPECT_TRUE(eventually([&] { return transfers.waits == 1; }));
  client.unlink(11, 1);
  EXPECT_EQ(client.reply().sequence, 11U);
  client.submit(2, 1, true, 1024);
  EXPECT_TRUE(eventually([&] { return transfers.waits == 3; })) << "both transfers, and the unlink";
  client.unlink(12, 2);
  EXPECT_EQ(client.reply().sequence, 12U);
  client.close();
  running.join();
}

}  // namespace
}  // namespace orvik::simcam
