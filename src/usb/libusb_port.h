// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"
#include "usb/libusb_handle.h"

namespace orvik {

/// A device opened through libusb. claimInterface(), clearHalt() and reset() block in the kernel,
/// which has timeouts of a few seconds for each.
class LibusbPort final : public seam::Port {
 public:
  explicit LibusbPort(std::shared_ptr<LibusbHandle> handle) : handle_(std::move(handle)) {}

  [[nodiscard]] seam::Speed speed() const override;
  bool claimInterface(std::uint8_t number) override;
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override;
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override;
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override;
  seam::TransferStatus clearHalt(std::uint8_t endpoint) override;
  seam::TransferStatus reset() override;

 private:
  const std::shared_ptr<LibusbHandle> handle_;
};

}  // namespace orvik
