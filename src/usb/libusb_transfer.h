// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "seam/usb_host.h"
#include "usb/libusb_handle.h"

struct libusb_transfer;

namespace orvik {

/// The state that a transfer object shares with libusb. While in flight it owns itself, so it
/// outlives a transfer object that is destroyed, together with the device handle and the buffer.
class LibusbTransferState : public std::enable_shared_from_this<LibusbTransferState> {
 public:
  /// @return null when there is no memory for it.
  static std::shared_ptr<LibusbTransferState> create(std::shared_ptr<LibusbHandle> handle);

  LibusbTransferState(std::shared_ptr<LibusbHandle> handle, libusb_transfer* raw);
  LibusbTransferState(const LibusbTransferState&) = delete;
  LibusbTransferState& operator=(const LibusbTransferState&) = delete;
  ~LibusbTransferState();

  seam::TransferStatus submitControl(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                                     std::chrono::milliseconds timeout);
  seam::TransferStatus submitBulk(std::uint8_t endpoint, seam::TransferBuffer buffer);

  void cancel();
  bool wait(std::chrono::milliseconds timeout);
  [[nodiscard]] seam::TransferStatus status() const;
  [[nodiscard]] std::size_t actualBytes() const;

  /// Called on the event thread when the transfer has ended.
  void complete();

 private:
  seam::TransferStatus submitFilled(seam::TransferBuffer buffer);
  void copyControlData(std::size_t moved);

  const std::shared_ptr<LibusbHandle> handle_;
  libusb_transfer* const raw_;

  // Not used by the caller's threads while in flight, so the completion needs no lock for them.
  std::vector<std::uint8_t> controlPacket_;  ///< setup and data in one block, as libusb requires
  seam::TransferBuffer buffer_;

  mutable std::mutex mutex_;
  std::condition_variable ended_;
  seam::TransferStatus status_ = seam::TransferStatus::kOk;
  std::size_t actualBytes_ = 0;
  std::shared_ptr<LibusbTransferState> self_;  ///< set if and only if in flight
};

class LibusbControlTransfer final : public seam::ControlTransfer {
 public:
  explicit LibusbControlTransfer(std::shared_ptr<LibusbTransferState> state)
      : state_(std::move(state)) {}
  ~LibusbControlTransfer() override { state_->cancel(); }

  seam::TransferStatus submit(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                              std::chrono::milliseconds timeout) override {
    return state_->submitControl(setup, std::move(buffer), timeout);
  }
  void cancel() override { state_->cancel(); }
  bool wait(std::chrono::milliseconds timeout) override { return state_->wait(timeout); }
  [[nodiscard]] seam::TransferStatus status() const override { return state_->status(); }
  [[nodiscard]] std::size_t actualBytes() const override { return state_->actualBytes(); }

 private:
  const std::shared_ptr<LibusbTransferState> state_;
};

class LibusbBulkTransfer final : public seam::BulkTransfer {
 public:
  LibusbBulkTransfer(std::shared_ptr<LibusbTransferState> state, std::uint8_t endpoint)
      : state_(std::move(state)), endpoint_(endpoint) {}
  ~LibusbBulkTransfer() override { state_->cancel(); }

  seam::TransferStatus submit(seam::TransferBuffer buffer) override {
    return state_->submitBulk(endpoint_, std::move(buffer));
  }
  void cancel() override { state_->cancel(); }
  bool wait(std::chrono::milliseconds timeout) override { return state_->wait(timeout); }
  [[nodiscard]] seam::TransferStatus status() const override { return state_->status(); }
  [[nodiscard]] std::size_t actualBytes() const override { return state_->actualBytes(); }

 private:
  const std::shared_ptr<LibusbTransferState> state_;
  const std::uint8_t endpoint_;
};

}  // namespace orvik
