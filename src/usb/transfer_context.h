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
/// its contexts, because either may be destroyed first. Any thread.
class BegunTransfers {
 public:
  void add(std::shared_ptr<seam::Transfer> transfer);
  void remove(const seam::Transfer* transfer);

  void cancelAll();

  /// Waits for the transfers that are in flight now, at most `timeout` in total.
  /// @return true when none of them is in flight any more.
  bool waitForAll(std::chrono::milliseconds timeout);

 private:
  std::mutex mutex_;
  std::vector<std::shared_ptr<seam::Transfer>> transfers_;
};

/// One transfer from its begin to its finish; made by an endpoint. It takes only three small
/// allocations, so a streaming caller can make one for each read. It may outlive its endpoint and
/// its device object. If it is destroyed in flight, it cancels its transfer.
class TransferContext {
 public:
  /// For endpoints.
  /// @param transfer in flight
  /// @param bounce bounce buffer whose data finishing copies to `callers`; null if there is nothing
  ///        to copy
  TransferContext(std::shared_ptr<BegunTransfers> begun, std::shared_ptr<seam::Transfer> transfer,
                  std::shared_ptr<const std::uint8_t[]> bounce, std::span<std::uint8_t> callers);
  TransferContext(const TransferContext&) = delete;
  TransferContext& operator=(const TransferContext&) = delete;
  ~TransferContext();

  /// Waits until the transfer has ended, at most `timeout` (zero does not wait).
  bool wait(std::chrono::milliseconds timeout) { return transfer_->wait(timeout); }
  [[nodiscard]] bool inFlight() const { return !transfer_->wait(std::chrono::milliseconds(0)); }

  /// Status and bytes of the ended transfer; undefined while in flight.
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
