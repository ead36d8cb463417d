// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>
#include <span>

#include "camera/firmware_types.h"
#include "camera/vendor_link.h"
#include "seam/clock.h"

/// The camera's SPI flash: pages of 256 bytes, sectors of 64 KiB. Erasing a sector sets its bits,
/// writing can only clear them.
namespace orvik::firmware {

inline constexpr std::uint32_t kPageBytes = 256;
inline constexpr std::uint32_t kSectorBytes = 65536;

/// While it lives the flash's bus belongs to the flash, and the flash to this thread; the bus's
/// other user is the pixel stream. One after another where several threads want it.
class FlashBus {
 public:
  explicit FlashBus(VendorLink& link);
  ~FlashBus();
  FlashBus(const FlashBus&) = delete;
  FlashBus& operator=(const FlashBus&) = delete;

 private:
  VendorLink& link_;
  std::unique_lock<std::mutex> lock_;
};

/// Writes or reads whole pages from the one that holds `address`. The caller has the bus; at most
/// 65535 bytes.
bool writeFlash(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                std::uint8_t request);
bool readFlash(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
               std::uint8_t request);

/// Erases a sector and waits for it, 30 s at most. @return FWDWNLOAD_SUCCESS or FWDWNLOAD_FAILED
FX3_FWDWNLOAD_ERROR_CODE eraseSector(VendorLink& link, seam::Clock& clock, std::uint32_t sector,
                                     std::uint8_t request);

/// Erases the sectors that an image touches and writes it from the flash's beginning. Interrupted,
/// it can be done again from the start. The caller has the bus.
/// @param request that of the erasing
FX3_FWDWNLOAD_ERROR_CODE writeFlashImage(VendorLink& link, seam::Clock& clock,
                                         std::span<const std::uint8_t> image, std::uint8_t request);

}  // namespace orvik::firmware
