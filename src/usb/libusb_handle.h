// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "seam/usb_host.h"
#include "usb/libusb_context.h"

struct libusb_device;

namespace orvik {

/// An open device. Shared by the port, its transfers and its device memory, and closed when the
/// last of them has been destroyed.
class LibusbHandle {
 public:
  /// @return null when the device is gone or may not be opened.
  static std::shared_ptr<LibusbHandle> open(const std::shared_ptr<LibusbContext>& context,
                                            libusb_device* device);

  /// Takes over a handle that the context already counts.
  LibusbHandle(std::shared_ptr<LibusbContext> context, libusb_device_handle* raw)
      : context_(std::move(context)), raw_(raw) {}
  LibusbHandle(const LibusbHandle&) = delete;
  LibusbHandle& operator=(const LibusbHandle&) = delete;
  ~LibusbHandle() { context_->close(raw_); }

  [[nodiscard]] libusb_device_handle* raw() const { return raw_; }

 private:
  const std::shared_ptr<LibusbContext> context_;
  libusb_device_handle* const raw_;
};

/// The transfer status for an error code of libusb.
seam::TransferStatus statusOfError(int error);

}  // namespace orvik
