// SPDX-License-Identifier: MIT
#include "usb/libusb_port.h"

#include <libusb-1.0/libusb.h>

#include "usb/libusb_transfer.h"

namespace orvik {

seam::Speed LibusbPort::speed() const {
  using enum seam::Speed;
  switch (libusb_get_device_speed(libusb_get_device(handle_->raw()))) {
    case LIBUSB_SPEED_LOW:
      return kLow;
    case LIBUSB_SPEED_FULL:
      return kFull;
    case LIBUSB_SPEED_HIGH:
      return kHigh;
    case LIBUSB_SPEED_SUPER:
    case LIBUSB_SPEED_SUPER_PLUS:
      return kSuper;
    default:
      return kUnknown;
  }
}

bool LibusbPort::claimInterface(std::uint8_t number) {
  return libusb_claim_interface(handle_->raw(), number) == LIBUSB_SUCCESS;
}

std::unique_ptr<seam::ControlTransfer> LibusbPort::newControlTransfer() {
  auto state = LibusbTransferState::create(handle_);
  if (!state) return nullptr;
  return std::make_unique<LibusbControlTransfer>(std::move(state));
}

std::unique_ptr<seam::BulkTransfer> LibusbPort::newBulkTransfer(std::uint8_t endpoint) {
  auto state = LibusbTransferState::create(handle_);
  if (!state) return nullptr;
  return std::make_unique<LibusbBulkTransfer>(std::move(state), endpoint);
}

std::shared_ptr<std::uint8_t[]> LibusbPort::allocateDeviceMemory(std::size_t bytes) {
  std::uint8_t* const memory = libusb_dev_mem_alloc(handle_->raw(), bytes);
  if (memory == nullptr) return nullptr;
  return {memory, [handle = handle_, bytes](std::uint8_t* released) {
            libusb_dev_mem_free(handle->raw(), released, bytes);
          }};
}

seam::TransferStatus LibusbPort::clearHalt(std::uint8_t endpoint) {
  return statusOfError(libusb_clear_halt(handle_->raw(), endpoint));
}

seam::TransferStatus LibusbPort::reset() {
  const int error = libusb_reset_device(handle_->raw());
  // "Not found": after the reset it is a different device, and this handle is no longer valid.
  return error == LIBUSB_ERROR_NOT_FOUND ? seam::TransferStatus::kNoDevice : statusOfError(error);
}

}  // namespace orvik
