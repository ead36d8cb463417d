// SPDX-License-Identifier: MIT
#include "usb/libusb_handle.h"

#include <libusb-1.0/libusb.h>

namespace orvik {

std::shared_ptr<LibusbHandle> LibusbHandle::open(const std::shared_ptr<LibusbContext>& context,
                                                 libusb_device* device) {
  libusb_device_handle* raw = nullptr;
  if (libusb_open(device, &raw) != LIBUSB_SUCCESS) return nullptr;
  if (!context->enter()) {
    libusb_close(raw);
    return nullptr;
  }
  // This fails only on platforms without kernel drivers to detach.
  libusb_set_auto_detach_kernel_driver(raw, 1);
  return std::make_shared<LibusbHandle>(context, raw);
}

seam::TransferStatus statusOfError(int error) {
  using enum seam::TransferStatus;
  switch (error) {
    case LIBUSB_SUCCESS:
      return kOk;
    case LIBUSB_ERROR_NO_DEVICE:
      return kNoDevice;
    case LIBUSB_ERROR_NO_MEM:
      return kNoMemory;
    case LIBUSB_ERROR_PIPE:
      return kStalled;
    case LIBUSB_ERROR_TIMEOUT:
      return kTimedOut;
    case LIBUSB_ERROR_OVERFLOW:
      return kOverflow;
    default:
      return kError;
  }
}

}  // namespace orvik
