// SPDX-License-Identifier: MIT
#include "camera/vendor_flash_port.h"

#include <array>
#include <chrono>
#include <vector>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kEraseLimit = 30s;
constexpr auto kPollInterval = 1ms;

constexpr std::uint8_t code(VendorRequest request) { return static_cast<std::uint8_t>(request); }

constexpr std::uint16_t pageOf(std::uint32_t address) {
  return static_cast<std::uint16_t>(address / FlashPort::kPageBytes);
}

}  // namespace

bool VendorFlashPort::switchBusToStream(bool toStream) {
  return link_.send(code(VendorRequest::kSwitchBus), toStream ? 1 : 0);
}

bool VendorFlashPort::read(std::uint32_t address, std::span<std::uint8_t> bytes) {
  return link_.receive(code(VendorRequest::kReadFlash), 0, pageOf(address), bytes);
}

bool VendorFlashPort::write(std::uint32_t address, std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  return link_.send(code(VendorRequest::kWriteFlash), 0, pageOf(address), data);
}

bool VendorFlashPort::eraseSector(std::uint16_t sector) {
  constexpr std::uint16_t kErase = 1;
  constexpr std::uint16_t kAskStatus = 0;
  if (!link_.send(code(VendorRequest::kFlashSector), kErase, sector)) return false;
  const auto end = clock_.now() + kEraseLimit;
  while (true) {
    std::array<std::uint8_t, 1> status{1};
    if (!link_.receive(code(VendorRequest::kFlashSector), kAskStatus, sector, status)) return false;
    if (status[0] == 0) return true;
    if (clock_.now() >= end) return false;
    clock_.sleepFor(kPollInterval);
  }
}

}  // namespace orvik
