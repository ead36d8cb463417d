// SPDX-License-Identifier: MIT
#include "tools/simcam/session.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <condition_variable>
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
  int inFlight = 0;
};

class HeldTransfer final : public seam::BulkTransfer {
 public:
  explicit HeldTransfer(HeldTransfers& all) : all_(all) {}
  TransferStatus submit(seam::TransferBuffer) override {
    const std::lock_guard lock(all_.mutex);
    ++all_.submitted;
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
    if (!all_.changed.wait_for(lock, limit, [this] { return cancelled_; })) return false;
    if (!std::exchange(ended_, true)) --all_.inFlight;
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

TEST(Session, EndsWithNoTransferInFlight) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  testing::UsbipClient client(testing::UsbipClient::Connected{ends[0]});
  const Socket socket(ends[1]);
  HeldTransfers transfers;
  Session session(socket, std::make_unique<HeldPort>(transfers), {});
  std::thread running([&] { session.run(); });
  for (std::uint32_t i = 1; i <= 3; ++i) client.submit(i, 1, true, 1024);
  {
    std::unique_lock lock(transfers.mutex);
    transfers.changed.wait_for(lock, std::chrono::seconds(20),
                               [&] { return transfers.submitted == 3; });
    EXPECT_EQ(transfers.inFlight, 3);
  }
  client.close();
  running.join();
  EXPECT_EQ(transfers.inFlight, 0);
}

}  // namespace
}  // namespace orvik::simcam
