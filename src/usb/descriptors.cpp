// SPDX-License-Identifier: MIT
#include "usb/descriptors.h"

#include <algorithm>

#include "usb/descriptor_walk.h"

namespace orvik::descriptors {
namespace {

constexpr std::uint8_t kCapabilityUsb20Extension = 2;
constexpr std::uint8_t kCapabilitySuperSpeed = 3;
constexpr std::uint8_t kCapabilityContainerId = 4;

/// Stores a device capability in the BOS; unknown types are ignored.
/// @return false when it is shorter than its type requires.
bool addCapability(Bytes bytes, Bos& bos) {
  switch (bytes[2]) {
    case kCapabilityUsb20Extension:
      if (bytes.size() < 7) return false;
      bos.usb20Extension = Usb20Extension{readU32(bytes, 3)};
      return true;
    case kCapabilitySuperSpeed:
      if (bytes.size() < 10) return false;
      bos.superSpeed = SuperSpeedCapability{.attributes = bytes[3],
                                            .speedsSupported = readU16(bytes, 4),
                                            .functionalitySupport = bytes[6],
                                            .u1ExitLatency = bytes[7],
                                            .u2ExitLatency = readU16(bytes, 8)};
      return true;
    case kCapabilityContainerId:
      if (bytes.size() < 20) return false;
      bos.containerId.emplace();
      std::ranges::copy(bytes.subspan(4, 16), bos.containerId->uuid.begin());  // byte 3: reserved
      return true;
    default:
      return true;
  }
}

/// The contents of a string descriptor at the start of the bytes, if it consists of whole 16-bit
/// units.
std::optional<Bytes> stringUnits(Bytes bytes) {
  const auto descriptor = DescriptorWalk(bytes).take(kTypeString, 2);
  if (!descriptor || descriptor->size() % 2 != 0) return std::nullopt;
  return descriptor->subspan(2);
}

}  // namespace

std::optional<Device> parseDevice(Bytes bytes) {
  const auto descriptor = DescriptorWalk(bytes).take(kTypeDevice, kDeviceBytes);
  if (!descriptor) return std::nullopt;
  const Bytes d = *descriptor;
  return Device{.bcdUsb = readU16(d, 2),
                .deviceClass = d[4],
                .deviceSubClass = d[5],
                .deviceProtocol = d[6],
                .ep0MaxPacket = d[7],
                .vendorId = readU16(d, 8),
                .productId = readU16(d, 10),
                .bcdDevice = readU16(d, 12),
                .manufacturerIndex = d[14],
                .productIndex = d[15],
                .serialIndex = d[16],
                .configurationCount = d[17]};
}

std::optional<std::uint16_t> totalLengthOf(Bytes header, std::uint8_t type) {
  if (header.size() < 4 || header[1] != type) return std::nullopt;
  const std::size_t least = type == kTypeBos ? kBosHeaderBytes : kConfigurationHeaderBytes;
  const std::uint16_t total = readU16(header, 2);
  if (header[0] < least || total < header[0]) return std::nullopt;
  return total;
}

std::optional<Bos> parseBos(Bytes bytes) {
  if (totalLengthOf(bytes, kTypeBos) != bytes.size()) return std::nullopt;
  DescriptorWalk walk(bytes);
  const auto header = walk.take(kTypeBos, kBosHeaderBytes);
  if (!header) return std::nullopt;
  Bos bos{.totalLength = readU16(*header, 2), .capabilityCount = (*header)[4]};
  for (int i = 0; i < bos.capabilityCount; ++i) {
    const auto capability = walk.take(kTypeDeviceCapability, 3);
    if (!capability || !addCapability(*capability, bos)) return std::nullopt;
  }
  return bos;
}

bool listsLanguage(Bytes bytes, std::uint16_t language) {
  const auto units = stringUnits(bytes);
  if (!units) return false;
  for (std::size_t at = 0; at < units->size(); at += 2) {
    if (readU16(*units, at) == language) return true;
  }
  return false;
}

std::optional<std::u16string> parseString(Bytes bytes) {
  const auto units = stringUnits(bytes);
  if (!units) return std::nullopt;
  std::u16string text(units->size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(readU16(*units, 2 * i));
  }
  return text;
}

}  // namespace orvik::descriptors
