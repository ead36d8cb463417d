// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "seam/usb_host.h"
#include "tools/simcam/socket.h"
#include "tools/simcam/wire.h"

namespace orvik::simcam {

/// What one importer may make this process hold. The defaults are far above the limits of usbfs.
struct SessionLimits {
  std::size_t transferBytes = std::size_t{64} << 20U;  ///< in one bulk transfer
  std::size_t bytesInFlight = std::size_t{512} << 20U;
  std::size_t transfers = 4096;  ///< in flight
};

/// One imported device: carries out the transfers that arrive on a connection, until the connection
/// closes or the device is unplugged. A message beyond the limits also ends the session.
///
/// There are two threads. The one in run() reads messages and answers control transfers at once;
/// the other waits for bulk transfers, which a device completes in order, and answers those.
class Session {
 public:
  /// @param socket after the import has been answered
  Session(const Socket& socket, std::unique_ptr<seam::Port> port, const SessionLimits& limits);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Returns when the session is over and no transfer is in flight.
  void run();

 private:
  /// A bulk transfer, and the memory that it fills. Reused when it is idle.
  struct Bulk {
    std::uint64_t submission = 0;  ///< distinguishes the uses of this object
    std::uint32_t sequence = 0;
    std::uint8_t endpoint = 0;
    std::unique_ptr<seam::BulkTransfer> transfer;
    std::shared_ptr<std::vector<std::uint8_t>> memory;
    std::size_t length = 0;
  };
  using BulkPtr = std::shared_ptr<Bulk>;

  void readMessages();
  // Each of these returns false when the session is over.
  bool submit(const SubmitMessage& message);
  bool control(const SubmitMessage& message);
  bool bulkIn(const SubmitMessage& message);
  bool refuseBulkOut(const SubmitMessage& message);
  bool unlink(const UnlinkMessage& message);

  void completeInOrder();
  /// Takes a completed transfer out of flight and answers it, unless another thread has done so.
  bool finish(const BulkPtr& bulk, std::uint64_t submission);
  /// Takes a transfer out of flight. @return false if another thread has done so; the object may
  /// then have been submitted again
  bool takeOut(const BulkPtr& bulk, std::uint64_t submission);
  /// Answers a transfer. The caller has held replyMutex_ since before it took the transfer out.
  bool answer(const BulkPtr& bulk);
  void makeIdle(const BulkPtr& bulk);
  bool reply(const Reply& head, std::span<const std::uint8_t> data = {});
  BulkPtr idleTransfer(std::uint8_t endpoint);
  void cancelAll();

  const Socket& socket_;
  const std::unique_ptr<seam::Port> port_;
  const std::unique_ptr<seam::ControlTransfer> controlTransfer_;
  const SessionLimits limits_;

  /// Held while a reply is sent; locked before mutex_. It keeps a reply and its data together. It
  /// also keeps taking a transfer out and answering it together: for the importer, an unlinked
  /// transfer is over, and it closes the connection if an answer to that transfer still comes.
  std::mutex replyMutex_;
  std::mutex mutex_;  ///< guards all below
  std::condition_variable arrived_;
  std::deque<BulkPtr> inFlight_;  ///< oldest first
  std::vector<BulkPtr> idle_;
  std::size_t bytesInFlight_ = 0;
  std::uint64_t submissions_ = 0;
  bool over_ = false;
};

}  // namespace orvik::simcam
