// SPDX-License-Identifier: MIT
#include "tools/simcam/session.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

namespace orvik::simcam {
namespace {

using namespace std::chrono_literals;
using seam::TransferStatus;

constexpr auto kControlTimeout = 5000ms;
constexpr auto kCancelTimeout = 5000ms;
/// How often a wait for the oldest transfer checks whether the session is over.
constexpr auto kCompletionSlice = 1000ms;
constexpr std::size_t kMaxControlBytes = 0xFFFF;

constexpr std::uint8_t kToHostBit = 0x80;

}  // namespace

Session::Session(const Socket& socket, std::unique_ptr<seam::Port> port,
                 const SessionLimits& limits)
    : socket_(socket),
      port_(std::move(port)),
      controlTransfer_(port_->newControlTransfer()),
      limits_(limits) {}

void Session::run() {
  std::thread completer([this] { completeInOrder(); });
  readMessages();
  cancelAll();
  completer.join();
}

void Session::readMessages() {
  std::array<std::uint8_t, kMessageBytes> bytes{};
  while (socket_.read(bytes)) {
    const Message message = parseMessage(bytes);
    const bool goesOn = message.submit   ? submit(*message.submit)
                        : message.unlink ? unlink(*message.unlink)
                                         : false;
    if (!goesOn) break;
  }
}

bool Session::submit(const SubmitMessage& message) {
  if (message.endpoint == 0) return control(message);
  return message.toHost ? bulkIn(message) : refuseBulkOut(message);
}

bool Session::control(const SubmitMessage& message) {
  if (message.length > kMaxControlBytes) return false;
  auto memory = std::make_shared<std::vector<std::uint8_t>>(message.length);
  if (!message.toHost && !socket_.read(*memory)) return false;

  TransferStatus status = controlTransfer_->submit(message.setup, {*memory, memory},
                                                   std::chrono::milliseconds(kControlTimeout));
  std::size_t moved = 0;
  if (status == TransferStatus::kOk) {
    // The host ends the transfer at its timeout and then needs some time to report it.
    if (!controlTransfer_->wait(kControlTimeout + kCancelTimeout)) return false;
    status = controlTransfer_->status();
    moved = std::min(controlTransfer_->actualBytes(), memory->size());
  }
  const std::span<const std::uint8_t> data(memory->data(), message.toHost ? moved : 0);
  return reply(submitReply(message.sequence, status, moved), data) &&
         status != TransferStatus::kNoDevice;
}

// The cameras have no bulk endpoint that takes data: the data is read and the transfer refused.
bool Session::refuseBulkOut(const SubmitMessage& message) {
  if (message.length > limits_.transferBytes) return false;
  std::vector<std::uint8_t> data(message.length);
  return socket_.read(data) && reply(submitReply(message.sequence, TransferStatus::kStalled, 0));
}

bool Session::bulkIn(const SubmitMessage& message) {
  if (message.length > limits_.transferBytes) return false;
  const BulkPtr bulk = idleTransfer(message.endpoint | kToHostBit);
  bulk->sequence = message.sequence;
  bulk->length = message.length;
  if (bulk->memory->size() < message.length) bulk->memory->resize(message.length);
  TransferStatus status = TransferStatus::kOk;
  {
    // Submitted under the lock, so that the completing thread sees only transfers in flight.
    const std::lock_guard lock(mutex_);
    if (bytesInFlight_ + bulk->length > limits_.bytesInFlight ||
        inFlight_.size() >= limits_.transfers) {
      return false;
    }
    status = bulk->transfer->submit({std::span(*bulk->memory).first(bulk->length), bulk->memory});
    if (status == TransferStatus::kOk) {
      bytesInFlight_ += bulk->length;
      bulk->submission = ++submissions_;
      inFlight_.push_back(bulk);
    } else {
      idle_.push_back(bulk);
    }
  }
  if (status == TransferStatus::kOk) {
    arrived_.notify_one();
    return true;
  }
  return reply(submitReply(message.sequence, status, 0)) && status != TransferStatus::kNoDevice;
}

Session::BulkPtr Session::idleTransfer(std::uint8_t endpoint) {
  {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::ranges::find(idle_, endpoint, [](const BulkPtr& b) { return b->endpoint; });
    if (found != idle_.end()) {
      BulkPtr bulk = std::move(*found);
      idle_.erase(found);
      return bulk;
    }
  }
  auto bulk = std::make_shared<Bulk>();
  bulk->endpoint = endpoint;
  bulk->transfer = port_->newBulkTransfer(endpoint);
  bulk->memory = std::make_shared<std::vector<std::uint8_t>>();
  return bulk;
}

bool Session::takeOut(const BulkPtr& bulk, std::uint64_t submission) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(inFlight_, bulk);
  if (found == inFlight_.end() || bulk->submission != submission) return false;
  inFlight_.erase(found);
  bytesInFlight_ -= bulk->length;
  return true;
}

bool Session::finish(const BulkPtr& bulk, std::uint64_t submission) {
  const std::lock_guard order(replyMutex_);
  return !takeOut(bulk, submission) || answer(bulk);
}

bool Session::answer(const BulkPtr& bulk) {
  const TransferStatus status = bulk->transfer->status();
  const std::size_t moved = std::min(bulk->transfer->actualBytes(), bulk->length);
  const bool sent = socket_.write(submitReply(bulk->sequence, status, moved),
                                  std::span<const std::uint8_t>(*bulk->memory).first(moved));
  makeIdle(bulk);
  return sent && status != TransferStatus::kNoDevice;
}

void Session::makeIdle(const BulkPtr& bulk) {
  const std::lock_guard lock(mutex_);
  idle_.push_back(bulk);
}

bool Session::unlink(const UnlinkMessage& message) {
  BulkPtr bulk;
  {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::ranges::find(inFlight_, message.target, [](const BulkPtr& b) { return b->sequence; });
    if (found != inFlight_.end()) bulk = *found;
  }
  if (bulk) {
    bulk->transfer->cancel();
    if (!bulk->transfer->wait(kCancelTimeout)) return false;
  }
  const std::lock_guard order(replyMutex_);
  bool cancelled = false;
  // Only this thread submits: the object is still the transfer that was found.
  if (bulk && takeOut(bulk, bulk->submission)) {
    cancelled = bulk->transfer->status() == TransferStatus::kCancelled;
    if (cancelled) {
      makeIdle(bulk);
    } else if (!answer(bulk)) {  // it completed before it was cancelled: its data must not be lost
      return false;
    }
  }
  return socket_.write(unlinkReply(message.sequence, cancelled));
}

void Session::completeInOrder() {
  for (;;) {
    BulkPtr oldest;
    std::uint64_t submission = 0;
    {
      std::unique_lock lock(mutex_);
      arrived_.wait(lock, [this] { return over_ || !inFlight_.empty(); });
      if (over_) return;
      oldest = inFlight_.front();
      submission = oldest->submission;
    }
    if (!oldest->transfer->wait(kCompletionSlice)) continue;
    if (!finish(oldest, submission)) socket_.shutdown();  // also ends the reading thread
  }
}

bool Session::reply(const Reply& head, std::span<const std::uint8_t> data) {
  const std::lock_guard lock(replyMutex_);
  return socket_.write(head, data);
}

void Session::cancelAll() {
  std::deque<BulkPtr> rest;
  {
    const std::lock_guard lock(mutex_);
    over_ = true;
    rest = inFlight_;
  }
  socket_.shutdown();  // the importer sees the device disappear; no reply blocks any more
  arrived_.notify_all();
  for (const BulkPtr& bulk : rest) bulk->transfer->cancel();
  for (const BulkPtr& bulk : rest) bulk->transfer->wait(kCancelTimeout);
}

}  // namespace orvik::simcam
