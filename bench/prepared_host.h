// SPDX-License-Identifier: MIT
/// A USB host whose camera sends a prepared frame when the benchmark says so. Control requests go
/// to a virtual camera; bulk reads are filled here, so that neither the making of pictures nor the
/// virtual camera's copying counts in what is measured.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "seam/usb_host.h"
#include "sim/sim_host.h"

namespace orvik::bench {

/// The bulk reads of one camera that wait for data. Any thread.
class ReadFeed {
 public:
  using Clock = std::chrono::steady_clock;

  struct Read {
    seam::TransferBuffer buffer;
    bool inFlight = false;
    std::size_t filled = 0;
    seam::TransferStatus status = seam::TransferStatus::kOk;
    std::condition_variable done;
  };

  void submit(const std::shared_ptr<Read>& read, seam::TransferBuffer buffer);
  void cancel(const std::shared_ptr<Read>& read);
  bool wait(Read& read, std::chrono::milliseconds timeout);

  /// Waits for reads for a whole frame, fills them, and completes each of them in order.
  /// @return when the last one has completed; none if reads for a whole frame do not come in time
  std::optional<Clock::time_point> send(std::span<const std::uint8_t> frame,
                                        std::chrono::milliseconds timeout);

  /// Fills the oldest read with the first bytes of `rest`, removes them from it, and completes the
  /// read. @return when it has completed; none if there is no read
  std::optional<Clock::time_point> sendRead(std::span<const std::uint8_t>& rest);

 private:
  [[nodiscard]] bool hasRoom(std::size_t bytes) const;
  static void end(Read& read, seam::TransferStatus status);

  std::mutex mutex_;
  std::condition_variable submitted_;
  std::deque<std::shared_ptr<Read>> waiting_;
};

class PreparedHost final : public seam::Host {
 public:
  /// Plugs in a virtual camera of this model.
  explicit PreparedHost(const char* model);

  [[nodiscard]] ReadFeed& feed() { return *feed_; }

  std::vector<seam::DeviceInfo> devices() override { return host_.devices(); }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;
  std::optional<std::string> serialNumber(const seam::DeviceInfo& device) override {
    return host_.serialNumber(device);
  }
  std::shared_ptr<seam::ChangeCount> changes() override { return host_.changes(); }
  [[nodiscard]] std::string settingsFolder() const override { return host_.settingsFolder(); }

 private:
  sim::SimHost host_;
  std::shared_ptr<ReadFeed> feed_ = std::make_shared<ReadFeed>();
};

}  // namespace orvik::bench
