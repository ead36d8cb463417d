// SPDX-License-Identifier: MIT
#include "camera/spi_flash.h"

#include <array>
#include <chrono>
#include <vector>

namespace orvik {
namespace {

using namespace std::chrono_literals;

// No flash of this size takes more than a few seconds for a sector.
constexpr auto kEraseLimit = 30s;
constexpr auto kPollInterval = 1ms;
constexpr std::size_t kMaxTransferBytes = 0xFFFF;

constexpr std::uint16_t pageOf(std::uint32_t address) {
  return static_cast<std::uint16_t>(address / FlashPort::kPageBytes);
}

}  // namespace

bool SpiFlash::switchBusToStream(bool toStream) {
  return toStream ? link_.sendSafe(SafeRequest::kBusToStream)
                  : link_.send(codeOf(VendorRequest::kSwitchBus), 0);
}

bool SpiFlash::read(std::uint32_t address, std::span<std::uint8_t> bytes) {
  return bytes.size() <= kMaxTransferBytes &&
         link_.receive(requests_.read, 0, pageOf(address), bytes);
}

bool SpiFlash::write(std::uint32_t address, std::span<const std::uint8_t> bytes) {
  if (bytes.size() > kMaxTransferBytes) return false;
  // The link sends from memory that it may write to; what is written here is somebody else's.
  std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  return link_.send(requests_.write, 0, pageOf(address), data);
}

bool SpiFlash::eraseSector(std::uint32_t sector) {
  constexpr std::uint16_t kErase = 1;
  constexpr std::uint16_t kAskStatus = 0;
  const auto index = static_cast<std::uint16_t>(sector);
  if (index != sector || !link_.send(requests_.sector, kErase, index)) return false;
  const auto end = clock_.now() + kEraseLimit;
  while (true) {
    std::array<std::uint8_t, 1> status{1};
    if (!link_.receive(requests_.sector, kAskStatus, index, status)) return false;
    if (status[0] == 0) return true;
    if (clock_.now() >= end) return false;
    clock_.sleepFor(kPollInterval);
  }
}

}  // namespace orvik
