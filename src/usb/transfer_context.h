// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "seam/usb_host.h"

namespace orvik {

/// The transfers of one endpoint that have begun and are not finished. Shared by the endpoint and
/// its contexts, because either may end first. Any thread.
class BegunTransfers {
 public:
  void add(std::shared_ptr<seam::Transfer> transfer);
  void remove(const seam::Transfer* transfer);

  void cancelAll();

  /// Waits, at most `limit` for all together, for those that are in flight now.
  /// @return true when none of them is any more.
  bool waitForAll(std::chrono::milliseconds limit);

 private:
  std::mutex mutex_;
  std::vector<std::shared_ptr<seam::Transfer>> transfers_;
};

/// One transfer between its begin and its finish; made by an endpoint. It costs three small
/// allocations, so a streaming caller makes one for each read. It may outlive its endpoint and its
/// device object. Dropped in flight, it cancels its transfer.
class TransferContext {
 public:
  /// For endpoints.
  /// @param transfer in flight
  /// @param bounce memory of the transfer's own whose data finishing copies to `callers`; null when
  ///        there is nothing to copy
  TransferContext(std::shared_ptr<BegunTransfers> begun, std::shared_ptr<seam::Transfer> transfer,
                  std::shared_ptr<const std::uint8_t[]> bounce, std::span<std::uint8_t> callers);
  TransferContext(const TransferContext&) = delete;
  TransferContext& operator=(const TransferContext&) = delete;
  ~TransferContext();

  /// Waits until the transfer has ended, at most `limit` (zero only asks).
  bool wait(std::chrono::milliseconds limit) { return transfer_->wait(limit); }
  [[nodiscard]] bool inFlight() const { return !transfer_->wait(std::chrono::milliseconds(0)); }

  /// How the transfer ended, and the bytes it moved; meaningless while in flight.
  [[nodiscard]] seam::TransferStatus status() const { return transfer_->status(); }
  [[nodiscard]] std::size_t actualBytes() const { return transfer_->actualBytes(); }

 private:
  friend class CCyUSBEndPoint;
  void deliver();

  const std::shared_ptr<BegunTransfers> begun_;
  const std::shared_ptr<seam::Transfer> transfer_;
  const std::shared_ptr<const std::uint8_t[]> bounce_;
  const std::span<std::uint8_t> callers_;
};

}  // namespace orvik
