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

/// One imported device: carries out the transfers that arrive on a connection, until the
/// connection or the device ends.
///
/// Two threads: run() reads messages and answers control transfers at once; a second one waits for
/// bulk transfers, which a device completes in their order, and answers those.
class Session {
 public:
  /// @param socket after the import has been answered
  Session(const Socket& socket, std::unique_ptr<seam::Port> port);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Returns when the session is over and no transfer is in flight any more.
  void run();

 private:
  /// A bulk transfer, and the memory that it fills. Used again and again.
  struct Bulk {
    std::uint32_t sequence = 0;
    std::uint8_t endpoint = 0;
    std::unique_ptr<seam::BulkTransfer> transfer;
    std::shared_ptr<std::vector<std::uint8_t>> memory;
    std::size_t length = 0;
  };
  using BulkPtr = std::shared_ptr<Bulk>;

  void readMessages();
  /// Each answers false when the session is over.
  bool submit(const SubmitMessage& message);
  bool control(const SubmitMessage& message);
  bool bulkIn(const SubmitMessage& message);
  bool refuseBulkOut(const SubmitMessage& message);
  bool unlink(const UnlinkMessage& message);

  void completeInOrder();
  /// Takes a transfer that has ended out of flight and answers it, unless another thread has.
  bool finish(const BulkPtr& bulk);
  /// Takes a transfer out of flight. @return false when another thread has.
  bool takeOut(const BulkPtr& bulk);
  /// With the right to reply, which is held since the transfer was taken out.
  bool answer(const BulkPtr& bulk);
  void makeIdle(const BulkPtr& bulk);
  bool reply(const Reply& head, std::span<const std::uint8_t> data = {});
  BulkPtr idleTransfer(std::uint8_t endpoint);
  void cancelAll();

  const Socket& socket_;
  const std::unique_ptr<seam::Port> port_;
  const std::unique_ptr<seam::ControlTransfer> controlTransfer_;

  /// The right to reply; taken before mutex_. It keeps a reply and its data together, and a
  /// transfer and its answer: to the importer a transfer that was taken back is over, and an answer
  /// that came later would be one to a transfer it does not know, at which it hangs up.
  std::mutex replyMutex_;
  std::mutex mutex_;  ///< guards all below
  std::condition_variable arrived_;
  std::deque<BulkPtr> inFlight_;  ///< oldest first
  std::vector<BulkPtr> idle_;
  std::size_t bytesInFlight_ = 0;
  bool over_ = false;
};

}  // namespace orvik::simcam
