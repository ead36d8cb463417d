// SPDX-License-Identifier: MIT
#include "usb/descriptor_reader.h"

#include <algorithm>

#include "usb/descriptors.h"

namespace orvik {
namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint8_t kGetInterface = 10;
constexpr milliseconds kRequestLimit{500};

}  // namespace

DescriptorReader::DescriptorReader(std::shared_ptr<seam::Port> port, milliseconds budget)
    : control_(std::move(port), 0), deadline_(std::chrono::steady_clock::now() + budget) {
  control_.requestType = CCyControlEndPoint::kRequestStandard;
  control_.direction = CCyControlEndPoint::kDirectionIn;
}

std::optional<DescriptorReader::Bytes> DescriptorReader::read(std::uint8_t type, std::uint8_t index,
                                                              std::uint16_t language,
                                                              std::uint16_t length) {
  const auto value = static_cast<std::uint16_t>(type << 8 | index);
  return request(CCyControlEndPoint::kTargetDevice, kGetDescriptor, value, language, length);
}

std::optional<DescriptorReader::Bytes> DescriptorReader::readWhole(std::uint8_t type,
                                                                   std::uint8_t index,
                                                                   std::size_t headerBytes) {
  auto header = read(type, index, 0, static_cast<std::uint16_t>(headerBytes));
  if (!header) return std::nullopt;
  const auto total = descriptors::totalLengthOf(*header, type);
  return total ? read(type, index, 0, *total) : header;
}

std::optional<DescriptorReader::Bytes> DescriptorReader::readString(std::uint8_t index,
                                                                    std::uint16_t language) {
  auto header = read(descriptors::kTypeString, index, language, 2);
  if (!header || header->size() < 2 || header->front() <= 2) return header;
  return read(descriptors::kTypeString, index, language, header->front());
}

std::optional<std::uint8_t> DescriptorReader::alternateSetting(std::uint8_t interfaceNumber) {
  const auto answer =
      request(CCyControlEndPoint::kTargetInterface, kGetInterface, 0, interfaceNumber, 1);
  if (!answer || answer->empty()) return std::nullopt;
  return answer->front();
}

std::optional<DescriptorReader::Bytes> DescriptorReader::request(std::uint8_t target,
                                                                 std::uint8_t code,
                                                                 std::uint16_t value,
                                                                 std::uint16_t index,
                                                                 std::uint16_t length) {
  const auto left =
      std::chrono::duration_cast<milliseconds>(deadline_ - std::chrono::steady_clock::now());
  if (left <= milliseconds(0)) return std::nullopt;
  control_.timeoutMs = static_cast<std::uint32_t>(std::min(left, kRequestLimit).count());
  control_.target = target;
  control_.requestCode = code;
  control_.value = value;
  control_.index = index;

  Bytes bytes(length);
  std::size_t received = 0;
  if (!control_.transfer(bytes, received)) return std::nullopt;
  bytes.resize(std::min(received, bytes.size()));
  return bytes;
}

}  // namespace orvik
