// SPDX-License-Identifier: MIT
#pragma once

#include "capture/frame_protocol.h"

namespace orvik {

/// Streaming of the models whose frames end with one mark: the last four bytes are 0xBB00AA11,
/// lowest byte first. Derived classes define how the sensor stops and runs.
class EndMarkProtocol : public FrameProtocol {
 public:
  explicit EndMarkProtocol(std::size_t transferBytes) : transferBytes_(transferBytes) {}

  [[nodiscard]] std::size_t transferBytes() const final { return transferBytes_; }
  [[nodiscard]] TimeoutLaw timeoutLaw(std::size_t readsPerFrame) const final;

  void halt(VendorLink& link, bool longExposure) const final;
  void wake(VendorLink& link) const final;
  void run(VendorLink& link, bool longExposure) const final;
  void finish(VendorLink& link, bool longExposure) const final;
  void beginExposure(VendorLink& link) const final;
  void endExposure(VendorLink& link) const final;

  [[nodiscard]] bool hasMarks(std::span<const std::uint8_t> frame) const final;
  void clearMarks(std::span<std::uint8_t> frame) const final;
  void mendMarks(std::span<std::uint8_t> frame, std::size_t rowBytes) const final;

 protected:
  virtual void stopSensor(VendorLink& link) const = 0;
  virtual void runSensor(VendorLink& link) const = 0;

 private:
  std::size_t transferBytes_;
};

}  // namespace orvik
