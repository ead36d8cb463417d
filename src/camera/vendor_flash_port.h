// SPDX-License-Identifier: MIT
#pragma once

#include "camera/flash_port.h"
#include "camera/vendor_link.h"
#include "seam/clock.h"

namespace orvik {

/// The flash of a camera, through vendor requests. Reading and writing take one request each,
/// erasing ends within 30 s whatever the flash says.
class VendorFlashPort final : public FlashPort {
 public:
  /// @param link, clock must outlive the port
  VendorFlashPort(VendorLink& link, seam::Clock& clock) : link_(link), clock_(clock) {}

  bool switchBusToStream(bool toStream) override;
  bool read(std::uint32_t address, std::span<std::uint8_t> bytes) override;
  bool write(std::uint32_t address, std::span<const std::uint8_t> bytes) override;
  bool eraseSector(std::uint16_t sector) override;

 private:
  VendorLink& link_;
  seam::Clock& clock_;
};

}  // namespace orvik
