// SPDX-License-Identifier: MIT
#include "sim/wire/bulk_pipe.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orvik::sim {
namespace {

using seam::TransferStatus;

/// The most that is copied before checking again whether the transfer has been cancelled.
constexpr std::size_t kCopyBytes = std::size_t{1} << 20U;

}  // namespace

void BulkPipe::submit(Lock& lock, const Request& request) {
  request->filled = 0;
  request->endAs.reset();
  request->inFlight = true;
  if (halted_) {
    finish(lock, request, TransferStatus::kStalled);
  } else {
    requests_.push_back(request);
  }
}

void BulkPipe::cancel(Lock& lock, const Request& request) {
  const auto found = std::ranges::find(requests_, request);
  if (found == requests_.end()) return;
  if (request->moving) {
    if (!request->endAs) request->endAs = TransferStatus::kCancelled;
    return;
  }
  if (found == requests_.begin()) losePacket();
  requests_.erase(found);
  finish(lock, request, TransferStatus::kCancelled);
}

void BulkPipe::endAll(Lock& lock, TransferStatus status) {
  std::deque<Request> ended;
  ended.swap(requests_);
  if (!ended.empty() && ended.front()->moving) {
    ended.front()->endAs = status;
    requests_.push_back(std::move(ended.front()));
    ended.pop_front();
  }
  for (const Request& request : ended) finish(lock, request, status);
}

void BulkPipe::halt(Lock& lock) {
  halted_ = true;
  endAll(lock, TransferStatus::kStalled);
}

void BulkPipe::finish(Lock& lock, const Request& request, TransferStatus status) {
  // What the transfer kept alive is released first, and outside the lock: this can run the owner's
  // code and close the connection, and both must have happened when the transfer is seen as
  // completed.
  {
    const std::shared_ptr<const void> owner = std::move(request->owner);
    const std::shared_ptr<const void> connection = std::move(request->connection);
    lock.unlock();
  }
  lock.lock();
  request->status = status;
  request->inFlight = false;
  // A thread that is woken while the lock is held would only wait again, for the lock.
  lock.unlock();
  request->done.notify_all();
  lock.lock();
}

/// The rest of the present packet is lost.
void BulkPipe::losePacket() {
  if (sentOfPacket_ > 0) lostOfPacket_ = packetBytes_ - sentOfPacket_;
  sentOfPacket_ = 0;
}

std::size_t BulkPipe::send(Lock& lock, std::span<const std::uint8_t> bytes, bool endsFrame) {
  if (lostOfPacket_ > 0) {
    const std::size_t lost = std::min(lostOfPacket_, bytes.size());
    lostOfPacket_ = endsFrame && lost == bytes.size() ? 0 : lostOfPacket_ - lost;
    return lost;
  }
  const Request request = requests_.front();
  const std::size_t room = request->bytes.size() - request->filled;
  const std::size_t count = std::min({room, bytes.size(), kCopyBytes});
  request->moving = true;
  lock.unlock();
  std::memcpy(request->bytes.data() + request->filled, bytes.data(), count);
  lock.lock();
  request->moving = false;
  request->filled += count;
  sentOfPacket_ = (sentOfPacket_ + count) % packetBytes_;

  const bool full = count == room;
  const bool frameEnds = endsFrame && count == bytes.size();
  const bool shortPacket = frameEnds && sentOfPacket_ != 0;
  if (frameEnds) sentOfPacket_ = 0;
  TransferStatus status = TransferStatus::kOk;
  if (full && sentOfPacket_ != 0) {
    status = TransferStatus::kOverflow;
    losePacket();
  } else if (!full && !shortPacket) {
    if (!request->endAs) return count;
    status = *request->endAs;
    losePacket();
  }
  std::erase(requests_, request);
  finish(lock, request, status);
  return count;
}

}  // namespace orvik::sim
