// SPDX-License-Identifier: MIT
#include "usb/transfer_context.h"

#include <algorithm>

namespace orvik {

void BegunTransfers::add(std::shared_ptr<seam::Transfer> transfer) {
  const std::lock_guard lock(mutex_);
  transfers_.push_back(std::move(transfer));
}

void BegunTransfers::remove(const seam::Transfer* transfer) {
  const std::lock_guard lock(mutex_);
  std::erase_if(transfers_, [transfer](const auto& other) { return other.get() == transfer; });
}

void BegunTransfers::cancelAll() {
  const std::lock_guard lock(mutex_);
  for (const auto& transfer : transfers_) transfer->cancel();
}

bool BegunTransfers::waitForAll(std::chrono::milliseconds timeout) {
  // Waits without the lock, so that others can finish or abort meanwhile.
  std::vector<std::shared_ptr<seam::Transfer>> waitedFor;
  {
    const std::lock_guard lock(mutex_);
    waitedFor = transfers_;
  }
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  return std::ranges::all_of(waitedFor, [deadline](const auto& transfer) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    return transfer->wait(std::max(left, std::chrono::milliseconds(0)));
  });
}

TransferContext::TransferContext(std::shared_ptr<BegunTransfers> begun,
                                 std::shared_ptr<seam::Transfer> transfer,
                                 std::shared_ptr<const std::uint8_t[]> bounce,
                                 std::span<std::uint8_t> callers)
    : begun_(std::move(begun)),
      transfer_(std::move(transfer)),
      bounce_(std::move(bounce)),
      callers_(callers) {
  begun_->add(transfer_);
}

TransferContext::~TransferContext() {
  transfer_->cancel();  // waitForAll() may still hold it
  begun_->remove(transfer_.get());
}

void TransferContext::deliver() {
  if (!bounce_) return;
  std::copy_n(bounce_.get(), std::min(actualBytes(), callers_.size()), callers_.begin());
}

}  // namespace orvik
