// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "seam/usb_host.h"
#include "sim/fault/faults.h"

namespace orvik::fault {

/// A transfer and what the script does to it. It is in flight at the host below, unless the script
/// keeps it from the device.
class Flight {
 public:
  using SubmitInner = std::function<seam::TransferStatus(seam::TransferBuffer)>;

  /// @param inner the transfer below; null if the device was already gone
  Flight(std::shared_ptr<Faults> faults, std::shared_ptr<seam::Transfer> inner,
         std::uint8_t endpoint);
  Flight(const Flight&) = delete;
  Flight& operator=(const Flight&) = delete;

  [[nodiscard]] std::uint8_t endpoint() const { return endpoint_; }

  /// Submits the transfer, unless `strike` keeps it from the device.
  /// @param hostLimit the host's own timeout; zero for none
  seam::TransferStatus submit(const std::optional<Strike>& strike, seam::TransferBuffer buffer,
                              std::chrono::milliseconds hostLimit, const SubmitInner& submitInner);
  void cancel();
  bool wait(std::chrono::milliseconds limit);
  [[nodiscard]] seam::TransferStatus status() const;
  [[nodiscard]] std::size_t actualBytes() const;

  /// Ends a transfer in flight with `status`, because the device is gone or its pipe is halted.
  void end(seam::TransferStatus status);

 private:
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  /// Where a transfer is.
  enum class Place : std::uint8_t {
    kNowhere,  ///< not in flight
    kBelow,    ///< at the host below
    kHeld,     ///< completed below, or never submitted there; completes here at `due_`
  };

  void hold(seam::TransferStatus status, std::size_t bytes, Clock::time_point due);
  void landed();
  void finish();

  const std::shared_ptr<Faults> faults_;
  const std::shared_ptr<seam::Transfer> inner_;
  const std::uint8_t endpoint_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Place place_ = Place::kNowhere;
  std::optional<Strike> strike_;
  std::optional<seam::TransferStatus> endAs_;
  seam::TransferBuffer buffer_;
  Clock::time_point due_;
  seam::TransferStatus status_ = seam::TransferStatus::kOk;
  std::size_t bytes_ = 0;
};

}  // namespace orvik::fault
