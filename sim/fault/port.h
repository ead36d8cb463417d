// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "seam/usb_host.h"
#include "sim/fault/faults.h"

namespace orvik::fault {

/// One opening of a device. An unplug ends it although its user still holds it.
class Opening {
 public:
  explicit Opening(std::unique_ptr<seam::Port> port)
      : speed_(port->speed()), port_(std::move(port)) {}

  [[nodiscard]] seam::Speed speed() const { return speed_; }
  [[nodiscard]] bool isGone() const { return gone_; }
  /// @return null once it has been closed.
  [[nodiscard]] std::shared_ptr<seam::Port> port() const {
    const std::lock_guard lock(mutex_);
    return port_;
  }

  /// No transfer can be submitted from now on.
  void markGone() { gone_ = true; }
  /// Resets the device, as a loss of power does, and closes it.
  void close() {
    std::shared_ptr<seam::Port> port;
    {
      const std::lock_guard lock(mutex_);
      port.swap(port_);
    }
    if (port) port->reset();
  }

 private:
  const seam::Speed speed_;
  std::atomic<bool> gone_{false};
  mutable std::mutex mutex_;
  std::shared_ptr<seam::Port> port_;
};

/// An open device that follows a fault script.
class FaultyPort final : public seam::Port {
 public:
  FaultyPort(std::shared_ptr<Faults> faults, std::shared_ptr<Opening> opening);

  [[nodiscard]] seam::Speed speed() const override { return opening_->speed(); }
  bool claimInterface(std::uint8_t number) override;
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override;
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override;
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override;
  seam::TransferStatus clearHalt(std::uint8_t endpoint) override;
  seam::TransferStatus reset() override;

 private:
  /// @return null when the device is gone.
  [[nodiscard]] std::shared_ptr<seam::Port> inner() const;

  const std::shared_ptr<Faults> faults_;
  const std::shared_ptr<Opening> opening_;
};

}  // namespace orvik::fault
