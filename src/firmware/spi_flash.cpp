// SPDX-License-Identifier: MIT
#include "firmware/spi_flash.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

#include "firmware/firmware_image.h"

namespace orvik::firmware {
namespace {

using namespace std::chrono_literals;

// No flash of this size takes more than a few seconds for a sector.
constexpr auto kEraseLimit = 30s;
constexpr auto kErasePause = 1ms;
constexpr std::size_t kMaxTransferBytes = 0xFFFF;
constexpr std::uint8_t kSwitchBus = static_cast<std::uint8_t>(VendorRequest::kSwitchBus);
constexpr std::uint8_t kWriteFlash = static_cast<std::uint8_t>(VendorRequest::kWriteFlash);

std::uint16_t pageOf(std::uint32_t address) {
  return static_cast<std::uint16_t>(address / kPageBytes);
}

}  // namespace

FlashBus::FlashBus(VendorLink& link) : link_(link), lock_(link.lockFlash()) {
  link_.send(kSwitchBus, 0);
}

FlashBus::~FlashBus() { link_.send(kSwitchBus, 1); }

bool writeFlash(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                std::uint8_t request) {
  if (data.size() > kMaxTransferBytes) return false;
  std::vector<std::uint8_t> copy(data.begin(), data.end());
  return link.send(request, 0, pageOf(address), copy);
}

bool readFlash(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
               std::uint8_t request) {
  if (data.size() > kMaxTransferBytes) return false;
  return link.receive(request, 0, pageOf(address), data);
}

FX3_FWDWNLOAD_ERROR_CODE eraseSector(VendorLink& link, seam::Clock& clock, std::uint32_t sector,
                                     std::uint8_t request) {
  const auto index = static_cast<std::uint16_t>(sector);
  if (index != sector || !link.send(request, 1, index)) return FWDWNLOAD_FAILED;
  const seam::Clock::Duration end = clock.now() + kEraseLimit;
  for (;;) {
    std::array<std::uint8_t, 1> status = {1};
    if (!link.receive(request, 0, index, status)) return FWDWNLOAD_FAILED;
    if (status[0] == 0) return FWDWNLOAD_SUCCESS;
    if (clock.now() >= end) return FWDWNLOAD_FAILED;
    clock.sleepFor(kErasePause);
  }
}

FX3_FWDWNLOAD_ERROR_CODE writeFlashImage(VendorLink& link, seam::Clock& clock,
                                         std::span<const std::uint8_t> image,
                                         std::uint8_t request) {
  if (!link.isOpen()) return FWDWNLOAD_FAILED;
  if (image.size() > kMaxImageBytes) return FWDWNLOAD_NO_FILE;
  const std::size_t sectors = (image.size() + kSectorBytes - 1) / kSectorBytes;
  for (std::uint32_t sector = 0; sector < sectors; ++sector) {
    if (eraseSector(link, clock, sector, request) != FWDWNLOAD_SUCCESS) {
      return FWDWNLOAD_ERASE_FAILED;
    }
  }
  for (std::size_t at = 0; at < image.size(); at += kChunkBytes) {
    const std::span<const std::uint8_t> part =
        image.subspan(at, std::min(kChunkBytes, image.size() - at));
    std::vector<std::uint8_t> pages(part.begin(), part.end());
    pages.resize((part.size() + kPageBytes - 1) / kPageBytes * kPageBytes);
    if (!link.send(kWriteFlash, 0, pageOf(static_cast<std::uint32_t>(at)), pages)) {
      return FWDWNLOAD_FAILED;
    }
  }
  return FWDWNLOAD_SUCCESS;
}

}  // namespace orvik::firmware
