// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

#include "link/vendor_link.h"

namespace orvik {

/// How long a read of a frame may take: a number of frame times plus a margin.
struct TimeoutLaw {
  int frameTimes;
  std::chrono::milliseconds margin;
};

/// How a generation of cameras streams: its registers for start and stop, and the marks that
/// enclose the pixels of a frame. Stateless; all requests go to the link that is passed in.
class FrameProtocol {
 public:
  FrameProtocol() = default;
  FrameProtocol(const FrameProtocol&) = delete;
  FrameProtocol& operator=(const FrameProtocol&) = delete;
  virtual ~FrameProtocol() = default;

  /// Bytes of one bulk transfer; the last of a frame is shorter.
  [[nodiscard]] virtual std::size_t transferBytes() const = 0;
  /// How long a read may take while the exposure is shorter than the frame.
  /// @param readsPerFrame transfers of one frame
  [[nodiscard]] virtual TimeoutLaw timeoutLaw(std::size_t readsPerFrame) const = 0;

  /// Stops the pixel stream in the sensor and the FPGA.
  virtual void halt(VendorLink& link, bool longExposure) const = 0;
  /// Wakes the sensor after halt().
  virtual void wake(VendorLink& link) const = 0;
  /// Starts the pixel stream: continuous frames, or with `longExposure` single ones that the host
  /// times.
  virtual void run(VendorLink& link, bool longExposure) const = 0;
  /// Halts at the end of a capture; some models leave their sensor awake.
  virtual void finish(VendorLink& link, bool longExposure) const = 0;

  /// Begins and ends an exposure that the host times.
  virtual void beginExposure(VendorLink& link) const = 0;
  virtual void endExposure(VendorLink& link) const = 0;

  /// Whether the frame carries its marks.
  [[nodiscard]] virtual bool hasMarks(std::span<const std::uint8_t> frame) const = 0;
  /// Sets the pixels that carried the marks to 0.
  virtual void clearMarks(std::span<std::uint8_t> frame) const = 0;
  /// Replaces the pixels that carried the marks by nearby pixels of the same colour.
  /// @param rowBytes bytes of one row
  virtual void mendMarks(std::span<std::uint8_t> frame, std::size_t rowBytes) const = 0;
};

}  // namespace orvik
