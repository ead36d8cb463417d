// SPDX-License-Identifier: MIT
#include "firmware/bridge_memory.h"

#include <algorithm>
#include <array>

namespace orvik::firmware {
namespace {

constexpr std::uint8_t kBridgeMemory = static_cast<std::uint8_t>(VendorRequest::kBridgeMemory);
constexpr std::uint16_t kProcessorControl = 0xE600;
constexpr std::size_t kMaxTransferBytes = 0xFFFF;
constexpr int kAttempts = 3;

std::uint16_t lowHalf(std::uint32_t address) { return static_cast<std::uint16_t>(address); }
std::uint16_t highHalf(std::uint32_t address) { return static_cast<std::uint16_t>(address >> 16U); }

bool writeAndReadBack(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                      std::uint8_t request) {
  std::array<std::uint8_t, kChunkBytes> memory{};
  const std::span<std::uint8_t> back = std::span(memory).first(data.size());
  const bool written = writeMemory(link, address, data, request);
  const bool read = readMemory(link, address, back, request);
  return written && read && std::ranges::equal(back, data);
}

bool loadChunk(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
               std::uint8_t request) {
  bool good = false;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    good = writeAndReadBack(link, address, data, request);
  }
  return good;
}

}  // namespace

bool writeMemory(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                 std::uint8_t request) {
  if (data.size() > kMaxTransferBytes) return false;
  // The link sends from memory that it may write to; what is sent here is somebody else's.
  std::vector<std::uint8_t> copy(data.begin(), data.end());
  return link.send(request, lowHalf(address), highHalf(address), copy);
}

bool readMemory(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
                std::uint8_t request) {
  if (data.size() > kMaxTransferBytes) return false;
  return link.receive(request, lowHalf(address), highHalf(address), data);
}

bool setProgramEntry(VendorLink& link, std::uint32_t address, std::uint8_t request) {
  return link.send(request, highHalf(address), lowHalf(address));
}

FX3_FWDWNLOAD_ERROR_CODE loadImage(VendorLink& link, const Image& image, std::uint8_t request) {
  if (!link.isOpen()) return FWDWNLOAD_FAILED;
  for (const Section& section : image.sections) {
    for (std::size_t at = 0; at < section.data.size(); at += kChunkBytes) {
      const std::size_t count = std::min(kChunkBytes, section.data.size() - at);
      const auto address = static_cast<std::uint32_t>(section.address + at);
      if (!loadChunk(link, address, section.data.subspan(at, count), request)) {
        return FWDWNLOAD_FAILED;
      }
    }
  }
  // The bridge leaves the bus as it starts the program, and may not answer any more.
  writeMemory(link, image.entry, {}, request);
  return FWDWNLOAD_SUCCESS;
}

bool holdProcessor(VendorLink& link, bool hold) {
  const std::array<std::uint8_t, 1> control = {hold ? std::uint8_t{1} : std::uint8_t{0}};
  return writeMemory(link, kProcessorControl, control, kBridgeMemory);
}

void runRecords(VendorLink& link, const std::vector<Record>& records) {
  holdProcessor(link, true);
  for (const Record& record : records) {
    writeMemory(link, record.address, record.data, kBridgeMemory);
  }
  holdProcessor(link, false);
}

}  // namespace orvik::firmware
