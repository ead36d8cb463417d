// SPDX-License-Identifier: MIT
#include "firmware/boot_eeprom.h"

#include <algorithm>
#include <array>
#include <vector>

#include "firmware/bridge_memory.h"
#include "firmware/firmware_image.h"
#include "firmware/flash_helper_image.h"

namespace orvik::firmware {
namespace {

constexpr VendorRequest kBridgeMemory = VendorRequest::kBridgeMemory;
/// The helper's request for a block. In the camera's own firmware this number means something else.
constexpr VendorRequest kHelperBlock = VendorRequest::kHelperBlock;
constexpr std::size_t kBlockBytes = 4096;
constexpr int kRounds = 3;

bool startHelper(VendorLink& link) {
  const std::span<const std::uint8_t> helper = kFlashHelper;
  const bool held = holdProcessor(link, true);
  const bool first = writeMemory(link, 0, helper.first(kHelperFirstBytes), kBridgeMemory);
  const bool second =
      writeMemory(link, kHelperFirstBytes, helper.subspan(kHelperFirstBytes), kBridgeMemory);
  const bool released = holdProcessor(link, false);
  return held && first && second && released;
}

/// Calls `transfer(address, block)` for each block of a memory.
template <class Transfer>
void forEachBlock(std::span<std::uint8_t> memory, Transfer transfer) {
  for (std::size_t at = 0; at < memory.size(); at += kBlockBytes) {
    transfer(static_cast<std::uint16_t>(at),
             memory.subspan(at, std::min(kBlockBytes, memory.size() - at)));
  }
}

bool writeBlocks(VendorLink& link, std::span<const std::uint8_t> image) {
  std::vector<std::uint8_t> memory(image.begin(), image.end());
  std::vector<std::uint8_t> back(image.size());
  for (int round = 1; round <= kRounds; ++round) {
    forEachBlock(memory, [&](std::uint16_t address, std::span<std::uint8_t> block) {
      link.send(kHelperBlock, address, 0, block);
    });
    std::ranges::fill(back, std::uint8_t{0});
    forEachBlock(back, [&](std::uint16_t address, std::span<std::uint8_t> block) {
      link.receive(kHelperBlock, address, 0, block);
    });
    if (back == memory) return round < kRounds;
  }
  return false;
}

}  // namespace

FX3_FWDWNLOAD_ERROR_CODE writeI2cImage(VendorLink& link, std::span<const std::uint8_t> image,
                                       VendorRequest request) {
  if (!link.isOpen()) return FWDWNLOAD_FAILED;
  const auto eepromBytes = eepromBytesOf(image);
  if (!eepromBytes) return FWDWNLOAD_NO_EEPROM_SIZE;
  if (image.size() > kMaxImageBytes) return FWDWNLOAD_NO_FILE;
  for (std::size_t at = 0; at < image.size(); at += kChunkBytes) {
    std::array<std::uint8_t, kChunkBytes> page{};
    std::ranges::copy(image.subspan(at, std::min(kChunkBytes, image.size() - at)), page.begin());
    const auto device = static_cast<std::uint16_t>(at / *eepromBytes);
    const auto address = static_cast<std::uint16_t>(at % *eepromBytes);
    if (!link.send(request, device, address, page)) return FWDWNLOAD_FAILED;
  }
  return FWDWNLOAD_SUCCESS;
}

bool writeThroughHelper(VendorLink& link, std::span<const std::uint8_t> image) {
  // Without the helper, the camera's firmware would misinterpret the blocks.
  return startHelper(link) && writeBlocks(link, image);
}

bool eraseThroughHelper(VendorLink& link) {
  std::array<std::uint8_t, kBlockBytes> noProgram{};
  noProgram[0] = 0xC2;
  return startHelper(link) && writeBlocks(link, noProgram);
}

}  // namespace orvik::firmware
