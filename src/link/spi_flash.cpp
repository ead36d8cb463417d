// SPDX-License-Identifier: MIT
#include "link/spi_flash.h"

#include <array>
#include <chrono>
#include <vector>

namespace orvik {
namespace {

using namespace std::chrono_literals;

/// A flash of this size needs at most a few seconds for a sector.
constexpr auto kEraseLimit = 30s;
constexpr auto kPollInterval = 1ms;
constexpr std::size_t kMaxTransferBytes = 0xFFFF;

constexpr std::uint16_t pageOf(std::uint32_t address) {
  return static_cast<std::uint16_t>(address / FlashPort::kPageBytes);
}

}  // namespace

bool SpiFlash::takeBus() {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (link_.send(VendorRequest::kSwitchBus, 0)) return true;
  }
  return false;
}

void SpiFlash::giveBusBack() { link_.sendSafe(SafeRequest::kBusToStream); }

bool SpiFlash::read(std::uint32_t address, std::span<std::uint8_t> bytes) {
  return bytes.size() <= kMaxTransferBytes &&
         link_.receive(requests_.read, 0, pageOf(address), bytes);
}

bool SpiFlash::write(std::uint32_t address, std::span<const std::uint8_t> bytes) {
  if (bytes.size() > kMaxTransferBytes) return false;
  // The link needs a mutable buffer; the data belong to the caller.
  std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  return link_.send(requests_.write, 0, pageOf(address), data);
}

bool SpiFlash::eraseSector(std::uint32_t sector) {
  constexpr std::uint16_t kErase = 1;
  const auto index = static_cast<std::uint16_t>(sector);
  if (index != sector) return false;
  const auto end = clock_.now() + kEraseLimit;
  for (int attempt = 1; !link_.send(requests_.sector, kErase, index); ++attempt) {
    if (attempt >= requests_.eraseAttempts) return false;
    // If only the answer was lost, the flash is erasing and would refuse the next command.
    if (!waitUntilErased(index, end)) return false;
  }
  return waitUntilErased(index, end);
}

bool SpiFlash::waitUntilErased(std::uint16_t sector, seam::Clock::Duration end) {
  constexpr std::uint16_t kAskStatus = 0;
  for (int failures = 0; failures < requests_.eraseAttempts;) {
    std::array<std::uint8_t, 1> status{1};
    if (link_.receive(requests_.sector, kAskStatus, sector, status)) {
      if (status[0] == 0) return true;
      failures = 0;
    } else {
      ++failures;
    }
    if (clock_.now() >= end) return false;
    clock_.sleepFor(kPollInterval);
  }
  return false;
}

}  // namespace orvik
