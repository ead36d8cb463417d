// SPDX-License-Identifier: MIT
#include "capture/bulk_stream.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

namespace orvik {
namespace {

using namespace std::chrono_literals;

/// Pause before a retry when the system does not accept a single read.
constexpr auto kRefusalPause = 10ms;

}  // namespace

BulkStream::BulkStream(CUsbDevice& device, const seam::Clock& clock,
                       std::shared_ptr<FramePair> frames, std::size_t frameBytes,
                       std::size_t transferBytes)
    : endpoint_(device.bulkIn()),
      clock_(clock),
      frames_(std::move(frames)),
      frameBytes_(frameBytes),
      transferBytes_(transferBytes),
      readsPerFrame_((frameBytes + transferBytes - 1) / transferBytes),
      slots_(device, transferBytes) {}

BulkStream::~BulkStream() { stop(); }

void BulkStream::stop() {
  if (endpoint_ == nullptr) return;
  endpoint_->settle();
  while (!inFlight_.empty()) {
    std::size_t bytes = 0;
    endpoint_->finishTransfer(std::move(inFlight_.front().context), bytes);
    slots_.giveBack(std::move(inFlight_.front().slot));
    inFlight_.pop_front();
  }
}

void BulkStream::restart() {
  if (endpoint_ == nullptr) return;
  stop();
  endpoint_->resetPipe();
  endpoint_->setTransferSize(transferBytes_);
  const std::uint64_t nextFrame = frameNumber_ + 1;
  std::swap(bufferOf(nextFrame), bufferOf(frameNumber_));
  frameNumber_ = nextFrame;
  nextToRead_ = nextToSubmit_ = frameNumber_ * readsPerFrame_;
  arrival_.time = clock_.now();
  submitAhead();
}

// A read may be up to a frame ahead of the oldest one: it then goes into the memory of the
// following frame.
void BulkStream::submitAhead() {
  while (nextToSubmit_ < nextToRead_ + readsPerFrame_ && submit(nextToSubmit_)) ++nextToSubmit_;
}

std::size_t BulkStream::offsetOf(std::uint64_t number) const {
  return static_cast<std::size_t>(number % readsPerFrame_) * transferBytes_;
}

std::span<std::uint8_t> BulkStream::placeOf(std::uint64_t number) const {
  const std::size_t offset = offsetOf(number);
  const std::size_t length = std::min(transferBytes_, frameBytes_ - offset);
  return bufferOf(number / readsPerFrame_)->bytes().subspan(offset, length);
}

bool BulkStream::submit(std::uint64_t number) {
  const std::span<std::uint8_t> place = placeOf(number);
  Read read;
  seam::TransferBuffer buffer{place, bufferOf(number / readsPerFrame_)};
  if (slots_.inUse()) {
    read.slot = slots_.take();
    if (read.slot == nullptr && slots_.inUse()) return false;  // all are in flight
    if (read.slot) buffer = {{read.slot.get(), place.size()}, read.slot};
  }
  read.context = endpoint_->beginTransfer(buffer);
  if (read.context == nullptr) {
    gone_ = endpoint_->lastStatus() == seam::TransferStatus::kNoDevice;
    slots_.giveBack(std::move(read.slot));
    return false;
  }
  inFlight_.push_back(std::move(read));
  return true;
}

BulkStream::Result BulkStream::readFrame(std::chrono::milliseconds timeout) {
  if (endpoint_ == nullptr) return Result::kGone;
  std::size_t received = 0;
  const std::uint64_t firstRead = frameNumber_ * readsPerFrame_;
  while (nextToRead_ < firstRead + readsPerFrame_) {
    submitAhead();
    if (gone_) return Result::kGone;
    const bool untouched = nextToRead_ == firstRead;
    if (inFlight_.empty()) {
      std::this_thread::sleep_for(kRefusalPause);
      return untouched ? Result::kEmpty : Result::kIncomplete;
    }
    if (!waitForOldest(timeout)) {
      return untouched ? Result::kEmpty : Result::kIncomplete;
    }
    if (!collect(received)) {
      if (gone_) return Result::kGone;
      return received == 0 ? Result::kFailed : Result::kIncomplete;
    }
  }
  submitAhead();
  if (received == frameBytes_) return Result::kComplete;
  return received == 0 ? Result::kFailed : Result::kIncomplete;
}

// A read that has completed before the wait begins completed at an unknown time since the last
// wait.
bool BulkStream::waitForOldest(std::chrono::milliseconds timeout) {
  TransferContext& oldest = *inFlight_.front().context;
  const bool isLate = !oldest.inFlight();
  if (!endpoint_->waitForTransfer(oldest, timeout)) return false;
  const auto now = clock_.now();
  arrival_ = {.time = now, .uncertainty = isLate ? now - arrival_.time : 0ns};
  return true;
}

bool BulkStream::hasArrived() const {
  return !inFlight_.empty() && !inFlight_.front().context->inFlight();
}

void BulkStream::drain() {
  constexpr auto kQuiet = 5ms;
  if (endpoint_ == nullptr) return;
  nextToRead_ = nextToSubmit_ = frameNumber_ * readsPerFrame_;
  std::size_t discarded = 0;
  while (discarded < frameBytes_) {
    submitAhead();
    if (inFlight_.empty() || !endpoint_->waitForTransfer(*inFlight_.front().context, kQuiet)) break;
    if (!collect(discarded)) break;
  }
  stop();
}

bool BulkStream::collect(std::size_t& received) {
  Read read = std::move(inFlight_.front());
  inFlight_.pop_front();
  std::size_t bytes = 0;
  const bool ok = endpoint_->finishTransfer(std::move(read.context), bytes);
  gone_ = endpoint_->lastStatus() == seam::TransferStatus::kNoDevice;
  if (read.slot) {
    const std::span<std::uint8_t> place = placeOf(nextToRead_);
    std::memcpy(place.data(), read.slot.get(), std::min(bytes, place.size()));
    slots_.giveBack(std::move(read.slot));
  }
  received += bytes;
  ++nextToRead_;
  return ok;
}

bool BulkStream::isGone() const {
  if (gone_ || inFlight_.empty()) return gone_;
  const TransferContext& oldest = *inFlight_.front().context;
  return !oldest.inFlight() && oldest.status() == seam::TransferStatus::kNoDevice;
}

void BulkStream::advance() { ++frameNumber_; }

}  // namespace orvik
