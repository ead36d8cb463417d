// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "sim/frame_settings.h"
#include "sim/stream/link_fifo.h"
#include "sim/wire/bus.h"
#include "sim/wire/link_options.h"

namespace orvik::sim {

/// A camera's link to its host: the FIFO on its board, its cable, and its share of the bus.
class CameraLink {
 public:
  using Duration = LinkFifo::Duration;

  /// @param bus null for a link without a limit
  CameraLink(std::shared_ptr<Bus> bus, const LinkOptions& options)
      : bus_(options.rate == LinkOptions::Rate::kUnlimited ? nullptr : std::move(bus)),
        cable_(options.rate == LinkOptions::Rate::kOfCable ? options.bytesPerSecond
                                                           : LinkFifo::kUnlimited) {}
  CameraLink(CameraLink&&) = default;
  CameraLink& operator=(CameraLink&&) = delete;
  ~CameraLink() { rest(); }

  /// Asks the bus for the rate of frames with these settings.
  void use(const FrameSettings& settings) {
    const double seconds = std::chrono::duration<double>(settings.frameTime).count();
    if (bus_) bus_->want(seat_.get(), static_cast<double>(settings.bytes()) / seconds);
  }
  /// Asks the bus for nothing.
  void rest() {
    if (bus_) bus_->want(seat_.get(), 0);
  }

  /// Bytes per second.
  [[nodiscard]] double rate() const {
    return bus_ ? std::min(cable_, bus_->shareOf(seat_.get())) : LinkFifo::kUnlimited;
  }

  /// Adds what the board has sent until `now`. @return how much of it found room.
  std::size_t put(std::size_t bytes, Duration now) {
    const std::size_t kept = fifo_.put(bytes, now, rate());
    lost_ += bytes - kept;
    return kept;
  }
  void drain(Duration now) { fifo_.drain(now, rate()); }
  /// Bytes that have found no room in the FIFO.
  [[nodiscard]] std::uint64_t lost() const { return lost_; }
  /// Bytes in the FIFO.
  [[nodiscard]] std::size_t waiting() const { return fifo_.level(); }
  void clear() { fifo_.clear(); }

 private:
  std::shared_ptr<Bus> bus_;
  std::unique_ptr<char> seat_ = std::make_unique<char>();  ///< identifies the camera to the bus
  double cable_;
  LinkFifo fifo_;
  std::uint64_t lost_ = 0;
};

}  // namespace orvik::sim
