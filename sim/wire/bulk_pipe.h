// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "seam/usb_host.h"

namespace orvik::sim {

/// A bulk IN transfer as the host controller holds it. The device's lock guards all members.
struct BulkRequest {
  std::span<std::uint8_t> bytes;
  std::size_t filled = 0;
  bool inFlight = false;
  bool moving = false;  ///< data is being copied into it, outside the lock
  seam::TransferStatus status = seam::TransferStatus::kOk;
  std::optional<seam::TransferStatus> endAs;  ///< asked for while data was moving
  std::condition_variable done;

  /// Kept until the transfer completes: the memory, and the connection that it was made by.
  std::shared_ptr<const void> owner;
  std::shared_ptr<const void> connection;
};

/// The bulk IN endpoint, and the host controller's list of transfers waiting on it.
///
/// The caller of every function holds the device's lock. The functions that take it as an argument
/// release it while they copy data and while they release what a finished transfer kept alive.
class BulkPipe {
 public:
  using Lock = std::unique_lock<std::mutex>;
  using Request = std::shared_ptr<BulkRequest>;

  explicit BulkPipe(std::size_t packetBytes) : packetBytes_(packetBytes) {}

  /// Whether a transfer waits for data.
  [[nodiscard]] bool ready() const { return !requests_.empty(); }
  [[nodiscard]] bool halted() const { return halted_; }

  /// Puts a transfer in flight.
  void submit(Lock& lock, const Request& request);

  /// Ends a transfer with kCancelled, unless it has ended already.
  void cancel(Lock& lock, const Request& request);

  /// Ends every transfer with `status`.
  void endAll(Lock& lock, seam::TransferStatus status);

  /// A halted endpoint stalls what is in flight and what is submitted to it.
  void halt(Lock& lock);
  void clearHalt() { halted_ = false; }

  /// Room in the first transfer; ready() must hold.
  [[nodiscard]] std::size_t room() const {
    return requests_.front()->bytes.size() - requests_.front()->filled;
  }

  /// Moves data into the first transfer; ready() must hold.
  ///
  /// Data travels in packets, which are full except for the last one of a frame. A transfer
  /// completes when it is full or when a short packet comes; after a frame of whole packets it
  /// stays open for the next frame. A packet for which there is too little room ends the transfer
  /// with kOverflow, and the part that does not fit is lost.
  /// @param bytes at least one; must not change until the call returns
  /// @param endsFrame whether the last of `bytes` is the last of a frame
  /// @return how many of them have gone.
  std::size_t send(Lock& lock, std::span<const std::uint8_t> bytes, bool endsFrame);

  /// How many of `count` bytes make whole packets together with what has already been sent.
  [[nodiscard]] std::size_t wholePackets(std::size_t count) const {
    const std::size_t place = lostOfPacket_ > 0 ? packetBytes_ - lostOfPacket_ : sentOfPacket_;
    const std::size_t excess = (place + count) % packetBytes_;
    return count > excess ? count - excess : 0;
  }

  /// The next byte sent begins a packet: what came before it has been discarded.
  void beginPacket() {
    sentOfPacket_ = 0;
    lostOfPacket_ = 0;
  }

 private:
  void finish(Lock& lock, const Request& request, seam::TransferStatus status);

  void losePacket();

  std::size_t packetBytes_;
  std::size_t sentOfPacket_ = 0;
  std::size_t lostOfPacket_ = 0;  ///< bytes to come that belong to a packet that found no room
  std::deque<Request> requests_;
  bool halted_ = false;
};

}  // namespace orvik::sim
