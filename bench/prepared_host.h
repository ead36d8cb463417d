// SPDX-License-Identifier: MIT
/// A USB host whose cameras send prepared frames when the benchmark says so. Control requests go
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

/// The bulk reads of one camera that wait for data. Submitting, cancelling and waiting: any thread;
/// filling and completing: one thread at a time.
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

  /// Waits for reads for a whole frame, and fills them. They remain in flight until complete().
  /// @return false if they do not come in time
  bool fill(std::span<const std::uint8_t> frame, std::chrono::milliseconds timeout);
  /// Completes the reads that have been filled, in order.
  /// @return when the last one has completed; none if there was none
  std::optional<Clock::time_point> complete();

  /// Fills the oldest read with the first of these bytes, and completes it.
  /// @return how many; 0 if there is no read
  std::size_t send(std::span<const std::uint8_t> bytes);

 private:
  [[nodiscard]] bool hasRoom(std::size_t bytes) const;
  static std::size_t fill(Read& read, std::span<const std::uint8_t> bytes);
  template <class IsWanted>
  std::shared_ptr<Read> oldest(IsWanted isWanted);
  void end(Read& read, seam::TransferStatus status);

  std::mutex mutex_;
  std::condition_variable submitted_;
  std::deque<std::shared_ptr<Read>> waiting_;
};

class PreparedHost final : public seam::Host {
 public:
  /// Plugs in virtual cameras of this model.
  PreparedHost(const char* model, int count);

  /// @param camera from 0, in the order of enumeration
  [[nodiscard]] ReadFeed& feed(std::size_t camera) { return *feeds_.at(camera); }

  std::vector<seam::DeviceInfo> devices() override { return host_.devices(); }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;
  std::optional<std::string> serialNumber(const seam::DeviceInfo& device) override {
    return host_.serialNumber(device);
  }
  std::shared_ptr<seam::ChangeCount> changes() override { return host_.changes(); }
  [[nodiscard]] std::string settingsFolder() const override { return host_.settingsFolder(); }

 private:
  sim::SimHost host_;
  std::vector<std::shared_ptr<ReadFeed>> feeds_;
};

}  // namespace orvik::bench
