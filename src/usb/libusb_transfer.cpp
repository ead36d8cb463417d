// SPDX-License-Identifier: MIT
#include "usb/libusb_transfer.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <climits>

namespace orvik {
namespace {

using seam::TransferStatus;

constexpr std::size_t kMaxControlBytes = 0xFFFF;

/// The longest timeout; added to the present time, it stays within the range of the clock.
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 365);

TransferStatus statusOfCompletion(libusb_transfer_status status) {
  switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
      return TransferStatus::kOk;
    case LIBUSB_TRANSFER_CANCELLED:
      return TransferStatus::kCancelled;
    case LIBUSB_TRANSFER_TIMED_OUT:
      return TransferStatus::kTimedOut;
    case LIBUSB_TRANSFER_STALL:
      return TransferStatus::kStalled;
    case LIBUSB_TRANSFER_OVERFLOW:
      return TransferStatus::kOverflow;
    case LIBUSB_TRANSFER_NO_DEVICE:
      return TransferStatus::kNoDevice;
    default:
      return TransferStatus::kError;
  }
}

/// Timeouts of libusb are unsigned, zero for none.
unsigned libusbTimeout(std::chrono::milliseconds timeout) {
  constexpr std::chrono::milliseconds::rep kMax = UINT_MAX;
  return static_cast<unsigned>(std::clamp(timeout.count(), decltype(kMax){0}, kMax));
}

void LIBUSB_CALL onCompletion(libusb_transfer* transfer) {
  static_cast<LibusbTransferState*>(transfer->user_data)->complete();
}

}  // namespace

std::shared_ptr<LibusbTransferState> LibusbTransferState::create(
    std::shared_ptr<LibusbHandle> handle) {
  libusb_transfer* raw = libusb_alloc_transfer(0);
  if (raw == nullptr) return nullptr;
  return std::make_shared<LibusbTransferState>(std::move(handle), raw);
}

LibusbTransferState::LibusbTransferState(std::shared_ptr<LibusbHandle> handle, libusb_transfer* raw)
    : handle_(std::move(handle)), raw_(raw) {}

LibusbTransferState::~LibusbTransferState() { libusb_free_transfer(raw_); }

TransferStatus LibusbTransferState::submitControl(const seam::SetupPacket& setup,
                                                  seam::TransferBuffer buffer,
                                                  std::chrono::milliseconds timeout) {
  if (buffer.bytes.size() > kMaxControlBytes) return TransferStatus::kError;
  const std::lock_guard lock(mutex_);
  if (self_) return TransferStatus::kError;
  controlPacket_.resize(LIBUSB_CONTROL_SETUP_SIZE + buffer.bytes.size());
  libusb_fill_control_setup(controlPacket_.data(), setup.requestType, setup.request, setup.value,
                            setup.index, static_cast<std::uint16_t>(buffer.bytes.size()));
  if ((setup.requestType & LIBUSB_ENDPOINT_IN) == 0) {
    std::ranges::copy(buffer.bytes, controlPacket_.begin() + LIBUSB_CONTROL_SETUP_SIZE);
  }
  libusb_fill_control_transfer(raw_, handle_->raw(), controlPacket_.data(), &onCompletion, this,
                               libusbTimeout(timeout));
  return submitFilled(std::move(buffer));
}

TransferStatus LibusbTransferState::submitBulk(std::uint8_t endpoint, seam::TransferBuffer buffer) {
  if (buffer.bytes.size() > INT_MAX) return TransferStatus::kError;
  const std::lock_guard lock(mutex_);
  if (self_) return TransferStatus::kError;
  libusb_fill_bulk_transfer(raw_, handle_->raw(), endpoint, buffer.bytes.data(),
                            static_cast<int>(buffer.bytes.size()), &onCompletion, this, 0);
  return submitFilled(std::move(buffer));
}

// Called with the lock held, so that a cancel from another thread finds the transfer either not
// begun or completely submitted. When libusb calls completions, it does not hold the locks that
// submitting takes, so there is no deadlock.
//
// On the few host controllers for which libusb must split a transfer into several requests, a lack
// of memory after the first of them is reported as a completion with kError, not here.
TransferStatus LibusbTransferState::submitFilled(seam::TransferBuffer buffer) {
  buffer_ = std::move(buffer);
  self_ = shared_from_this();
  const int error = libusb_submit_transfer(raw_);
  if (error == LIBUSB_SUCCESS) return TransferStatus::kOk;
  self_.reset();
  buffer_ = {};
  return statusOfError(error);
}

void LibusbTransferState::complete() {
  const auto moved = static_cast<std::size_t>(raw_->actual_length);
  if (raw_->type == LIBUSB_TRANSFER_TYPE_CONTROL) copyControlData(moved);
  // Before the end is reported: a thread that has waited may rely on the owner being released.
  buffer_ = {};

  std::shared_ptr<LibusbTransferState> keepUntilNotified;
  {
    const std::lock_guard lock(mutex_);
    status_ = statusOfCompletion(raw_->status);
    actualBytes_ = moved;
    keepUntilNotified.swap(self_);
  }
  // Without the lock, for which a thread that is woken would have to wait.
  ended_.notify_all();
}

void LibusbTransferState::copyControlData(std::size_t moved) {
  if ((controlPacket_[0] & LIBUSB_ENDPOINT_IN) == 0) return;
  const auto data = std::span(controlPacket_).subspan(LIBUSB_CONTROL_SETUP_SIZE);
  std::ranges::copy(data.first(std::min(moved, data.size())), buffer_.bytes.begin());
}

void LibusbTransferState::cancel() {
  const std::lock_guard lock(mutex_);
  if (self_) libusb_cancel_transfer(raw_);
}

bool LibusbTransferState::wait(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  // A wait until now would put the thread to sleep, and set a timer to wake it.
  if (timeout <= std::chrono::milliseconds::zero()) return !self_;
  return ended_.wait_for(lock, std::min(timeout, kLongestWait), [this] { return !self_; });
}

TransferStatus LibusbTransferState::status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

std::size_t LibusbTransferState::actualBytes() const {
  const std::lock_guard lock(mutex_);
  return actualBytes_;
}

}  // namespace orvik
