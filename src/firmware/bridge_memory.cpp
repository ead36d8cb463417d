// SPDX-License-Identifier: MIT
#include "firmware/bridge_memory.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace orvik::firmware {
namespace {

constexpr VendorRequest kBridgeMemory = VendorRequest::kBridgeMemory;
constexpr std::uint16_t kProcessorControl = 0xE600;
constexpr std::size_t kMaxTransferBytes = 0xFFFF;
constexpr int kAttempts = 3;
/// How long after its last answer a device that leaves the bus is reported as gone.
constexpr auto kLeaveTime = std::chrono::milliseconds(100);

std::uint16_t lowHalf(std::uint32_t address) { return static_cast<std::uint16_t>(address); }
std::uint16_t highHalf(std::uint32_t address) { return static_cast<std::uint16_t>(address >> 16U); }

/// @return whether one of three attempts succeeded.
template <class Attempt>
bool untilDone(Attempt attempt) {
  for (int n = 0; n < kAttempts; ++n) {
    if (attempt()) return true;
  }
  return false;
}

bool writeAndReadBack(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                      VendorRequest request) {
  std::array<std::uint8_t, kChunkBytes> memory{};
  const std::span<std::uint8_t> back = std::span(memory).first(data.size());
  const bool written = writeMemory(link, address, data, request);
  const bool read = readMemory(link, address, back, request);
  return written && read && std::ranges::equal(back, data);
}

bool loadChunk(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
               VendorRequest request) {
  bool good = false;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    good = writeAndReadBack(link, address, data, request);
  }
  return good;
}

bool loadRecord(VendorLink& link, const Record& record) {
  for (std::size_t at = 0; at < record.data.size(); at += kChunkBytes) {
    const auto part = record.data.subspan(at, std::min(kChunkBytes, record.data.size() - at));
    const auto address = static_cast<std::uint16_t>(record.address + at);
    if (!untilDone([&] { return writeAndReadBack(link, address, part, kBridgeMemory); })) {
      return false;
    }
  }
  return true;
}

/// @param start sends the request that starts a program; true when the bridge acknowledged it
template <class Start>
FX3_FWDWNLOAD_ERROR_CODE startProgram(const VendorLink& link, seam::Clock& clock, Start start) {
  const bool started = untilDone([&] {
    if (start() || link.isGone()) return true;
    clock.sleepFor(kLeaveTime);
    return link.isGone();
  });
  return started ? FWDWNLOAD_SUCCESS : FWDWNLOAD_FAILED;
}

}  // namespace

bool writeMemory(VendorLink& link, std::uint32_t address, std::span<const std::uint8_t> data,
                 VendorRequest request) {
  if (data.size() > kMaxTransferBytes) return false;
  // The link needs a mutable buffer; the data belong to the caller.
  std::vector<std::uint8_t> copy(data.begin(), data.end());
  return link.send(request, lowHalf(address), highHalf(address), copy);
}

bool readMemory(VendorLink& link, std::uint32_t address, std::span<std::uint8_t> data,
                VendorRequest request) {
  if (data.size() > kMaxTransferBytes) return false;
  return link.receive(request, lowHalf(address), highHalf(address), data);
}

bool setProgramEntry(VendorLink& link, std::uint32_t address, VendorRequest request) {
  return link.send(request, highHalf(address), lowHalf(address));
}

FX3_FWDWNLOAD_ERROR_CODE loadImage(VendorLink& link, const Image& image, VendorRequest request) {
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
  return FWDWNLOAD_SUCCESS;
}

bool jumpTo(VendorLink& link, std::uint32_t entry, VendorRequest request) {
  return writeMemory(link, entry, {}, request);
}

FX3_FWDWNLOAD_ERROR_CODE startImage(VendorLink& link, seam::Clock& clock, const Image& image) {
  const FX3_FWDWNLOAD_ERROR_CODE loaded = loadImage(link, image, kBridgeMemory);
  if (loaded != FWDWNLOAD_SUCCESS) return loaded;
  return startProgram(link, clock, [&] { return jumpTo(link, image.entry, kBridgeMemory); });
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

FX3_FWDWNLOAD_ERROR_CODE startRecords(VendorLink& link, seam::Clock& clock,
                                      const std::vector<Record>& records) {
  if (!untilDone([&] { return holdProcessor(link, true); })) {
    holdProcessor(link, false);  // in case only the answers were lost
    return FWDWNLOAD_FAILED;
  }
  for (const Record& record : records) {
    if (!loadRecord(link, record)) return FWDWNLOAD_FAILED;
  }
  return startProgram(link, clock, [&] { return holdProcessor(link, false); });
}

}  // namespace orvik::firmware
