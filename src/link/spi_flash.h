// SPDX-License-Identifier: MIT
#pragma once

#include "link/flash_port.h"
#include "link/vendor_link.h"
#include "seam/clock.h"

namespace orvik {

/// The vendor requests for the flash. Programs that use the class interface may specify others.
struct FlashRequests {
  VendorRequest read = VendorRequest::kReadFlash;
  VendorRequest write = VendorRequest::kWriteFlash;
  VendorRequest sector = VendorRequest::kFlashSector;  ///< erase and poll
  /// Attempts at the erase command, and failed polls, before erasing counts as failed.
  int eraseAttempts = FlashPort::kAttempts;
};

/// The flash of a camera, accessed by vendor requests. Reading and writing take one request each.
/// Taking and giving back the bus, the erase command and each poll of its status are tried up to
/// three times. Erasing ends within 30 s, whatever status the flash reports. On a closed camera all
/// operations fail at once.
class SpiFlash final : public FlashPort {
 public:
  /// @param link, clock must outlive the port
  SpiFlash(VendorLink& link, seam::Clock& clock, FlashRequests requests = {})
      : link_(link), clock_(clock), requests_(requests) {}

  [[nodiscard]] std::unique_lock<std::mutex> lock() override { return link_.lockFlash(); }
  bool takeBus() override;
  void giveBusBack() override;
  bool read(std::uint32_t address, std::span<std::uint8_t> bytes) override;
  bool write(std::uint32_t address, std::span<const std::uint8_t> bytes) override;
  bool eraseSector(std::uint32_t sector) override;

 private:
  bool waitUntilErased(std::uint16_t sector, seam::Clock::Duration end);

  VendorLink& link_;
  seam::Clock& clock_;
  FlashRequests requests_;
};

}  // namespace orvik
