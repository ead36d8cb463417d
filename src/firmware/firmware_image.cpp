// SPDX-License-Identifier: MIT
#include "firmware/firmware_image.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvik::firmware {
namespace {

constexpr std::size_t kHeaderBytes = 4;
constexpr std::size_t kSectionHeaderBytes = 8;
constexpr std::size_t kRecordsAt = 8;
constexpr std::size_t kRecordHeaderBytes = 4;
constexpr std::array<std::uint8_t, kRecordHeaderBytes> kEndRecord = {0x80, 0x01, 0xE6, 0x00};

std::uint32_t littleEndian32(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
         static_cast<std::uint32_t>(bytes[2]) << 16U | static_cast<std::uint32_t>(bytes[3]) << 24U;
}

std::uint16_t bigEndian16(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

}  // namespace

FX3_FWDWNLOAD_ERROR_CODE parseImage(std::span<const std::uint8_t> bytes, Image& image) {
  if (bytes.size() < 2 || bytes[0] != 'C' || bytes[1] != 'Y') return FWDWNLOAD_NO_SIGNATURE;
  if (bytes.size() < kHeaderBytes) return FWDWNLOAD_SECTION_OVERRUN;
  std::vector<Section> sections;
  std::span<const std::uint8_t> rest = bytes.subspan(kHeaderBytes);
  while (rest.size() >= kSectionHeaderBytes) {
    const std::uint64_t length = std::uint64_t{4} * littleEndian32(rest);
    const std::uint32_t address = littleEndian32(rest.subspan(4));
    rest = rest.subspan(kSectionHeaderBytes);
    if (length == 0) {
      image = {std::move(sections), address};
      return FWDWNLOAD_SUCCESS;
    }
    if (std::min<std::uint64_t>(length, kChunkBytes) > bytes.size()) {
      return FWDWNLOAD_CHUNK_OVERRUN;
    }
    if (length > rest.size()) return FWDWNLOAD_SECTION_OVERRUN;
    sections.push_back({address, rest.first(static_cast<std::size_t>(length))});
    rest = rest.subspan(static_cast<std::size_t>(length));
  }
  return FWDWNLOAD_SECTION_OVERRUN;  // the end is missing
}

std::optional<std::uint32_t> eepromBytesOf(std::span<const std::uint8_t> bytes) {
  constexpr std::uint32_t kSmallest = 4096;
  constexpr std::uint32_t kLargest = 65536;
  if (bytes.size() < 3) return std::nullopt;
  const unsigned code = bytes[2] >> 1U & 7U;
  if (code < 2) return std::nullopt;
  return std::min(kSmallest << (code - 2), kLargest);
}

std::optional<std::vector<Record>> parseRecords(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kRecordsAt) return std::nullopt;
  std::vector<Record> records;
  std::span<const std::uint8_t> rest = bytes.subspan(kRecordsAt);
  while (rest.size() >= kRecordHeaderBytes) {
    if (std::ranges::equal(rest.first(kRecordHeaderBytes), kEndRecord)) return records;
    const std::size_t length = bigEndian16(rest);
    const std::uint16_t address = bigEndian16(rest.subspan(2));
    rest = rest.subspan(kRecordHeaderBytes);
    if (length > rest.size()) return std::nullopt;
    if (length > 0) records.push_back({address, rest.first(length)});
    rest = rest.subspan(length);
  }
  return std::nullopt;
}

}  // namespace orvik::firmware
