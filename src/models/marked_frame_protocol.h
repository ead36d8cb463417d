// SPDX-License-Identifier: MIT
#pragma once

#include "capture/frame_protocol.h"

namespace orvik {

/// Streaming of the models whose FPGA marks each frame in its pixel data, with 16-bit little-endian
/// words: the first is 0x5A7E, the last 0x3CF0, and the second and the last but one are the same
/// sequence number.
class MarkedFrameProtocol final : public FrameProtocol {
 public:
  /// @param keepsSensorAwake whether the sensor stays awake after a capture
  explicit MarkedFrameProtocol(bool keepsSensorAwake) : keepsSensorAwake_(keepsSensorAwake) {}

  [[nodiscard]] std::size_t transferBytes() const override { return std::size_t{1} << 20; }

  [[nodiscard]] TimeoutLaw timeoutLaw(std::size_t) const override {
    return {.frameTimes = 2, .margin = std::chrono::milliseconds(50)};
  }

  void halt(VendorLink& link, bool longExposure) const override;
  void wake(VendorLink& link) const override;
  void run(VendorLink& link, bool longExposure) const override;
  void finish(VendorLink& link, bool longExposure) const override;
  void beginExposure(VendorLink& link) const override;
  void endExposure(VendorLink& link) const override;

  [[nodiscard]] bool hasMarks(std::span<const std::uint8_t> frame) const override;
  void clearMarks(std::span<std::uint8_t> frame) const override;
  void mendMarks(std::span<std::uint8_t> frame, std::size_t rowBytes) const override;

 private:
  bool keepsSensorAwake_;
};

}  // namespace orvik
