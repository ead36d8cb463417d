// SPDX-License-Identifier: MIT
#include "sim/wire/bulk_pipe.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orvik::sim {
namespace {

using seam::TransferStatus;

/// The most that is copied between two looks at whether the transfer is still wanted.
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
  // What it kept alive goes first, and outside the lock: letting go can run the owner's code and
  // close the connection, and whoever sees the transfer completed may count on both.
  {
    const std::shared_ptr<const void> owner = std::move(request->owner);
    const std::shared_ptr<const void> connection = std::move(request->connection);
    lock.unlock();
  }
  lock.lock();
  request->status = status;
  request->inFlight = false;
  request->done.notify_all();
}

std::size_t BulkPipe::send(Lock& lock, std::span<const std::uint8_t> frame, std::size_t sent) {
  const Request request = requests_.front();
  const std::size_t room = request->bytes.size() - request->filled;
  const std::size_t count = std::min({room, frame.size() - sent, kCopyBytes});
  request->moving = true;
  lock.unlock();
  if (count > 0) {
    std::memcpy(request->bytes.data() + request->filled, frame.data() + sent, count);
  }
  lock.lock();
  request->moving = false;
  request->filled += count;
  sent += count;

  const bool full = count == room;
  const bool insidePacket = sent % packetBytes_ != 0;
  const bool frameEnds = sent == frame.size();
  TransferStatus status = TransferStatus::kOk;
  if (full && insidePacket && !frameEnds) {
    status = TransferStatus::kOverflow;
    sent = std::min(frame.size(), (sent / packetBytes_ + 1) * packetBytes_);
  } else if (!full && !(frameEnds && insidePacket)) {
    if (!request->endAs) return sent;
    status = *request->endAs;
  }
  std::erase(requests_, request);
  finish(lock, request, status);
  return sent;
}

}  // namespace orvik::sim
